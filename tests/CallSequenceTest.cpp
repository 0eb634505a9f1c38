#include "Samples.h"
#include "project/exception/ProjectException.h"
#include "project/sharing/SerializationData.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"

// Which calls reach the host, in which order: hosts rely on it.
namespace {

using namespace project::sharing::profiles;
using memory_host::MemoryProject;
using memory_host::Probe;

// Two profiles, stored in this order: "b" (1) with a label filter of one item, "a" (2) with a node that is no filter.
struct Sample {
  Sample() {
    const project::metadata::PathElement root{u"Export", u"Root"}, one{u"ExportProfile", u"1"},
        two{u"ExportProfile", u"2"}, item{u"Filter", u"l"};
    samples::store(*host.metadata, {root, one}, u"Name", u"b");
    samples::store(*host.metadata, {root, two}, u"Name", u"a");
    samples::store(*host.metadata, {root, one, {u"Filter", u"Label"}, item}, u"Data", u"c");
    samples::store(*host.metadata, {root, two, {u"Any", u"no kind"}, item}, u"Data", u"c");
    host.addLabel(u"c", u"l");
    data.projectManagers[data.projectPath] = memory_host::probed(host, probe);
    manager = createManager(data.projectManagers.at(data.projectPath)->getMetadataManager());
    first = manager->getProfileByUUID(u"1");
    second = manager->getProfileByUUID(u"2");
    probe.clear();
  }

  MemoryProject host;
  Probe probe;
  project::sharing::SerializationData data;
  std::unique_ptr<ExportProfileManager> manager;
  std::shared_ptr<ExportProfile> first, second;
};

const std::string P1 = "Export:Root/ExportProfile:1", P2 = "Export:Root/ExportProfile:2";

std::string readName(const std::string& profile) {
  return "beginReadScope; endReadScope; getNode " + profile + "; getValue Name; ";
}

std::string build(const std::string& profile, const std::string& filter) {
  return "beginReadScope; getChildPaths " + profile + "; getChildPaths " + profile + filter + "; getNode " + profile +
         filter + "/Filter:l; getValue Data; endReadScope; ";
}

std::string saveSecond(const std::string& removed) {
  return "beginWriteScope; getChildPaths " + P2 + "; removeNodes [" + removed + "]; endWriteScope; ";
}

// Two profiles are sorted by one comparison, of the second with the first.
const std::string listing = "beginReadScope; nodeExists Export:Root; getChildPaths Export:Root; " +
                            build(P1, "/Filter:Label") + build(P2, "/Any:no kind") + readName(P2) + readName(P1) +
                            "endReadScope; ";

const struct {
  const char* name;
  void (*act)(Sample&);
  std::string calls;
} operations[] = {
    {"listing", [](Sample& s) { s.manager->getProfiles(); }, listing},
    {"finding by name", [](Sample& s) { s.manager->getProfileByName(u"a"); }, listing + readName(P2) + readName(P1)},
    {"creating", [](Sample& s) { s.manager->createProfile(u"new", u"2"); },
     "beginWriteScope; " + listing + readName(P2) + readName(P1) + "setNodes " + P2 + " Name=new; " +
         build(P2, "/Any:no kind") + "endWriteScope; "},
    {"creating, up to the first conflict",
     [](Sample& s) { EXPECT_THROW(s.manager->createProfile(u"a", u"3"), project::exception::ProjectException); },
     "beginWriteScope; " + listing + readName(P2) + "endWriteScope; "},
    {"deleting", [](Sample& s) { s.manager->deleteProfile(s.second); },
     "beginWriteScope; removeNodes [" + P2 + "]; endWriteScope; "},
    {"reading the name", [](Sample& s) { s.second->getName(); }, readName(P2)},
    {"renaming", [](Sample& s) { s.second->setName(u"x"); },
     "beginWriteScope; endWriteScope; getNode " + P2 + "; setValue Name=x; setNodes " + P2 + "; "},
    {"editing",
     [](Sample& s) {
       s.first->addFilter(u"FileLabel", {{u"c", u"m"}}), s.first->getFilters();
     },
     ""},
    {"saving",
     [](Sample& s) {
       s.first->addFilter(u"FileLabel", {{u"c", u"m"}, {u"b", u"n"}}), s.first->save();
     },
     "beginWriteScope; getChildPaths " + P1 + "; removeNodes [" + P1 + "/Filter:Label]; setNodes " + P1 +
         "/Filter:FileLabel; setNodes " + P1 + "/Filter:FileLabel/Filter:n Data=b; setNodes " + P1 +
         "/Filter:FileLabel/Filter:m Data=c; setNodes " + P1 + "/Filter:Label; setNodes " + P1 +
         "/Filter:Label/Filter:l Data=c; endWriteScope; "},
    {"saving nothing over whatever is there", [](Sample& s) { s.second->save(), s.second->save(); },
     saveSecond(P2 + "/Any:no kind") + saveSecond("")},
    {"sharing", [](Sample& s) { ExportProfileTransformation(u"1").apply(s.data); },
     "getMetadataManager; " + listing +
         "getLabelManager; getCategories; getLabels c; removeLabel c/l false; getLabels c; removeCategory c; "},
};

TEST(CallSequence, OfEachOperationIsThis) {
  for (const auto& row : operations) {
    SCOPED_TRACE(row.name);
    Sample sample;
    row.act(sample);
    std::string calls;
    for (const auto& call : sample.probe.calls()) calls += call + "; ";
    EXPECT_EQ(calls, row.calls);
  }
}

}  // namespace
