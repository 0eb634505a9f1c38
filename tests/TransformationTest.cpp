#include <gtest/gtest.h>

#include <stdexcept>

#include "Samples.h"
#include "project/sharing/SerializationData.h"
#include "project/sharing/profiles/ExportProfileErrors.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"

namespace {

using namespace project::sharing::profiles;
using fl::filesystem::path;

template <class X>
using ErrorOf = foundation::core::except::Exception<X, project::exception::ProjectException>;

class Transformation : public testing::Test {
 protected:
  Transformation() {
    project->addLabel(u"c", u"internal");
    project->addFile(u"/p/secret", {{u"c", u"internal"}});
    project->addFile(u"/p/open");
    data.projectManagers[path(u"/p", true)] = project;
    data.projectPath = path(u"/p", false);  // the flag is no part of a path's identity
  }

  std::shared_ptr<memory_host::MemoryProject> project = std::make_shared<memory_host::MemoryProject>();
  project::sharing::SerializationData data;
};

TEST_F(Transformation, StripsByTheProfileAsItIsStoredAtEachApplication) {
  const auto profile = createManager(project->metadata)->createProfile(u"public", u"u");
  const ExportProfileTransformation transformation(u"u");
  transformation.apply(data);
  EXPECT_EQ(project->texts().size(), 2U);
  profile->addFilter(EXCLUDE_LABEL, {{u"c", u"internal"}});
  profile->addFilter(EXCLUDE_FILES_WITH_LABEL, {{u"c", u"internal"}});
  profile->save();
  transformation.apply(data);
  EXPECT_EQ(project->texts(), std::vector<std::u16string>{u"/p/open"});
  EXPECT_TRUE(project->getCategories().empty());
}

TEST_F(Transformation, FailsForWhatIsNotThere) {
  using namespace ORCHID::project::sharing;
  for (const std::u16string uuid : {u"WholeProject", u"wholeproject2", u""}) {
    const ExportProfileTransformation transformation(uuid);
    EXPECT_EQ(transformation.getUUID(), uuid);
    EXPECT_THROW(transformation.apply(data), ErrorOf<ExportProfileUuidNotFound>);
  }
  project->metadata.reset();
  EXPECT_THROW(ExportProfileTransformation(u"u").apply(data), ErrorOf<ExportProfilesStartupFailure>);
  data.projectManagers.clear();
  EXPECT_EQ(&getWholeProjectUUID(), &getWholeProjectUUID());
  EXPECT_NO_THROW(ExportProfileTransformation(u"wholeproject").apply(data)) << "the whole project needs nothing";
  try {
    ExportProfileTransformation(u"u").apply(data);
    FAIL();
  } catch (const std::out_of_range& error) {
    EXPECT_STREQ(error.what(), "unordered_map::at");
  }
}

TEST_F(Transformation, GoesOnWithTheProjectThatItFound) {
  createManager(project->metadata)->createProfile(u"named by no text", u"");
  memory_host::Probe probe;
  data.projectManagers[data.projectPath] = memory_host::probed(*project, probe);
  probe.onCall = [&](const std::string& call) {
    if (call == "getMetadataManager") data.projectManagers.clear();
  };
  EXPECT_NO_THROW(ExportProfileTransformation(u"").apply(data));
}

}  // namespace
