#pragma once

#include <cstdint>
#include <string>
#include <utility>

#pragma GCC visibility push(default)

namespace project::management {

// Identifies a label category of a project by a text that does not change when the category is renamed.
class CategoryIdentifier {
 public:
  explicit CategoryIdentifier(std::u16string text) : text_(std::move(text)) {}
  CategoryIdentifier(const CategoryIdentifier&) = default;
  CategoryIdentifier(CategoryIdentifier&&) = default;
  CategoryIdentifier& operator=(const CategoryIdentifier&) = default;
  CategoryIdentifier& operator=(CategoryIdentifier&&) = default;

  virtual std::u16string toString() const { return text_; }
  virtual ~CategoryIdentifier() = default;

 private:
  std::u16string text_;
};

// Identifies one label by its UUID, and says whether a filter may remove the label (0: it may not).
class LabelIdentifier {
 public:
  explicit LabelIdentifier(std::u16string uuid, std::int32_t isRemovable = 1)
      : uuid_(std::move(uuid)), isRemovable_(isRemovable) {}
  LabelIdentifier(const LabelIdentifier&) = default;
  LabelIdentifier(LabelIdentifier&&) = default;
  LabelIdentifier& operator=(const LabelIdentifier&) = default;
  LabelIdentifier& operator=(LabelIdentifier&&) = default;

  const std::u16string& getUUID() const noexcept { return uuid_; }
  virtual std::int32_t isRemovable() const { return isRemovable_; }
  virtual ~LabelIdentifier() = default;

 private:
  std::u16string uuid_;
  std::int32_t isRemovable_;
};

// A label of a project, and the category that it belongs to.
class Label {
 public:
  Label(CategoryIdentifier category, LabelIdentifier label)
      : category_(std::move(category)), label_(std::move(label)) {}
  Label(const Label&) = default;
  Label(Label&&) = default;
  Label& operator=(const Label&) = default;
  Label& operator=(Label&&) = default;

  const CategoryIdentifier& getCategory() const noexcept { return category_; }
  const LabelIdentifier& getLabelIdentifier() const noexcept { return label_; }
  std::u16string getUUID() const { return label_.getUUID(); }
  virtual ~Label() = default;

 private:
  CategoryIdentifier category_;
  LabelIdentifier label_;
};

// A label as it is attached to one entry of the project.
class FileLabel : public Label {
 public:
  using Label::Label;
};

}  // namespace project::management

#pragma GCC visibility pop
