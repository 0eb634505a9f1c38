#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

#include "foundation/core/except/Exception.h"
#include "project/exception/ProjectException.h"
#include "project/management/ProjectManager.h"
#include "project/sharing/SerializationData.h"
#include "project/sharing/TransformationHierarchy.h"
#include "project/sharing/profiles/ExportMacro.h"
#include "resource_core/BaseMsgID.h"

// The library was compiled against the host's headers as they stood. Code that was compiled against other ones, and
// calls the library, corrupts memory without a word. So a program whose headers are its own calls requireHostLayout
// when it starts; one that finds the library by CMake, and gives it PROJECT_SHARING_HOST_INCLUDE_DIR, does so by
// itself.
// Compared are the sizes of classes and the members that are read as such; of each class with virtual operations, how
// many it has; and of the operations that the library or its caller calls, where they stand, what they take and what
// they give. Two private members that changed places are not noticed, nor are two base classes.
namespace project::sharing::profiles {

struct HostLayoutFact {
  std::string name;
  std::string value;
};
using HostLayout = std::vector<HostLayoutFact>;

// Gives a line for each of these facts that is another one in the library, in the order of the facts. A fact that the
// library does not know is passed over.
PROJECT_SHARING_PROFILES_EXPORT std::vector<std::string> hostLayoutDifferences(const HostLayout& ofCaller);

namespace host_layout {

// Gives the place of a virtual operation in the table of its class, and "none" for an operation that is not virtual.
// The pointer to a virtual operation holds, in one word or the other, that place in bytes and a mark, which makes the
// sum odd. The pointer to another one holds its address, which differs between modules.
template <class Operation>
std::string placeOf(Operation operation) {
  std::uintptr_t words[2] = {};
  static_assert(sizeof(operation) == sizeof(words), "The C++ ABI is another one");
  std::memcpy(words, &operation, sizeof(words));
  const std::uintptr_t sum = words[0] + words[1];
  return sum % 2 == 0 ? "none" : std::to_string(sum / sizeof(void*));
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
// Adds one virtual operation behind those of the class, so that its place is their number. No object is made of it.
template <class Class>
struct After : Class {
  virtual void end() = 0;
};
#pragma GCC diagnostic pop

// Picks, of several operations of one name, the one with these arguments. Where there is one with `const` and one
// without, it picks the one that agrees with the signature.
template <class Signature>
struct Taking;
template <class... Arguments>
struct Taking<void(Arguments...)> {
  template <class Class, class Result>
  static auto pointer(Result (Class::*operation)(Arguments...), int) {
    return operation;
  }
  template <class Class, class Result>
  static auto pointer(Result (Class::*operation)(Arguments...) const, long) {
    return operation;
  }
};
template <class... Arguments>
struct Taking<void(Arguments...) const> {
  template <class Class, class Result>
  static auto pointer(Result (Class::*operation)(Arguments...) const, int) {
    return operation;
  }
  template <class Class, class Result>
  static auto pointer(Result (Class::*operation)(Arguments...), long) {
    return operation;
  }
};

template <class Operation>
std::string describe(Operation operation) {
  return placeOf(operation) + " " + typeid(operation).name();
}

}  // namespace host_layout

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
#define PROJECT_SHARING_SIZE(type) \
  { "the size of " #type, std::to_string(sizeof(type)) }
#define PROJECT_SHARING_MEMBER(type, member)                                        \
  {                                                                                 \
    "the place and type of " #type "::" #member,                                    \
        std::to_string(offsetof(type, member)) + " " + typeid(&type::member).name() \
  }
#define PROJECT_SHARING_TABLE(type) \
  { "how many operations " #type " has", host_layout::placeOf(&host_layout::After<type>::end) }
#define PROJECT_SHARING_OPERATION(type, operation, signature)                               \
  {                                                                                         \
    "the place and type of " #type "::" #operation,                                         \
        host_layout::describe(host_layout::Taking<signature>::pointer(&type::operation, 0)) \
  }

// Gives the facts as the calling file sees them, since each file has a function of its own. The function is long
// because it is a table.
// NOLINTNEXTLINE(readability-function-size)
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
      PROJECT_SHARING_TABLE(MetadataManager),
      PROJECT_SHARING_TABLE(MetadataNode),
      PROJECT_SHARING_TABLE(ProjectManager),
      PROJECT_SHARING_TABLE(LabelManager),
      PROJECT_SHARING_TABLE(FileManager),
      PROJECT_SHARING_TABLE(CategoryIdentifier),
      PROJECT_SHARING_TABLE(LabelIdentifier),
      PROJECT_SHARING_TABLE(Label),
      PROJECT_SHARING_TABLE(FileLabel),
      PROJECT_SHARING_TABLE(TransformationHierarchy),
      PROJECT_SHARING_TABLE(ProjectException),
      PROJECT_SHARING_TABLE(IMsgIDException),
      PROJECT_SHARING_MEMBER(SerializationData, projectManagers),
      PROJECT_SHARING_MEMBER(SerializationData, projectPath),
      PROJECT_SHARING_MEMBER(BaseMsgID, arguments),
      PROJECT_SHARING_MEMBER(BaseMsgID, component),
      PROJECT_SHARING_MEMBER(BaseMsgID, key),
      PROJECT_SHARING_OPERATION(MetadataManager, beginReadScope, void()),
      PROJECT_SHARING_OPERATION(MetadataManager, beginWriteScope, void()),
      PROJECT_SHARING_OPERATION(MetadataManager, getNode, void(const MetadataPath&)),
      PROJECT_SHARING_OPERATION(MetadataManager, setNodes, void(const Nodes&)),
      PROJECT_SHARING_OPERATION(MetadataManager, getChildPaths, void(const MetadataPath&)),
      PROJECT_SHARING_OPERATION(MetadataManager, removeNodes, void(const std::vector<MetadataPath>&)),
      PROJECT_SHARING_OPERATION(MetadataManager, nodeExists, void(MetadataPath)),
      PROJECT_SHARING_OPERATION(MetadataNode, getValue, void(Text)),
      PROJECT_SHARING_OPERATION(MetadataNode, setValue, void(Text, Text)),
      PROJECT_SHARING_OPERATION(ProjectManager, getLabelManager, void()),
      PROJECT_SHARING_OPERATION(ProjectManager, getFileManager, void()),
      PROJECT_SHARING_OPERATION(ProjectManager, getMetadataManager, void()),
      PROJECT_SHARING_OPERATION(LabelManager, getCategories, void() const),
      PROJECT_SHARING_OPERATION(LabelManager, removeCategory, void(const CategoryIdentifier&)),
      PROJECT_SHARING_OPERATION(LabelManager, getLabels, void(const CategoryIdentifier&) const),
      PROJECT_SHARING_OPERATION(LabelManager, removeLabel,
                                void(const CategoryIdentifier&, const LabelIdentifier&, bool)),
      PROJECT_SHARING_OPERATION(CategoryIdentifier, toString, void() const),
      PROJECT_SHARING_OPERATION(LabelIdentifier, isRemovable, void() const),
      PROJECT_SHARING_OPERATION(FileManager, getFiles, void()),
      PROJECT_SHARING_OPERATION(FileManager, getRootFolder, void()),
      PROJECT_SHARING_OPERATION(FileManager, getFileLabels, void(const Path&)),
      PROJECT_SHARING_OPERATION(FileManager, isFolder, void(const Path&)),
      PROJECT_SHARING_OPERATION(FileManager, removeFiles, void(const std::vector<Path>&)),
      PROJECT_SHARING_OPERATION(TransformationHierarchy, apply, void(SerializationData&) const),
      PROJECT_SHARING_OPERATION(IException, what, void() const),
      PROJECT_SHARING_OPERATION(IException, clone, void() const),
      PROJECT_SHARING_OPERATION(IException, rethrow, void() const),
      PROJECT_SHARING_OPERATION(IMsgIDException, GetBaseMsgIDObj, void() const),
      PROJECT_SHARING_OPERATION(IMsgIDException, GetID, void() const),
      PROJECT_SHARING_OPERATION(IMsgIDException, GetUnicodeMessageTxt, void() const),
  };
}

#undef PROJECT_SHARING_SIZE
#undef PROJECT_SHARING_MEMBER
#undef PROJECT_SHARING_TABLE
#undef PROJECT_SHARING_OPERATION
#pragma GCC diagnostic pop

// Throws std::logic_error, which says what differs, where the calling file was compiled against other headers than the
// library.
[[maybe_unused]] static void requireHostLayout() {
  std::string text;
  for (const std::string& difference : hostLayoutDifferences(hostLayout())) text += "\n  " + difference;
  if (!text.empty()) throw std::logic_error("the library was built against other headers of the host:" + text);
}

}  // namespace project::sharing::profiles
