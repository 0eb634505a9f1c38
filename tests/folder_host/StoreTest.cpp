#include "folder_host/Store.h"

#include <SQLiteCpp/Exception.h>

#include "Fixture.h"

namespace folder_host {

namespace {

using project::metadata::MetadataScopeGuard;

class StoreTest : public FolderTest {
 protected:
  StoreTest() { Store::create(file_); }

  std::shared_ptr<Store> open() const { return Store::open(file_); }
  static void add(Store& store, const std::string& name) {
    store.run("INSERT INTO category VALUES(?, ?)", {name, std::string_view()});
  }

  static std::string names(Store& store) {
    std::string names;
    for (const Store::Row& row : store.query("SELECT uuid FROM category ORDER BY uuid")) names += row[0];
    return names;
  }

  std::string file_ = in("store.db");
};

// Ends a scope by an exception after `change`.
template <class Change>
void fail(MetadataScopeGuard scope, const Change& change) {
  const MetadataScopeGuard held = std::move(scope);
  change();
  throw std::runtime_error("on purpose");
}

}  // namespace

TEST_F(StoreTest, AnInnerScopeThatFailsUndoesOnlyItsOwnChanges) {
  const auto store = open();
  {
    const auto outer = store->beginWrite();
    add(*store, "a");
    EXPECT_THROW(fail(store->beginWrite(), [&] { add(*store, "b"); }), std::runtime_error);
    { const auto reading = store->beginRead(); }
    store->atomically([&] { add(*store, "c"); });
    EXPECT_EQ(names(*open()), "") << "nothing is visible before the outermost scope ends";
  }
  EXPECT_EQ(names(*open()), "ac");
}

TEST_F(StoreTest, AFailureThatUndoesTheWholeTransactionLetsNothingOfItsScopeBeKept) {
  const auto store = open();
  runSql(file_,
         "CREATE TRIGGER t BEFORE INSERT ON category WHEN NEW.uuid = 'x' BEGIN SELECT RAISE(ROLLBACK, 'x'); END");
  {
    const auto outer = store->beginWrite();
    const auto inner = store->beginWrite();
    add(*store, "a");
    EXPECT_EQ(refusalOf([&] { store->run("INSERT INTO category VALUES('x', x'')"); }), errors::STORE_FAILED);
    EXPECT_EQ(refusalOf([&] { add(*store, "b"); }), errors::STORE_FAILED) << "it would be kept at once";
  }
  EXPECT_EQ(refusalOf([&] { store->confirm(); }), errors::STORE_FAILED);
  store->atomically([&] { add(*store, "c"); });
  runSql(file_, "DROP TRIGGER t");  // with which it is no store to open
  EXPECT_EQ(names(*open()), "c");
}

TEST_F(StoreTest, WritingInAReadScopeIsRefusedAndChangesNothing) {
  const auto store = open();
  {
    const auto reading = store->beginRead();
    const auto nested = store->beginRead();
    EXPECT_EQ(refusalOf([&] { store->beginWrite(); }), errors::WRITE_IN_READ_SCOPE);
    EXPECT_EQ(refusalOf([&] { add(*store, "a"); }), errors::WRITE_IN_READ_SCOPE);
  }
  EXPECT_EQ(names(*store), "");
  store->atomically([&] { add(*store, "b"); });
  EXPECT_EQ(names(*open()), "b");
}

TEST_F(StoreTest, ACommitThatFailsIsUndoneAndToldOnce) {
  runSql(file_, "CREATE TABLE child(of REFERENCES category DEFERRABLE INITIALLY DEFERRED)");
  const auto store = open();
  store->query("PRAGMA foreign_keys = ON");
  const auto failToCommit = [&] {
    const auto scope = store->beginWrite();
    add(*store, "a");
    store->run("INSERT INTO child VALUES('absent')");
  };
  failToCommit();
  EXPECT_EQ(refusalOf([&] { store->confirm(); }), errors::STORE_FAILED);
  store->confirm();
  EXPECT_EQ(names(*store), "");
  failToCommit();
  EXPECT_EQ(refusalOf([&] { names(*store); }), errors::STORE_FAILED) << "the next call tells it";
  store->atomically([&] { add(*store, "b"); });
  EXPECT_EQ(names(*open()), "b");
}

TEST_F(StoreTest, AWriteIsAloneFromItsBeginningOn) {
  const auto first = open();
  const auto scope = first->beginWrite();
  EXPECT_THROW(runSql(file_, "BEGIN IMMEDIATE"), SQLite::Exception);
}

TEST_F(StoreTest, AStoreThatIsWrittenOutHoldsNoByteOfWhatWasRemoved) {
  {
    const auto store = open();
    add(*store, "kept-name");
    add(*store, "gone-name");
  }
  runSql(file_, "DELETE FROM category WHERE uuid = CAST('gone-name' AS BLOB)");
  ASSERT_NE(read(file_).find("gone-name"), std::string::npos) << "else this test could not fail";
  write(in("out.db"), open()->memoryCopy()->image());
  EXPECT_EQ(read(in("out.db")).find("gone-name"), std::string::npos);
  EXPECT_EQ(names(*Store::open(in("out.db"))), "kept-name");
}

TEST_F(StoreTest, AStoreWhoseRowsDoNotFitTogetherIsRefused) {
  for (const char* stray :
       {"INSERT INTO label VALUES('l', 'none', 'n', 0)", "INSERT INTO attachment VALUES('p', 'none')",
        "INSERT INTO node VALUES(x'000000020061000000020062', x'0061', x'0062')",
        "INSERT INTO node VALUES(x'00000002', x'0061', x'0062')",
        "INSERT INTO node_value VALUES(x'000000020061000000020062', x'0061', x'0062')",
        "INSERT INTO category VALUES('c', ''); INSERT INTO label VALUES('l', 'c', 'n', 2)"}) {
    runSql(file_, stray);
    EXPECT_EQ(refusalOf([&] { open(); }), errors::STORE_UNREADABLE) << stray;
    runSql(file_, "DELETE FROM label; DELETE FROM attachment; DELETE FROM node; DELETE FROM node_value");
  }
  runSql(file_, "CREATE TABLE unknown(x)");
  EXPECT_EQ(refusalOf([&] { open(); }), "");
}

}  // namespace folder_host
