#include "OriginContract.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <random>
#include <stdexcept>
#include <tuple>
#include <utility>

#include "Fixture.h"

namespace folder_host {

OriginWorld::~OriginWorld() = default;

Change rowPut(const std::string& key, const std::string& value) {
  return {StoreTable::nodeValue, true, {"n", key, value}};
}

Change rowGone(const std::string& key, const std::string& value) {
  return {StoreTable::nodeValue, false, {"n", key, value}};
}

Edit editOf(std::int64_t number, Changes changes) {
  static std::atomic<int> made = 0;
  static const unsigned process = std::random_device()();
  Edit edit;
  edit.number = number;
  edit.id = std::to_string(process) + "-" + std::to_string(++made);
  edit.at = 1700000000000 + made;
  edit.user = "anna";
  edit.machine = std::string("h\0\xff", 3);
  edit.words = "words of " + edit.id;
  edit.undoes = "none";
  edit.settled = "settled by " + edit.id;
  edit.changes = std::move(changes);
  return edit;
}

Position positionOf(const Edit& edit) { return {edit.number, edit.id}; }

Changes sorted(Changes rows) {
  std::sort(rows.begin(), rows.end(),
            [](const Change& a, const Change& b) { return std::tie(a.table, a.row) < std::tie(b.table, b.row); });
  return rows;
}

namespace {

std::string nameOfTest() {
  const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
  return std::string(test->name()) + " \xC3\xA4 " + editOf(1, {}).id;
}

void expectSame(const std::vector<Edit>& expected, const std::vector<Edit>& told) {
  ASSERT_EQ(expected.size(), told.size());
  for (std::size_t i = 0; i < told.size(); ++i) {
    const auto all = [](const Edit& edit) {
      return std::tie(edit.number, edit.id, edit.at, edit.user, edit.machine, edit.words, edit.undoes, edit.settled,
                      edit.changes);
    };
    EXPECT_TRUE(all(expected[i]) == all(told[i])) << "edit " << i;
  }
}

}  // namespace

OriginContract::OriginContract()
    : world_(GetParam().world()),
      project_(nameOfTest()),
      address_(world_.addressOf(project_)),
      content_(
          {rowPut("a", "1"), rowPut("b", std::string("\0\xff", 2)), {StoreTable::label, true, {"u", "c", "l", "0"}}}),
      log_({editOf(5, {}), editOf(6, {rowPut("a", "1")})}) {
  world_.servers().create(address_, content_, log_);
}

OriginContract::~OriginContract() = default;

Edit OriginContract::edit(const Changes& changes) {
  const auto editor = origin();
  const Update update = editor->lock({});
  Edit made = editOf(update.edits.back().number + 1, changes);
  editor->publish(made);
  return made;
}

TEST_P(OriginContract, TellsWhatIsNotKnown) {
  const Edit third = edit({rowGone("a", "1"), rowPut("a", "2")});
  const struct {
    Position known;
    bool isWhole;
    std::vector<Edit> edits;
  } rows[] = {{{}, true, {log_[0], log_[1], third}},
              {positionOf(log_[0]), false, {log_[1], third}},
              {positionOf(log_[1]), false, {third}},
              {positionOf(third), false, {}}};
  for (const auto& row : rows) {
    const auto locking = origin();
    for (const Update& update : {origin()->read(row.known), locking->lock(row.known)}) {
      EXPECT_EQ(row.isWhole, update.isWhole);
      expectSame(row.edits, update.edits);
      Changes content = content_;
      content[0].row[2] = "2";
      EXPECT_TRUE(sorted(update.content) == (row.isWhole ? sorted(content) : Changes{}));
    }
    locking->release();
  }
}

TEST_P(OriginContract, KeepsRowsOfAnyKindAndLength) {
  const std::string longest(5000, 'k'), large(3000000, '\0');
  const Changes steps[] = {
      {rowPut(longest, "1"), rowPut(longest + "k", large)},
      {},
      {rowGone(longest, "1"), rowGone("a", "1"), rowPut(longest, "2"), {StoreTable::rule, true, {"l", "-3", "*\n"}}},
      {rowGone(longest, "2"), rowPut("a", "1")},
  };
  Changes rows = content_;
  for (const Changes& changes : steps) {
    edit(changes);
    for (const Change& change : changes) {
      const Change row = {change.table, true, change.row};
      change.isPut ? rows.push_back(row) : (void)rows.erase(std::find(rows.begin(), rows.end(), row));
    }
    EXPECT_TRUE(sorted(rows) == sorted(all().content));
  }
}

TEST_P(OriginContract, AnEditOfManyRowsIsOneEdit) {
  Changes changes;
  changes.reserve(100000);
  for (int i = 0; i < 100000; ++i) changes.push_back(rowPut("many" + std::to_string(i), "value"));
  edit(changes);
  EXPECT_EQ(changes.size() + content_.size(), all().content.size());
  for (Change& change : changes) change.isPut = false;
  edit(changes);
  EXPECT_TRUE(sorted(content_) == sorted(all().content));
}

TEST_P(OriginContract, AlockKeepsOthersOutUntilItIsGivenBack) {
  for (const bool publishes : {true, false}) {
    const auto mine = origin(), other = origin();
    Update locked = mine->lock({});
    auto waiting = std::async(std::launch::async, [&] { return other->lock(positionOf(locked.edits.back())); });
    EXPECT_EQ(std::future_status::timeout, waiting.wait_for(std::chrono::milliseconds(200)));
    expectSame(locked.edits, all().edits);
    const Edit made = editOf(locked.edits.back().number + 1, {});
    publishes ? mine->publish(made) : mine->release();
    expectSame(publishes ? std::vector<Edit>{made} : std::vector<Edit>{}, waiting.get().edits);
    other->release();
    expectSame(publishes ? std::vector<Edit>{made} : std::vector<Edit>{},
               origin()->read(positionOf(locked.edits.back())).edits);
  }
}

TEST_P(OriginContract, AnOriginLocksAndPublishesInTurns) {
  const auto one = origin();
  one->release();
  one->lock({});
  EXPECT_THROW(one->lock({}), std::logic_error);
  EXPECT_ANY_THROW(one->publish(editOf(9, {})));
  // It gave the lock back.
  one->lock({});
  const Edit made = editOf(7, {});
  one->publish(made);
  EXPECT_ANY_THROW(one->publish(editOf(8, {})));
  EXPECT_EQ(made.id, one->lock(positionOf(log_[1])).edits.back().id);
  one->release();
}

TEST_P(OriginContract, WhatIsClosedIsNotReadAnyMore) {
  const auto last = origin();
  const Position known = positionOf(last->lock({}).edits.back());
  last->publish(editOf(7, {}), true);
  for (const Position& position : {Position{}, known}) {
    EXPECT_EQ(errors::STORE_MOVED, refusalOf([&] { last->read(position); }));
    EXPECT_EQ(errors::STORE_MOVED, refusalOf([&] { last->lock(position); }));
  }
}

TEST_P(OriginContract, EditsThatAreLostAreNoticed) {
  const Edit third = edit({}), fourth = edit({});
  world_.goBackTo(project_, 7);
  const auto expectWentBack = [&](const Position& known) {
    EXPECT_EQ(errors::STORE_WENT_BACK, refusalOf([&] { origin()->read(known); }));
    EXPECT_EQ(errors::STORE_WENT_BACK, refusalOf([&] { origin()->lock(known); }));
  };
  expectWentBack(positionOf(fourth));
  expectSame({}, origin()->read(positionOf(third)).edits);
  const Edit again = edit({});
  ASSERT_EQ(fourth.number, again.number);
  expectWentBack(positionOf(fourth));
  edit({});
  expectWentBack(positionOf(fourth));
  expectWentBack({6, third.id});
}

TEST_P(OriginContract, WhatIsBeforeTheLogIsToldWhole) {
  const Edit third = edit({}), fourth = edit({rowGone("a", "1")});
  world_.trim(project_, 7);
  for (const Position& known : {Position{}, positionOf(log_[0]), positionOf(log_[1])}) {
    const auto locking = origin();
    for (const Update& update : {origin()->read(known), locking->lock(known)}) {
      EXPECT_TRUE(update.isWhole);
      expectSame({third, fourth}, update.edits);
      EXPECT_EQ(content_.size() - 1, update.content.size());
    }
    locking->release();
  }
  const auto editor = origin();
  editor->lock(positionOf(log_[0]));
  const Edit fifth = editOf(9, {});
  editor->publish(fifth);
  expectSame({fourth, fifth}, origin()->read(positionOf(third)).edits);
}

TEST_P(OriginContract, ANameIsTakenOnceAndOthersAreNotThere) {
  EXPECT_EQ(errors::STORE_NAME_TAKEN, refusalOf([&] { world_.servers().create(address_, {}, {editOf(1, {})}); }));
  EXPECT_TRUE(sorted(content_) == sorted(all().content));
  const auto none = world_.servers().originAt(world_.addressOf(project_ + "2"));
  for (const Position& known : {Position{}, positionOf(log_[0])}) {
    EXPECT_EQ(errors::STORE_NOT_FOUND, refusalOf([&] { none->read(known); }));
    EXPECT_EQ(errors::STORE_NOT_FOUND, refusalOf([&] { none->lock(known); }));
  }
}

}  // namespace folder_host
