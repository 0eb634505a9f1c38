#include "Bench.h"
#include "project/sharing/profiles/ExportProfile.h"
#include "project/sharing/profiles/ExportProfileManager.h"

namespace host_conformance {

using project::metadata::MetadataNodeSpecification;
using project::metadata::MetadataScopeGuard;

namespace {

const Node ROOT = at({}), A = at({u"a"}), AB = A + u"b", ABC = AB + u"c", AD = A + u"d", B = at({u"b"});

struct Passing {};

void leaveByException(MetadataScopeGuard) { throw Passing(); }

constexpr Clause SCOPE_002("required_SCOPE_002_ReadScopesNestInWriteScopes", [](Bench& t) {
  t.write({A});
  {
    const Access outer = t.writing();
    EXPECT_EQ(t.children(ROOT), Nodes{A}) << "in a read scope that ends before the write";
    outer->setNodes({{pathOf(B), holding(u"1")}});
    const Access inner = t.reading();
    EXPECT_EQ(t.children(ROOT), (Nodes{A, B})) << "in the third scope, of what the first wrote";
    EXPECT_TRUE(inner->nodeExists(pathOf(B))) << "in the second one, when the third has ended";
  }
  EXPECT_TRUE(t.exists(B)) << "written between two read scopes in one write scope";
});

constexpr Clause SCOPE_003("required_SCOPE_003_ScopesEndWhenAnExceptionPasses", [](Bench& t) {
  EXPECT_THROW(leaveByException(t.metadata->beginReadScope()), Passing);
  EXPECT_THROW(leaveByException(t.metadata->beginWriteScope()), Passing);
  t.write({A});
  if (t.host().openAgain) t.use(t.host().openAgain());
  t.write({B});
  EXPECT_EQ(t.children(ROOT), (Nodes{A, B})) << "written after them, by two sessions where there can be two";
});

constexpr Clause SCOPE_005("required_SCOPE_005_AGuardEndsItsScopeOnceHoweverItIsMoved", [](Bench&) {
  std::string ended;
  {
    MetadataScopeGuard first([&] { ended += 'a'; });
    const MetadataScopeGuard second(std::move(first)), empty(nullptr), throwing([] { throw Passing(); });
    EXPECT_EQ(ended, "") << "what is moved goes on";
  }
  EXPECT_EQ(ended, "a");
});

struct Cleaning {  // as an application does while an exception passes
  ~Cleaning() { t.write({AD}, u"cleaned up"); }
  Bench& t;
};

constexpr Clause SCOPE_006("optional_SCOPE_006_AFailedWriteScopeIsUndoneAndNoOther", [](Bench& t) {
  if (!t.host().undoesWriteScopes) GTEST_SKIP() << "the host does not declare undoesWriteScopes";
  t.write({A, ABC}, u"old");
  const auto fail = [&] {
    const Cleaning cleaning{t};
    const Access outer = t.writing();
    outer->removeNodes({pathOf(AB)});
    for (const Node& node : {A, AB, B}) outer->setNodes({{pathOf(node), holding(u"new")}});
    const Access inner = t.reading();
    throw Passing();
  };
  EXPECT_THROW(fail(), Passing);
  for (const Node& node : {A, ABC}) EXPECT_EQ(t.valueAt(node), u"old");
  EXPECT_EQ(t.children(ROOT), Nodes{A});
  EXPECT_EQ(t.valueAt(AD), u"cleaned up") << "in a scope that began and ended while an exception passed another one";
  {
    const Access scope = t.writing();
    EXPECT_THROW(throw Passing(), Passing);
    scope->setNodes({{pathOf(B), holding(u"new")}});
  }
  EXPECT_EQ(t.valueAt(B), u"new") << "in a scope that an exception did not leave";
});

// An application puts edits of the library's into one scope of its own.
constexpr Clause SCOPE_007("required_SCOPE_007_WriteScopesNestInWriteScopes", [](Bench& t) {
  const auto manager = project::sharing::profiles::createManager(t.metadata);
  const auto edit = [&](const std::u16string& name, bool fails) {
    const Access outer = t.writing();
    for (const char16_t* more : {u"1", u"2"}) manager->createProfile(name + more, name + more)->save();
    if (fails) throw Passing();
  };
  EXPECT_NO_THROW(edit(u"a", false));
  const Nodes stored = {at({u"a1"}), at({u"a2"})};
  EXPECT_EQ(t.children(ROOT), stored);
  if (!t.host().undoesWriteScopes) return;
  EXPECT_THROW(edit(u"b", true), Passing);
  EXPECT_EQ(t.children(ROOT), stored) << "when an exception has ended the outermost scope";
});

constexpr Clause STORE_001("required_STORE_001_MissingParentsAreMade", [](Bench& t) {
  t.write({ABC});
  EXPECT_TRUE(t.exists(A));
  EXPECT_EQ(t.children(A), Nodes{AB});
  t.write({B}, u"old");
  t.write({B + u"c" + u"d"});
  EXPECT_EQ(t.valueAt(B), u"old") << "of a node that was there already";
  EXPECT_EQ(t.children(ROOT), (Nodes{A, B}));
});

constexpr Clause STORE_003("required_STORE_003_ANodeThatWasReadCanBeChangedAndWritten", [](Bench& t) {
  t.write({A, AB}, u"old");
  t.metadata->beginWriteScope();
  const Content node = t.metadata->getNode(pathOf(A));
  ASSERT_NE(node, nullptr);
  for (const std::u16string& text : hardTexts()) {
    node->setValue(u"Data", text);
    t.metadata->setNodes({{pathOf(A), node}});
    EXPECT_EQ(t.valueAt(A), text);
  }
  EXPECT_EQ(t.valueAt(AB), u"old");
});

constexpr Clause STORE_004("required_STORE_004_ARemovedNodeTakesWhatLiesBelowAndNothingElse", [](Bench& t) {
  Nodes many = {ABC + u"d" + u"e"};
  for (std::size_t i = 0; i < MANY; ++i) many.insert(ABC + number(i));
  t.write(many);
  t.write({AD});
  t.write({A}, u"above");
  t.remove({AB});
  for (const Node& node : {AB, ABC, ABC + u"d", ABC + u"d" + u"e"}) {
    EXPECT_FALSE(t.exists(node));
    t.write({node});
    EXPECT_EQ(t.children(node), Nodes()) << "of a node that was removed and is written again";
  }
  t.remove({AB, AD});
  EXPECT_EQ(t.children(A), Nodes());
  EXPECT_EQ(t.valueAt(A), u"above") << "when all children were removed";
});

constexpr Clause STORE_005("required_STORE_005_NothingAndTheAbsentCanBeRemoved", [](Bench& t) {
  t.write({A});
  for (const Nodes& nodes : {Nodes(), {B}, {AB}, {ABC}}) t.remove(nodes);
  EXPECT_EQ(t.children(ROOT), Nodes{A});
  for (const Node& node : {AB, B}) EXPECT_FALSE(t.exists(node));
});

constexpr Clause STORE_006("required_STORE_006_AnAbsentNodeIsNoneAndHasNoChildren", [](Bench& t) {
  for (const bool isEmpty : {true, false}) {
    for (const Node& node : {isEmpty ? ROOT : ABC, B, AB + u"d"}) {
      EXPECT_FALSE(t.exists(node));
      EXPECT_EQ(t.reading()->getNode(pathOf(node)), nullptr);
      EXPECT_EQ(t.children(node), Nodes());
    }
    t.write({AB});
  }
});

constexpr Clause STORE_007("required_STORE_007_ChildrenAreDirectAndWholePaths", [](Bench& t) {
  t.write({ABC + u"d", AD, B + u"b" + u"c"});
  EXPECT_EQ(t.children(ROOT), (Nodes{A, B}));
  EXPECT_EQ(t.children(A), (Nodes{AB, AD}));
  EXPECT_EQ(t.children(AB), Nodes{ABC});
  EXPECT_EQ(t.children(AD), Nodes());
});

constexpr Clause STORE_008("required_STORE_008_NamesThatAreNearlyAlikeStayApart", [](Bench& t) {
  const Nodes parents = {ROOT, A, AB};
  for (const Node& parent : parents) {
    for (const std::u16string& name : hardTexts()) {
      EXPECT_FALSE(t.exists(parent + name)) << "another one is taken for " << testing::PrintToString(name);
      t.write({parent + name}, name);
    }
  }
  for (const Node& parent : parents) {
    Nodes nodes;
    for (const std::u16string& name : hardTexts()) {
      const std::size_t children = parents.count(parent + name) * hardTexts().size();
      EXPECT_EQ(t.valueAt(parent + name), name);
      EXPECT_EQ(t.children(parent + name).size(), children) << testing::PrintToString(name);
      nodes.insert(parent + name);
    }
    EXPECT_TRUE(same(t.children(parent), nodes));
  }
});

constexpr Clause STORE_009("required_STORE_009_RemovingANodeSparesThoseOfNearNames", [](Bench& t) {
  Nodes stored;
  for (const std::u16string& name : hardTexts()) stored.insert(at({name}));
  for (const Node& node : stored) t.write({node + u"b" + u"c"});
  while (!stored.empty()) {
    const Node removed = *stored.begin();
    t.remove({removed});
    stored.erase(stored.begin());
    EXPECT_TRUE(same(t.children(ROOT), stored)) << "removed with " << testing::PrintToString(removed);
    for (const Node& node : stored) EXPECT_TRUE(t.exists(node + u"b" + u"c")) << testing::PrintToString(removed);
  }
});

constexpr Clause STORE_010("required_STORE_010_TypeAndLocationBothCount", [](Bench& t) {
  Node leaves;
  for (const std::u16string& text : hardTexts()) {  // alone, and as what a store might join type and location by
    leaves.insert(leaves.end(), {{text, u"x"}, {u"x", text}, {u"y" + text + u"y", u"z"}, {u"y", u"y" + text + u"z"}});
  }
  Nodes nodes;
  for (const auto& leaf : leaves) {
    Node node = AB;
    node.push_back(leaf);
    EXPECT_FALSE(t.exists(node)) << "another one is taken for it";
    t.write({node}, leaf.first);
    nodes.insert(node);
  }
  EXPECT_TRUE(same(t.children(AB), nodes));
  for (const Node& node : nodes) EXPECT_EQ(t.valueAt(node), node.back().first);
  Nodes removed;
  for (std::size_t i = 0; i < leaves.size(); i += 3) {
    Node node = AB;
    node.push_back(leaves[i]);
    nodes.erase(node);
    removed.insert(node);
  }
  t.remove(removed);
  EXPECT_TRUE(same(t.children(AB), nodes)) << "when those of other types or locations were removed";
});

constexpr Clause STORE_011("required_STORE_011_TextComesBackUnitByUnit", [](Bench& t) {
  for (const std::u16string& text : hardTexts(100000)) {
    t.write({A}, text);
    EXPECT_TRUE(t.valueAt(A) == text) << testing::PrintToString(text.substr(0, 9)) << " of " << text.size() << " units";
  }
  const auto node = std::make_shared<MetadataNodeSpecification>();
  for (const std::u16string& key : hardTexts()) node->put(key, u"of " + key);
  t.writing()->setNodes({{pathOf(AD), node}});
  for (const std::u16string& key : hardTexts()) EXPECT_EQ(t.valueAt(AD, key), u"of " + key);
});

constexpr Clause STORE_014("optional_STORE_014_SessionsSeeWhatTheOtherWrote", [](Bench& t) {
  const Metadata second = t.hook(&Host::openAgain, "openAgain")()->getMetadataManager();  // it may outlive its project
  const std::vector<Metadata> sessions = {t.metadata, second};
  Nodes nodes;
  for (const bool isThere : {false, true}) {
    t.metadata = second;
    EXPECT_EQ(t.exists(ROOT), isThere);
    t.metadata = sessions[0];
    t.write({B});
  }
  for (const std::u16string& text : hardTexts()) {
    for (std::size_t turn = 0; turn < 3; ++turn) {
      t.metadata = sessions[turn % 2];
      EXPECT_TRUE(same(t.children(A), nodes)) << "as the other session left it";
      EXPECT_EQ(turn > 0 ? t.valueAt(A + text) : u"", turn > 0 ? text + number(turn - 1) : u"");
      t.write({A + text}, text + number(turn));
      if (turn == 0) nodes.insert(A + text);
    }
  }
  for (std::size_t turn = 0; !nodes.empty(); ++turn) {
    t.remove({*nodes.begin()});
    t.metadata = sessions[turn % 2];
    EXPECT_FALSE(t.exists(*nodes.begin())) << "removed by the other session";
    nodes.erase(nodes.begin());
  }
});

// As long as a path of a file; an index or a column may end earlier.
std::vector<std::u16string> longTexts() {
  const std::u16string ascii(4094, u'x');
  std::u16string pairs;
  while (pairs.size() < 2046) pairs += u"\xD83D\xDE00";
  std::vector<std::u16string> texts = {ascii, ascii + u"y", ascii + u"z"};
  for (const std::u16string& stem : {std::u16string(1364, u'\u4E2D'), pairs}) {
    for (const char16_t* last : {u"\u4E00", u"\u4E01"}) texts.push_back(stem + last);
  }
  return texts;
}

constexpr Clause STORE_016("required_STORE_016_KeysAsLongAsAPathStayApartByTheirLastUnit", [](Bench& t) {
  const auto values = std::make_shared<MetadataNodeSpecification>();
  const Node above = at({longTexts().back()});
  Nodes nodes;
  for (const std::u16string& text : longTexts()) {
    values->put(text, u"of " + text);
    Node ofType = above;
    ofType.emplace_back(text, u"x");
    for (const Node& node : {above + text, ofType}) {
      EXPECT_FALSE(t.exists(node)) << "another one is taken for it";
      t.write({node, node + u"b"}, node.back().first + node.back().second);
      nodes.insert(node);
    }
  }
  t.writing()->setNodes({{pathOf(A), values}});
  for (const std::u16string& key : longTexts()) EXPECT_TRUE(t.valueAt(A, key) == u"of " + key);
  while (!nodes.empty()) {
    EXPECT_TRUE(t.children(above) == nodes);
    for (const Node& node : nodes) EXPECT_TRUE(t.valueAt(node + u"b") == node.back().first + node.back().second);
    t.remove({*nodes.begin()});
    nodes.erase(nodes.begin());
  }
});

}  // namespace

Clauses metadataClauses() {
  return {SCOPE_002, SCOPE_003, SCOPE_005, SCOPE_006, SCOPE_007, STORE_001, STORE_003, STORE_004, STORE_005,
          STORE_006, STORE_007, STORE_008, STORE_009, STORE_010, STORE_011, STORE_014, STORE_016};
}

}  // namespace host_conformance
