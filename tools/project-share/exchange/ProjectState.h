#pragma once

#include <map>
#include <string>
#include <vector>

#include "folder_host/store/LabelStore.h"
#include "folder_host/store/MetadataStore.h"
#include "words/StoredNodes.h"

namespace project_share {

struct LabelState {
  std::u16string category;  // its UUID
  std::u16string name;
  bool isProtected = false;
  std::vector<std::string> rules;                      // in their order
  std::map<std::string, folder_host::MarkKind> marks;  // by path
};

// All that a project's store says: what an export has, and an import puts. By UUID, and each label's category and each
// node's parent is here, too.
struct ProjectState {
  std::map<std::u16string, std::u16string> categories;  // names
  std::map<std::u16string, LabelState> labels;
  folder_host::MetadataStore::Nodes nodes;  // profiles, what is settled, and what nobody here knows
};

// To be called in a scope, so that it is of one moment.
ProjectState stateOf(const folder_host::LabelStore& labels, const folder_host::MetadataStore& metadata);

// Takes out the nodes right below the root that hold nothing: whoever makes a node below one makes it, and nobody
// removes it afterwards.
void dropIdleRoots(folder_host::MetadataStore::Nodes& nodes);

// Changes the store from the one state, which it has, to the other. To be called in a write scope.
void change(const ProjectState& from, const ProjectState& to, folder_host::LabelStore& labels,
            folder_host::MetadataStore& metadata);

// The label as the store lists it; it is one of the state's.
folder_host::LabelRecord recordOf(const ProjectState& state, const std::u16string& label);

}  // namespace project_share
