#include "folder_host/store/Store.h"

#include <SQLiteCpp/Exception.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <future>

#include "Fixture.h"
#include "folder_host/store/Blob.h"
#include "folder_host/store/LabelStore.h"
#include "folder_host/store/MetadataStore.h"
#include "folder_host/text/Utf.h"

namespace folder_host {

namespace {

using project::management::CategoryIdentifier;
using project::management::LabelIdentifier;
using project::metadata::MetadataPath;
using project::metadata::MetadataScopeGuard;
using project::metadata::PathElement;

class StoreTest : public FolderTest {
 protected:
  StoreTest() { write(file_, Store::inMemory()->image()); }

  std::shared_ptr<Store> open() const { return Store::open(file_); }
  static void add(Store& store, const std::string& name) {
    store.run("INSERT INTO category VALUES(?, ?)", {toBlob(fromBytes(name)), std::string_view()});
  }

  static std::string names(Store& store) {
    std::string names;
    for (const Store::Row& row : store.query("SELECT uuid FROM category ORDER BY uuid"))
      names += toBytes(fromBlob(row[0]));
    return names;
  }

  std::string file_ = in("store.db");
};

// A store of version 1: `state/draft` on drafts, drafts/a and open, the protected `audience/öffentlich` on open, and a
// profile.
class OldStoreTest : public StoreTest {
 protected:
  OldStoreTest() { make(); }

  void make() const {
    write(file_, "");
    runSql(file_, read(STORE_VERSION_1));
  }

  // Of opening it, where nothing else is given.
  std::string refusalOnWhichItStays(const std::function<void()>& act = nullptr) const {
    const std::string before = read(file_);
    std::string refusal = refusalOf([&] { act ? act() : static_cast<void>(open()); });
    EXPECT_EQ(read(file_), before);
    return refusal;
  }

  static std::string holds(const std::shared_ptr<Store>& store) {
    std::string all;
    const LabelStore labels(store);
    for (const LabelRecord& label : labels.list()) {
      all += toBytes(label.categoryName + u"/" + label.name + (label.isProtected ? u" protected:" : u":"));
      for (const Mark& mark : labels.marks()) {
        if (mark.label == label.uuid && mark.kind == MarkKind::entry) all += " " + mark.path;
      }
      all += "; ";
    }
    MetadataStore metadata(store);
    for (const MetadataPath& profile : metadata.getChildPaths(MetadataPath({PathElement(u"Export", u"Root")})))
      all += toBytes(metadata.getNode(profile)->getValue(u"Name"));
    return all;
  }

  static constexpr const char* ALL =
      "audience/\u00F6ffentlich protected: open; state/draft: drafts drafts/a open; public";
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
  {
    const auto outer = store->beginWrite();
    const auto inner = store->beginWrite();
    add(*store, "a");
    EXPECT_EQ(refusalOf([&] { store->run("INSERT OR ROLLBACK INTO category SELECT * FROM category"); }),
              errors::STORE_FAILED);
    EXPECT_EQ(refusalOf([&] { add(*store, "b"); }), errors::STORE_FAILED) << "it would be kept at once";
  }
  EXPECT_EQ(refusalOf([&] { store->confirm(); }), errors::STORE_FAILED);
  store->atomically([&] { add(*store, "c"); });
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
  const auto store = open();
  runSql(file_, "CREATE TABLE child(of REFERENCES category DEFERRABLE INITIALLY DEFERRED)");
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
  runSql(file_, "DROP TABLE child");  // with which it is no store to open
  EXPECT_EQ(names(*open()), "b");
}

TEST_F(StoreTest, AWriteIsAloneFromItsBeginningOn) {
  const auto first = open();
  const auto scope = first->beginWrite();
  EXPECT_THROW(runSql(file_, "BEGIN IMMEDIATE"), SQLite::Exception);
}

TEST_F(StoreTest, ALabelGoesFromItsOwnCategoryAloneAndTakesAnEmptyCategoryAndItsMarksAndRulesWithIt) {
  const auto store = open();
  LabelStore labels(store);
  const LabelRecord free = labels.create(u"Access", u"Open"), draft = labels.create(u"State", u"Draft");
  labels.attach(draft.uuid, {"a"}, MarkKind::entry);
  labels.setRules(draft.uuid, {"b", "a", "b"});
  EXPECT_EQ(labels.rules().front().pattern, "a") << "one that is given again stands last";
  labels.removeLabel(CategoryIdentifier(draft.categoryUUID), LabelIdentifier(free.uuid), true);
  EXPECT_EQ(labels.list().size(), 2U);
  EXPECT_EQ(refusalOf([&] { labels.attach(u"absent", {}, MarkKind::entry); }), errors::LABEL_NOT_FOUND);
  labels.erase(draft.uuid);
  EXPECT_EQ(labels.getCategories().size(), 1U);
  EXPECT_EQ(store->query("SELECT label FROM mark UNION SELECT label FROM rule").size(), 0U);
}

TEST_F(StoreTest, AllNodesOfOneCallAreWrittenOrNone) {
  const auto store = Store::inMemory();
  MetadataStore metadata(store);
  const auto node = std::make_shared<project::metadata::MetadataNodeSpecification>();
  node->put(u"k", u"v");
  const PathElement one(u"a", u"a"), two(u"b", u"b");
  const MetadataPath a({one}), b({two});
  EXPECT_THROW(metadata.setNodes({{a, node}, {b, nullptr}}), std::invalid_argument);
  store->run("CREATE UNIQUE INDEX one_each ON node_value(value)");
  EXPECT_EQ(refusalOf([&] { metadata.setNodes({{a, node}, {b, node}}); }), errors::STORE_FAILED);
  EXPECT_FALSE(metadata.nodeExists(a));
}

TEST_F(StoreTest, AStoreWithAStrangeJournalIsRefused) {
  write(in("somebody's"), std::string(1, '\0'));
  std::filesystem::create_hard_link(in("somebody's"), file_ + "-journal");
  EXPECT_EQ(refusalOf([&] { open(); }), errors::STORE_UNREADABLE) << "a journal that has another name";
  std::filesystem::remove(file_ + "-journal");
  EXPECT_EQ(refusalOf([&] { open(); }), "");
}

TEST_F(StoreTest, AStoreWhoseRowsAreNotAsTheyAreWrittenIsRefused) {
  const std::string sound =
      "DELETE FROM category; DELETE FROM label; DELETE FROM mark; DELETE FROM rule; DELETE FROM node; DELETE FROM "
      "node_value;"
      "INSERT INTO category VALUES(x'0063', x'0043'); INSERT INTO label VALUES(x'006c', x'0063', x'', 1);"
      "INSERT INTO mark VALUES(CAST('.a/..b/ ' AS BLOB), x'006c', 1); INSERT INTO rule VALUES(x'006c', 0, x'61');"
      "INSERT INTO node VALUES(x'', x'0061', "
      "x'0062');"
      "INSERT INTO node_value VALUES(x'000000020061000000020062', x'0061', x'');";
  // What it belongs to is not there; another type, or half a character.
  const std::pair<std::string, std::vector<std::string>> strays[] = {
      {"category", {"name = 'CC'", "name = x'43'", "uuid = 'cc'; UPDATE label SET category = 'cc'"}},
      {"label", {"category = x'0000'", "name = 'LL'", "name = x'004c00'", "protected = 2", "protected = 0.5"}},
      {"label", {"uuid = 'll'; DELETE FROM rule; UPDATE mark SET label = 'll'"}},
      {"mark", {"label = x'0000'", "path = 'p'", "path = x'610062'", "kind = 3", "kind = 0, path = x''"}},
      {"rule", {"label = x'0000'", "pattern = 'p'", "pattern = x''", "pattern = x'5b61'", "position = 'p'"}},
      {"node", {"parent = x'000000020061000000020062'", "parent = x'00000002'", "parent = ''; DELETE FROM node_value"}},
      {"node", {"type = 'aa'; DELETE FROM node_value", "location = x'62'; DELETE FROM node_value"}},
      {"node_value", {"node = x'000000020061000000020063'", "key = 'aa'", "value = 'aa'", "value = x'00'"}},
  };
  for (const auto& [table, changes] : strays) {
    for (const std::string& change : changes) {
      runSql(file_, sound);
      ASSERT_EQ(refusalOf([&] { open(); }), "");
      runSql(file_, std::string("UPDATE ").append(table).append(" SET ").append(change));
      EXPECT_EQ(refusalOf([&] { open(); }), errors::STORE_UNREADABLE) << table << ": " << change;
    }
  }
  for (const std::string path :
       {"/", "/p", "p/", "p//q", ".", "..", "../p", "p/..", "p/./q", ".project", ".project/p"}) {
    runSql(file_, std::string(sound).append("UPDATE mark SET path = CAST('").append(path).append("' AS BLOB)"));
    EXPECT_EQ(refusalOf([&] { open(); }), errors::STORE_UNREADABLE) << path;
  }
}

TEST_F(OldStoreTest, IsBroughtUpToDateWithAllThatItHoldsByWhoeverOpensItFirst) {
  std::vector<std::future<std::string>> openings(4);
  for (auto& opening : openings) opening = std::async(std::launch::async, [&] { return holds(open()); });
  for (auto& opening : openings) EXPECT_EQ(opening.get(), ALL);
  for (const char* state : {"PRAGMA user_version", "SELECT type, name, tbl_name, sql FROM sqlite_schema ORDER BY name"})
    EXPECT_EQ(open()->query(state), Store::inMemory()->query(state));
}

TEST_F(OldStoreTest, OfAnotherMakeIsRefusedAndLeftAsItIs) {
  for (const char* change :
       {"CREATE TRIGGER undo AFTER INSERT ON attachment BEGIN DELETE FROM attachment; END",
        "CREATE VIEW before AS SELECT 1", "ALTER TABLE label RENAME kept TO protected", "DROP INDEX label_by_category",
        "PRAGMA user_version = 2", "PRAGMA user_version = 0", "UPDATE label SET kept = 2", "DELETE FROM category"}) {
    make();
    runSql(file_, change);
    EXPECT_EQ(refusalOnWhichItStays(), errors::STORE_UNREADABLE) << change;
  }
}

TEST_F(OldStoreTest, StaysWholeWhereThereIsNoRoomToBringItUpToDate) {
  rlimit usual{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &usual), 0);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit tight{std::filesystem::file_size(file_), usual.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &tight), 0);
  EXPECT_EQ(refusalOnWhichItStays(), errors::STORE_FAILED);
  ::setrlimit(RLIMIT_FSIZE, &usual);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(holds(open()), ALL);
}

TEST_F(OldStoreTest, IsReadAlsoWhereItCannotBeWritten) {
  ASSERT_EQ(::chmod(folder_.c_str(), 0555), 0);
  for (const mode_t mode : {0444U, 0666U}) {  // 0666: its journal cannot be made
    ASSERT_EQ(::chmod(file_.c_str(), mode), 0);
    const bool isRoot = ::geteuid() == 0 && ::seteuid(65534) == 0;
    const auto store = open();
    EXPECT_EQ(holds(store->memoryCopy()), ALL);
    EXPECT_EQ(refusalOnWhichItStays([&] { LabelStore(store).create(u"state", u"new"); }), errors::STORE_FAILED);
    EXPECT_EQ(holds(store), ALL);
    ASSERT_TRUE(!isRoot || ::seteuid(0) == 0);
  }
}

}  // namespace folder_host
