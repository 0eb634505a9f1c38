// What becomes of edits that others make at the same time, and of those that cannot be kept.
#include <array>
#include <atomic>
#include <chrono>
#include <future>
#include <map>
#include <thread>

#include "Bench.h"
#include "project/exception/ProjectException.h"
#include "project/sharing/profiles/ExportFilter.h"
#include "project/sharing/profiles/ExportProfile.h"
#include "project/sharing/profiles/ExportProfileManager.h"

namespace host_conformance {

using project::metadata::MetadataManager;
using project::metadata::MetadataPath;
using project::metadata::MetadataScopeGuard;
using project::sharing::profiles::createManager;

namespace {

// Of another type than profiles, which the library leaves alone.
Node beside(const std::u16string& location) {
  Node node = at({});
  node.emplace_back(u"Count", location);
  return node;
}

const Node ONE = beside(u"1"), TWO = beside(u"2");

constexpr std::chrono::milliseconds MOMENT(1), WHILE(30);  // the other session waits by then, or has not waited

// Does it until it does not throw: who waits too long for the other session fails.
void insist(const std::function<void()>& act) {
  for (int tries = 0; tries < 1000; ++tries) {
    try {
      return act();
    } catch (const std::exception&) {
      std::this_thread::sleep_for(MOMENT);
    }
  }
  ADD_FAILURE() << "it fails a thousand times";
}

Metadata anotherSession(const Bench& t) {
  static_cast<void>(t.hook(&Host::isolatesSessions, "isolatesSessions"));
  return t.hook(&Host::openAgain, "openAgain")()->getMetadataManager();
}

constexpr Clause SCOPE_008("optional_SCOPE_008_SessionsOfTwoThreadsAreIsolated", [](Bench& t) {
  const Metadata other = anotherSession(t);
  t.write({ONE, TWO}, u"0");
  const auto write = [&] {
    const MetadataScopeGuard scope = other->beginWriteScope();
    const std::u16string next = other->getNode(pathOf(ONE))->getValue(u"Data") + u"x";
    for (const Node& node : {ONE, TWO}) other->setNodes({{pathOf(node), holding(next)}});
  };
  for (const bool isWriting : {true, false}) {  // a scope lasts, another session would write
    const std::u16string before = t.valueAt(ONE);
    std::future<void> writer;  // waits for its end, also where a call throws
    {
      const Access scope = isWriting ? t.writing() : t.reading();
      EXPECT_EQ(t.valueAt(ONE), before);
      writer = std::async(std::launch::async, [&] { insist(write); });
      const bool isDone = writer.wait_for(WHILE) == std::future_status::ready;
      EXPECT_FALSE(isWriting && isDone) << "another session writes during a write scope";
      for (const Node& node : {ONE, TWO}) EXPECT_EQ(t.valueAt(node), before) << "in one scope, and a nested one";
      const Content next = holding(before + u"x");
      if (isWriting) scope->setNodes({{pathOf(ONE), next}, {pathOf(TWO), next}});
    }
    writer.get();
    const std::u16string after = before + (isWriting ? u"xx" : u"x");
    for (const Node& node : {ONE, TWO}) EXPECT_EQ(t.valueAt(node), after) << "no write is lost";
  }
});

struct GivenUp {};

// Adds a node to a list of two that are counted. Where the node is there, a try that said it failed was kept.
void count(MetadataManager& session, const Node& node, bool givesUp) {
  const MetadataScopeGuard scope = session.beginWriteScope();
  if (session.nodeExists(pathOf(node))) return;
  const std::u16string next = session.getNode(pathOf(ONE))->getValue(u"Data") + u"x";
  session.setNodes({{pathOf(node), holding(u"")}});
  std::this_thread::sleep_for(MOMENT);
  EXPECT_EQ(session.getChildPaths(pathOf(ONE)).size(), next.size()) << "a list, and the value that counts it";
  for (const Node& one : {ONE, TWO}) session.setNodes({{pathOf(one), holding(next)}});
  if (givesUp) throw GivenUp();
}

// Makes a profile whose name the other session takes, too, and saves one that both save.
void editProfiles(const Metadata& session, const std::u16string& name, const std::u16string& whose) {
  const auto manager = createManager(session);
  try {
    manager->createProfile(name);
  } catch (const project::exception::ProjectException&) {  // the other one was first
  }
  const auto profile = manager->getProfileByUUID(u"shared");
  while (!profile->getFilters().empty()) profile->removeFilter(nullptr);  // the last
  profile->addFilter(project::sharing::profiles::EXCLUDE_LABEL, {{whose, whose + u"1"}, {whose, whose + u"2"}});
  profile->save();
}

// Each session does it on a thread of its own. What could not be kept is told by the read scope, and done again.
void inBoth(const std::array<Metadata, 2>& sessions, const std::function<void(std::size_t)>& act) {
  std::atomic<std::size_t> late{sessions.size()};
  const auto run = [&](std::size_t i) {
    for (--late; late > 0;) std::this_thread::yield();
    insist([&] {
      act(i);
      sessions[i]->beginReadScope();
    });
  };
  std::future<void> second = std::async(std::launch::async, run, 1);
  run(0);
  second.get();
}

constexpr Clause SCOPE_009("optional_SCOPE_009_EditsBegunAtTheSameMomentAreAllKept", [](Bench& t) {
  constexpr std::size_t ROUNDS = 16;
  const std::array<Metadata, 2> sessions = {t.metadata, anotherSession(t)};
  t.write({ONE, TWO}, u"");
  createManager(t.metadata)->createProfile(u"shared", u"shared");
  std::vector<std::u16string> names = {u"shared"};
  for (std::size_t i = 0; i < ROUNDS; ++i) {
    names.insert(names.end() - 1, u"name " + std::u16string(i + 1, u'x'));
    const auto add = [&](std::size_t who, bool givesUp) {
      count(*sessions[who], ONE + (number(who) + u"-" + number(i)), givesUp);
    };
    if (t.host().undoesWriteScopes) {
      inBoth(sessions, [&](std::size_t who) {
        try {
          add(who, true);
        } catch (const GivenUp&) {
        }
      });
    }
    inBoth(sessions, [&](std::size_t who) { add(who, false); });
    inBoth(sessions, [&](std::size_t who) { editProfiles(sessions[who], names[i], number(who)); });
  }
  for (const Metadata& session : sessions) {
    t.metadata = session;
    for (const Node& node : {ONE, TWO}) EXPECT_EQ(t.valueAt(node).size(), 2 * ROUNDS);
    EXPECT_EQ(t.children(ONE).size(), 2 * ROUNDS);
    std::vector<std::u16string> stored;
    for (const auto& profile : createManager(session)->getProfiles()) stored.push_back(profile->getName());
    EXPECT_EQ(stored, names) << "each name was taken once";
    const auto filters = createManager(session)->getProfileByUUID(u"shared")->getFilters();
    ASSERT_EQ(filters.size(), 1);
    const auto items = filters[0]->getItems();
    EXPECT_TRUE(items.size() == 2 && items[0].category == items[1].category) << "the items of two saves";
  }
});

using State = std::map<std::u16string, std::u16string>;  // values by location

const State OLD = {{u"1", u"old"}, {u"2", u"old"}, {u"4", u"old"}};
const State NEW = {{u"2", u"new"}, {u"3", u"new"}, {u"4", u"new"}};

// Makes it so, in one write scope, in the middle of which it calls `meanwhile`.
void put(
    MetadataManager& session, const State& state, const std::function<void()>& meanwhile = [] {}) {
  const MetadataScopeGuard scope = session.beginWriteScope();
  for (const char16_t* location : {u"1", u"2", u"3", u"4"}) {
    if (*location == u'3') meanwhile();
    const auto found = state.find(location);
    const MetadataPath path = pathOf(beside(location));
    found == state.end() ? session.removeNodes({path}) : session.setNodes({{path, holding(found->second)}});
  }
}

// What two looks in one read scope show, with `meanwhile` between the list and the nodes of the first one.
State look(
    MetadataManager& session, const std::function<void()>& meanwhile = [] {}) {
  const MetadataScopeGuard scope = session.beginReadScope();
  std::array<State, 2> looks;
  for (State& seen : looks) {
    const std::vector<MetadataPath> paths = session.getChildPaths(pathOf(at({})));
    if (&seen == looks.data()) meanwhile();
    for (const MetadataPath& path : paths) {
      const Content node = session.getNode(path);
      seen[path.getLeaf().getLocation()] = node ? node->getValue(u"Data") : u"(listed, and not there)";
    }
  }
  EXPECT_EQ(looks[0], looks[1]) << "in one read scope";
  return looks[0];
}

constexpr Clause SCOPE_010("optional_SCOPE_010_AReadScopeShowsAllOfAnEditOrNothing", [](Bench& t) {
  const Metadata other = anotherSession(t);
  put(*t.metadata, OLD);
  State seen;
  std::future<void> reader, writer;
  put(*t.metadata, NEW, [&] {
    reader = std::async(std::launch::async, [&] { insist([&] { seen = look(*other); }); });
    reader.wait_for(WHILE);
  });
  reader.get();
  EXPECT_TRUE(seen == OLD || seen == NEW) << "half an edit: " << testing::PrintToString(seen);
  seen = look(*t.metadata, [&] {
    writer = std::async(std::launch::async, [&] { insist([&] { put(*other, OLD); }); });
    writer.wait_for(WHILE);
  });
  EXPECT_EQ(seen, NEW) << "the list is older than the edit";
  writer.get();
  EXPECT_EQ(look(*t.metadata), OLD);
});

constexpr Clause SCOPE_011("optional_SCOPE_011_ACommitThatFailsIsToldAndNothingOfItIsKept", [](Bench& t) {
  const auto& failNextCommit = t.hook(&Host::failNextCommit, "failNextCommit");
  const Metadata session = t.metadata,
                 other = t.host().openAgain ? t.host().openAgain()->getMetadataManager() : session;
  const Content changed = holding(u"new");
  const std::vector<std::function<void()>> uses = {
      [&] { session->beginReadScope(); },           [&] { session->beginWriteScope(); },
      [&] { session->getNode(pathOf(ONE)); },       [&] { session->nodeExists(pathOf(ONE)); },
      [&] { session->getChildPaths(pathOf(ONE)); }, [&] { session->setNodes({{pathOf(TWO), changed}}); },
      [&] { session->removeNodes({pathOf(ONE)}); },
  };
  for (std::size_t i = 0; i < uses.size(); ++i) {
    t.metadata = session;
    t.write({ONE, ONE + u"a"}, number(i));
    failNextCommit();
    {
      const Access outer = t.writing();
      outer->removeNodes({pathOf(ONE + u"a")});
      const Access inner = t.writing();
      inner->setNodes({{pathOf(ONE), changed}, {pathOf(TWO), changed}});
    }
    EXPECT_ANY_THROW(uses[i]()) << "the call of number " << i << " is the next one";
    for (const Metadata& one : {session, other}) {
      t.metadata = one;
      for (const Node& node : {ONE, ONE + u"a"}) EXPECT_EQ(t.valueAt(node), number(i));
      EXPECT_EQ(t.children(at({})), Nodes{ONE});
    }
  }
});

}  // namespace

Clauses sessionClauses() { return {SCOPE_008, SCOPE_009, SCOPE_010, SCOPE_011}; }

}  // namespace host_conformance
