#include "SampleHosts.h"

#include "folder_host/share/WorkingCopy.h"
#include "folder_host/store/Blob.h"
#include "folder_host/store/Store.h"
#include "folder_host/text/Utf.h"
#include "foundation/core/except/IMsgIDException.h"

namespace samples {

using folder_host::toBlob;
using folder_host::WorkingCopy;
using memory_host::MemoryMetadata;
using project::metadata::MetadataManager;
using project::metadata::MetadataPath;

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

// A profile's node has a name, an item's node a category.
void addNodes(Rows& rows, MetadataManager& metadata, const MetadataPath& top) {
  for (const MetadataPath& path : metadata.getChildPaths(top)) {
    const auto& elements = path.getElements();
    Row& row = rows.emplace_back(Row{path.getLeaf().getType()});
    for (std::size_t i = 1; i < elements.size(); ++i) row.push_back(elements[i].getLocation());
    if (elements.size() == 2) row.push_back(metadata.getNode(path)->getValue(u"Name"));
    if (elements.size() == 4) row.push_back(metadata.getNode(path)->getValue(u"Data"));
    if (elements.size() < 4) addNodes(rows, metadata, path);
  }
}

}  // namespace

const HostKind memoryHost{"memory_host", false, [](MemoryProject& project) { return copyInMemory(project); },
                          copyInMemory};
const HostKind folderHost{"folder_host", true, makeFolder, [](ProjectManager& project) {
                            return std::shared_ptr<ProjectManager>(dynamic_cast<WorkingCopy&>(project).clone());
                          }};

Rows storedIn(MetadataManager& metadata) {
  const auto scope = metadata.beginReadScope();
  Rows rows;
  addNodes(rows, metadata, pathOf({{u"Export", u"Root"}}));
  return rows;
}

Rows labelsAndEntriesIn(ProjectManager& project) {
  Rows rows;
  const auto& labels = project.getLabelManager();
  for (const auto& category : labels.getCategories()) {
    Row& row = rows.emplace_back(Row{u"category", category.toString()});
    for (const auto& label : labels.getLabels(category)) {
      row.push_back((label.isRemovable() == 0 ? u"kept " : u"") + label.getUUID());
    }
  }
  auto& files = project.getFileManager();
  for (const auto& file : files.getFiles()) {
    Row& row = rows.emplace_back(Row{files.isFolder(file) ? u"folder" : u"file", file.text()});
    for (const auto& label : files.getFileLabels(file)) row.push_back(label.getUUID());
  }
  for (Row& row : rows) std::sort(row.begin() + 2, row.end());
  return rows;
}

std::string errorOf(const std::function<void()>& action) {
  try {
    action();
    return {};
  } catch (const foundation::core::except::IMsgIDException& error) {
    return error.GetBaseMsgIDObj().key;
  } catch (const std::out_of_range&) {
    return "out of range";
  }
}

}  // namespace samples
