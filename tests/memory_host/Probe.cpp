#include "memory_host/Probe.h"

#include <optional>
#include <utility>

namespace memory_host {

using namespace project::management;
using namespace project::metadata;
using fl::filesystem::path;

std::string narrow(const std::u16string& text) {
  std::string bytes;
  for (const char16_t unit : text) bytes += unit < 0x80 ? static_cast<char>(unit) : '?';
  return bytes;
}

void Probe::throwAt(std::size_t index, std::exception_ptr thrown, bool isLasting) {
  calls_.clear();
  throwAt_ = index;
  fault_ = std::move(thrown);
  isLasting_ = isLasting;
}

void Probe::call(std::string what) {
  if (onCall) onCall(what);
  calls_.push_back(std::move(what));
  if (throwAt_ != never && throwAt_-- == 0) {
    throwAt_ = isLasting_ ? 0 : never;
    std::rethrow_exception(fault_);
  }
}

void Probe::scopeEnds(const char* what, std::size_t depth) noexcept {
  areNested_ = areNested_ && depth == openScopes_;
  --openScopes_;
  calls_.emplace_back(what);
}

namespace {

std::string text(const MetadataPath& path) {
  std::string result;
  for (const PathElement& element : path.getElements()) {
    if (!result.empty()) result += '/';
    result += narrow(element.getType()) + ":" + narrow(element.getLocation());
  }
  return result;
}

template <class Paths, class Text>
std::string list(const Paths& paths, Text textOf) {
  std::string result;
  for (const auto& one : paths) result += (result.empty() ? "" : " ") + textOf(one);
  return result;
}

class ProbedNode final : public MetadataNode {
 public:
  ProbedNode(std::unique_ptr<MetadataNode> host, Probe& probe) : host_(std::move(host)), probe_(probe) {}

  const std::u16string& getValue(std::u16string key) override {
    return probe_.call("getValue " + narrow(key)), host_->getValue(std::move(key));
  }
  void setValue(std::u16string key, std::u16string value) override {
    probe_.call("setValue " + narrow(key) + "=" + narrow(value)), host_->setValue(std::move(key), std::move(value));
  }
  const std::shared_ptr<MetadataNode>& host() const { return host_; }

 private:
  std::shared_ptr<MetadataNode> host_;
  Probe& probe_;
};

class ProbedMetadata final : public MetadataManager {
 public:
  ProbedMetadata(std::shared_ptr<MetadataManager> host, Probe& probe) : host_(std::move(host)), probe_(probe) {}

  MetadataScopeGuard beginReadScope() override { return watched("ReadScope", &MetadataManager::beginReadScope); }
  MetadataScopeGuard beginWriteScope() override { return watched("WriteScope", &MetadataManager::beginWriteScope); }
  std::unique_ptr<MetadataNode> getNode(const MetadataPath& path) override {
    probe_.call("getNode " + text(path));
    std::unique_ptr<MetadataNode> node = host_->getNode(path);
    if (!node) return nullptr;
    return std::make_unique<ProbedNode>(std::move(node), probe_);
  }
  void setNodes(const std::map<MetadataPath, std::shared_ptr<MetadataNode>>& nodes) override {
    std::map<MetadataPath, std::shared_ptr<MetadataNode>> unwrapped;
    std::string what = "setNodes";
    for (const auto& [path, node] : nodes) {
      what += " " + text(path);
      if (const auto* specification = dynamic_cast<const MetadataNodeSpecification*>(node.get())) {
        for (const auto& [key, value] : specification->values()) what += " " + narrow(key) + "=" + narrow(value);
      }
      const auto* wrapped = dynamic_cast<const ProbedNode*>(node.get());
      unwrapped.emplace(path, wrapped ? wrapped->host() : node);
    }
    probe_.call(what);
    host_->setNodes(unwrapped);
  }
  std::vector<MetadataPath> getChildPaths(const MetadataPath& path) override {
    return probe_.call("getChildPaths " + text(path)), host_->getChildPaths(path);
  }
  void removeNodes(const std::vector<MetadataPath>& paths) override {
    probe_.call("removeNodes [" + list(paths, text) + "]"), host_->removeNodes(paths);
  }
  bool nodeExists(MetadataPath path) override {
    return probe_.call("nodeExists " + text(path)), host_->nodeExists(std::move(path));
  }

 private:
  // The guard is made first: what fails after that finds every scope that began ending.
  MetadataScopeGuard watched(const std::string& scope, MetadataScopeGuard (MetadataManager::*begin)()) {
    auto inner = std::make_shared<std::optional<MetadataScopeGuard>>();
    auto depth = std::make_shared<std::size_t>();
    MetadataScopeGuard outer([this, inner, depth, what = "end" + scope] {
      if (!*inner) return;
      inner->reset();
      probe_.scopeEnds(what.c_str(), *depth);
    });
    probe_.call("begin" + scope);
    inner->emplace((*host_.*begin)());
    *depth = probe_.scopeBegins();
    return outer;
  }

  std::shared_ptr<MetadataManager> host_;
  Probe& probe_;
};

class ProbedProject final : public ProjectManager, private LabelManager, private FileManager {
 public:
  ProbedProject(ProjectManager& host, Probe& probe)
      : host_(host), labels_(host.getLabelManager()), files_(host.getFileManager()), probe_(probe) {}

  LabelManager& getLabelManager() override { return probe_.call("getLabelManager"), *this; }
  FileManager& getFileManager() override { return probe_.call("getFileManager"), *this; }
  std::shared_ptr<MetadataManager> getMetadataManager() override {
    return probe_.call("getMetadataManager"), probed(host_.getMetadataManager(), probe_);
  }

 private:
  std::vector<CategoryIdentifier> getCategories() const override {
    return probe_.call("getCategories"), labels_.getCategories();
  }
  void removeCategory(const CategoryIdentifier& category) override {
    probe_.call("removeCategory " + narrow(category.toString())), labels_.removeCategory(category);
  }
  std::vector<LabelIdentifier> getLabels(const CategoryIdentifier& category) const override {
    return probe_.call("getLabels " + narrow(category.toString())), labels_.getLabels(category);
  }
  void removeLabel(const CategoryIdentifier& category, const LabelIdentifier& label, bool flag) override {
    const std::string which = narrow(category.toString()) + "/" + narrow(label.getUUID());
    probe_.call("removeLabel " + which + (flag ? " true" : " false")), labels_.removeLabel(category, label, flag);
  }

  std::vector<path> getFiles() override { return probe_.call("getFiles"), files_.getFiles(); }
  path getRootFolder() override { return probe_.call("getRootFolder"), files_.getRootFolder(); }
  std::vector<FileLabel> getFileLabels(const path& entry) override {
    return probe_.call("getFileLabels " + narrow(entry.text())), files_.getFileLabels(entry);
  }
  bool isFolder(const path& entry) override {
    return probe_.call("isFolder " + narrow(entry.text())), files_.isFolder(entry);
  }
  std::vector<path> removeFiles(const std::vector<path>& entries) override {
    probe_.call("removeFiles [" + list(entries, [](const path& entry) { return narrow(entry.text()); }) + "]");
    return files_.removeFiles(entries);
  }

  ProjectManager& host_;
  LabelManager& labels_;
  FileManager& files_;
  Probe& probe_;
};

}  // namespace

std::unique_ptr<ProjectManager> probed(ProjectManager& host, Probe& probe) {
  return std::make_unique<ProbedProject>(host, probe);
}

std::shared_ptr<MetadataManager> probed(const std::shared_ptr<MetadataManager>& host, Probe& probe) {
  return host ? std::make_shared<ProbedMetadata>(host, probe) : nullptr;
}

}  // namespace memory_host
