// A store that holds anything at and below the profiles, and a project with any labels and entries.

#include <stdexcept>

#include "Fuzz.h"
#include "memory_host/MemoryHost.h"
#include "project/sharing/profiles/ExportFilter.h"
#include "project/sharing/profiles/ExportProfile.h"
#include "project/sharing/profiles/ExportProfileManager.h"

using namespace memory_host;
using namespace project::sharing::profiles;

namespace {

struct Choices {
  const std::uint8_t* next;
  const std::uint8_t* end;

  unsigned below(unsigned limit) { return next == end ? 0 : *next++ % limit; }
  std::u16string text() {
    static const std::u16string TEXTS[] = {
        u"a",        u"b",      u"Label", u"FileLabel", u"IncludeLabels", u"IncludeFilesWithLabel",
        u"/p/a",     u"/p/a/b", u"/p",    u"Name",      u"Filter",        u"Data",
        u"/p/a/b/c", u"",       u"\xd800"};
    const unsigned chosen = below(16);
    return chosen < std::size(TEXTS) ? TEXTS[chosen]
                                     : std::u16string(below(4), static_cast<char16_t>(257 * below(256)));
  }
  std::u16string mostly(const char16_t* usual) { return below(16) == 15 ? text() : usual; }
  LabelKey label() { return {text(), text()}; }
};

void addNode(MemoryProject& project, Choices& choices) {
  MetadataPathBuilder path;
  path.add(u"Export", u"Root");
  const unsigned depth = choices.below(4);
  for (unsigned i = 0; i <= depth; ++i) {
    const std::u16string type = choices.mostly(i == 0 ? u"ExportProfile" : u"Filter");
    path.add(type, choices.text());
  }
  const auto node = std::make_shared<MetadataNodeSpecification>();
  const std::u16string key = choices.mostly(depth == 0 ? u"Name" : u"Data");
  node->put(key, choices.text());
  project.metadata->setNodes({{path.build(), node}});
}

void addEntry(MemoryProject& project, Choices& choices) {
  std::set<LabelKey> labels;
  for (unsigned i = choices.below(3); i > 0; --i) labels.insert(choices.label());
  choices.below(2) == 0 ? project.addFolder(choices.text(), labels) : project.addFile(choices.text(), labels);
}

void addLabel(MemoryProject& project, Choices& choices) {
  const auto [category, uuid] = choices.label();
  project.addLabel(category, uuid, choices.below(16) == 15 ? 0 : 1);
}

// Whether each profile has its name and each item its category.
bool isWhole(const MemoryProject& project) {
  return std::all_of(project.metadata->nodes.begin(), project.metadata->nodes.end(), [](const auto& one) {
    const auto& path = one.first.getElements();
    const auto has = [&](const char16_t* key) { return one.second.values().count(key) != 0; };
    if (path.size() < 2 || path[1].getType() != u"ExportProfile") return true;
    return (path.size() != 2 || has(u"Name")) && (path.size() != 4 || path[3].getType() != u"Filter" || has(u"Data"));
  });
}

// From the first time on: of a label that two filters of a kind name, which become one, one category stays.
void requireThatItIsKept(ExportProfile& profile, ExportProfileManager& manager, const MemoryProject& project) {
  MemoryProject once(project), twice(project);
  profile.save();
  const auto saved = manager.getProfileByUUID(profile.getUUID());
  saved->apply(once);
  saved->save();
  const auto again = manager.getProfileByUUID(profile.getUUID());
  again->apply(twice);
  require(once.texts() == twice.texts() && once.labels == twice.labels && again->getName() == profile.getName(),
          "what is saved and read again is the same");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  Choices choices{bytes, bytes + size};
  MemoryProject project;
  void (*const adders[])(MemoryProject&, Choices&) = {addNode, addNode, addEntry, addLabel};
  while (choices.next != choices.end) adders[choices.below(4)](project, choices);
  const bool whole = isWhole(project);
  const auto manager = createManager(project.metadata);
  try {
    for (const auto& profile : manager->getProfiles()) {
      requireThatItIsKept(*profile, *manager, project);
    }
  } catch (const std::out_of_range&) {
    require(!whole, "nothing is missed but what is missing in the store");
  }
  return 0;
}
