#pragma once

#include <vector>

#include "project/management/Label.h"

#pragma GCC visibility push(default)

namespace project::management {

// The label categories of one project and the labels in them.
class LabelManager {
 public:
  virtual std::vector<CategoryIdentifier> getCategories() const = 0;
  virtual void removeCategory(const CategoryIdentifier& category) = 0;

  // None for an absent category.
  virtual std::vector<LabelIdentifier> getLabels(const CategoryIdentifier& category) const = 0;

  // The flag's meaning is the host's.
  virtual void removeLabel(const CategoryIdentifier& category, const LabelIdentifier& label, bool flag) = 0;

  virtual ~LabelManager() = default;
};

}  // namespace project::management

#pragma GCC visibility pop
