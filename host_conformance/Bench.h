#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "HostConformance.h"

namespace host_conformance {

using Node = project::metadata::MetadataPath;
using Content = std::shared_ptr<project::metadata::MetadataNode>;

// What is compared, in forms that a failure prints.
using Texts = std::multiset<std::u16string>;
using Nodes = std::multiset<std::vector<std::u16string>>;                 // each: type, location, type, location...
using Labels = std::multiset<std::pair<std::u16string, std::u16string>>;  // each: the category's text, the UUID

class Bench;
using Clause = std::pair<const char*, void (*)(Bench&)>;  // a name for ever, and the check
using Clauses = std::vector<Clause>;
Clauses metadataClauses();
Clauses projectClauses();

Node at(const std::vector<std::u16string>& locations);  // all of one type
Nodes shown(const std::vector<Node>& nodes);
Texts shown(const std::vector<Path>& paths);
Content holding(const std::u16string& value);

template <class SomeLabel>
Labels shown(const std::vector<SomeLabel>& labels) {
  Labels keys;
  for (const SomeLabel& label : labels) keys.emplace(label.getCategory().toString(), label.getUUID());
  return keys;
}

// The metadata, in a scope that lasts as long as this.
struct Access {
  project::metadata::MetadataManager* operator->() const { return metadata; }

  project::metadata::MetadataManager* metadata;
  project::metadata::MetadataScopeGuard scope;
};

// Each of the first three lies in the one before; `like` is a folder whose name begins as the first one's.
struct Tree {
  Path folder, inner, deep, like, file;
};

// One clause and its host. A scope is opened for each access and parents are made one by one, so that a host with one
// fault fails in few clauses. A clause that wants a hook that is not there ends there, skipped.
class Bench : public testing::Test {
 public:
  Bench(void (*check)(Bench&), Host made) : check_(check), host_(std::move(made)) { use(host_.project); }
  ~Bench() override;

  template <class Hook>
  const Hook& hook(Hook Host::*member, const char* name) const {
    if (!(host_.*member)) throw Undeclared{name};
    return host_.*member;
  }
  void use(Project project);
  const Project& project() const { return host_.project; }

  Access reading() const { return {metadata.get(), metadata->beginReadScope()}; }
  Access writing() const { return {metadata.get(), metadata->beginWriteScope()}; }
  bool exists(const Node& node) const { return reading()->nodeExists(node); }
  Nodes existing(std::initializer_list<Node> nodes) const;
  Nodes children(const Node& node) const { return shown(reading()->getChildPaths(node)); }
  std::u16string valueAt(const Node& node) const;
  void write(const Node& node, const std::u16string& value = u"value") const;

  project::management::FileManager& files() const { return host_.project->getFileManager(); }
  project::management::LabelManager& labels() const { return host_.project->getLabelManager(); }
  Tree plant() const;
  Label addLabel(const char16_t* category, bool isRemovable = true) const {
    return hook(&Host::addLabel, "addLabel")(category, isRemovable);
  }
  void attach(const Path& entry, const Label& label) const { hook(&Host::attach, "attach")(entry, label); }
  Labels allLabels() const;
  void removeLabel(const Label& label) const {
    labels().removeLabel(label.getCategory(), label.getLabelIdentifier(), false);
  }

  std::shared_ptr<project::metadata::MetadataManager> metadata;

 private:
  struct Undeclared {
    const char* hook;
  };

  void TestBody() override;

  void (*check_)(Bench&);
  Host host_;
};

}  // namespace host_conformance
