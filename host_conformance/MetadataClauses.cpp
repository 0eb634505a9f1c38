#include "Bench.h"

namespace host_conformance {

using namespace std::string_literals;
using project::metadata::MetadataNodeSpecification;
using project::metadata::MetadataScopeGuard;
using project::metadata::PathElement;

namespace {

const Node A = at({u"a"}), AB = at({u"a", u"b"}), ABC = at({u"a", u"b", u"c"}), AD = at({u"a", u"d"}), B = at({u"b"});

// Texts that careless comparisons, patterns, normalisations and encodings spoil, or take for one another.
std::vector<std::u16string> hardTexts(std::size_t longest = 300) {
  const std::u16string x(longest, u'x');
  return {u"",        u"a",      u"A",      u"ab",       u"a ",          u" a",           u"_",
          u"%",       u"a/b",    u"a\\b",   u"\u00E9",   u"e\u0301",     u"\xFEFF",       u"\xFEFF-a",
          u"\xFFFD",  u"\xFFFF", u"\xD800", u"\xDC00-a", u"\xD800-a\0"s, u"\xD800\xDC00", u"\0"s,
          u"\0\0"s,   u"a\0"s,   u"a\0b"s,  u"a\001b",   u"a\037b",      u"a\nb",         u"a\tb",
          u"a.b",     u"a:b",    u"a|b",    u"a,b",      u"a;b",         u"a=b",          x,
          x.substr(1)};
}

struct Passing {};

void leaveByException(MetadataScopeGuard) { throw Passing(); }

constexpr Clause SCOPE_001("required_SCOPE_001_ReadScopesNestInReadScopes", [](Bench& t) {
  t.write(A);
  const Access outer = t.reading();
  t.metadata->beginReadScope();
  EXPECT_TRUE(outer->nodeExists(A)) << "in the outer scope, when the inner one has ended";
});

constexpr Clause SCOPE_002("required_SCOPE_002_ReadScopesNestInWriteScopes", [](Bench& t) {
  t.write(A);
  {
    const Access outer = t.writing();
    {
      const Access inner = t.reading();
      t.metadata->beginReadScope();
      EXPECT_TRUE(inner->nodeExists(A)) << "in the second of three scopes, when the third has ended";
    }
    outer->setNodes({{B, holding(u"1")}});
    t.metadata->beginReadScope();
  }
  EXPECT_TRUE(t.exists(B)) << "written between two read scopes in one write scope";
});

constexpr Clause SCOPE_003("required_SCOPE_003_ScopesEndWhenAnExceptionPasses", [](Bench& t) {
  EXPECT_THROW(leaveByException(t.metadata->beginReadScope()), Passing);
  EXPECT_THROW(leaveByException(t.metadata->beginWriteScope()), Passing);
  t.write(A);
  EXPECT_TRUE(t.exists(A));
});

constexpr Clause SCOPE_004("required_SCOPE_004_AScopeMayEndBeforeTheAccess", [](Bench& t) {
  t.metadata->beginWriteScope();
  t.metadata->setNodes({{A, holding(u"1")}});
  t.metadata->beginReadScope();
  EXPECT_NE(t.metadata->getNode(A), nullptr);
});

constexpr Clause SCOPE_005("required_SCOPE_005_AGuardEndsItsScopeOnceHoweverItIsMoved", [](Bench&) {
  std::string ended;
  {
    MetadataScopeGuard first([&] { ended += 'a'; });
    MetadataScopeGuard second([&] { ended += 'b'; });
    second = std::move(first);
    EXPECT_EQ(ended, "b") << "what is assigned to ends its own scope";
    MetadataScopeGuard third(std::move(second));
    MetadataScopeGuard& same = third;
    third = std::move(same);
    EXPECT_EQ(ended, "b") << "what is moved goes on";
    const MetadataScopeGuard empty(nullptr);
    const MetadataScopeGuard throwing([] { throw Passing(); });
  }
  EXPECT_EQ(ended, "ba");
});

constexpr Clause STORE_001("required_STORE_001_MissingParentsAreMade", [](Bench& t) {
  t.writing()->setNodes({{ABC, holding(u"1")}});
  EXPECT_TRUE(t.exists(A));
  EXPECT_EQ(t.children(A), shown({AB}));
  t.write(B, u"old");
  t.writing()->setNodes({{at({u"b", u"c", u"d"}), holding(u"1")}});
  EXPECT_EQ(t.valueAt(B), u"old") << "of a node that was there already";
});

constexpr Clause STORE_002("required_STORE_002_ANodeThatIsWrittenAgainHasTheNewValueAndItsChildren", [](Bench& t) {
  t.write(AB, u"child");
  t.write(A, u"new");
  EXPECT_EQ(t.valueAt(A), u"new");
  EXPECT_EQ(t.valueAt(AB), u"child");
});

constexpr Clause STORE_003("required_STORE_003_ANodeThatWasReadCanBeChangedAndWritten", [](Bench& t) {
  t.write(A, u"old");
  t.metadata->beginWriteScope();
  const Content node = t.metadata->getNode(A);
  ASSERT_NE(node, nullptr);
  node->setValue(u"key", u"new");
  t.metadata->setNodes({{A, node}});
  EXPECT_EQ(t.valueAt(A), u"new");
});

constexpr Clause STORE_004("required_STORE_004_ARemovedNodeTakesWhatLiesBelowAndNothingElse", [](Bench& t) {
  for (const Node& node : {ABC, AD}) t.write(node);
  t.write(A, u"above");
  t.writing()->removeNodes({AB});
  EXPECT_EQ(t.existing({AB, ABC}), Nodes());
  t.write(AB);
  EXPECT_EQ(t.children(AB), Nodes()) << "of a node that was removed and is written again";
  t.writing()->removeNodes({AB, AD});
  EXPECT_EQ(t.children(A), Nodes()) << "when all of them were removed";
  EXPECT_EQ(t.valueAt(A), u"above") << "when all children were removed";
});

constexpr Clause STORE_005("required_STORE_005_NothingAndTheAbsentCanBeRemoved", [](Bench& t) {
  t.write(A);
  for (const std::vector<Node>& nodes : {std::vector<Node>(), {B}, {AB}}) t.writing()->removeNodes(nodes);
  EXPECT_EQ(t.existing({A, AB, B}), shown({A}));
});

constexpr Clause STORE_006("required_STORE_006_AnAbsentNodeIsNoneAndHasNoChildren", [](Bench& t) {
  t.write(A);
  EXPECT_EQ(t.existing({AB, B}), Nodes());
  for (const Node& node : {AB, B}) {
    EXPECT_EQ(t.reading()->getNode(node), nullptr);
    EXPECT_EQ(t.children(node), Nodes());
  }
});

constexpr Clause STORE_007("required_STORE_007_ChildrenAreDirectAndWholePaths", [](Bench& t) {
  for (const Node& node : {ABC, AD}) t.write(node);
  EXPECT_EQ(t.children(A), shown({AB, AD}));
  EXPECT_EQ(t.children(AD), Nodes());
});

constexpr Clause STORE_008("required_STORE_008_NamesThatAreNearlyAlikeStayApart", [](Bench& t) {
  std::vector<Node> nodes;
  for (const std::u16string& name : hardTexts()) {
    nodes.push_back(at({u"p", name}));
    EXPECT_EQ(t.existing({nodes.back()}), Nodes()) << "of nearly that name is another one";
    t.write(nodes.back());
  }
  EXPECT_EQ(t.children(at({u"p"})), shown(nodes));
  const Node a = at({u"p", u"a"}), below = at({u"p", u"a", u"b"});
  t.write(below);
  for (const Node& node : nodes) {
    const Nodes expected = node == a ? shown({below}) : Nodes();
    EXPECT_EQ(t.children(node), expected) << "below " << testing::PrintToString(shown({node}));
  }
});

constexpr Clause STORE_009("required_STORE_009_RemovingANodeSparesThoseOfNearNames", [](Bench& t) {
  std::vector<Node> left;
  for (const std::u16string& name : hardTexts()) left.push_back(at({u"p", name, u"b"}));
  for (const Node& node : left) t.write(node);
  while (!left.empty()) {
    const Node gone({left.front().getElements().begin(), left.front().getElements().end() - 1});
    t.writing()->removeNodes({gone});
    left.erase(left.begin());
    for (const Node& node : left) {
      EXPECT_TRUE(t.exists(node)) << "removed with " << testing::PrintToString(shown({gone})) << ": "
                                  << testing::PrintToString(shown({node}));
    }
  }
});

constexpr Clause STORE_010("required_STORE_010_TypeAndLocationBothCount", [](Bench& t) {
  for (const PathElement& element : {PathElement(u"A", u"b"), {u"a", u"B"}, {u"a", u"b"}, {u"b", u"a"}}) {
    EXPECT_EQ(t.existing({Node({element})}), Nodes()) << "another one is taken for it";
    t.write(Node({element}));
  }
});

constexpr Clause STORE_011("required_STORE_011_TextComesBackUnitByUnit", [](Bench& t) {
  for (const std::u16string& text : hardTexts(100000)) {
    t.write(A, text);
    EXPECT_TRUE(t.valueAt(A) == text) << testing::PrintToString(text.substr(0, 9)) << " of " << text.size() << " units";
  }
});

constexpr Clause STORE_012("required_STORE_012_ANodeWithoutValuesIsANode", [](Bench& t) {
  t.write(A);
  t.writing()->setNodes({{AB, std::make_shared<MetadataNodeSpecification>()}});
  EXPECT_EQ(t.children(A), shown({AB}));
});

constexpr Clause STORE_013("required_STORE_013_WhatIsRemovedAndWrittenInOneScopeIsNew", [](Bench& t) {
  t.write(ABC);
  {
    const Access scope = t.writing();
    scope->removeNodes({AB});
    for (const Node& node : {AB, at({u"a", u"b", u"d"})}) scope->setNodes({{node, holding(u"1")}});
  }
  EXPECT_EQ(t.children(AB), shown({at({u"a", u"b", u"d"})}));
});

constexpr Clause STORE_014("optional_STORE_014_SessionsSeeWhatTheOtherWrote", [](Bench& t) {
  const Project first = t.project();
  const Project second = t.hook(&Host::openAgain, "openAgain")();
  for (const std::u16string& text : hardTexts()) t.write(at({u"p", text}), text);
  t.use(second);
  for (const std::u16string& text : hardTexts()) EXPECT_EQ(t.valueAt(at({u"p", text})), text);
  t.writing()->removeNodes({at({u"p"})});
  t.use(first);
  EXPECT_EQ(t.existing({at({u"p"})}), Nodes()) << "removed by the other session";
});

}  // namespace

Clauses metadataClauses() {
  return {SCOPE_001, SCOPE_002, SCOPE_003, SCOPE_004, SCOPE_005, STORE_001, STORE_002, STORE_003, STORE_004, STORE_005,
          STORE_006, STORE_007, STORE_008, STORE_009, STORE_010, STORE_011, STORE_012, STORE_013, STORE_014};
}

}  // namespace host_conformance
