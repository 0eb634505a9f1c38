#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "HostConformance.h"

namespace host_conformance {

// Of the host's classes the suite uses what the library uses, so that it compiles with every host that the library
// compiles with. It names nodes by texts of its own: each a type and a location, from the top down.
using Node = std::vector<std::pair<std::u16string, std::u16string>>;
using Content = std::shared_ptr<project::metadata::MetadataNode>;

// What is compared, in forms that a failure prints.
using Texts = std::multiset<std::u16string>;
using Nodes = std::multiset<Node>;
using Labels = std::multiset<std::pair<std::u16string, std::u16string>>;  // each: the category's text, the UUID
using Listing = std::multiset<std::tuple<std::u16string, bool, Labels>>;  // each: text below the root, a folder
using Removable = std::multiset<std::tuple<std::u16string, std::u16string, bool>>;  // each: category, UUID

class Bench;
using Clause = std::pair<const char*, void (*)(Bench&)>;  // a name for ever, and the check
using Clauses = std::vector<Clause>;
Clauses metadataClauses();
Clauses projectClauses();
Clauses sharingClauses();

constexpr std::size_t MANY = 1030;  // more than a host is likely to ask its store for at a time
constexpr std::size_t TOP = static_cast<std::size_t>(-1);

// Texts that careless comparisons, patterns, normalisations and encodings spoil, or take for one another.
std::vector<std::u16string> hardTexts(std::size_t longest = 300);
std::vector<std::u16string> hardNames();       // those that an entry may have
std::vector<std::u16string> hardCategories();  // and a category
std::u16string number(std::size_t value);

// A node as the library has it: the root of all profiles, below it a profile, its filter, the filter's item, and what
// the library passes over.
Node at(const std::vector<std::u16string>& locations);
Node operator+(Node node, const std::u16string& location);
project::metadata::MetadataPath pathOf(const Node& node);
Content holding(const std::u16string& key, const std::u16string& value);

Listing entriesOf(project::management::ProjectManager& project);
Removable labelsOf(project::management::ProjectManager& project);
Texts categoriesOf(project::management::ProjectManager& project);

inline std::pair<std::u16string, std::u16string> keyOf(const Label& label) {
  return {label.getCategory().toString(), label.getUUID()};
}

// Of what is much, the first that is too much and too little.
template <class Set>
testing::AssertionResult same(const Set& is, const Set& should) {
  std::vector<typename Set::value_type> more, less;
  std::set_difference(is.begin(), is.end(), should.begin(), should.end(), std::back_inserter(more));
  std::set_difference(should.begin(), should.end(), is.begin(), is.end(), std::back_inserter(less));
  if (more.empty() && less.empty()) return testing::AssertionSuccess();
  auto result = testing::AssertionFailure() << more.size() << " too many, " << less.size() << " missing";
  if (!more.empty()) result << "; too many: " << testing::PrintToString(more.front());
  if (!less.empty()) result << "; missing: " << testing::PrintToString(less.front());
  return result;
}

// The metadata, in a scope that lasts as long as this.
struct Access {
  project::metadata::MetadataManager* operator->() const { return metadata; }

  project::metadata::MetadataManager* metadata;
  project::metadata::MetadataScopeGuard scope;
};

// An entry that the suite made, as it remembers it.
struct Entry {
  Path path;
  bool isFolder;
  std::size_t folder;  // that holds it, by its number; TOP where it lies in the root folder
  Labels labels;
};

// One clause and its host. A clause that wants a hook that is not there ends there, skipped.
class Bench : public testing::Test {
 public:
  Bench(void (*check)(Bench&), Host made) : check_(check), host_(std::move(made)) { use(host_.project); }
  ~Bench() override;

  template <class Hook>
  const Hook& hook(Hook Host::*member, const char* name) const {
    if (!(host_.*member)) throw Undeclared{name};
    return host_.*member;
  }
  bool has(std::function<Project()> Host::*member) const { return host_.*member != nullptr; }
  bool undoesWriteScopes() const { return host_.undoesWriteScopes; }
  void use(const Project& project);
  const Project& project() const { return host_.project; }

  Access reading() const { return {metadata.get(), metadata->beginReadScope()}; }
  Access writing() const { return {metadata.get(), metadata->beginWriteScope()}; }
  bool exists(const Node& node) const { return reading()->nodeExists(pathOf(node)); }
  Nodes existing(std::initializer_list<Node> nodes) const;
  Nodes children(const Node& node) const;
  std::u16string valueAt(const Node& node, const std::u16string& key = u"Data") const;
  void write(const Node& node, const std::u16string& value = u"value") const;
  void write(const Nodes& nodes) const;
  void remove(const Nodes& nodes) const;

  project::management::FileManager& files() const { return host_.project->getFileManager(); }
  project::management::LabelManager& labels() const { return host_.project->getLabelManager(); }

  // Hooks, called, and what they made remembered. A name that is refused gives TOP; what would lie in it is left out.
  std::size_t addEntry(std::size_t folder, const std::u16string& name, bool isFolder);
  std::vector<Label> addLabels(const std::vector<std::u16string>& categories, bool isRemovable = true);
  Label addLabel(const std::u16string& category, bool isRemovable = true) {
    return addLabels({category}, isRemovable).at(0);
  }
  void attach(std::size_t entry, const Label& label);
  // Files and folders of hard names, equal names in several folders, empty folders, folders thirty deep.
  void plant();

  // What the project has to hold. Entries for which `stays` does not hold have gone, but for those above a file that
  // stays; what lies below one that has gone has gone along.
  Listing planted(const std::function<bool(const Entry&)>& stays = [](const Entry&) { return true; }) const;
  Texts paths(const std::function<bool(const Entry&)>& stays = [](const Entry&) { return true; }) const;

  std::vector<Entry> entries;
  std::shared_ptr<project::metadata::MetadataManager> metadata;

 private:
  struct Undeclared {
    const char* hook;
  };

  void TestBody() override;
  std::vector<const Entry*> left(const std::function<bool(const Entry&)>& stays) const;

  void (*check_)(Bench&);
  Host host_;
  std::vector<std::u16string> refused_;
};

}  // namespace host_conformance
