#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "project/metadata/MetadataPath.h"

namespace folder_host {

// A metadata node's key in the store: each part of its path, as a blob, after its length, so that the keys that begin
// with this one are exactly those of the node and of what lies below it. Of the empty path it is empty.
std::string nodeKeyOf(const project::metadata::MetadataPath& path);
std::string parentKeyOf(const project::metadata::MetadataPath& path);  // not of the empty path

// Makes a node's key that of a child.
void appendToNodeKey(std::string& key, const project::metadata::PathElement& child);

// The key of the node with that type and location, as blobs, below that one.
std::string childKeyOf(std::string_view parent, std::string_view type, std::string_view location);

// The path whose key it is; nothing where it is no key.
std::optional<project::metadata::MetadataPath> pathOfNodeKey(std::string_view key);

// The least key above all that begin with this one, which is not empty.
std::string endOfKeys(std::string key);

// The parent's key, and type and location as blobs, of a key that is not empty; nothing where it is no key.
std::optional<std::array<std::string, 3>> splitNodeKey(std::string_view key);

}  // namespace folder_host
