#include <gtest/gtest.h>

#include "Samples.h"
#include "project/exception/ProjectException.h"
#include "project/sharing/SerializationData.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"

// Which calls reach the host, in which order: hosts rely on it.
namespace {

using namespace project::sharing::profiles;
using memory_host::MemoryProject;
using memory_host::Probe;
using samples::Calls;

// Two profiles, stored in this order: "b" (1) with a label filter of one item, "a" (2) with a node that is no filter.
class CallSequence : public testing::Test {
 protected:
  CallSequence() {
    samples::store(*host.metadata, {root, {u"ExportProfile", u"1"}}, u"Name", u"b");
    samples::store(*host.metadata, {root, {u"ExportProfile", u"2"}}, u"Name", u"a");
    samples::store(*host.metadata, {root, {u"ExportProfile", u"1"}, {u"Filter", u"Label"}, {u"Filter", u"l"}}, u"Data",
                   u"c");
    samples::store(*host.metadata, {root, {u"ExportProfile", u"2"}, {u"Any", u"no kind"}, {u"Filter", u"l"}}, u"Data",
                   u"c");
    manager = createManager(
        memory_host::probed(std::static_pointer_cast<project::metadata::MetadataManager>(host.metadata), probe));
  }
  template <class Action>
  Calls callsOf(Action action) {
    probe.clear();
    action();
    return probe.calls();
  }

  const project::metadata::PathElement root{u"Export", u"Root"};
  MemoryProject host;
  Probe probe;
  std::unique_ptr<ExportProfileManager> manager;
};

const std::string P1 = "Export:Root/ExportProfile:1", P2 = "Export:Root/ExportProfile:2";

Calls operator+(Calls a, const Calls& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

Calls readName(const std::string& path) {
  return {"beginReadScope", "endReadScope", "getNode " + path, "getValue Name"};
}

const Calls build1{"beginReadScope",
                   "getChildPaths " + P1,
                   "getChildPaths " + P1 + "/Filter:Label",
                   "getNode " + P1 + "/Filter:Label/Filter:l",
                   "getValue Data",
                   "endReadScope"};
const Calls build2{"beginReadScope",
                   "getChildPaths " + P2,
                   "getChildPaths " + P2 + "/Any:no kind",
                   "getNode " + P2 + "/Any:no kind/Filter:l",
                   "getValue Data",
                   "endReadScope"};
// Two profiles are sorted by one comparison, of the second with the first.
const Calls listing = Calls{"beginReadScope", "nodeExists Export:Root", "getChildPaths Export:Root"} + build1 + build2 +
                      readName(P2) + readName(P1) + Calls{"endReadScope"};

TEST_F(CallSequence, OfListing) {
  EXPECT_EQ(callsOf([&] { manager->getProfiles(); }), listing);
}

TEST_F(CallSequence, OfLookingUp) {
  EXPECT_EQ(callsOf([&] { manager->getProfileByUUID(u"1"); }), listing);
  EXPECT_EQ(callsOf([&] { manager->getProfileByName(u"a"); }), listing + readName(P2) + readName(P1));
}

TEST_F(CallSequence, OfCreating) {
  EXPECT_EQ(callsOf([&] { manager->createProfile(u"new", u"2"); }),
            Calls{"beginWriteScope"} + listing + readName(P2) + readName(P1) + Calls{"setNodes " + P2 + " Name=new"} +
                build2 + Calls{"endWriteScope"});
}

TEST_F(CallSequence, OfCreatingUpToTheFirstConflict) {
  EXPECT_EQ(callsOf([&] { EXPECT_THROW(manager->createProfile(u"a", u"3"), project::exception::ProjectException); }),
            Calls{"beginWriteScope"} + listing + readName(P2) + Calls{"endWriteScope"});
}

TEST_F(CallSequence, OfDeleting) {
  const auto profile = manager->getProfileByUUID(u"2");
  EXPECT_EQ(callsOf([&] { manager->deleteProfile(profile); }),
            (Calls{"beginWriteScope", "removeNodes [" + P2 + "]", "endWriteScope"}));
}

TEST_F(CallSequence, OfNames) {
  const auto profile = manager->getProfileByUUID(u"2");
  EXPECT_EQ(callsOf([&] { profile->getName(); }), readName(P2));
  EXPECT_EQ(callsOf([&] { profile->setName(u"x"); }),
            (Calls{"beginWriteScope", "endWriteScope", "getNode " + P2, "setValue Name=x", "setNodes " + P2}));
}

TEST_F(CallSequence, OfSaving) {
  const auto profile = manager->getProfileByUUID(u"1");
  EXPECT_EQ(callsOf([&] {
              profile->addFilter(u"FileLabel", {{u"c", u"m"}, {u"b", u"n"}});
              profile->getFilters();
            }),
            Calls());
  EXPECT_EQ(callsOf([&] { profile->save(); }),
            (Calls{"beginWriteScope", "getChildPaths " + P1, "removeNodes [" + P1 + "/Filter:Label]",
                   "setNodes " + P1 + "/Filter:FileLabel", "setNodes " + P1 + "/Filter:FileLabel/Filter:n Data=b",
                   "setNodes " + P1 + "/Filter:FileLabel/Filter:m Data=c", "setNodes " + P1 + "/Filter:Label",
                   "setNodes " + P1 + "/Filter:Label/Filter:l Data=c", "endWriteScope"}));
}

TEST_F(CallSequence, OfSavingNothingStillRemovesWhateverIsThere) {
  const auto profile = manager->getProfileByUUID(u"2");
  for (const std::string& removed : {P2 + "/Any:no kind", std::string()}) {
    EXPECT_EQ(callsOf([&] { profile->save(); }),
              (Calls{"beginWriteScope", "getChildPaths " + P2, "removeNodes [" + removed + "]", "endWriteScope"}));
  }
}

TEST_F(CallSequence, OfSharing) {
  host.addLabel(u"c", u"l");
  project::sharing::SerializationData data;
  data.projectManagers[data.projectPath] = memory_host::probed(host, probe);
  const Calls filtering{"getLabelManager",       "getCategories", "getLabels c",
                        "removeLabel c/l false", "getLabels c",   "removeCategory c"};
  EXPECT_EQ(callsOf([&] { ExportProfileTransformation(u"1").apply(data); }),
            Calls{"getMetadataManager"} + listing + filtering);
  EXPECT_EQ(callsOf([&] { ExportProfileTransformation(u"wholeproject").apply(data); }), Calls());
}

}  // namespace
