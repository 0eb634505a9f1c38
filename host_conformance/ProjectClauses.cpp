#include <new>
#include <thread>

#include "Bench.h"
#include "project/sharing/SerializationData.h"
#include "project/sharing/profiles/ExportProfile.h"
#include "project/sharing/profiles/ExportProfileErrors.h"
#include "project/sharing/profiles/ExportProfileManager.h"

namespace host_conformance {

using foundation::core::except::IException;
using foundation::core::except::IMsgIDException;
using project::exception::ProjectException;
using project::sharing::profiles::createManager;

namespace {

constexpr Clause LABEL_001("optional_LABEL_001_EveryCategoryAndLabelIsListedOnce", [](Bench& t) {
  t.addLabels(hardNames({}));
  EXPECT_EQ(t.categories.size(), t.labels.size()) << "texts of categories";
  for (const bool isRemovable : {false, true, false}) t.addLabels({u"a", u"b"}, isRemovable);
  EXPECT_TRUE(same(factsOf(t.project()), t.facts()));
  t.removeLabel(t.project(), t.labels.front().label);
  t.addLabels({u"a", u"b"});
  std::set<std::u16string> uuids;
  for (const Known& known : t.labels)
    EXPECT_TRUE(uuids.insert(keyOf(known.label).second).second) << "a UUID comes twice";
});

constexpr Clause LABEL_003("optional_LABEL_003_ARemovedLabelGoesAloneAndItsCategoryAfterIt", [](Bench& t) {
  t.addLabels({u"a", u"b"});
  t.addLabels(hardNames({}));
  while (!t.labels.empty()) {
    const Label removed = t.labels.front().label;
    t.labels.erase(t.labels.begin());
    t.removeLabel(t.project(), removed);
    EXPECT_TRUE(same(factsOf(t.project()), t.facts())) << "which still has its category";
    if (!t.project().getLabelManager().getLabels(removed.getCategory()).empty()) continue;
    t.project().getLabelManager().removeCategory(removed.getCategory());
    t.categories.erase(keyOf(removed).first);
    EXPECT_TRUE(same(factsOf(t.project()), t.facts())) << "which has its category no more";
  }
});

constexpr Clause LABEL_004("optional_LABEL_004_ARemovedLabelHangsOnNothing", [](Bench& t) {
  t.plant();
  for (std::size_t i = 0; i < MANY; ++i) t.addEntry(0, u"f" + number(i), false);
  t.addLabels({u"c", u"d", u"c", u"c"});
  for (std::size_t i = 0; i < t.entries.size(); ++i) {
    for (const std::size_t one : {std::size_t{0}, i % 3}) t.attach(i, t.labels[one].label);
  }
  t.removeLabel(t.project(), t.labels[0].label);
  for (Entry& entry : t.entries) entry.labels.erase(keyOf(t.labels[0].label));
  t.labels.erase(t.labels.begin());
  EXPECT_TRUE(same(factsOf(t.project()), t.facts()));
});

constexpr Clause LABEL_005("optional_LABEL_005_ManyLabelsAndCategoriesAreListed", [](Bench& t) {
  const std::size_t file = t.addEntry(TOP, u"f", false);
  for (std::size_t i = 0; i < MANY; ++i) t.addLabels({u"c", number(i)}, i % 2 == 0);
  for (const Known& known : t.labels) t.attach(file, known.label);
  EXPECT_TRUE(same(factsOf(t.project()), t.facts()));
});

constexpr Clause FILE_001("required_FILE_001_NothingCanBeRemovedFromNothing", [](Bench& t) {
  t.project().getFileManager().removeFiles({});
  EXPECT_EQ(t.project().getFileManager().getFiles().size(), 0U);
});

constexpr Clause FILE_002("optional_FILE_002_EveryEntryIsListedOnceAndTheRootIsNot", [](Bench& t) {
  t.plant();
  for (std::size_t i = 0; i < MANY; ++i) t.addEntry(0, u"f" + number(i), false);
  Facts listed, added;
  for (const Path& path : t.project().getFileManager().getFiles()) listed.insert({path.text()});
  for (const Entry& entry : t.entries) added.insert({entry.path.text()});
  EXPECT_TRUE(same(listed, added));
});

constexpr Clause FILE_004("optional_FILE_004_EntriesTellTheirOwnLabels", [](Bench& t) {
  t.plant();
  t.addLabels(hardNames({}));
  for (std::size_t i = 0; i < t.entries.size(); ++i) {
    for (std::size_t one = i % 4; one < 3; ++one) t.attach(i, t.labels.at((i + one) % t.labels.size()).label);
  }
  EXPECT_TRUE(same(factsOf(t.project()), t.facts()));
});

using RoundOf = std::function<std::size_t(std::size_t)>;  // of an entry's number: 7 where it is never removed

// Entries of nearly the same name are mostly removed in different rounds.
void removeInRounds(Bench& t, const RoundOf& roundOf, bool areAtOnce) {
  for (std::size_t round = 0; round < 7; ++round) {
    std::vector<Path> removed;
    for (std::size_t i = 0; i < t.entries.size(); ++i) {
      if (roundOf(i) == round) removed.push_back(t.entries[i].path);
    }
    if (round % 2 == 1) std::reverse(removed.begin(), removed.end());
    if (areAtOnce) t.project().getFileManager().removeFiles(removed);
    for (std::size_t i = 0; i < removed.size() && !areAtOnce; ++i)
      t.project().getFileManager().removeFiles({removed[i]});
    const auto isShared = [&](const Entry& entry) {
      return roundOf(static_cast<std::size_t>(&entry - t.entries.data())) > round;
    };
    EXPECT_TRUE(same(factsOf(t.project()), t.facts(isShared)));
  }
}

constexpr Clause FILE_005("optional_FILE_005_RemovedFilesGoAlone", [](Bench& t) {
  t.plant();
  t.project().getFileManager().removeFiles({});
  removeInRounds(
      t, [&](std::size_t i) { return t.entries[i].isFolder ? 7 : i % 7; }, false);
  if (!t.host().addLabel || !t.host().attach) return;
  t.addLabels({u"c"});
  const auto add = [&](const char16_t* name) { return t.entries[t.addEntry(TOP, name, false)].path; };
  const Path labelled = add(u"y");
  t.attach(t.entries.size() - 1, t.labels.front().label);
  t.project().getFileManager().removeFiles({labelled});
  const Path later = add(u"z");
  EXPECT_EQ(t.project().getFileManager().getFileLabels(later).size(), 0U) << "of a file that is added then";
});

constexpr Clause FILE_006("optional_FILE_006_RemovedFoldersGoWithWhatIsRemovedInThem", [](Bench& t) {
  t.plant();
  const auto roundOf = [&](std::size_t i) {  // that of a folder of a hard name, for it and the files in it
    std::size_t top = i;
    while (top != TOP && t.entries[top].folder != 0) top = t.entries[top].folder;
    return top == TOP || (top != i && t.entries[i].isFolder) ? 7 : top % 7;
  };
  removeInRounds(t, roundOf, true);
});

constexpr Clause PATH_001("optional_PATH_001_TheWalkUpFromAnEntryPassesItsFoldersAndEndsAtTheRoot", [](Bench& t) {
  t.plant();
  const Path root = t.project().getFileManager().getRootFolder();
  for (const Entry& entry : t.entries) {
    const std::u16string parent = fl::filesystem::detail::extract_parent_path(entry.path.text());
    EXPECT_EQ(parent.empty() ? parent : fl::filesystem::detail::make_native_form(parent, true),
              (entry.folder == TOP ? root : t.entries[entry.folder].path).text());
  }
});

constexpr Clause PATH_002("optional_PATH_002_PathsOfOtherTextsAreOtherKeys", [](Bench& t) {
  t.plant();
  project::sharing::SerializationData data;
  for (const Entry& entry : t.entries) data.projectManagers[entry.path] = t.host().project;
  EXPECT_EQ(data.projectManagers.size(), t.entries.size());
});

constexpr Clause UUID_001("required_UUID_001_NoUuidComesTwiceOrIsReserved", [](Bench&) {
  Uuids uuids = uuidsOfThisProcess();
  for (int i = 0; i < 2; ++i) {
    std::thread([&] {
      for (const std::string& uuid : uuidsOfThisProcess()) uuids.push_back(uuid);
    }).join();
  }
  EXPECT_EQ(std::set<std::string>(uuids.begin(), uuids.end()).size(), uuids.size());
  for (const char* reserved : {"", "119 104 111 108 101 112 114 111 106 101 99 116 "}) {  // wholeproject
    EXPECT_EQ(std::count(uuids.begin(), uuids.end(), reserved), 0);
  }
});

constexpr Clause UUID_002("required_UUID_002_NoUuidComesInTwoProcesses", [](Bench&) {
  std::set<std::string> taken;
  for (const Uuids& uuids : {uuidsOfAnotherProcess(), uuidsOfAnotherProcess(), uuidsOfThisProcess()}) {
    ASSERT_FALSE(uuids.empty()) << "this program, run again, does not come to registerSuite";
    for (const std::string& uuid : uuids) ASSERT_TRUE(taken.insert(uuid).second) << "in two processes: " << uuid;
  }
});

template <class Record, class Act>
void checkError(const Act& act) {
  using Error = foundation::core::except::Exception<Record, ProjectException>;
  try {
    act();
    ADD_FAILURE() << "nothing is thrown";
  } catch (const Error& error) {
    SCOPED_TRACE(error.GetBaseMsgIDObj().key);
    // The host's functions by their own names: so the linker takes them out of a host's archive behind this one.
    EXPECT_EQ(error.GetID(), IMsgIDException::get_error_id(error.GetBaseMsgIDObj())) << "of the same record";
    EXPECT_NE(error.IException::what(), nullptr);
    EXPECT_NO_THROW(error.IMsgIDException::GetUnicodeMessageTxt());
  }
}

constexpr Clause ERROR_001("required_ERROR_001_ErrorsCanBeMadeAndTold", [](Bench& t) {
  using namespace ORCHID::project::sharing;
  const auto manager = createManager(t.metadata);
  for (const std::u16string& text : hardTexts()) {
    for (const char16_t* uuid : {u"first", u"second"}) manager->createProfile(text + uuid, uuid)->setName(text);
    checkError<ExportProfileUuidNotFound>([&] { manager->getProfileByUUID(text); });
    checkError<ExportProfileNameNotFound>([&] { manager->getProfileByName(text + u"first"); });
    checkError<ExportProfileNameNotUnique>([&] { manager->getProfileByName(text); });
    checkError<ExportProfileAlreadyExists>([&] { manager->createProfile(text); });
    checkError<ExportProfilesStartupFailure>([] { createManager(nullptr); });
  }
});

constexpr Clause ERROR_002("required_ERROR_002_AnErrorThatIsMadeDeepDownStaysInItsRoom", [](Bench&) {
  constexpr std::ptrdiff_t SIZE = sizeof(ProjectException), AFTER = 1 << 14;
  std::vector<unsigned char> room(SIZE + AFTER, 0xA5);
  std::function<void()> act = [&] { (new (room.data()) ProjectException())->~ProjectException(); };
  volatile int frames = 0;
  for (int depth = 0; depth < 300; ++depth) act = [&frames, inner = std::move(act)] { inner(), frames = frames + 1; };
  act();
  EXPECT_EQ(frames, 300);
  EXPECT_EQ(std::count(room.begin() + SIZE, room.end(), 0xA5), AFTER);
});

constexpr Clause SHARE_001("required_SHARE_001_AProjectIsFoundByTheTextOfItsPathAndGivesItsMetadata", [](Bench& t) {
  t.write({at({u"a"})});
  project::sharing::SerializationData data;
  data.projectPath = t.project().getFileManager().getRootFolder();
  data.projectManagers[t.project().getFileManager().getRootFolder()] = t.host().project;
  t.use(data.projectManagers.at(data.projectPath));
  EXPECT_TRUE(t.exists(at({u"a"}))) << "what was written before";
  const Access scope = t.writing();
  t.project().getMetadataManager()->setNodes({{pathOf(at({u"b"})), holding(u"1")}});
  EXPECT_TRUE(t.exists(at({u"b"}))) << "what was written through another pointer in the same scope";
});

}  // namespace

Clauses projectClauses() {
  return {LABEL_001, LABEL_003, LABEL_004, LABEL_005, FILE_001, FILE_002,  FILE_004,  FILE_005,
          FILE_006,  PATH_001,  PATH_002,  UUID_001,  UUID_002, ERROR_001, ERROR_002, SHARE_001};
}

}  // namespace host_conformance
