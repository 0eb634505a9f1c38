#include "StoreCalls.h"

#include <utility>

#include "Shape.h"

namespace bench {

using project::metadata::MetadataPath;
using project::metadata::MetadataPathBuilder;
using Kind = StoreCall::Kind;

namespace {

constexpr std::size_t ITEMS_OF_A_KIND = 250;
const std::u16string kinds[] = {u"FileLabel", u"IncludeFilesWithLabel", u"IncludeLabels", u"Label"};

MetadataPath root() { return MetadataPathBuilder().add(u"Export", u"Root").build(); }

MetadataPath below(const MetadataPath& path, const std::u16string& location) {
  return MetadataPathBuilder().add(path).add(u"Filter", location).build();
}

void append(std::vector<StoreCall>& calls, const std::vector<StoreCall>& more) {
  calls.insert(calls.end(), more.begin(), more.end());
}

void appendNames(std::vector<StoreCall>& calls, std::size_t profiles) {
  for (std::size_t i = 0; i < profiles; ++i) calls.push_back({Kind::node, profilePath(i), {}, {}});
}

std::vector<StoreCall> callsToLoad(std::size_t profile) {
  const MetadataPath path = profilePath(profile);
  std::vector<StoreCall> calls{{Kind::children, path, {}, {}}};
  for (const std::u16string& kind : kinds) {
    const MetadataPath filter = below(path, kind);
    calls.push_back({Kind::children, filter, {}, {}});
    for (std::size_t item = 0; item < ITEMS_OF_A_KIND; ++item) {
      calls.push_back({Kind::node, below(filter, itemOf(item).labelUUID), {}, {}});
    }
  }
  return calls;
}

}  // namespace

MetadataPath profilePath(std::size_t profile) {
  constexpr std::size_t PROFILES_BEGIN = 2000000000;
  return MetadataPathBuilder().add(root()).add(u"ExportProfile", uuidOf(PROFILES_BEGIN + profile)).build();
}

std::vector<StoreCall> callsToList(std::size_t profiles) {
  std::vector<StoreCall> calls{{Kind::exists, root(), {}, {}}, {Kind::children, root(), {}, {}}};
  for (std::size_t i = 0; i < profiles; ++i) append(calls, callsToLoad(i));
  return calls;
}

std::vector<StoreCall> callsToFindByName(std::size_t profiles) {
  std::vector<StoreCall> calls = callsToList(profiles);
  appendNames(calls, profiles);
  return calls;
}

std::vector<StoreCall> callsToCreate(std::size_t profiles) {
  std::vector<StoreCall> calls = callsToFindByName(profiles);
  calls.push_back({Kind::set, profilePath(0), u"Name", u"a name"});
  return calls;
}

std::vector<StoreCall> callsToSave(std::size_t profile) {
  const MetadataPath path = profilePath(profile);
  std::vector<StoreCall> calls{{Kind::children, path, {}, {}}};
  for (const std::u16string& kind : kinds) calls.push_back({Kind::remove, below(path, kind), {}, {}});
  for (const std::u16string& kind : kinds) {
    const MetadataPath filter = below(path, kind);
    calls.push_back({Kind::set, filter, {}, {}});
    for (std::size_t item = 0; item < ITEMS_OF_A_KIND; ++item) {
      const auto one = itemOf(item);
      calls.push_back({Kind::set, below(filter, one.labelUUID), u"Data", one.category});
    }
  }
  return calls;
}

}  // namespace bench
