#include <random>
#include <tuple>

#include "Refusal.h"
#include "exchange/Changes.h"
#include "exchange/Merging.h"
#include "exchange/ProjectText.h"
#include "folder_host/Fixture.h"
#include "folder_host/store/Store.h"
#include "folder_host/text/Utf.h"

namespace project_share {

using folder_host::fromBytes;
using folder_host::LabelStore;
using folder_host::MarkKind;
using folder_host::MetadataStore;
using folder_host::refusalOf;
using folder_host::Store;
using project::metadata::MetadataPath;
using project::metadata::PathElement;

bool operator==(const LabelState& a, const LabelState& b) {
  return std::tie(a.category, a.name, a.isProtected, a.rules, a.marks) ==
         std::tie(b.category, b.name, b.isProtected, b.rules, b.marks);
}
bool operator==(const ProjectState& a, const ProjectState& b) {
  return std::tie(a.categories, a.labels, a.nodes) == std::tie(b.categories, b.labels, b.nodes);
}

namespace {

MetadataPath at(std::vector<PathElement> steps) { return MetadataPath(std::move(steps)); }

const std::string DIGEST(64, 'e');

class RandomState {
 public:
  explicit RandomState(unsigned seed) : random_(seed) {}

  ProjectState make() {
    ProjectState state;
    for (long left = below(4); left > 0; --left) state.categories[uuid()] = name();
    for (long left = state.categories.empty() ? 0 : below(6); left > 0; --left) {
      LabelState& label = state.labels[uuid()];
      label = {
          std::next(state.categories.begin(), below(state.categories.size()))->first, name(), below(2) == 0, {}, {}};
      for (const char* rule : {"b*", "!a", "\xff", "*.x"}) {
        if (below(3) == 0) label.rules.insert(label.rules.begin() + below(label.rules.size() + 1), rule);
      }
      if (below(4) == 0) label.marks[""] = MarkKind::reach;
      for (const char* path : {"a", "a/b", "\xff\n", "\xEF\xBF\xBD", " \xE2\x80\xAE"}) {
        if (below(3) == 0) label.marks[path] = static_cast<MarkKind>(below(3));
      }
    }
    for (long left = below(12); left > 0; --left) addNode(state.nodes);
    for (auto& [path, values] : state.nodes) {  // as profiles need it to be read
      if (kindOf(path) == NodeKind::profile) values[u"Name"];
      if (path.getElements().size() == 4 && path.getLeaf().getType() == u"Filter") values[u"Data"];
    }
    dropIdleRoots(state.nodes);
    return state;
  }

 private:
  long below(std::size_t bound) { return static_cast<long>(random_() % bound); }
  std::u16string any() {
    using namespace std::string_literals;
    static const std::u16string texts[] = {u"",      u"a",      u"a\"\\\n",  u"\xD800", u"\xDCFFx",
                                           u"x\0y"s, u"\x202E", u"\xFFFD",   u"Name",   u"\xD83D\xDE00",
                                           u"Data",  u"Filter", u"FileLabel"};
    return texts[below(std::size(texts))];
  }
  std::u16string name() { return any() + u"n"; }
  std::u16string uuid() { return any() + static_cast<char16_t>(u'0' + below(10)); }

  // Mostly like a profile or what is settled, with now and then something that is not.
  void addNode(MetadataStore::Nodes& nodes) {
    const bool isSettled = below(3) == 0;
    const std::vector<PathElement> usual =
        isSettled
            ? std::vector<PathElement>{{u"Settled", u"Root"}, {u"Path", fromBytes(below(2) == 0 ? "a/b" : "\xff")}}
            : std::vector<PathElement>{{u"Export", u"Root"},
                                       {u"ExportProfile", std::u16string(1, static_cast<char16_t>(u'p' + below(3)))},
                                       {u"Filter", below(2) == 0 ? u"FileLabel" : u"Label"},
                                       {u"Filter", uuid()},
                                       {u"Filter", uuid()}};
    std::vector<PathElement> path;
    for (std::size_t depth = 1 + static_cast<std::size_t>(below(usual.size())); path.size() < depth;) {
      const PathElement& step = usual[path.size()];
      path.push_back(below(12) == 0   ? PathElement(any(), step.getLocation())
                     : below(12) == 0 ? PathElement(step.getType(), any())
                                      : step);
      auto& values = nodes[MetadataPath(path)];
      if (path.size() % 2 == 0 && below(6) != 0) {
        values[isSettled ? uuid() : path.size() == 2 ? u"Name" : u"Data"] = isSettled ? fromBytes(DIGEST) : any();
      }
      if (below(12) == 0) values[any()] = any();
    }
  }

  std::mt19937 random_;
};

class MemoryProject {
 public:
  void put(const ProjectState& next) {
    const auto scope = store_->beginWrite();
    change(state(), next, labels_, metadata_);
  }
  ProjectState state() const { return stateOf(labels_, metadata_); }
  std::string image() { return store_->image(); }

 private:
  std::shared_ptr<Store> store_ = Store::inMemory();
  LabelStore labels_{store_};
  MetadataStore metadata_{store_};
};

// A label `c/in` with a mark on `a` and the rule `old`, and a profile that names it.
ProjectState sample() {
  const PathElement root(u"Export", u"Root"), profile(u"ExportProfile", u"P"), filter(u"Filter", u"FileLabel");
  ProjectState state;
  state.categories = {{u"C", u"c"}};
  state.labels[u"L"] = {u"C", u"in", false, {"old"}, {{"a", MarkKind::reach}, {"b", MarkKind::exception}}};
  state.nodes = {{at({root}), {}},
                 {at({root, profile}), {{u"Name", u"public"}}},
                 {at({root, profile, filter}), {}},
                 {at({root, profile, filter, {u"Filter", u"L"}}), {{u"Data", u"C"}}},
                 {at({{u"Settled", u"Root"}}), {}},
                 {at({{u"Settled", u"Root"}, {u"Path", u"b"}}), {{u"L", fromBytes(DIGEST)}}},
                 {at({{u"X", u"y"}}), {{u"k", u"v"}}}};
  return state;
}

std::string refusalOfText(const std::string& text) {
  return refusalOf([&] { stateIn(text, "fed"); });
}

class ExchangeTest : public folder_host::FolderTest {};

TEST_F(ExchangeTest, WhateverAStoreHoldsComesBackExactly) {
  MemoryProject project;
  for (unsigned seed = 0; seed < 400; ++seed) {
    const ProjectState state = RandomState(seed).make();
    project.put(state);  // from the one before
    ASSERT_EQ(project.state(), state) << seed;
    const std::string text = textOf(state);
    const ProjectState again = stateIn(text, "text");
    ASSERT_EQ(again, state) << seed << text;
    ASSERT_EQ(textOf(again), text) << seed;
    if (seed % 20 != 0) continue;
    folder_host::write(in("store.db"), project.image());
    ASSERT_EQ(refusalOf([&] { Store::open(in("store.db")); }), "") << seed;
  }
}

TEST_F(ExchangeTest, ANodeThatHoldsNothingRightBelowTheRootIsNoDifference) {
  ProjectState state = sample();
  for (const char16_t* location : {u"Root", u"a", u"z"}) state.nodes[at({{u"Export", location}})];
  MemoryProject project;
  project.put(state);
  EXPECT_EQ(project.state(), sample());
  const std::string text = textOf(sample()), node = R"({"path": [{"type": "A", "location": "a"}], "values": []},)";
  EXPECT_EQ(stateIn(std::string(text).insert(text.find("\"nodes\": [") + 10, node), "text"), sample());
}

TEST_F(ExchangeTest, APartOfAnExportIsNone) {
  const std::string text = textOf(sample());
  for (std::size_t length = 0; length + 1 < text.size(); ++length) {
    ASSERT_EQ(refusalOfText(text.substr(0, length)), refusals::IMPORT_UNREADABLE) << length;
  }
  EXPECT_EQ(refusalOfText("\xEF\xBB\xBF \n" + text), "");
  EXPECT_EQ(refusalOfText(std::string(160, ' ') + text), refusals::IMPORT_UNREADABLE);
  EXPECT_EQ(refusalOfText(text + std::string(1, '\0')), refusals::IMPORT_UNREADABLE);
  EXPECT_EQ(refusalOfText(std::string(LONGEST_EXPORT + 1, ' ')), refusals::IMPORT_UNREADABLE);
}

TEST_F(ExchangeTest, AnExportWithAFaultIsNone) {
  const std::string text = textOf(sample());
  const std::string deep(100000, '[');
  const std::string node = R"({"path": [{"type": "X", "location": "y"}], "values": []},)";
  const std::string settled =
      R"({"path": [{"type": "Settled", "location": "Root"}, {"type": "Path", "location": "b"}], "values": []},)";
  const auto ofProfile = [](const std::string& steps, const std::string& value) {
    return R"("nodes": [{"path": [{"type": "Export", "location": "Root"}, {"type": "ExportProfile", "location": "N"})" +
           steps + R"(], "values": [{"key": ")" + value + R"(", "value": ""}]},)";
  };
  const std::string item = R"(, {"type": "x", "location": "y"}, {"type": "Filter", "location": "L"})";
  const std::pair<std::string, std::string> rows[] = {
      {"export\": 1", "export\": 2"},
      {"export\": 1", "export\": 1.0"},
      {"export\": 1", "export\": 1, \"more\": 1"},
      {"\"categories\"", "\"categories\": [], \"categories\""},
      {"\"categories\": [", "\"categories\": [7, "},
      {"\"nodes\": [", "\"nodes\": " + deep + "["},
      {"\"nodes\": [", "\"nodes\": [{\"path\": [], \"values\": []}, "},
      {"\"nodes\": [", "\"nodes\": [" + node},
      {"\"nodes\": [", "\"nodes\": [" + settled},
      {"\"nodes\": [", ofProfile("", "Data")},
      {"\"nodes\": [", ofProfile(item, "Data")},
      {"\"nodes\": [", ofProfile("", "Name") + ofProfile(item, "Name").substr(10)},
      {"\"Project", "\"\\u0050roject"},
      {"\"uuid\": \"L\",", ""},
      {"\"uuid\": \"L\"", "\"uuid\": \"\""},
      {"\"name\": \"in\"", "\"name\": \"\""},
      {"\"name\": \"in\"", "\"name\": \"in\", \"nameHex\": \"006f006e\""},
      {"\"name\": \"in\"", "\"name\": \"\xff\""},
      {"false", "0"},
      {"\"old\"", "\"old\", \"old\""},
      {"\"old\"", "\"#\""},
      {"\"old\"", "[\"old\"]"},
      {"{\"path\":\"a\"}", "{\"path\":\"a\"}, {\"path\":\"a\",\"kind\":\"entry\"}"},
      {"{\"path\":\"a\"}", "{\"path\":\"../a\"}"},
      {"{\"path\":\"a\"}", "{\"path\":\".project/store.db\"}"},
      {"{\"path\":\"a\"}", "{\"path\":\"\",\"kind\":\"exception\"}"},
      {"{\"path\":\"a\"}", "{\"path\":\"a\",\"kind\":\"all\"}"},
      {"{\"path\":\"a\"}", "{\"path\":\"a\",\"kindHex\":\"00\"}"},
      {"drop-files", "drop-all"},
      {DIGEST, "e"},
  };
  for (const auto& [from, to] : rows) {
    std::string other = text;
    ASSERT_NE(other.find(from), std::string::npos) << from;
    other.replace(other.find(from), from.size(), to);
    EXPECT_EQ(refusalOfText(other), refusals::IMPORT_UNREADABLE) << to.substr(0, 80);
  }
}

TEST_F(ExchangeTest, RulesAreNeverPutIntoAnOrderThatNobodyGave) {
  using Rules = std::vector<std::string>;
  const std::tuple<Rules, Rules, Rules> rows[] = {
      {{"a"}, {"b"}, {"b", "a"}},
      {{"a", "!b"}, {"a"}, {"a", "!b"}},
      {{"a"}, {"a", "!b"}, {"a", "!b"}},
      {{"!b", "a"}, {"a", "!b"}, {"a", "!b"}},
      {{"a"}, {"!b"}, {}},
      {{"!b"}, {"a"}, {}},
      {{"!b", "a", "c"}, {"a", "!b"}, {}},
  };
  for (const auto& [own, file, expected] : rows) {
    ProjectState project = sample(), given = sample();
    project.labels[u"L"].rules = own, given.labels[u"L"].rules = file;
    ProjectState result;
    EXPECT_EQ(refusalOf([&] { result = merged(project, given, {}); }),
              expected.empty() ? refusals::IMPORT_CONFLICT : "");
    EXPECT_EQ(result.labels[u"L"].rules, expected) << own.front() << file.front();
    EXPECT_EQ(merged(project, given, {true, false}), given);
  }
}

TEST_F(ExchangeTest, WhatTheProjectHasBeyondTheFileStaysUnlessItIsReplaced) {
  ProjectState project = sample(), file = sample();
  project.labels[u"M"] = {u"C", u"mine", true, {"x"}, {{"m", MarkKind::reach}}};
  project.labels[u"L"].marks = {{"a", MarkKind::entry}, {"m", MarkKind::reach}};
  file.labels[u"L"].name = u"inner";
  file.nodes.erase(at({{u"X", u"y"}}));
  const ProjectState both = merged(project, file, {});
  EXPECT_EQ(both.labels.at(u"M"), project.labels.at(u"M"));
  EXPECT_EQ(both.nodes, project.nodes);
  LabelState expected = file.labels.at(u"L");
  expected.marks["m"] = MarkKind::reach;
  EXPECT_EQ(both.labels.at(u"L"), expected);
  EXPECT_EQ(merged(project, file, {true, false}), file);
  // Without marks: those of the project, with all that is no profile.
  for (const bool replaces : {false, true}) {
    const ProjectState result = merged(project, file, {replaces, true});
    EXPECT_EQ(result.labels.at(u"L").marks, project.labels.at(u"L").marks);
    EXPECT_EQ(result.labels.at(u"L").name, u"inner");
    EXPECT_EQ(result.nodes, project.nodes);
    EXPECT_EQ(result.labels.count(u"M"), replaces ? 0U : 1U);
  }
}

TEST_F(ExchangeTest, WhatNoCommandWouldMakeIsRefused) {
  const MetadataPath profile({{u"Export", u"Root"}, {u"ExportProfile", u"P"}});
  const auto addProfile = [](ProjectState& state, const char16_t* uuid, const char16_t* name) {
    state.nodes[at({{u"Export", u"Root"}, {u"ExportProfile", uuid}})] = {{u"Name", name}};
  };
  using Edit = std::function<void(ProjectState&)>;
  const std::tuple<const char*, Edit, bool> rows[] = {
      {"label-name-taken",
       [](auto& file) {
         file.labels[u"N"] = {u"C", u"IN", false, {}, {}};
       },
       false},
      {"label-name-taken", [](auto& file) { file.categories[u"D"] = u"C"; }, false},
      {"label-name-taken", [](auto& file) { file.categories[u"D"] = u"c"; }, true},
      {"import-conflict", [](auto& file) { file.categories[u"D"] = u"d", file.labels[u"L"].category = u"D"; }, false},
      {"", [](auto& file) { file.categories[u"D"] = u"d", file.labels[u"L"].category = u"D"; }, true},
      {"label-in-use", [](auto& file) { file.labels.clear(); }, true},
      {"", [](auto& file) { file.labels.clear(); }, false},
      {"profile-name-taken", [&](auto& file) { addProfile(file, u"Q", u"Public"); }, false},
      {"", [&](auto& file) { file.nodes.erase(profile), addProfile(file, u"Q", u"Public"); }, true},
      {"import-conflict", [&](auto& file) { addProfile(file, u"wholeproject", u"q"); }, false},
      {"name-empty", [&](auto& file) { addProfile(file, u"Q", u""); }, false},
  };
  for (const auto& [identifier, edit, replaces] : rows) {
    ProjectState file = sample();
    edit(file);
    EXPECT_EQ(refusalOf([&, all = replaces] { merged(sample(), file, {all, false}); }), identifier);
  }
}

TEST_F(ExchangeTest, EachChangeIsToldOnce) {
  ProjectState after = sample();
  after.labels[u"L"] = {u"C", u"on", true, {"new", "old"}, {{"a", MarkKind::entry}, {"n", MarkKind::reach}}};
  after.labels[u"N"] = {u"C", u"new", false, {}, {}};
  after.nodes[at({{u"Export", u"Root"}, {u"ExportProfile", u"P"}})][u"Name"] = u"press";
  after.nodes.erase(at({{u"Settled", u"Root"}, {u"Path", u"b"}}));
  std::string told;
  for (const Change& change : changesBetween(sample(), after)) told += textOf(change) + "\n";
  EXPECT_EQ(told,
            "+ label c/new\n~ label c/on  now protected  was c/in\n+ rule c/on  new\n"
            "~ mark c/on  a  (entry, was reach)\n- mark c/on  b  (exception)\n+ mark c/on  n\n"
            "~ profile press  was public\n- settled c/on  b\n");
}

}  // namespace

}  // namespace project_share
