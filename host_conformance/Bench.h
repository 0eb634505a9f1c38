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

// Of the host's classes the suite uses what the library uses, so that it compiles with every host that the library
// compiles with. It names nodes by texts of its own: each a type and a location, from the top down.
using Node = std::vector<std::pair<std::u16string, std::u16string>>;
using Nodes = std::multiset<Node>;
using Content = std::shared_ptr<project::metadata::MetadataNode>;
using Metadata = std::shared_ptr<project::metadata::MetadataManager>;

// What a project holds: an entry, a label on one, a label, a category. Each in words that a failure prints.
using Facts = std::multiset<std::vector<std::u16string>>;

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
std::vector<std::u16string> hardNames(std::u16string_view without);  // the empty one is none
std::u16string number(std::size_t value);

// A node as the library has it: the root of all profiles, below it a profile, its filter, the filter's item, and what
// the library passes over.
Node at(const std::vector<std::u16string>& locations);
Node operator+(Node node, const std::u16string& location);
project::metadata::MetadataPath pathOf(const Node& node);
Content holding(const std::u16string& value);

Facts factsOf(project::management::ProjectManager& project);

// Of much, the first that is too much and the first that is missing.
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

// A thousand, of this process and of one that runs this program again: none where that fails. In that process,
// tellUuidsIfAsked does not return.
using Uuids = std::vector<std::string>;
Uuids uuidsOfThisProcess();
Uuids uuidsOfAnotherProcess();
void tellUuidsIfAsked();

// The metadata, in a scope that lasts as long as this.
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
  std::size_t folder;  // that holds it, by its number; TOP where it lies in the root folder
  std::set<Key> labels;
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

  // A name that is refused is left out: it gives TOP, and no label.
  std::size_t addEntry(std::size_t folder, const std::u16string& name, bool isFolder);
  void addLabels(const std::vector<std::u16string>& categories, bool isRemovable = true);
  void attach(std::size_t entry, const Label& label);
  // Files and folders of hard names, equal names in several folders, empty folders, folders thirty deep.
  void plant();
  void removeLabel(project::management::ProjectManager& from, const Label& label) const;

  // What the project has to hold: no entry that does not stay, but those above a file that does; nothing that lies in
  // one that has gone; no label that goes, and no category whose last label has gone so.
  Facts facts(
      const std::function<bool(const Entry&)>& stays = [](const Entry&) { return true; },
      const std::function<bool(const Known&)>& goes = [](const Known&) { return false; }) const;

  Metadata metadata;
  std::vector<Entry> entries;
  std::vector<Known> labels;
  std::set<std::u16string> categories;

 private:
  struct Undeclared {
    const char* hook;
  };

  void TestBody() override;
  std::vector<bool> left(const std::function<bool(const Entry&)>& stays) const;

  void (*check_)(Bench&);
  Host host_;
  std::vector<std::u16string> refused_;
};

}  // namespace host_conformance
