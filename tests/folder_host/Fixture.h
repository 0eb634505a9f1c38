#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "folder_host/Error.h"
#include "folder_host/FolderProject.h"
#include "folder_host/files/Listing.h"
#include "folder_host/share/HandOut.h"
#include "folder_host/share/WorkingCopy.h"
#include "project/sharing/SerializationData.h"
#include "project/sharing/TransformationHierarchy.h"

namespace folder_host {

// The identifier of the refusal that `act` ends with; empty when it succeeds.
std::string refusalOf(const std::function<void()>& act);

std::string read(const std::filesystem::path& file);
void write(const std::filesystem::path& file, const std::string& content);
// What the lock of the staging folder of that name says.
std::string lockTextOf(const std::string& folder, const std::string& name);

// Runs SQL on a store file by a connection of its own that overwrites nothing it deletes.
void runSql(const std::filesystem::path& store, const std::string& sql);

// From a name each: "a/" a folder, "a" a file, "a>b" a link to b.
std::shared_ptr<const Listing> listingOf(const std::vector<std::string>& names);
std::vector<std::string> namesOf(const std::vector<const Entry*>& entries);

// The entry at a path relative to the copy's root.
fl::filesystem::path at(WorkingCopy& copy, const std::string& relative);
std::vector<fl::filesystem::path> at(WorkingCopy& copy, const std::vector<std::string>& relative);

// Does to the one project that it is given what a test says.
class Transformation final : public project::sharing::TransformationHierarchy {
 public:
  using Change = std::function<void(project::management::ProjectManager&)>;

  explicit Transformation(Change change = nullptr) : change_(std::move(change)) {}
  ~Transformation() override;
  void apply(project::sharing::SerializationData& data) const override;

 private:
  Change change_;
};

// Judges by the transformation alone, and hands out what is shared then.
HandedOut share(const std::shared_ptr<WorkingCopy>& copy, const project::sharing::TransformationHierarchy& change,
                const std::string& destination, const HandOutOptions& options = {});

// What is shared by the labels that the entries have and by those that they had.
std::shared_ptr<WorkingCopy> judged(const FolderProject& project, const project::sharing::TransformationHierarchy& by);

// A folder of its own, without links on its path, that goes with it.
struct TemporaryFolder {
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  std::filesystem::path path;
};

// Fails where a descriptor is left open.
class FolderTest : public ::testing::Test {
 public:
  FolderTest();
  ~FolderTest() override;

 protected:
  // Makes a file with what it lies in.
  void put(const std::string& file, const std::string& content = "content") const;
  std::string in(const std::string& path) const { return (folder_ / path).string(); }
  // Everything below a folder by relative path, sorted.
  std::vector<std::string> tree(const std::string& path) const;

  const TemporaryFolder temporary_;
  const std::filesystem::path& folder_ = temporary_.path;

 private:
  const std::ptrdiff_t descriptors_;
};

}  // namespace folder_host
