#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "PlainFilters.h"
#include "Samples.h"

namespace {

using namespace project::sharing::profiles;
using memory_host::MemoryProject;
using memory_host::Probe;
using samples::Items;

using Texts = std::vector<std::u16string>;

const std::pair<std::u16string, std::u16string> L{u"c", u"L"}, M{u"c", u"M"}, N{u"c", u"N"};
const ExportStrategyItem itemL{u"c", u"L"}, itemM{u"c", u"M"};

struct Row {
  const char* name;
  std::u16string kind;
  Items items;
  std::set<memory_host::LabelKey> d, da, db, c;  // the labels of /p/d, /p/d/a, /p/d/b and /p/c
  Texts left;
};

const std::u16string EXCLUDE = u"FileLabel", INCLUDE = u"IncludeFilesWithLabel", OTHER = u"Label";
const Texts all{u"/p/d", u"/p/d/a", u"/p/d/b", u"/p/c"};
const Row rows[] = {
    {"Exclude one file", EXCLUDE, {itemL}, {}, {L}, {}, {}, {u"/p/d", u"/p/d/b", u"/p/c"}},
    {"Exclude spares a needed folder", EXCLUDE, {itemL}, {L}, {L}, {}, {}, {u"/p/d", u"/p/d/b", u"/p/c"}},
    {"Exclude a whole folder", EXCLUDE, {itemL}, {L}, {L}, {L}, {}, {u"/p/c"}},
    {"Exclude by any of its labels", EXCLUDE, {itemL, itemM}, {}, {N, M}, {N}, {}, {u"/p/d", u"/p/d/b", u"/p/c"}},
    {"Exclude another category", EXCLUDE, {itemL}, {}, {{u"C", u"L"}}, {}, {}, all},
    {"Exclude without items", EXCLUDE, {}, {L}, {M}, {}, {}, all},
    {"Include one file and its folder", INCLUDE, {itemL}, {}, {L}, {}, {}, {u"/p/d", u"/p/d/a"}},
    {"Include only where every label is listed", INCLUDE, {itemL, itemM}, {}, {L, N}, {L, M}, {}, {u"/p/d", u"/p/d/b"}},
    {"Include a folder does not keep its files", INCLUDE, {itemL}, {L}, {}, {}, {}, {u"/p/d"}},
    {"Include without items", INCLUDE, {}, {L}, {L}, {}, {M}, {}},
    {"Another kind keeps what has no label", OTHER, {itemL}, {}, {L}, {M}, {}, {u"/p/d", u"/p/d/a", u"/p/c"}},
    {"Another kind without items", OTHER, {}, {}, {L}, {}, {M}, {u"/p/d", u"/p/d/b"}},
};

TEST(FileLabelFilter, LeavesWhatIsMeantToStay) {
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    MemoryProject host;
    host.addFolder(u"/p/d", row.d);
    host.addFile(u"/p/d/a", row.da);
    host.addFile(u"/p/d/b", row.db);
    host.addFile(u"/p/c", row.c);
    const auto filter = samples::filterOf(EXCLUDE, row.items);
    filter->setType(row.kind);
    filter->apply(host);
    EXPECT_EQ(host.texts(), row.left);
  }
}

TEST(FileLabelFilter, AsksEachEntryForItsLabelsAndWhatStaysForItsKind) {
  MemoryProject host;
  Probe probe;
  const auto project = memory_host::probed(host, probe);
  const auto filter = samples::filterOf(EXCLUDE, {itemL});
  filter->apply(*project);
  EXPECT_EQ(probe.calls(), (samples::Calls{"getFileManager", "getFiles", "getRootFolder", "removeFiles []"}));

  host.addFolder(u"/p/d", {L});
  host.addFile(u"/p/d/a");
  host.addFile(u"/p/d/b", {L});
  probe.clear();
  filter->apply(*project);
  EXPECT_EQ(probe.calls(),
            (samples::Calls{"getFileManager", "getFiles", "getRootFolder", "getFileLabels /p/d", "getFileLabels /p/d/a",
                            "isFolder /p/d/a", "getFileLabels /p/d/b", "removeFiles [/p/d/b]"}));
}

TEST(FileLabelFilter, ReadsItsKindAfterTheRootAndAgainForEachEntryWithoutLabels) {
  MemoryProject host;
  host.addFile(u"/p/a", {L});
  host.addFile(u"/p/b");
  host.addFile(u"/p/c");
  Probe probe;
  const auto filter = samples::filterOf(INCLUDE, {itemL});
  probe.onCall = [&](const std::string& call) {
    if (call == "getRootFolder" || call == "getFileLabels /p/c") filter->setType(EXCLUDE);
    if (call == "getFileLabels /p/b") filter->setType(INCLUDE);
  };
  filter->apply(*memory_host::probed(host, probe));
  EXPECT_EQ(host.texts(), Texts{u"/p/c"});
}

TEST(FileLabelFilter, AsksForTheParentOfEachFolderOnceHoweverDeep) {
  MemoryProject host;
  std::u16string folder = u"/p";
  for (int depth = 0; depth < 200; ++depth) {
    folder += u"/d";
    host.addFolder(folder, {L});
    for (const auto* name : {u"/a", u"/b"}) host.addFile(folder + name);
  }
  const std::size_t before = memory_host::pathQuestions().parents;
  samples::filterOf(EXCLUDE, {itemL})->apply(host);
  EXPECT_EQ(host.texts().size(), 600U);
  EXPECT_EQ(memory_host::pathQuestions().parents - before, 600U);
}

// A tree of random shape and labels, listed in random order, with an entry listed twice and some outside the root.
void fillAtRandom(MemoryProject& files, std::mt19937& random) {
  const auto below = [&](std::size_t n) { return std::uniform_int_distribution<std::size_t>(0, n - 1)(random); };
  Texts folders{u"/p"};
  std::vector<std::pair<std::u16string, bool>> entries{
      {u"", false}, {u"relative", false}, {u"/q", true}, {u"/q/x", false}, {u"/p", true}};
  for (std::size_t i = 0; i < 30; ++i) {
    const std::u16string text = folders[below(folders.size())] + u"/" + static_cast<char16_t>(u'a' + i % 26);
    const bool isFolder = below(2) == 0;
    if (isFolder) folders.push_back(text);
    entries.emplace_back(text, isFolder);
  }
  entries.push_back(entries[below(entries.size())]);
  std::shuffle(entries.begin(), entries.end(), random);
  for (const auto& [text, isFolder] : entries) {
    std::set<memory_host::LabelKey> labels;
    for (const auto& label : {L, M, N}) {
      if (below(3) == 0) labels.insert(label);
    }
    isFolder ? files.addFolder(text, labels) : files.addFile(text, labels);
  }
}

TEST(FileLabelFilter, MakesTheCallsOfThePlainRuleOnRandomTrees) {
  for (unsigned seed = 0; seed < 450; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    MemoryProject host;
    fillAtRandom(host, random);
    host.root = memory_host::Path(Texts{u"/p", u"/p/", u"/", u"", u"/p/a"}[seed / 9 % 5], true);
    const Items items = std::vector<Items>{{}, {itemL}, {itemL, itemM}}[seed % 3];
    const std::u16string kind = Texts{EXCLUDE, INCLUDE, OTHER}[seed / 3 % 3];
    MemoryProject twin = host;
    Probe expected;
    plain::applyFileFilter(kind, items, *memory_host::probed(twin, expected));
    const auto filter = samples::filterOf(EXCLUDE, items);
    filter->setType(kind);
    Probe probe;
    filter->apply(*memory_host::probed(host, probe));
    EXPECT_EQ(probe.calls(), expected.calls());
  }
  EXPECT_EQ(memory_host::pathQuestions().misuses, 0U);
}

}  // namespace
