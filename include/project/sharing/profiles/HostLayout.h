#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "foundation/core/except/Exception.h"
#include "project/exception/ProjectException.h"
#include "project/management/ProjectManager.h"
#include "project/sharing/SerializationData.h"
#include "project/sharing/TransformationHierarchy.h"
#include "project/sharing/profiles/ExportMacro.h"
#include "resource_core/BaseMsgID.h"

// The library was compiled against the host's headers as they stood. Whoever is compiled against other ones, and calls
// it, corrupts memory without a word. So let a program whose headers are its own call requireHostLayout when it starts;
// what CMake's find_package is given PROJECT_SHARING_HOST_INCLUDE_DIR for does it by itself. Compared are the sizes of
// what is passed, the places of members that are read as such, and the places of virtual operations. Two private
// members that changed places are not seen.
namespace project::sharing::profiles {

struct HostLayoutFact {
  const char* name;  // lives as long as the module
  std::size_t value;
};
using HostLayout = std::vector<HostLayoutFact>;

// What differs in the library from these facts, a line each, in their order; a fact that it does not know is passed
// over.
PROJECT_SHARING_PROFILES_EXPORT std::vector<std::string> hostLayoutDifferences(const HostLayout& ofCaller);

namespace host_layout {

// The place of a virtual operation in the table of its class. A pointer to it holds, in one word or the other, that
// place in bytes and a mark.
template <class Operation>
std::size_t placeOf(Operation operation) {
  std::uintptr_t words[2] = {};
  static_assert(sizeof(operation) == sizeof(words), "The C++ ABI is another one");
  std::memcpy(words, &operation, sizeof(words));
  return (words[0] + words[1]) / sizeof(void*);
}

// Tells an operation from others of its name by what it takes.
template <class Signature>
struct Taking;
template <class... Arguments>
struct Taking<void(Arguments...)> {
  template <class Class, class Result>
  static std::size_t place(Result (Class::*operation)(Arguments...)) {
    return placeOf(operation);
  }
  template <class Class, class Result>
  static std::size_t place(Result (Class::*operation)(Arguments...) const) {
    return placeOf(operation);
  }
};

}  // namespace host_layout

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
#define PROJECT_SHARING_SIZE(type) \
  { "the size of " #type, sizeof(type) }
#define PROJECT_SHARING_MEMBER(type, member) \
  { "the place of " #type "::" #member, offsetof(type, member) }
#define PROJECT_SHARING_OPERATION(type, operation, arguments) \
  { "the place of " #type "::" #operation #arguments, host_layout::Taking<void arguments>::place(&type::operation) }

// The facts as the calling file sees them: a function of that file alone.
[[maybe_unused]] static HostLayout hostLayout() {
  using namespace project::metadata;
  using namespace project::management;
  using foundation::core::except::IException;
  using foundation::core::except::IMsgIDException;
  using project::exception::ProjectException;
  using resource_core::BaseMsgID;
  using Path = fl::filesystem::path;
  using Exception = foundation::core::except::Exception<BaseMsgID, ProjectException>;
  using Nodes = std::map<MetadataPath, std::shared_ptr<MetadataNode>>;
  using Text = std::u16string;
  return {
      PROJECT_SHARING_SIZE(Path),
      PROJECT_SHARING_SIZE(PathElement),
      PROJECT_SHARING_SIZE(MetadataPath),
      PROJECT_SHARING_SIZE(MetadataPathBuilder),
      PROJECT_SHARING_SIZE(MetadataNodeSpecification),
      PROJECT_SHARING_SIZE(MetadataScopeGuard),
      PROJECT_SHARING_SIZE(CategoryIdentifier),
      PROJECT_SHARING_SIZE(LabelIdentifier),
      PROJECT_SHARING_SIZE(Label),
      PROJECT_SHARING_SIZE(FileLabel),
      PROJECT_SHARING_SIZE(TransformationHierarchy),
      PROJECT_SHARING_SIZE(SerializationData),
      PROJECT_SHARING_SIZE(BaseMsgID),
      PROJECT_SHARING_SIZE(ProjectException),
      PROJECT_SHARING_SIZE(Exception),
      PROJECT_SHARING_MEMBER(SerializationData, projectManagers),
      PROJECT_SHARING_MEMBER(SerializationData, projectPath),
      PROJECT_SHARING_MEMBER(BaseMsgID, arguments),
      PROJECT_SHARING_MEMBER(BaseMsgID, component),
      PROJECT_SHARING_MEMBER(BaseMsgID, key),
      PROJECT_SHARING_OPERATION(MetadataManager, beginReadScope, ()),
      PROJECT_SHARING_OPERATION(MetadataManager, beginWriteScope, ()),
      PROJECT_SHARING_OPERATION(MetadataManager, getNode, (const MetadataPath&)),
      PROJECT_SHARING_OPERATION(MetadataManager, setNodes, (const Nodes&)),
      PROJECT_SHARING_OPERATION(MetadataManager, getChildPaths, (const MetadataPath&)),
      PROJECT_SHARING_OPERATION(MetadataManager, removeNodes, (const std::vector<MetadataPath>&)),
      PROJECT_SHARING_OPERATION(MetadataManager, nodeExists, (MetadataPath)),
      PROJECT_SHARING_OPERATION(MetadataNode, getValue, (Text)),
      PROJECT_SHARING_OPERATION(MetadataNode, setValue, (Text, Text)),
      PROJECT_SHARING_OPERATION(ProjectManager, getLabelManager, ()),
      PROJECT_SHARING_OPERATION(ProjectManager, getFileManager, ()),
      PROJECT_SHARING_OPERATION(ProjectManager, getMetadataManager, ()),
      PROJECT_SHARING_OPERATION(LabelManager, getCategories, ()),
      PROJECT_SHARING_OPERATION(LabelManager, removeCategory, (const CategoryIdentifier&)),
      PROJECT_SHARING_OPERATION(LabelManager, getLabels, (const CategoryIdentifier&)),
      PROJECT_SHARING_OPERATION(LabelManager, removeLabel, (const CategoryIdentifier&, const LabelIdentifier&, bool)),
      PROJECT_SHARING_OPERATION(CategoryIdentifier, toString, ()),
      PROJECT_SHARING_OPERATION(LabelIdentifier, isRemovable, ()),
      PROJECT_SHARING_OPERATION(FileManager, getFiles, ()),
      PROJECT_SHARING_OPERATION(FileManager, getRootFolder, ()),
      PROJECT_SHARING_OPERATION(FileManager, getFileLabels, (const Path&)),
      PROJECT_SHARING_OPERATION(FileManager, isFolder, (const Path&)),
      PROJECT_SHARING_OPERATION(FileManager, removeFiles, (const std::vector<Path>&)),
      PROJECT_SHARING_OPERATION(TransformationHierarchy, apply, (SerializationData&)),
      PROJECT_SHARING_OPERATION(IException, what, ()),
      PROJECT_SHARING_OPERATION(IException, clone, ()),
      PROJECT_SHARING_OPERATION(IException, rethrow, ()),
      PROJECT_SHARING_OPERATION(IMsgIDException, GetBaseMsgIDObj, ()),
      PROJECT_SHARING_OPERATION(IMsgIDException, GetID, ()),
      PROJECT_SHARING_OPERATION(IMsgIDException, GetUnicodeMessageTxt, ()),
  };
}

#undef PROJECT_SHARING_SIZE
#undef PROJECT_SHARING_MEMBER
#undef PROJECT_SHARING_OPERATION
#pragma GCC diagnostic pop

// std::logic_error, with what differs, where the calling file was compiled against other headers than the library.
[[maybe_unused]] static void requireHostLayout() {
  std::string text;
  for (const std::string& difference : hostLayoutDifferences(hostLayout())) text += "\n  " + difference;
  if (!text.empty()) throw std::logic_error("the library was built against other headers of the host:" + text);
}

}  // namespace project::sharing::profiles
