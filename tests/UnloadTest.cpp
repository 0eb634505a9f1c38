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
using samples::store;

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
  project.addLabel(u"audience", u"internal");
  project.addFile(u"/p/goes", {{u"audience", u"internal"}});
  project.addFile(u"/p/stays");

  const auto manager = library.createManager(project.metadata);
  manager->createProfile(u"public", u"1");
  store(*project.metadata,
        {{u"Export", u"Root"}, {u"ExportProfile", u"1"}, {u"Filter", u"FileLabel"}, {u"Filter", u"internal"}}, u"Data",
        u"audience");
  const auto profile = manager->getProfileByUUID(u"1");
  profile->addFilter(u"Label", profile->getFilters().at(0)->getItems());
  profile->save();
  manager->getProfileByName(u"public")->apply(project);

  EXPECT_EQ(project.texts(), std::vector<std::u16string>{u"/p/stays"});
  EXPECT_TRUE(project.getCategories().empty());
  // The types of the library's errors are not to be had by whoever is not linked to it.
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
