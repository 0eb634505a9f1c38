#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "project/management/LabelManager.h"

namespace folder_host {

class Store;

// One label as people know it. Names may change and repeat; the UUIDs never do.
struct LabelRecord {
  std::u16string uuid;
  std::u16string name;
  std::u16string categoryUUID;
  std::u16string categoryName;
  bool isProtected = false;  // no filter may remove it
};

struct CategoryRecord {
  std::u16string uuid;
  std::u16string name;
};

// What one mark says of its label.
enum class MarkKind {
  entry,      // the entry has it; nothing is said of what lies below
  reach,      // the entry has it, and all that lies below it, now and later
  exception,  // neither the entry nor what lies below it has it, whatever stands above or a rule says
};

// One label on one path. The nearest mark on the way up decides, and a mark on an entry alone is looked past from
// below; where there is none, the label's rules decide.
struct Mark {
  std::string path;  // relative to the project's folder, which is itself "" and takes marks with reach alone
  std::u16string label;
  MarkKind kind;
};

// A pattern (see text/Patterns.h) that gives a label to what it matches, or takes it away.
struct Rule {
  std::u16string label;
  std::string pattern;
};

// A path, and the UUID of a label that it has.
using Attachment = std::pair<std::string, std::u16string>;

// The labels of one project with their marks and rules, in the project's store; what they come to is told by
// EffectiveLabels. A category's identifying text is its UUID. Paths are bytes; whether there is such an entry is not
// looked at. Every change is atomic by itself; open a write scope of the store around several. Every call may throw
// STORE_FAILED and STORE_UNREADABLE.
class LabelStore : public project::management::LabelManager {
 public:
  explicit LabelStore(std::shared_ptr<Store> store);
  ~LabelStore() override;

  // Sorted by UUID; those without a label are among them.
  std::vector<project::management::CategoryIdentifier> getCategories() const override;
  // Removes its labels with their marks and rules, too. What is not there is no error, here and below.
  void removeCategory(const project::management::CategoryIdentifier& category) override;
  // Sorted by UUID.
  std::vector<project::management::LabelIdentifier> getLabels(
      const project::management::CategoryIdentifier& category) const override;
  // Removes its marks and rules, too; the flag makes no difference.
  void removeLabel(const project::management::CategoryIdentifier& category,
                   const project::management::LabelIdentifier& label, bool flag) override;

  // Every label, sorted by category name, name, UUID (code-unit order).
  std::vector<LabelRecord> list() const;

  // Makes the label, and its category where there is none of that name (of several: the one with the least UUID).
  // Errors: NAME_EMPTY, LABEL_NAME_TAKEN.
  LabelRecord create(const std::u16string& categoryName, const std::u16string& name);

  // Gives the label another name in its category. Errors: NAME_EMPTY; LABEL_NAME_TAKEN by another label;
  // LABEL_NOT_FOUND.
  void rename(const std::u16string& labelUUID, const std::u16string& name);

  // Says whether filters are kept from removing the label from a copy. Error: LABEL_NOT_FOUND.
  void setProtected(const std::u16string& labelUUID, bool isProtected);

  // Every category, sorted by UUID.
  std::vector<CategoryRecord> categories() const;
  // Makes the categories and labels, or changes those that have these UUIDs; each is as given then, and keeps its marks
  // and rules. Names are not compared with each other or with others, nor are the records' category names looked at:
  // see to both before. Errors: NAME_EMPTY, also of an empty UUID; LABEL_NOT_FOUND, where a label's category is neither
  // there nor given.
  void put(const std::vector<CategoryRecord>& categories, const std::vector<LabelRecord>& labels);

  // Removes the label with its marks and rules, and its category where that has no other. Error: LABEL_NOT_FOUND.
  void erase(const std::u16string& labelUUID);

  // Puts a mark of that kind on each path, in the place of the label's mark that is there. Gives the number of paths
  // that had no such mark; one given twice counts once. Error: LABEL_NOT_FOUND.
  std::size_t attach(const std::u16string& labelUUID, const std::vector<std::string>& paths, MarkKind kind);
  // Takes the label's marks on these paths away, whatever their kind. Gives their number.
  std::size_t detach(const std::u16string& labelUUID, const std::vector<std::string>& paths);
  // All marks, sorted by path and label.
  std::vector<Mark> marks() const;

  // All rules, sorted by label; those of one label in their order.
  std::vector<Rule> rules() const;
  // Replaces the rules of the label. They are patterns (patternFault); one given twice stands where it was given last.
  // Error: LABEL_NOT_FOUND.
  void setRules(const std::u16string& labelUUID, const std::vector<std::string>& patterns);

  // The bytes of a store that holds these attachments, each once and as a mark on the entry alone, of labels that are
  // here; these labels and their categories; and nothing else.
  std::string imageWith(const std::vector<Attachment>& attachments) const;

 private:
  std::shared_ptr<Store> store_;
};

}  // namespace folder_host
