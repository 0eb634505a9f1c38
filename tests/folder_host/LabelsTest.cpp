#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <map>
#include <random>
#include <sstream>

#include "Fixture.h"
#include "folder_host/labels/EffectiveLabels.h"
#include "folder_host/store/Store.h"

namespace folder_host {

namespace {

using Words = std::vector<std::string>;

Words wordsOf(const std::string& text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), {}};
}

// A label's marks, each by its path: "+a" with reach, "=a" on the entry alone, "-a" an exception; and its rules.
void give(LabelStore& labels, const std::u16string& uuid, const std::string& marks, const std::string& rules) {
  const std::map<char, MarkKind> kinds = {{'+', MarkKind::reach}, {'=', MarkKind::entry}, {'-', MarkKind::exception}};
  for (const std::string& mark : wordsOf(marks)) labels.attach(uuid, {mark.substr(1)}, kinds.at(mark[0]));
  labels.setRules(uuid, wordsOf(rules));
}

// Which entries have each label. Asked for one by one, they have the same.
std::vector<Words> carrying(const EntryTable& entries, const LabelStore& labels) {
  const EffectiveLabels effective(entries, labels);
  const LabelSources sources(labels);
  std::vector<Words> paths(sources.labels().size());
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const LabelSet set = effective.of(i);
    for (std::size_t label = 0; label < paths.size(); ++label) {
      const bool has = std::binary_search(set.begin(), set.end(), label);
      if (has) paths[label].push_back(entries[i].path);
      EXPECT_EQ(sources.sourceOf(entries[i].path, entries[i].kind == EntryKind::folder, label).gives(), has)
          << entries[i].path;
    }
  }
  return paths;
}

// Trees, marks and rules of few names, so that much comes together.
class Maker {
 public:
  explicit Maker(unsigned start) : random_(start) {}

  std::size_t below(std::size_t limit) { return random_() % limit; }

  // A folder has a '/' at its end.
  Words tree() {
    Words names, folders = {""};
    for (std::size_t left = 3 + below(12); left > 0; --left) {
      std::string path = folders[below(folders.size())] + oneOf("a b c a.b");
      if (std::any_of(names.begin(), names.end(), [&](auto& name) { return name == path || name == path + "/"; }))
        continue;
      if (below(2) == 0) folders.push_back(path += '/');
      names.push_back(std::move(path));
    }
    return names;
  }

  std::string marks() {
    std::string marks = below(12) == 0 ? "+ " : "";
    for (std::size_t left = below(4); left > 0; --left) marks += oneOf("+ = -") + path() + ' ';
    return marks;
  }

  std::string rules(bool withNegated) {
    std::string rules;
    for (std::size_t left = below(4); left > 0; --left) {
      rules += withNegated && below(3) == 0 ? "!" : "";
      rules += std::vector<const char*>{"", "", "", "/", "a/", "c/", "**/", "*/"}[below(8)];
      rules += oneOf("a b c *.b ? a* a.b */b **/c [ab]") + (below(3) == 0 ? "/ " : " ");
    }
    return rules;
  }

 private:
  std::string oneOf(const std::string& words) {
    const Words all = wordsOf(words);
    return all[below(all.size())];
  }

  std::string path() {
    std::string path = oneOf("a b c a.b");
    while (below(2) == 0) path += '/' + oneOf("a b c a.b");
    return path;
  }

  std::mt19937 random_;
};

}  // namespace

TEST(Labels, ComeFromTheNearestMarkAndElseFromRules) {
  const struct {
    const char *title, *entries, *marks, *rules, *expected;
  } rows[] = {
      {"a mark on a file", "a b", "+a", "", "a"},
      {"a mark above", "a/ a/b/ a/b/c a-b", "+a", "", "a a/b a/b/c"},
      {"an exception, and a mark below it", "a/ a/b/ a/b/c a/b/d a/e", "+a -a/b +a/b/c", "", "a a/b/c a/e"},
      {"a mark on the entry alone", "a/ a/b", "=a", "", "a"},
      {"one that is looked past", "a/ a/b/ a/b/c", "+a =a/b", "", "a a/b a/b/c"},
      {"one below an exception", "a/ a/b/ a/b/c", "+a -a/b =a/b/c", "", "a a/b/c"},
      {"one over a rule that takes away", "a/ a/b", "=a", "a !a", "a"},
      {"the project's folder", "a/ a/b c", "+ -a", "", "c"},
      {"a mark where nothing is", "a/ a/b", "+c -a/c =b", "", ""},
      {"a rule", "a/ a/b/ a/b/x.k x.k y", "", "*.k", "a/b/x.k x.k"},
      {"what lies below what a rule names", "a/ a/b/ a/b/c d/ d/b/", "", "/a/b", "a/b a/b/c"},
      {"a rule that takes away", "a/ a/b a/c/ a/c/d", "", "a !c", "a a/b"},
      {"the last rule of those for one path", "a b", "", "!a * !b", "a"},
      {"the nearest path, not the last rule", "a/ a/b a/c", "", "!b a", "a a/c"},
      {"a mark against rules", "a/ a/b c/ c/b", "+a -c", "c !b", "a a/b"},
      {"a rule for folders", "a b/ b/a/ b/a/c", "", "a/", "b/a b/a/c"},
      {"a rule for what lies in a folder", "a/ a/b", "", "a/*", "a/b"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.title);
    LabelStore labels(Store::inMemory());
    give(labels, labels.create(u"c", u"l").uuid, row.marks, row.rules);
    EXPECT_EQ(carrying(EntryTable(listingOf(wordsOf(row.entries))), labels).front(), wordsOf(row.expected));
  }
}

TEST(Labels, OfAWholeTreeAreThoseOfEachPath) {
  constexpr unsigned seed = 9;
  Maker maker(seed);
  const auto store = Store::inMemory();
  LabelStore labels(store);
  const std::vector<std::u16string> uuids = {labels.create(u"c", u"l").uuid, labels.create(u"c", u"m").uuid};
  std::map<std::string, std::size_t> sizes;
  for (unsigned round = 0; round < 2000 && !testing::Test::HasFailure(); ++round) {
    std::string text;
    store->atomically([&] {
      for (const Mark& mark : labels.marks()) labels.detach(mark.label, {mark.path});
      for (const std::u16string& uuid : uuids) {
        const std::string marks = maker.marks(), rules = maker.rules(true);
        text.append(" marks ").append(marks).append(" rules ").append(rules);
        give(labels, uuid, marks, rules);
      }
    });
    SCOPED_TRACE("round " + std::to_string(round) + " of seed " + std::to_string(seed) + text);
    const EntryTable entries(listingOf(maker.tree()));
    const std::size_t number = carrying(entries, labels).front().size();
    ++sizes[number == 0 ? "none" : number == entries.size() ? "all" : "some"];
  }
  for (const char* size : {"none", "some", "all"}) EXPECT_GT(sizes[size], 50U) << size;
}

using Rules = FolderTest;

// Each tree has rules of its own, so that git is asked once about them all.
TEST_F(Rules, GiveALabelToWhatGitIgnores) {
  Maker maker(10);
  std::string questions, expected;
  LabelStore labels(Store::inMemory());
  const std::u16string uuid = labels.create(u"c", u"l").uuid;
  for (std::size_t set = 0; set < 60; ++set) {
    const std::string folder = "t" + std::to_string(set) + "/", rules = maker.rules(false);
    give(labels, uuid, "", rules);
    const Words tree = maker.tree();
    for (const std::string& name : tree) {
      std::filesystem::create_directories(in(folder + name.substr(0, name.rfind('/') + 1)));
      if (name.back() != '/') put(folder + name);
    }
    std::string lines = rules;
    std::replace(lines.begin(), lines.end(), ' ', '\n');
    put(folder + ".gitignore", lines);
    const EntryTable entries(listingOf(tree));
    for (std::size_t i = 0; i < entries.size(); ++i) questions += folder + entries[i].path + '\n';
    const Words ignored = carrying(entries, labels).front();
    for (const std::string& path : ignored) expected += folder + path + '\n';
  }
  put("questions", questions);
  const std::string run =
      "cd '" + in(".") + R"(' && exec 2>errors && git() { env -i PATH="$PATH" GIT_CONFIG_NOSYSTEM=1 \
    GIT_CONFIG_GLOBAL=/dev/null git "$@"; } && git init -q --template= . &&
    git check-ignore --stdin --no-index <questions >answers)";
  // NOLINTNEXTLINE(cert-env33-c): nothing of it comes from outside
  ASSERT_EQ(std::system(run.c_str()), 0) << read(in("errors"));
  EXPECT_EQ(read(in("answers")), expected);
  EXPECT_GT(expected.size(), questions.size() / 5);
}

}  // namespace folder_host
