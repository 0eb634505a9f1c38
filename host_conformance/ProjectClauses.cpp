#include "Bench.h"
#include "foundation/core/except/Exception.h"
#include "project/exception/ProjectException.h"
#include "project/sharing/SerializationData.h"

namespace host_conformance {

using project::exception::ProjectException;
using resource_core::BaseMsgID;

namespace {

std::u16string parentOf(const Path& path) {
  const std::u16string parent = fl::filesystem::detail::extract_parent_path(path.text());
  return parent.empty() ? parent : fl::filesystem::detail::make_native_form(parent, true);
}

constexpr std::size_t ROOM = foundation::core::diag::stacktrace_base::max_size;

constexpr Clause LABEL_001("optional_LABEL_001_EveryCategoryAndLabelIsListedOnce", [](Bench& t) {
  std::vector<Label> added;
  for (const char16_t* category : {u"c", u"d", u"c"}) added.push_back(t.addLabel(category));
  EXPECT_EQ(t.labels().getCategories().size(), 2U);
  EXPECT_EQ(t.allLabels(), shown(added));
});

constexpr Clause LABEL_002("optional_LABEL_002_LabelsTellWhetherTheyMayBeRemoved", [](Bench& t) {
  for (const bool isRemovable : {true, false}) {
    const Label added = t.addLabel(isRemovable ? u"c" : u"d", isRemovable);
    EXPECT_EQ(t.labels().getLabels(added.getCategory()).at(0).isRemovable() != 0, isRemovable);
  }
});

constexpr Clause LABEL_003("optional_LABEL_003_ARemovedLabelGoesAloneAndItsCategoryAfterIt", [](Bench& t) {
  const Label gone = t.addLabel(u"c");
  const std::vector<Label> left = {t.addLabel(u"d")};
  for (const Label& label : {t.addLabel(u"d"), gone}) t.removeLabel(label);
  EXPECT_EQ(t.labels().getLabels(gone.getCategory()).size(), 0U) << "in a category whose only label was removed";
  t.labels().removeCategory(gone.getCategory());
  EXPECT_EQ(t.labels().getCategories().size(), 1U);
  EXPECT_EQ(t.allLabels(), shown(left));
});

constexpr Clause LABEL_004("optional_LABEL_004_ARemovedLabelHangsOnNothing", [](Bench& t) {
  const Path file = t.plant().file;
  const std::vector<Label> labels = {t.addLabel(u"c"), t.addLabel(u"c")};
  for (const Label& label : labels) t.attach(file, label);
  t.removeLabel(labels.front());
  EXPECT_EQ(shown(t.files().getFileLabels(file)), shown(std::vector<Label>{labels.back()}));
});

constexpr Clause FILE_001("required_FILE_001_NothingCanBeRemovedFromNothing", [](Bench& t) {
  t.files().removeFiles({});
  EXPECT_EQ(shown(t.files().getFiles()), Texts());
});

constexpr Clause FILE_002("optional_FILE_002_EveryEntryIsListedOnceAndTheRootIsNot", [](Bench& t) {
  const Tree tree = t.plant();
  EXPECT_EQ(shown(t.files().getFiles()), shown({tree.folder, tree.inner, tree.deep, tree.like, tree.file}));
});

constexpr Clause FILE_003("optional_FILE_003_FoldersAreToldFromFiles", [](Bench& t) {
  const Tree tree = t.plant();
  for (const Path& folder : {tree.folder, tree.inner, tree.like}) EXPECT_TRUE(t.files().isFolder(folder));
  for (const Path& file : {tree.deep, tree.file}) EXPECT_FALSE(t.files().isFolder(file));
});

constexpr Clause FILE_004("optional_FILE_004_EntriesTellTheirOwnLabels", [](Bench& t) {
  const Tree tree = t.plant();
  const std::vector<Label> labels = {t.addLabel(u"c"), t.addLabel(u"d")};
  for (const Label& label : labels) t.attach(tree.file, label);
  t.attach(tree.like, labels.front());
  EXPECT_EQ(shown(t.files().getFileLabels(tree.file)), t.allLabels());
  EXPECT_EQ(shown(t.files().getFileLabels(tree.like)), shown(std::vector<Label>{labels.front()}));
  EXPECT_EQ(shown(t.files().getFileLabels(tree.folder)), Labels()) << "of a folder without a label";
});

constexpr Clause FILE_005("optional_FILE_005_RemovedFilesGoAlone", [](Bench& t) {
  const Tree tree = t.plant();
  for (const auto& entries : {std::vector<Path>(), {tree.file}}) t.files().removeFiles(entries);
  EXPECT_EQ(shown(t.files().getFiles()), shown({tree.folder, tree.inner, tree.deep, tree.like}));
});

constexpr Clause FILE_006("optional_FILE_006_RemovedFoldersGoWithWhatIsRemovedInThem", [](Bench& t) {
  const Tree tree = t.plant();
  t.files().removeFiles({tree.folder, tree.inner, tree.deep});
  EXPECT_EQ(shown(t.files().getFiles()), shown({tree.like, tree.file}));
});

constexpr Clause PATH_001("optional_PATH_001_TheWalkUpFromAnEntryPassesItsFoldersAndEndsAtTheRoot", [](Bench& t) {
  const Tree tree = t.plant();
  EXPECT_EQ(parentOf(tree.deep), tree.inner.text());
  EXPECT_EQ(parentOf(tree.inner), tree.folder.text());
  for (const Path& top : {tree.folder, tree.file}) EXPECT_EQ(parentOf(top), t.files().getRootFolder().text());
});

constexpr Clause UUID_001("required_UUID_001_NoUuidComesTwiceOrIsReserved", [](Bench&) {
  std::set<std::u16string> taken = {u"wholeproject"};
  for (int i = 0; i < 1000; ++i) {
    const std::u16string uuid = project::metadata::generateUUID();
    ASSERT_TRUE(taken.insert(uuid).second) << testing::PrintToString(uuid) << " is in use or reserved";
  }
});

constexpr Clause ERROR_001("required_ERROR_001_ErrorsCanBeMadeAndTold", [](Bench&) {
  for (const char* key : {"ExportProfileUuidNotFound", "ExportProfileNameNotUnique", "ExportProfileNameNotFound",
                          "ExportProfilesStartupFailure", "ExportProfileAlreadyExists"}) {
    SCOPED_TRACE(key);
    using Error = foundation::core::except::Exception<BaseMsgID, ProjectException>;
    const Error error(ProjectException(), BaseMsgID{{u"\xDC00 \xD800"}, "ORCHID:project:sharing", key});
    EXPECT_EQ(error.GetID(), Error(error, error.GetBaseMsgIDObj()).GetID()) << "of the same record";
    EXPECT_NE(error.what(), nullptr);
    EXPECT_NO_THROW(error.GetUnicodeMessageTxt());
    EXPECT_LE(error.stackTrace().size(), ROOM);
  }
});

constexpr Clause SHARE_001("required_SHARE_001_AProjectIsFoundByTheTextOfItsPathAndGivesItsMetadata", [](Bench& t) {
  t.write(at({u"a"}));
  project::sharing::SerializationData data;
  data.projectPath = t.files().getRootFolder();
  data.projectManagers[Path(data.projectPath.text(), !data.projectPath.flag())] = t.project();
  t.use(data.projectManagers.at(data.projectPath));
  EXPECT_TRUE(t.exists(at({u"a"}))) << "what was written before";
});

}  // namespace

Clauses projectClauses() {
  return {LABEL_001, LABEL_002, LABEL_003, LABEL_004, FILE_001, FILE_002,  FILE_003,
          FILE_004,  FILE_005,  FILE_006,  PATH_001,  UUID_001, ERROR_001, SHARE_001};
}

}  // namespace host_conformance
