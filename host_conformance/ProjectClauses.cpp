#include <new>

#include "Bench.h"
#include "OtherProcess.h"
#include "project/sharing/SerializationData.h"
#include "project/sharing/profiles/ExportProfile.h"
#include "project/sharing/profiles/ExportProfileErrors.h"
#include "project/sharing/profiles/ExportProfileManager.h"

namespace host_conformance {

using project::exception::ProjectException;
using project::sharing::profiles::createManager;

namespace {

std::u16string parentOf(const std::u16string& text) {
  const std::u16string parent = fl::filesystem::detail::extract_parent_path(text);
  return parent.empty() ? parent : fl::filesystem::detail::make_native_form(parent, true);
}

Removable removable(const std::vector<Label>& labels) {
  Removable all;
  for (const Label& label : labels) all.emplace(label.getCategory().toString(), label.getUUID(), true);
  return all;
}

void removeLabel(Bench& t, const Label& label) {
  t.labels().removeLabel(label.getCategory(), label.getLabelIdentifier(), false);
}

constexpr Clause LABEL_001("optional_LABEL_001_EveryCategoryAndLabelIsListedOnce", [](Bench& t) {
  std::vector<Label> added = t.addLabels(hardCategories());
  const std::size_t categories = added.size();
  for (int i = 0; i < 2; ++i) added.push_back(t.addLabel(u"a"));
  const Texts listed = categoriesOf(*t.project());
  EXPECT_EQ(std::set<std::u16string>(listed.begin(), listed.end()).size(), categories) << "texts of categories";
  EXPECT_EQ(listed.size(), categories);
  EXPECT_TRUE(same(labelsOf(*t.project()), removable(added)));
});

constexpr Clause LABEL_002("optional_LABEL_002_LabelsTellWhetherTheyMayBeRemoved", [](Bench& t) {
  Removable all;
  for (const bool isRemovable : {true, false, false, true}) {
    for (const Label& label : t.addLabels({u"c", u"d"}, isRemovable)) {
      all.emplace(label.getCategory().toString(), label.getUUID(), isRemovable);
    }
  }
  EXPECT_EQ(labelsOf(*t.project()), all);
});

constexpr Clause LABEL_003("optional_LABEL_003_ARemovedLabelGoesAloneAndItsCategoryAfterIt", [](Bench& t) {
  std::vector<Label> left = t.addLabels(hardCategories());
  for (const char16_t* category : {u"a", u"b"}) left.push_back(t.addLabel(category));
  Texts categories = categoriesOf(*t.project());
  while (!left.empty()) {
    const Label gone = left.front();
    left.erase(left.begin());
    removeLabel(t, gone);
    EXPECT_TRUE(same(labelsOf(*t.project()), removable(left)));
    EXPECT_EQ(categoriesOf(*t.project()), categories) << "of which one may be empty";
    if (!t.labels().getLabels(gone.getCategory()).empty()) continue;
    t.labels().removeCategory(gone.getCategory());
    categories.erase(gone.getCategory().toString());
    EXPECT_EQ(categoriesOf(*t.project()), categories);
  }
});

constexpr Clause LABEL_004("optional_LABEL_004_ARemovedLabelHangsOnNothing", [](Bench& t) {
  t.plant();
  const std::vector<Label> labels = t.addLabels({u"c", u"c", u"d"});
  for (std::size_t i = 0; i < t.entries.size(); ++i) t.attach(i, labels.at(i % 3));
  for (std::size_t i = 0; i < t.entries.size(); i += 2) t.attach(i, labels.at((i + 1) % 3));
  removeLabel(t, labels.front());
  for (Entry& entry : t.entries) entry.labels.erase(keyOf(labels.front()));
  EXPECT_TRUE(same(entriesOf(*t.project()), t.planted()));
});

constexpr Clause LABEL_005("optional_LABEL_005_ManyLabelsAndCategoriesAreListed", [](Bench& t) {
  const std::size_t file = t.addEntry(TOP, u"f", false);
  Removable all;
  for (std::size_t i = 0; i < MANY; ++i) {
    for (const Label& label : t.addLabels({u"c", number(i)}, i % 2 == 0)) {
      all.emplace(label.getCategory().toString(), label.getUUID(), i % 2 == 0);
      t.attach(file, label);
    }
  }
  EXPECT_TRUE(same(labelsOf(*t.project()), all));
  EXPECT_TRUE(same(entriesOf(*t.project()), t.planted())) << "one file with all of them";
});

constexpr Clause FILE_001("required_FILE_001_NothingCanBeRemovedFromNothing", [](Bench& t) {
  t.files().removeFiles({});
  EXPECT_EQ(t.files().getFiles().size(), 0U);
});

Texts listed(Bench& t) {
  Texts texts;
  for (const Path& path : t.files().getFiles()) texts.insert(path.text());
  return texts;
}

constexpr Clause FILE_002("optional_FILE_002_EveryEntryIsListedOnceAndTheRootIsNot", [](Bench& t) {
  t.plant();
  for (std::size_t i = 0; i < MANY; ++i) t.addEntry(0, u"f" + number(i), false);
  EXPECT_TRUE(same(listed(t), t.paths()));
});

constexpr Clause FILE_003("optional_FILE_003_FoldersAreToldFromFiles", [](Bench& t) {
  t.plant();
  for (const Entry& entry : t.entries) {
    EXPECT_EQ(t.files().isFolder(entry.path), entry.isFolder) << testing::PrintToString(entry.path.text());
  }
});

constexpr Clause FILE_004("optional_FILE_004_EntriesTellTheirOwnLabels", [](Bench& t) {
  t.plant();
  const std::vector<Label> labels = t.addLabels(hardCategories());
  for (std::size_t i = 0; i < t.entries.size(); ++i) {
    for (std::size_t one = i % 4; one < 3; ++one) t.attach(i, labels.at((i + one) % labels.size()));
  }
  EXPECT_TRUE(same(entriesOf(*t.project()), t.planted()));
});

constexpr Clause FILE_005("optional_FILE_005_RemovedFilesGoAlone", [](Bench& t) {
  t.plant();
  t.files().removeFiles({});
  std::set<std::u16string> gone;
  for (std::size_t i = 0; i < t.entries.size(); ++i) {
    const Entry& file = t.entries[i];
    if (file.isFolder || (file.folder != TOP && i % 5 != 0)) continue;
    t.files().removeFiles({file.path});
    gone.insert(file.path.text());
    EXPECT_TRUE(same(listed(t), t.paths([&](const Entry& entry) { return gone.count(entry.path.text()) == 0; })))
        << "removed with " << testing::PrintToString(file.path.text());
  }
});

constexpr Clause FILE_006("optional_FILE_006_RemovedFoldersGoWithWhatIsRemovedInThem", [](Bench& t) {
  t.plant();
  std::set<std::u16string> gone;
  for (const Entry& folder : t.entries) {
    if (!folder.isFolder || folder.folder != 0) continue;  // each folder of a hard name, with the files in it
    std::vector<Path> going;
    for (const Entry& entry : t.entries) {
      std::size_t above = entry.folder;
      while (above != TOP && !(t.entries[above].path == folder.path)) above = t.entries[above].folder;
      if (entry.path == folder.path || (above != TOP && !entry.isFolder)) going.push_back(entry.path);
    }
    if (gone.size() % 2 == 1) std::reverse(going.begin(), going.end());
    t.files().removeFiles(going);
    for (const Path& path : going) gone.insert(path.text());
    EXPECT_TRUE(same(listed(t), t.paths([&](const Entry& entry) { return gone.count(entry.path.text()) == 0; })))
        << "removed with " << testing::PrintToString(folder.path.text());
  }
});

constexpr Clause PATH_001("optional_PATH_001_TheWalkUpFromAnEntryPassesItsFoldersAndEndsAtTheRoot", [](Bench& t) {
  t.plant();
  const std::u16string root = t.files().getRootFolder().text();
  for (const Entry& entry : t.entries) {
    EXPECT_EQ(parentOf(entry.path.text()), entry.folder == TOP ? root : t.entries[entry.folder].path.text());
  }
});

constexpr Clause UUID_001("required_UUID_001_NoUuidComesTwiceOrIsReserved", [](Bench&) {
  std::set<std::u16string> taken = {u"wholeproject", u""};
  for (const std::u16string& uuid : uuidsOfThisProcess()) {
    ASSERT_TRUE(taken.insert(uuid).second) << testing::PrintToString(uuid) << " is in use or reserved";
  }
});

constexpr Clause UUID_002("required_UUID_002_NoUuidComesInTwoProcesses", [](Bench&) {
  std::set<std::u16string> taken;
  for (const auto& uuids : {uuidsOfAnotherProcess(), uuidsOfAnotherProcess(), uuidsOfThisProcess()}) {
    ASSERT_FALSE(uuids.empty()) << "this program, run again, does not come to registerSuite";
    for (const std::u16string& uuid : uuids) {
      ASSERT_TRUE(taken.insert(uuid).second) << testing::PrintToString(uuid) << " came in another process";
    }
  }
});

template <class Record>
void checkError(const char* key, const std::function<void()>& act) {
  SCOPED_TRACE(key);
  using Error = foundation::core::except::Exception<Record, ProjectException>;
  try {
    act();
    ADD_FAILURE() << "nothing is thrown";
  } catch (const Error& error) {
    EXPECT_EQ(error.GetID(), Error(ProjectException(), error.GetBaseMsgIDObj()).GetID()) << "of the same record";
    EXPECT_NE(error.what(), nullptr);
    EXPECT_NO_THROW(error.GetUnicodeMessageTxt());
  } catch (...) {
    ADD_FAILURE() << "something else is thrown in the place of the error";
  }
}

void checkErrors(const std::shared_ptr<project::metadata::MetadataManager>& metadata, const std::u16string& text) {
  using namespace ORCHID::project::sharing;
  const auto manager = createManager(metadata);
  for (const char16_t* uuid : {u"1", u"2"}) manager->createProfile(text + uuid, uuid)->setName(text);
  const auto look = [&] { manager->getProfileByUUID(text); };
  checkError<ExportProfileUuidNotFound>("ExportProfileUuidNotFound", look);
  checkError<ExportProfileNameNotFound>("ExportProfileNameNotFound", [&] { manager->getProfileByName(text + u"0"); });
  checkError<ExportProfileNameNotUnique>("ExportProfileNameNotUnique", [&] { manager->getProfileByName(text); });
  checkError<ExportProfileAlreadyExists>("ExportProfileAlreadyExists", [&] { manager->createProfile(text); });
  checkError<ExportProfilesStartupFailure>("ExportProfilesStartupFailure", [] { createManager(nullptr); });
}

constexpr Clause ERROR_001("required_ERROR_001_ErrorsCanBeMadeAndTold", [](Bench& t) {
  for (const std::u16string& text : hardTexts()) {
    SCOPED_TRACE(testing::PrintToString(text));
    if (text != u"1") checkErrors(t.metadata, text);
  }
});

constexpr Clause ERROR_002("required_ERROR_002_AnErrorThatIsMadeDeepDownStaysInItsRoom", [](Bench&) {
  constexpr std::ptrdiff_t SIZE = sizeof(ProjectException), AFTER = 1 << 14;
  std::vector<unsigned char> room(SIZE + AFTER, 0xA5);
  std::function<void()> act = [&] { (new (room.data()) ProjectException())->~ProjectException(); };
  volatile int frames = 0;
  while (frames < 300) {
    act = [&frames, inner = std::move(act)] { inner(), frames = frames + 1; };
    frames = frames + 1;
  }
  act();
  EXPECT_EQ(std::count(room.begin() + SIZE, room.end(), 0xA5), AFTER);
});

constexpr Clause SHARE_001("required_SHARE_001_AProjectIsFoundByTheTextOfItsPathAndGivesItsMetadata", [](Bench& t) {
  t.write(at({u"a"}));
  project::sharing::SerializationData data;
  data.projectPath = t.files().getRootFolder();
  data.projectManagers[t.files().getRootFolder()] = t.project();
  t.use(data.projectManagers.at(data.projectPath));
  EXPECT_TRUE(t.exists(at({u"a"}))) << "what was written before";
});

}  // namespace

Clauses projectClauses() {
  return {LABEL_001, LABEL_002, LABEL_003, LABEL_004, LABEL_005, FILE_001,  FILE_002,  FILE_003, FILE_004,
          FILE_005,  FILE_006,  PATH_001,  UUID_001,  UUID_002,  ERROR_001, ERROR_002, SHARE_001};
}

}  // namespace host_conformance
