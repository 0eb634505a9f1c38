// The headers of another host, which are compiled against and never run: what docs/host-guide.md lists, and no more.
#pragma once
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>
using Text = std::u16string;
namespace resource_core {
struct BaseMsgID {
  std::vector<std::variant<long, Text>> arguments;
  std::string component, key;
};
}  // namespace resource_core
namespace foundation::core::except {
struct IMsgIDException {
  static std::string get_error_id(const resource_core::BaseMsgID& record);
  virtual void rethrow() const;
  virtual IMsgIDException* clone() const;
  virtual const char* what() const noexcept;
  virtual Text GetUnicodeMessageTxt() const;
  virtual std::string GetID() const;
  virtual resource_core::BaseMsgID GetBaseMsgIDObj() const;
};
using IException = IMsgIDException;
template <class X, class Base>
struct Exception : Base, X {
  Exception(const Base& base, const X& x) : Base(base), X(x) {}
};
}  // namespace foundation::core::except
namespace project::exception {
struct ProjectException : foundation::core::except::IMsgIDException {};
}  // namespace project::exception
namespace fl::filesystem {
namespace detail {
Text extract_parent_path(const Text& text);
Text make_native_form(const Text& text, bool isFolder);
}  // namespace detail
template <class Narrow, class Wide, int Revision>
struct basic_path {
  virtual Text text() const;
  bool operator==(const basic_path& other) const;
};
using path = basic_path<char, char16_t, 7>;
}  // namespace fl::filesystem
template <>
struct std::hash<fl::filesystem::path> {
  std::size_t operator()(const fl::filesystem::path& path) const;
};
namespace project::metadata {
Text generateUUID();
struct PathElement {
  Text getType() const;
  virtual Text getLocation() const;
};
struct MetadataPath {
  PathElement getLeaf() const;
};
bool operator<(const MetadataPath& one, const MetadataPath& other);
struct MetadataPathBuilder {
  MetadataPathBuilder add(MetadataPath path);
  MetadataPathBuilder add(Text type, Text location);
  MetadataPath build() const;
};
struct MetadataNode {
  virtual void setValue(Text key, Text value);
  virtual Text getValue(Text key) const;
};
struct MetadataNodeSpecification : MetadataNode {
  void put(Text key, Text value);
};
struct MetadataScopeGuard {
  explicit MetadataScopeGuard(std::function<void()> end);
  std::unique_ptr<int> end;
};
struct MetadataManager {
  virtual bool nodeExists(MetadataPath path) = 0;
  virtual void removeNodes(const std::vector<MetadataPath>& paths) = 0;
  virtual std::vector<MetadataPath> getChildPaths(const MetadataPath& path) = 0;
  virtual void setNodes(const std::map<MetadataPath, std::shared_ptr<MetadataNode>>& nodes) = 0;
  virtual std::unique_ptr<MetadataNode> getNode(const MetadataPath& path) = 0;
  virtual MetadataScopeGuard beginWriteScope() = 0;
  virtual MetadataScopeGuard beginReadScope() = 0;
};
}  // namespace project::metadata
namespace project::management {
struct CategoryIdentifier {
  Text toString() const;
};
struct LabelIdentifier {
  bool isRemovable() const;
};
struct Label {
  Label(CategoryIdentifier category, LabelIdentifier label);
  Text getUUID() const;
  LabelIdentifier getLabelIdentifier() const;
  CategoryIdentifier getCategory() const;
};
struct FileLabel : Label {};
struct FileManager {
  virtual void removeFiles(const std::vector<fl::filesystem::path>& entries) = 0;
  virtual bool isFolder(const fl::filesystem::path& entry) = 0;
  virtual std::vector<FileLabel> getFileLabels(const fl::filesystem::path& entry) = 0;
  virtual fl::filesystem::path getRootFolder() = 0;
  virtual const std::vector<fl::filesystem::path>& getFiles() = 0;
};
struct LabelManager {
  virtual void removeLabel(const CategoryIdentifier& category, const LabelIdentifier& label, bool flag) = 0;
  virtual std::vector<LabelIdentifier> getLabels(const CategoryIdentifier& category) const = 0;
  virtual void removeCategory(const CategoryIdentifier& category) = 0;
  virtual std::vector<CategoryIdentifier> getCategories() const = 0;
};
struct ProjectManager {
  virtual std::shared_ptr<metadata::MetadataManager> getMetadataManager() = 0;
  virtual FileManager& getFileManager() = 0;
  virtual LabelManager& getLabelManager() = 0;
};
}  // namespace project::management
namespace project::sharing {
struct SerializationData {
  fl::filesystem::path projectPath;
  std::unordered_map<fl::filesystem::path, std::shared_ptr<management::ProjectManager>> projectManagers;
};
struct TransformationHierarchy {
  virtual void apply(SerializationData& data) const = 0;
  virtual ~TransformationHierarchy() = default;
};
}  // namespace project::sharing
