#include <thread>

#include "Samples.h"
#include "project/sharing/SerializationData.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"

// What the headers promise to several threads; of use in a build that watches them.
namespace {

using namespace project::sharing::profiles;
using memory_host::MemoryProject;

constexpr std::size_t threads = 4;

// Runs the action in several threads at once, each with its number, and waits for all.
template <class Action>
void together(const Action& action) {
  std::vector<std::thread> running;
  for (std::size_t i = 0; i < threads; ++i) running.emplace_back([&action, i] { action(i); });
  for (std::thread& one : running) one.join();
}

// First, while nothing has asked for it yet.
TEST(Threads, GetTheReservedUuidThatTheFirstOfThemMakes) {
  const std::u16string* found[threads] = {};
  together([&](std::size_t i) { found[i] = &getWholeProjectUUID(); });
  for (const auto* one : found) EXPECT_EQ(one, found[0]);
  EXPECT_EQ(*found[0], u"wholeproject");
}

TEST(Threads, ReadOneFilterAtOnce) {
  const auto filter = samples::filterOf(EXCLUDE_LABEL, {{u"c", u"a"}, {u"c", u"b"}});
  together([&](std::size_t) {
    for (int i = 0; i < 100; ++i) {
      EXPECT_EQ(filter->getType(), u"Label");
      EXPECT_TRUE(filter->getItems().front() < filter->getItems().back());
    }
  });
}

TEST(Threads, ApplyOneTransformationToAProjectEach) {
  const ExportProfileTransformation transformation(u"1");
  MemoryProject projects[threads];
  for (MemoryProject& project : projects) {
    for (const auto* label : {u"i", u"k"}) project.addFile(std::u16string(u"/p/") + label, {{u"c", label}});
    const auto profile = createManager(project.metadata)->createProfile(u"public", u"1");
    for (const auto& kind : {EXCLUDE_FILES_WITH_LABEL, EXCLUDE_LABEL}) profile->addFilter(kind, {{u"c", u"i"}});
    profile->save();
  }
  together([&](std::size_t i) {
    project::sharing::SerializationData data;
    data.projectManagers[data.projectPath] = std::shared_ptr<MemoryProject>(&projects[i], [](auto*) {});
    transformation.apply(data);
  });
  for (const MemoryProject& project : projects) EXPECT_EQ(project.texts(), std::vector<std::u16string>{u"/p/k"});
}

}  // namespace
