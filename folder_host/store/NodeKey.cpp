#include "folder_host/store/NodeKey.h"

#include <utility>
#include <vector>

#include "folder_host/store/Blob.h"
#include "folder_host/text/Utf.h"

namespace folder_host {

using project::metadata::MetadataPath;

namespace {

constexpr std::size_t LENGTH = 4;

// The length stands before the text: a separator could occur in a text, and two paths would be one.
void appendLength(std::string& key, std::size_t size) {
  for (const unsigned shift : {24U, 16U, 8U, 0U}) key += static_cast<char>(static_cast<unsigned char>(size >> shift));
}

void appendPart(std::string& key, const std::u16string& part) {
  appendLength(key, 2 * part.size());
  appendBlob(key, part);
}

// Takes one part off the front. The key may come from a stranger's store: a length is believed only where so many bytes
// are left.
std::optional<std::string> takePart(std::string_view& key) {
  if (key.size() < LENGTH) return std::nullopt;
  std::size_t size = 0;
  for (const char digit : key.substr(0, LENGTH)) size = (size << 8U) | static_cast<unsigned char>(digit);
  key.remove_prefix(LENGTH);
  if (key.size() < size) return std::nullopt;
  std::string part(key.substr(0, size));
  key.remove_prefix(size);
  return part;
}

}  // namespace

std::string nodeKeyOf(const MetadataPath& path) {
  std::string key;
  for (const auto& element : path.getElements()) appendToNodeKey(key, element);
  return key;
}

void appendToNodeKey(std::string& key, const project::metadata::PathElement& child) {
  appendPart(key, child.getType());
  appendPart(key, child.getLocation());
}

std::string childKeyOf(std::string_view parent, std::string_view type, std::string_view location) {
  std::string key(parent);
  for (const std::string_view part : {type, location}) {
    appendLength(key, part.size());
    key += part;
  }
  return key;
}

std::string parentKeyOf(const MetadataPath& path) {
  std::string key;
  const auto& elements = path.getElements();
  for (std::size_t i = 0; i + 1 < elements.size(); ++i) appendToNodeKey(key, elements[i]);
  return key;
}

std::optional<MetadataPath> pathOfNodeKey(std::string_view key) {
  std::vector<project::metadata::PathElement> elements;
  while (!key.empty()) {
    const auto type = takePart(key);
    const auto location = type ? takePart(key) : std::nullopt;
    if (!location) return std::nullopt;
    elements.emplace_back(fromBlob(*type), fromBlob(*location));
  }
  return MetadataPath(std::move(elements));
}

// The least key behind all that begin with this one. A byte 0xFF cannot be raised, so the one before it is. The first
// byte belongs to a length, and would be 0xFF only for a text of gigabytes.
std::string endOfKeys(std::string key) {
  while (static_cast<unsigned char>(key.back()) == 0xFF) key.pop_back();
  ++key.back();
  return key;
}

// From the front, because only a part's length tells where the next one begins. The last pair is the node itself.
std::optional<std::array<std::string, 3>> splitNodeKey(std::string_view key) {
  std::string_view rest = key;
  while (true) {
    const std::size_t parent = key.size() - rest.size();
    const auto type = takePart(rest);
    const auto location = type ? takePart(rest) : std::nullopt;
    if (!location) return std::nullopt;
    if (rest.empty()) return std::array<std::string, 3>{std::string(key.substr(0, parent)), *type, *location};
  }
}

}  // namespace folder_host
