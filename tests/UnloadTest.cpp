// The library as a plug-in: loaded, with its symbols kept to itself, by a program that defines the host's functions and
// is not linked to it; used through its interfaces; unloaded; and all that again.

#include <dlfcn.h>

#include "Samples.h"
#include "foundation/core/except/IMsgIDException.h"
#include "project/exception/ProjectException.h"

namespace {

using memory_host::MemoryProject;
using project::metadata::MetadataManager;
using samples::ExportProfileManager;

class Library {
 public:
  Library() : handle_(dlopen(PROJECT_SHARING_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {
    if (!handle_) throw std::runtime_error(dlerror());
  }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
  ~Library() { dlclose(handle_); }

  std::unique_ptr<ExportProfileManager> createManager(std::shared_ptr<MetadataManager> metadata) const {
    void* found =
        dlsym(handle_, "_ZN7project7sharing8profiles13createManagerESt10shared_ptrINS_8metadata15MetadataManagerEE");
    if (!found) throw std::runtime_error(dlerror());
    using CreateManager = std::unique_ptr<ExportProfileManager>(std::shared_ptr<MetadataManager>);
    return reinterpret_cast<CreateManager*>(found)(std::move(metadata));
  }

 private:
  void* handle_;
};

bool isLoaded() {
  void* handle = dlopen(PROJECT_SHARING_LIBRARY, RTLD_NOW | RTLD_NOLOAD);
  if (handle) dlclose(handle);
  return handle != nullptr;
}

void editAndApply(const Library& library) {
  MemoryProject project;
  project.addFile(u"/p/a");
  const auto manager = library.createManager(project.metadata);
  const auto profile = manager->createProfile(u"public", u"1");
  profile->addFilter(u"IncludeFilesWithLabel", {});
  profile->save();
  manager->getProfileByName(u"public")->apply(project);
  EXPECT_TRUE(project.texts().empty());
  // This program is not linked to the library, and so does not have the types of its errors.
  try {
    manager->getProfileByUUID(u"none");
    ADD_FAILURE() << "nothing is thrown";
  } catch (const project::exception::ProjectException& error) {
    const auto& record = dynamic_cast<const foundation::core::except::IMsgIDException&>(error).GetBaseMsgIDObj();
    EXPECT_EQ(record.key, std::string("ExportProfileUuidNotFound"));
  }
}

TEST(Unload, LeavesNothingBehindHoweverOftenTheLibraryIsUsed) {
  for (int i = 0; i < 3; ++i) {
    {
      const Library library;
      ASSERT_TRUE(isLoaded());
      editAndApply(library);
    }
    ASSERT_FALSE(isLoaded());
  }
}

}  // namespace
