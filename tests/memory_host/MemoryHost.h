#pragma once

#include <atomic>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tiny_host/TinyHost.h"

// The tiny host, watched and strict. Entries come in the order in which they were added.
namespace memory_host {

using namespace tiny_host;
using Path = fl::filesystem::path;

// Undoes nothing: what is written in a scope that an exception ends remains.
class MemoryMetadata : public TinyMetadata {
 public:
  ~MemoryMetadata() override;

  MetadataScopeGuard beginWriteScope() override { return MetadataScopeGuard(nullptr); }
  // All of the nodes or, where it throws, none.
  void setNodes(const std::map<MetadataPath, std::shared_ptr<MetadataNode>>& given) override;
};

class MemoryProject : public TinyProject {
 public:
  MemoryProject() { metadata = std::make_shared<MemoryMetadata>(); }
  ~MemoryProject() override;
  MemoryProject(const MemoryProject&) = default;
  MemoryProject& operator=(const MemoryProject&) = default;

  void addLabel(const std::u16string& category, const std::u16string& uuid, int isRemovable = 1);
  // A label need not be in a category of the project. Paths have one flag and the other in turn.
  void addFile(const std::u16string& text, const std::set<LabelKey>& attached = {}) { add(text, false, attached); }
  void addFolder(const std::u16string& text, const std::set<LabelKey>& attached = {}) { add(text, true, attached); }
  // The texts of the entries that were not removed, in order.
  std::vector<std::u16string> texts() const;

  // Removes one entry for each that is listed. A path has to come back as it was given out: std::logic_error.
  std::vector<Path> removeFiles(const std::vector<Path>& removed) override;

 private:
  void add(const std::u16string& text, bool isFolder, const std::set<LabelKey>& attached);
};

// What the host's functions were asked for so far: parents, what they must never be given (an empty text, a false
// flag), identifiers of errors.
extern std::atomic<std::size_t> parentsAsked, misuses, errorIdentifiersMade;

// The one fault of this process's host: none, but where the suite for hosts is shown to find it.
extern std::string fault;
inline bool is(std::string_view text) { return text == fault; }

}  // namespace memory_host
