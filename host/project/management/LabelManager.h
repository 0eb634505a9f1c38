#pragma once

#include <vector>

#include "project/management/Label.h"

#pragma GCC visibility push(default)

namespace project::management {

// The label categories of one project and the labels in them. Items name a category by its text and a label by its
// UUID. Both are the same in a working copy as in its project, and do not change when a name changes. No two labels of
// a project have one UUID, not even in two categories: a filter stores one item for each UUID.
class LabelManager {
 public:
  // Gives each category once, in any order. The library removes labels in this order.
  virtual std::vector<CategoryIdentifier> getCategories() const = 0;

  // The library calls this for a category whose last label it has just removed; the category may be absent by then.
  virtual void removeCategory(const CategoryIdentifier& category) = 0;

  // Gives the labels that the category has now, each once, in any order; none for an absent category.
  virtual std::vector<LabelIdentifier> getLabels(const CategoryIdentifier& category) const = 0;

  // Removes the label from the project and from all its entries. The host defines what the flag means; the library
  // gives false.
  virtual void removeLabel(const CategoryIdentifier& category, const LabelIdentifier& label, bool flag) = 0;

  virtual ~LabelManager() = default;
};

}  // namespace project::management

#pragma GCC visibility pop
