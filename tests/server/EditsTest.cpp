#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <functional>
#include <future>
#include <map>
#include <set>

#include "Postgres.h"
#include "Proxy.h"
#include "folder_host/Fixture.h"
#include "folder_host/store/Schema.h"
#include "server_store/PostgresServers.h"

namespace folder_host {

INSTANTIATE_TEST_SUITE_P(Postgres, OriginContract,
                         ::testing::Values(OriginKind{"postgres", server_store::postgresWorld}),
                         [](const auto& kind) { return std::string(kind.param.name); });

}  // namespace folder_host

namespace server_store {

using namespace folder_host;
using std::chrono::milliseconds;

namespace {

constexpr Direction DIRECTIONS[] = {Direction::toServer, Direction::toClient};

Edit nextEdit(const Update& update, const Changes& changes = {}) {
  return editOf(update.edits.back().number + 1, changes);
}

// A project with one edit and the row a=1.
class Edits : public ::testing::Test {
 protected:
  Edits() : address_(postgres().addressOf(editOf(1, {}).id)) {
    servers_.create(address_, {rowPut("a", "1")}, {editOf(1, {})});
  }

  Address through(const Proxy& proxy) const {
    Address address = address_;
    address.hosts = "127.0.0.1:" + std::to_string(proxy.port());
    return address;
  }
  Update all() { return servers_.originAt(address_)->read({}); }
  bool hasEdit(const std::string& id) {
    const Update update = all();
    return std::any_of(update.edits.begin(), update.edits.end(), [&](const Edit& edit) { return edit.id == id; });
  }

  PostgresServers servers_;
  const Address address_;
};

// Cuts a turn behind each of its messages, in both directions: `turn` is given the proxy and when to arm it.
void atEachMessage(const std::function<void(Proxy&, const std::function<void()>&)>& turn) {
  for (const Direction direction : DIRECTIONS) {
    int cut = 0;
    for (bool hasCut = true; hasCut; cut += hasCut ? 1 : 0) {
      SCOPED_TRACE(std::to_string(cut) + (direction == Direction::toServer ? " to the server" : " to the client"));
      Proxy proxy(postgres().port());
      const auto begin = Clock::now();
      turn(proxy, [&] { proxy.cutBehind(direction, cut); });
      EXPECT_LT(Clock::now() - begin, milliseconds(8000));
      hasCut = proxy.hasCut();
    }
    EXPECT_GE(cut, 5);
  }
}

TEST_F(Edits, AnAnswerThatIsCutAnywhereIsAskedForAgain) {
  atEachMessage([&](Proxy& proxy, const auto& arm) {
    const auto origin = servers_.originAt(through(proxy));
    const Position known = positionOf(origin->read({}).edits.back());
    arm();
    EXPECT_TRUE(origin->read(known).edits.empty());
  });
  atEachMessage([&](Proxy& proxy, const auto& arm) {
    const auto origin = servers_.originAt(through(proxy));
    origin->read({});
    arm();
    EXPECT_EQ(1U, origin->lock({}).content.size());
    const auto other = PostgresServers({milliseconds(1000), milliseconds(1000), milliseconds(50)}).originAt(address_);
    EXPECT_EQ(errors::STORE_BUSY, refusalOf([&] { other->lock({}); }));
  });
}

TEST_F(Edits, AnEditThatIsCutAnywhereIsKeptOnce) {
  std::string value = "1";
  std::size_t edits = 1;
  atEachMessage([&](Proxy& proxy, const auto& arm) {
    const auto origin = servers_.originAt(through(proxy));
    const std::string next = value + "+";
    const Edit edit = nextEdit(origin->lock({}), {rowGone("a", value), rowPut("a", next)});
    arm();
    ASSERT_NO_THROW(origin->publish(edit));
    value = next;
    const Update update = all();
    EXPECT_EQ(edit.id, update.edits.back().id);
    EXPECT_EQ(++edits, update.edits.size());
    EXPECT_TRUE(Changes{rowPut("a", value)} == update.content);
  });
}

TEST_F(Edits, AProjectThatIsCutAnywhereIsMadeOrNot) {
  atEachMessage([&](Proxy& proxy, const auto& arm) {
    Address made = through(proxy);
    made.project = editOf(1, {}).id;
    arm();
    const std::string refusal = refusalOf([&] { servers_.create(made, {rowPut("a", "1")}, {editOf(1, {})}); });
    EXPECT_TRUE(refusal.empty() || refusal == errors::STORE_UNREACHABLE) << refusal;
    made.hosts = address_.hosts;
    const std::string found = refusalOf([&] { servers_.originAt(made)->read({}); });
    EXPECT_EQ(refusal.empty() ? "" : errors::STORE_NOT_FOUND, found);
  });
}

// Another editor waits for the lock and gets it when the connection breaks: before the edit is kept, or behind it.
TEST_F(Edits, AnEditThatIsCutIsToldFromOneThatCameInstead) {
  for (const Direction direction : DIRECTIONS) {
    Proxy proxy(postgres().port());
    const auto origin = servers_.originAt(through(proxy)), other = servers_.originAt(address_);
    const bool isCutBefore = direction == Direction::toServer;
    const Changes changes = {rowPut("b", "1")};
    const Edit edit = nextEdit(origin->lock({}), changes);
    auto others = std::async(std::launch::async, [&] {
      other->publish(nextEdit(other->lock({}), isCutBefore ? changes : Changes{rowGone("b", "1")}));
    });
    while (postgres().run("SELECT count(*) FROM pg_stat_activity WHERE wait_event_type = 'Lock'") != "1\n") {
    }
    proxy.cutBehind(direction, 0);
    EXPECT_EQ(isCutBefore ? errors::STORE_CONFLICT : "", refusalOf([&] { origin->publish(edit); }));
    others.get();
    EXPECT_EQ(!isCutBefore, hasEdit(edit.id));
    if (isCutBefore) other->publish(nextEdit(other->lock({}), {rowGone("b", "1")}));
  }
}

TEST_F(Edits, ALockThatTheServerTookAwayIsTakenAgain) {
  for (const bool isEdited : {false, true}) {
    const auto origin = servers_.originAt(address_), other = servers_.originAt(address_);
    const Edit edit = nextEdit(origin->lock({}));
    postgres().run("SELECT pg_terminate_backend(pid, 1000) FROM pg_stat_activity WHERE state = 'idle in transaction'");
    if (isEdited) other->publish(nextEdit(other->lock({})));
    EXPECT_EQ(isEdited ? errors::STORE_CONFLICT : "", refusalOf([&] { origin->publish(edit); }));
    EXPECT_EQ(!isEdited, hasEdit(edit.id));
  }
}

TEST_F(Edits, RowsThatAreNotAsTheyShouldBeKeepNothing) {
  const Changes rows[] = {{rowGone("b", "1")},
                          {rowGone("a", "1"), rowGone("a", "1")},
                          {rowPut("a", "1")},
                          {rowGone("a", "1"), rowPut("c", "1"), rowPut("c", "1")}};
  const auto origin = servers_.originAt(address_);
  for (const Changes& changes : rows) {
    const Update before = origin->lock({});
    EXPECT_EQ(errors::STORE_UNREADABLE, refusalOf([&] { origin->publish(nextEdit(before, changes)); }));
    EXPECT_TRUE(before.content == all().content && before.edits.size() == all().edits.size());
  }
  const Edit kept = all().edits.back();
  Edit again = nextEdit(origin->lock({}));
  again.id = kept.id;
  EXPECT_EQ(errors::STORE_CONFLICT, refusalOf([&] { origin->publish(again); }));
  const Edit large = nextEdit(origin->lock({}), {rowPut("large", std::string(std::size_t{65} << 20U, 'x'))});
  EXPECT_EQ(errors::STORE_FAILED, refusalOf([&] { origin->publish(large); }));
}

TEST_F(Edits, AStoreOfANewerVersionIsNotRead) {
  postgres().run("UPDATE project_share.project SET format = " + std::to_string(SCHEMA_VERSION + 1) +
                 "; UPDATE project_share.edit SET changes = 'new'");
  const auto origin = servers_.originAt(address_);
  EXPECT_EQ(errors::STORE_TOO_NEW, refusalOf([&] { origin->read({}); }));
  EXPECT_EQ(errors::STORE_TOO_NEW, refusalOf([&] { origin->lock({}); }));
}

TEST_F(Edits, AnEditTakesTwoRoundTrips) {
  Proxy proxy(postgres().port());
  const auto origin = servers_.originAt(through(proxy));
  Update update = origin->read({});
  const auto turnsOf = [&](const std::function<void()>& act) {
    const int before = proxy.turns();
    act();
    return proxy.turns() - before;
  };
  EXPECT_EQ(1, turnsOf([&] { origin->read({}); }));
  const Position known = positionOf(update.edits.back());
  EXPECT_EQ(1, turnsOf([&] { origin->read(known); }));
  EXPECT_EQ(1, turnsOf([&] { update.edits.push_back(nextEdit(update)), origin->lock(known); }));
  EXPECT_EQ(1, turnsOf([&] { origin->publish(update.edits.back()); }));
}

TEST_F(Edits, ACommitThatIsNotConfirmedIsNoSuccess) {
  const auto standby = [](const std::string& name) {
    postgres().run("ALTER SYSTEM SET synchronous_standby_names = '" + name + "'");
    postgres().run("SELECT pg_reload_conf()");
    while (postgres().run("SHOW synchronous_standby_names") != name + "\n") {
    }
  };
  PostgresServers impatient({milliseconds(1000), milliseconds(700), milliseconds(700)});
  const auto origin = impatient.originAt(address_), other = servers_.originAt(address_);
  const Edit waiting = nextEdit(origin->lock({}));
  standby("none_such");
  const auto begin = Clock::now();
  try {
    origin->publish(waiting);
    ADD_FAILURE();
  } catch (const Error& error) {
    EXPECT_EQ(std::string(errors::STORE_OUTCOME_UNKNOWN), error.identifier());
    EXPECT_NE(std::string::npos, std::string(error.what()).find(waiting.id));
  }
  const auto took = Clock::now() - begin;
  EXPECT_TRUE(took > milliseconds(700) && took < milliseconds(4000)) << took.count();
  Address made = address_;
  made.project = waiting.id;
  EXPECT_EQ(errors::STORE_OUTCOME_UNKNOWN, refusalOf([&] { impatient.create(made, {}, {editOf(1, {})}); }));
  standby("");
  const Edit warned = nextEdit(other->lock({}));
  EXPECT_TRUE(hasEdit(waiting.id));
  standby("none_such");
  auto publishing = std::async(std::launch::async, [&] { return refusalOf([&] { other->publish(warned); }); });
  do {
    postgres().run("SELECT pg_cancel_backend(pid) FROM pg_stat_activity WHERE wait_event = 'SyncRep'");
  } while (publishing.wait_for(milliseconds(20)) != std::future_status::ready);
  EXPECT_EQ(errors::STORE_OUTCOME_UNKNOWN, publishing.get());
  standby("");
}

TEST_F(Edits, WhatAKilledServerHasConfirmedIsThere) {
  std::atomic<bool> isOver = false;
  const auto write = [&] {
    std::map<std::string, std::string> told;  // of each edit that was to be published
    const auto origin = servers_.originAt(address_);
    while (!isOver) {
      Edit edit;
      if (!refusalOf([&] { edit = nextEdit(origin->lock({})); }).empty()) continue;
      told[edit.id] = refusalOf([&] { origin->publish(edit); });
    }
    return told;
  };
  std::future<std::map<std::string, std::string>> writers[4];
  for (auto& writer : writers) writer = std::async(std::launch::async, write);
  for (int kills = 0; kills < 3; ++kills) {
    std::this_thread::sleep_for(milliseconds(500));
    postgres().stop(SIGKILL);
    postgres().start();
  }
  std::this_thread::sleep_for(milliseconds(500));
  isOver = true;
  std::map<std::string, std::string> outcomes;
  for (auto& writer : writers) outcomes.merge(writer.get());
  std::map<std::string, int> counts;
  std::set<std::string> kept;
  for (const Edit& edit : all().edits) kept.insert(edit.id);
  for (const auto& [id, outcome] : outcomes) {
    ++counts[outcome];
    EXPECT_EQ(outcome.empty(), kept.count(id) == 1) << outcome;
  }
  EXPECT_GT(counts[""], 20);
  EXPECT_EQ(0, counts[errors::STORE_OUTCOME_UNKNOWN]);
}

}  // namespace

}  // namespace server_store
