#pragma once

#include <vector>

#include "project/management/Label.h"

#pragma GCC visibility push(default)

namespace project::management {

// The label categories of one project and the labels in them. A category's text and a label's UUID are what items name:
// they are the same in a working copy, and stay when a name changes. No two labels of a project have one UUID, in
// whatever categories they are: a filter stores one item for each UUID.
class LabelManager {
 public:
  // Each once, in any order. The library removes labels in this order.
  virtual std::vector<CategoryIdentifier> getCategories() const = 0;

  // Called for a category whose last label has just been removed; it may be absent by then.
  virtual void removeCategory(const CategoryIdentifier& category) = 0;

  // The labels that there are now, each once, in any order; none for an absent category.
  virtual std::vector<LabelIdentifier> getLabels(const CategoryIdentifier& category) const = 0;

  // Takes the label off all entries, too. The flag's meaning is the host's; the library gives false.
  virtual void removeLabel(const CategoryIdentifier& category, const LabelIdentifier& label, bool flag) = 0;

  virtual ~LabelManager() = default;
};

}  // namespace project::management

#pragma GCC visibility pop
