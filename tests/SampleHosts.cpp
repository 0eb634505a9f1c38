#include "SampleHosts.h"

#include "folder_host/share/WorkingCopy.h"
#include "folder_host/store/Blob.h"
#include "folder_host/store/Store.h"
#include "folder_host/text/Utf.h"

namespace samples {

using folder_host::toBlob;
using folder_host::WorkingCopy;
using memory_host::MemoryMetadata;

namespace {

std::shared_ptr<ProjectManager> copyInMemory(ProjectManager& project) {
  const auto copy = std::make_shared<MemoryProject>(dynamic_cast<MemoryProject&>(project));
  copy->metadata = std::make_shared<MemoryMetadata>(dynamic_cast<MemoryMetadata&>(*copy->metadata));
  return copy;
}

std::shared_ptr<ProjectManager> makeFolder(MemoryProject& project) {
  const auto store = folder_host::Store::inMemory();
  for (const auto& category : project.categories) store->run("INSERT INTO category VALUES(?, '')", {toBlob(category)});
  for (const auto& [label, isRemovable] : project.labels) {
    store->run("INSERT INTO label VALUES(?, ?, '', CAST(? AS INTEGER))",
               {toBlob(label.second), toBlob(label.first), isRemovable == 0 ? "1" : "0"});
  }
  folder_host::Listing listing;
  for (const auto& [name, isFolder, labels] : project.entries) {
    const std::string path = folder_host::toBytes(name.text().substr(3));
    using Kind = folder_host::EntryKind;
    listing.entries.push_back({path, isFolder ? Kind::folder : Kind::file, {}});
    for (const auto& label : labels) store->run("INSERT INTO attachment VALUES(?, ?)", {path, toBlob(label.second)});
  }
  const auto folder =
      std::make_shared<WorkingCopy>("/p", store, std::make_shared<const folder_host::Listing>(std::move(listing)));
  for (const auto& [path, node] : project.metadata->nodes) {
    folder->getMetadataManager()->setNodes(
        {{path, std::make_shared<project::metadata::MetadataNodeSpecification>(node)}});
  }
  return folder;
}

}  // namespace

const HostKind memoryHost{"memory_host", false, [](MemoryProject& project) { return copyInMemory(project); },
                          copyInMemory};
const HostKind folderHost{"folder_host", true, makeFolder, [](ProjectManager& project) {
                            return std::shared_ptr<ProjectManager>(dynamic_cast<WorkingCopy&>(project).clone());
                          }};

}  // namespace samples
