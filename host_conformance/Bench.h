#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "HostConformance.h"

namespace host_conformance {

// The suite uses of the host's classes what the library uses, so that it compiles with every host that the library
// compiles with. It names nodes by texts of its own: a type and a location for each step, from the top down.
using Node = std::vector<std::pair<std::u16string, std::u16string>>;
using Nodes = std::multiset<Node>;
using Content = std::shared_ptr<project::metadata::MetadataNode>;
using Metadata = std::shared_ptr<project::metadata::MetadataManager>;

// What a project holds: an entry, a label on one, a label, a category. Each is in words that a failure prints.
using Facts = std::multiset<std::vector<std::u16string>>;

class Bench;
using Clause = std::pair<const char*, void (*)(Bench&)>;  // a name that never changes, and the check
using Clauses = std::vector<Clause>;
Clauses metadataClauses();
Clauses projectClauses();
Clauses sessionClauses();
Clauses sharingClauses();

constexpr std::size_t MANY = 1030;  // more than a host is likely to ask its store for at a time
constexpr std::size_t TOP = static_cast<std::size_t>(-1);

// Texts that careless comparisons, patterns, normalisations and encodings spoil, or take for one another.
std::vector<std::u16string> hardTexts(std::size_t longest = 300);
std::vector<std::u16string> hardNames(std::u16string_view without);  // the empty text is not a name
std::u16string number(std::size_t value);

// Give a node as the library has it: the root of all profiles; below it a profile, its filter, and the filter's item;
// and below that what the library passes over.
Node at(const std::vector<std::u16string>& locations);
Node operator+(Node node, const std::u16string& location);
project::metadata::MetadataPath pathOf(const Node& node);
Content holding(const std::u16string& value);

Facts factsOf(project::management::ProjectManager& project);

// Tells of two sets how many are too many and missing, and the first of each.
template <class Set>
testing::AssertionResult same(const Set& is, const Set& should) {
  Set more, less;
  std::set_difference(is.begin(), is.end(), should.begin(), should.end(), std::inserter(more, more.end()));
  std::set_difference(should.begin(), should.end(), is.begin(), is.end(), std::inserter(less, less.end()));
  auto result = more.empty() && less.empty() ? testing::AssertionSuccess() : testing::AssertionFailure();
  result << more.size() << " too many, " << less.size() << " missing";
  for (const Set& some : {more, less}) result << "; " << (some.empty() ? "" : testing::PrintToString(*some.begin()));
  return result;
}

// Give a thousand UUIDs of this process, or of one that runs this program again; none where that fails. In that process
// tellUuidsIfAsked does not return.
using Uuids = std::vector<std::string>;
Uuids uuidsOfThisProcess();
Uuids uuidsOfAnotherProcess();
void tellUuidsIfAsked();

// The metadata, in a scope that lasts as long as this object.
struct Access {
  project::metadata::MetadataManager* operator->() const { return metadata; }

  project::metadata::MetadataManager* metadata;
  project::metadata::MetadataScopeGuard scope;
};

// What hooks made, as the suite remembers it.
using Key = std::pair<std::u16string, std::u16string>;  // a label's category and UUID
inline Key keyOf(const Label& label) { return {label.getCategory().toString(), label.getUUID()}; }
struct Known {
  Label label;
  bool isRemovable;
};
struct Entry {
  Path path;
  bool isFolder;
  std::size_t folder;  // the number of the folder that it lies in; TOP for the root folder
  std::set<Key> labels;
};

// One clause and its host. A clause that asks for a hook that is not set ends there, and is skipped.
class Bench : public testing::Test {
 public:
  Bench(void (*check)(Bench&), Host made) : check_(check), host_(std::move(made)) { use(host_.project); }
  ~Bench() override;

  template <class Hook>
  const Hook& hook(Hook Host::*member, const char* name) const {
    if (!(host_.*member)) throw Undeclared{name};
    return host_.*member;
  }
  const Host& host() const { return host_; }
  void use(const Project& project);
  project::management::ProjectManager& project() const { return *host_.project; }

  Access reading() const { return {metadata.get(), metadata->beginReadScope()}; }
  Access writing() const { return {metadata.get(), metadata->beginWriteScope()}; }
  bool exists(const Node& node) const { return reading()->nodeExists(pathOf(node)); }
  Nodes children(const Node& node) const;
  std::u16string valueAt(const Node& node, const std::u16string& key = u"Data") const;
  void write(const Nodes& nodes, const std::u16string& value = u"value") const;
  void remove(const Nodes& nodes) const;

  // A refused name is passed over: no entry is made, and the number is TOP; or no label is made.
  std::size_t addEntry(std::size_t folder, const std::u16string& name, bool isFolder);
  void addLabels(const std::vector<std::u16string>& categories, bool isRemovable = true);
  void attach(std::size_t entry, const Label& label);
  // Adds files and folders of hard names, equal names in several folders, empty folders, and folders thirty deep.
  void plant();
  void removeLabel(project::management::ProjectManager& from, const Label& label) const;

  // Gives what the project has to hold after a share: the entries that are shared, and the folders above shared files,
  // but nothing that lies in a removed folder; the labels that are not removed; and the categories, without those whose
  // last label was removed.
  Facts facts(
      const std::function<bool(const Entry&)>& isShared = [](const Entry&) { return true; },
      const std::function<bool(const Known&)>& isRemoved = [](const Known&) { return false; }) const;

  Metadata metadata;
  std::vector<Entry> entries;
  std::vector<Known> labels;
  std::set<std::u16string> categories;

 private:
  struct Undeclared {
    const char* hook;
  };

  void TestBody() override;
  std::vector<bool> shared(const std::function<bool(const Entry&)>& isShared) const;

  void (*check_)(Bench&);
  Host host_;
  std::vector<std::u16string> refused_;
};

}  // namespace host_conformance
