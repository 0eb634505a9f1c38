#include "folder_host/store/Mirror.h"

#include <sys/stat.h>

#include <random>
#include <set>
#include <thread>

#include "AllocationFault.h"
#include "Fixture.h"
#include "MemoryServers.h"
#include "folder_host/store/Blob.h"
#include "folder_host/store/MirrorFile.h"
#include "folder_host/store/Store.h"
#include "folder_host/text/Utf.h"
#include "project/sharing/profiles/ExportFilter.h"
#include "project/sharing/profiles/ExportProfile.h"
#include "project/sharing/profiles/ExportProfileManager.h"

namespace folder_host {

namespace {

namespace profiles = project::sharing::profiles;

const Address ADDRESS = parseAddress("postgresql://server/team?project=film");

std::multiset<std::string> rowsOf(const Update& whole) {
  std::multiset<std::string> rows;
  for (const Change& change : whole.content) rows.insert(bytesOf(Changes{change}));
  for (const Edit& edit : whole.edits) rows.insert(std::to_string(edit.number) + edit.id + edit.words + edit.undoes);
  return rows;
}

// Checkouts of one project: "a", which made it, "b" and so on.
class MirrorTest : public FolderTest {
 protected:
  MirrorTest() : servers_(std::make_shared<MemoryServers>()) {
    for (const char* name : {"a", "b"}) put(std::string(name) + "/f", "content");
    FolderProject::initAt(in("a"), nullptr, ADDRESS, access("a"), {"ann", "m", "init"});
    FolderProject::join(in("b"), nullptr, ADDRESS, access("b"));
  }

  // As two users', or two machines', each with a cache of its own.
  ServerAccess access(const std::string& name) const { return {servers_, in("cache-" + name)}; }
  FolderProject open(const std::string& name) const { return FolderProject::open(in(name), nullptr, access(name)); }
  std::shared_ptr<Store> mirror(const std::string& name) const {
    return std::make_shared<Store>(openMirror(in("cache-" + name), in(name), ADDRESS), servers_->originAt(ADDRESS));
  }
  MemoryServers::Project& onServer() const { return servers_->projects.at(ADDRESS.text()); }
  std::multiset<std::string> rowsOnServer() const { return rowsOf(servers_->originAt(ADDRESS)->read({})); }
  // Of the mirror, brought up to date.
  std::multiset<std::string> rows(const std::string& name) const {
    const auto store = mirror(name);
    const auto scope = store->beginRead();
    return rowsOf(store->whole());
  }
  std::u16string label(const FolderProject& project, const std::u16string& name = u"secret") const {
    return project.labels().create(u"c", name).uuid;
  }

  const std::shared_ptr<MemoryServers> servers_;
};

TEST_F(MirrorTest, WhatOneEditsHoldsBackInTheOthersNextShare) {
  const FolderProject a = open("a"), b = open("b");
  const std::u16string uuid = label(a);
  profiles::createManager(b.metadata())->createProfile(u"public");
  EXPECT_EQ(b.workingCopy()->effective().sources().marks().size(), 0U);
  a.labels().attach(uuid, {"f"}, MarkKind::entry);
  EXPECT_EQ(b.workingCopy()->effective().sources().marks().size(), 1U);
  EXPECT_EQ(profiles::createManager(a.metadata())->getProfiles().size(), 1U);
}

// Edits of all kinds, by turns and at random, some of which are given up or fail, against one store that has them all.
TEST_F(MirrorTest, AnyEditsLeaveEachMirrorAsTheServerAndAsOneStoreWouldBe) {
  const FolderProject a = open("a"), b = open("b");
  put("one/f");
  const FolderProject one = FolderProject::init(in("one"));
  std::mt19937 random(2026);  // NOLINT(cert-msc51-cpp): the same edits each time
  std::vector<std::u16string> labels{u"none"};
  int refused = 0;
  for (int step = 0; step < 150; ++step) {
    const FolderProject& editor = random() % 2 == 0 ? a : b;
    const unsigned kind = random() % 8;
    const std::u16string some = labels[random() % labels.size()];
    const std::string path = "p" + std::to_string(random() % 5);
    const auto edit = [&](const FolderProject& project) {
      const auto scope = project.beginWrite();
      if (kind == 0) project.labels().put({{u"c", u"c"}}, {{labels.back(), u"l" + labels.back(), u"c", u"c", false}});
      if (kind == 1) project.labels().attach(some, {path, path + "/x"}, MarkKind::reach);
      if (kind == 2) project.labels().detach(some, {path});
      if (kind == 3) project.labels().setRules(some, {path, "*.tmp"});
      if (kind == 4) project.labels().erase(some);
      if (kind == 5) {
        const auto node = std::make_shared<project::metadata::MetadataNodeSpecification>();
        node->put(u"Name", fromBytes(path));
        project.metadata()->setNodes(
            {{project::metadata::MetadataPathBuilder().add(u"T", fromBytes(path)).add(u"U", some).build(), node}});
      }
      if (kind == 6)
        project.metadata()->removeNodes({project::metadata::MetadataPathBuilder().add(u"T", fromBytes(path)).build()});
      if (kind == 7) throw Error(errors::NAME_EMPTY, "given up");
    };
    if (kind == 0) labels.push_back(fromBytes("l" + std::to_string(step)));
    const std::string expected = refusalOf([&] { edit(one), one.confirm(); });
    EXPECT_EQ(refusalOf([&] { edit(editor), editor.confirm(); }), expected);
    refused += expected.empty() ? 0 : 1;
  }
  const auto contentOf = [](const std::shared_ptr<Store>& store) {
    const auto scope = store->beginRead();
    return rowsOf({true, store->whole().content, {}});
  };
  EXPECT_GT(refused, 15);
  EXPECT_EQ(contentOf(mirror("a")), contentOf(Store::open(in("one/.project/store.db"))));
  for (const char* name : {"a", "b"}) EXPECT_EQ(rows(name), rowsOnServer());
  EXPECT_EQ(a.history().edits().size(), one.history().edits().size() + 1);
}

// An edit costs two turns, whatever it reads; a read one; and for whoever asks once, all reads together.
TEST_F(MirrorTest, TheServerIsAskedOnceForAReadAndTwiceForAnEdit) {
  const FolderProject a = open("a"), b = open("b");
  const auto turnsOf = [&](const std::function<void()>& act) {
    servers_->turns = 0;
    act();
    return servers_->turns;
  };
  std::u16string uuid;
  EXPECT_EQ(turnsOf([&] { uuid = label(a); }), 3);  // publish is told of twice
  EXPECT_EQ(turnsOf([&] { a.labels().list(); }), 1);
  EXPECT_EQ(turnsOf([&] { a.workingCopy(); }), 1);
  b.askOnce();
  EXPECT_EQ(turnsOf([&] { b.labels().list(), b.labels().marks(), b.history().edits(); }), 1);
  EXPECT_EQ(b.labels().list().size(), 1U);
  a.labels().attach(uuid, {"f"}, MarkKind::entry);
  EXPECT_EQ(b.labels().marks().size(), 0U);
  EXPECT_EQ(b.workingCopy()->labels().marks().size(), 1U);
  EXPECT_EQ(turnsOf([&] { b.labels().detach(uuid, {"f"}); }), 3);
}

// Whatever fails at whichever call, an edit is kept and not told as lost, or told and not kept; where nobody can know,
// that is told. The next edit finds everything as it should be.
TEST_F(MirrorTest, AnEditThatFailsIsToldAndOneThatIsKeptIsNot) {
  struct Row {
    const char* call;
    const char* error;
    bool isKept;
  };
  int number = 0;
  for (const Row& row : std::vector<Row>{{"lock", errors::STORE_UNREACHABLE, false},
                                         {"lock", errors::STORE_READ_ONLY, false},
                                         {"publish", errors::STORE_UNREACHABLE, false},
                                         {"publish", errors::STORE_CONFLICT, false},
                                         {"publish", errors::STORE_OUTCOME_UNKNOWN, false},
                                         {"published", errors::STORE_OUTCOME_UNKNOWN, true}}) {
    SCOPED_TRACE(std::string(row.call) + " " + row.error);
    const FolderProject a = open("a");
    const std::u16string name = u"l" + fromBytes(std::to_string(++number));
    servers_->onCall = [&](const std::string& call) {
      if (call == row.call) throw Error(row.error, "as planned");
    };
    EXPECT_EQ(refusalOf([&] { label(a, name); }), row.error);
    servers_->onCall = nullptr;
    EXPECT_EQ(onServer().holder, nullptr);
    const auto labels = a.labels().list();
    const auto isIt = [&](const LabelRecord& label) { return label.name == name; };
    EXPECT_EQ(std::any_of(labels.begin(), labels.end(), isIt), row.isKept);
    label(open("b"), name + u"b");
    for (const char* checkout : {"a", "b"}) EXPECT_EQ(rows(checkout), rowsOnServer());
  }
}

// Wherever memory runs out in an edit, the lock is given back, and nothing is kept that was not published as a whole.
TEST_F(MirrorTest, AnEditThatRunsOutOfMemoryLeavesServerAndMirrorAlike) {
  std::size_t hit = 0, kept = 0;
  for (std::size_t index = 0;; index += 3, ++hit) {
    bool isPublished = false;
    servers_->onCall = [&](const std::string& call) { isPublished = isPublished || call == "published"; };
    const auto before = onServer().log.size();
    const std::u16string name = fromBytes("l" + std::to_string(index));
    const FolderProject a = open("a");
    const auto edit = [&] {
      try {
        label(a, name);
      } catch (const Error&) {  // what fails at the end of a scope is told so
        throw std::bad_alloc();
      }
    };
    if (!runsOutOfMemory(index, edit)) break;
    servers_->onCall = nullptr;
    EXPECT_EQ(onServer().holder, nullptr) << index;
    EXPECT_EQ(onServer().log.size(), before + (isPublished ? 1 : 0)) << index;
    kept += isPublished ? 1 : 0;
    EXPECT_EQ(rows("a"), rowsOnServer()) << index;
  }
  EXPECT_GT(hit, 20U);
  EXPECT_LT(kept, hit);
}

TEST_F(MirrorTest, NothingIsReadWithoutTheServerButOffline) {
  const std::u16string uuid = label(open("a"));
  open("b").labels().list();
  servers_->onCall = [](const std::string&) { throw Error(errors::STORE_UNREACHABLE, "as planned"); };
  const FolderProject b = open("b");
  EXPECT_EQ(refusalOf([&] { b.labels().list(); }), errors::STORE_UNREACHABLE);
  EXPECT_EQ(refusalOf([&] { b.workingCopy(); }), errors::STORE_UNREACHABLE);
  ServerAccess offline = access("b");
  offline.isOffline = true;
  const FolderProject old = FolderProject::open(in("b"), nullptr, offline);
  EXPECT_EQ(old.labels().list().size(), 1U);
  EXPECT_EQ(old.workingCopy()->labels().list().size(), 1U);
  EXPECT_LT(std::abs(std::time(nullptr) - old.seen().value()), 100);
  EXPECT_EQ(refusalOf([&] { old.labels().attach(uuid, {"f"}, MarkKind::entry); }), errors::STORE_FAILED);
  offline.mirrors = in("cache-none");
  EXPECT_EQ(refusalOf([&] { FolderProject::open(in("b"), nullptr, offline); }), errors::STORE_UNREACHABLE);
}

TEST_F(MirrorTest, AServerThatWentBackIsNotBelievedUntilSomebodySaysSo) {
  label(open("a"), u"kept");
  open("b").labels().list();
  const MemoryServers::Project late = onServer();
  label(open("a"), u"lost");
  onServer() = late;
  label(open("b"), u"instead");  // its mirror is of before: it has nothing to lose
  const FolderProject a = open("a");
  EXPECT_EQ(refusalOf([&] { a.labels().list(); }), errors::STORE_WENT_BACK);
  EXPECT_EQ(refusalOf([&] { label(a, u"another"); }), errors::STORE_WENT_BACK);
  EXPECT_EQ(refusalOf([&] { a.workingCopy(); }), errors::STORE_WENT_BACK);
  const std::vector<Edit> lost = a.lostOnServer();
  ASSERT_EQ(lost.size(), 1U);
  EXPECT_EQ(lost[0].number, 3);
  EXPECT_EQ(refusalOf([&] { a.labels().list(); }), errors::STORE_WENT_BACK);
  a.acceptServer();
  EXPECT_EQ(rows("a"), rowsOnServer());
}

// Another user's edits of before the floor are gone from the log; what they came to is not.
TEST_F(MirrorTest, ALogThatBeginsLaterIsTakenAsAWhole) {
  for (const char16_t* name : {u"1", u"2", u"3"}) label(open("a"), name);
  onServer().log.erase(onServer().log.begin(), onServer().log.begin() + 2);
  EXPECT_EQ(rows("b"), rowsOnServer());
  const FolderProject b = open("b");
  EXPECT_EQ(b.labels().list().size(), 3U);
  b.setAuthor(open("a").author());
  b.undo(b.history().lastOf(b.author()), std::make_shared<EntryTable>(std::make_shared<Listing>(b.list())));
  EXPECT_EQ(open("a").labels().list().size(), 2U);
}

TEST_F(MirrorTest, WhatDoesNotFitTogetherIsRefusedAndTheMirrorStays) {
  const std::string uuid = toBlob(label(open("a")));
  const auto before = rows("b");
  const MemoryServers::Project right = onServer();
  const std::string unknown = toBlob(u"unknown");
  for (const Change& change : std::vector<Change>{{StoreTable::label, true, {uuid, toBlob(u"x"), toBlob(u"y"), "0"}},
                                                  {StoreTable::label, false, {unknown, uuid, uuid, "0"}},
                                                  {StoreTable::mark, true, {"f", unknown, "1"}},
                                                  {StoreTable::mark, true, {"../f", uuid, "1"}},
                                                  {StoreTable::mark, true, {"f", uuid, "7"}},
                                                  {StoreTable::rule, true, {uuid, "0", "["}},
                                                  {StoreTable::node, true, {"odd", uuid, uuid}},
                                                  {StoreTable::category, true, {"odd", ""}}}) {
    Edit edit = editBy({"eve", "m"}, right.log.back().number + 1);
    edit.changes = {change};
    onServer().log.push_back(edit);
    if (change.isPut)
      onServer().content[bytesOf(Changes{change})] = change;
    else
      onServer().content[bytesOf(Changes{change})] = {StoreTable::mark, true, {"", uuid, "2"}};
    EXPECT_EQ(refusalOf([&] { rows("b"); }), errors::STORE_UNREADABLE);
    onServer() = right;
    EXPECT_EQ(rows("b"), before);
  }
}

TEST_F(MirrorTest, AStoreMovesToAServerAndBackWithAllThatItHolds) {
  put("own/f");
  FolderProject own = FolderProject::init(in("own"));
  const std::u16string uuid = label(own);
  own.labels().attach(uuid, {"f"}, MarkKind::reach);
  const FolderProject waiting = FolderProject::open(in("own"));
  waiting.labels().list();
  const Address there = parseAddress("postgresql://server/team?project=moved");
  own.moveTo(there, access("own"));
  for (const char* what : {"reads", "writes"}) {
    EXPECT_EQ(
        refusalOf([&] { *what == 'r' ? void(waiting.workingCopy()) : void(waiting.labels().detach(uuid, {"f"})); }),
        errors::STORE_MOVED);
  }
  FolderProject team = open("own");
  EXPECT_EQ(team.address(), there);
  EXPECT_EQ(team.labels().marks().size(), 1U);
  team.labels().attach(uuid, {"g"}, MarkKind::entry);
  const auto edits = team.history().edits().size();
  FolderProject::join((std::filesystem::create_directory(in("other")), in("other")), nullptr, there, access("other"));
  const FolderProject other = open("other");
  team.moveBack();
  EXPECT_EQ(refusalOf([&] { other.labels().list(); }), errors::STORE_MOVED);
  EXPECT_EQ(refusalOf([&] { team.labels().list(); }), errors::STORE_MOVED);
  const FolderProject back = FolderProject::open(in("own"));
  EXPECT_FALSE(back.address());
  EXPECT_EQ(back.labels().marks().size(), 2U);
  EXPECT_EQ(back.history().edits().size(), edits);
}

// Wherever a move fails or is ended, the project has one store, with all that is in it.
TEST_F(MirrorTest, AMoveThatIsEndedLeavesOneStore) {
  put("own/f");
  const std::u16string uuid = label(FolderProject::init(in("own")));
  const auto failing = [&](const std::string& at, const char* error) {
    servers_->onCall = [at, error](const std::string& call) {
      if (call == at) throw Error(error, "as planned");
    };
  };
  const auto labelsNow = [&] {
    servers_->onCall = nullptr;
    return open("own").labels().list().size();
  };
  int number = 0;
  for (const char* at : {"create", "created", "read"}) {
    const Address there = parseAddress("postgresql://server/team?project=own" + std::to_string(++number));
    failing(at, errors::STORE_OUTCOME_UNKNOWN);
    EXPECT_EQ(refusalOf([&] { open("own").moveTo(there, access("own")); }), errors::STORE_OUTCOME_UNKNOWN) << at;
    EXPECT_EQ(labelsNow(), 1U);
    EXPECT_FALSE(open("own").address());
  }
  const Address there = parseAddress("postgresql://server/team?project=own");
  open("own").moveTo(there, access("own"));
  std::filesystem::copy(in("own/.project/moved-store.db"), in("own/.project/store.db"));  // ended before that went
  EXPECT_EQ(open("own").address(), there);
  label(open("own"), u"second");
  for (const char* at : {"lock", "publish"}) {
    failing(at, errors::STORE_UNREACHABLE);
    EXPECT_EQ(refusalOf([&] { open("own").moveBack(); }), errors::STORE_UNREACHABLE) << at;
    EXPECT_EQ(labelsNow(), 2U);
    EXPECT_EQ(open("own").address(), there);
  }
  failing("published", errors::STORE_OUTCOME_UNKNOWN);
  EXPECT_EQ(refusalOf([&] { open("own").moveBack(); }), errors::STORE_OUTCOME_UNKNOWN);
  servers_->onCall = nullptr;
  EXPECT_EQ(refusalOf([&] { open("own").labels().list(); }), errors::STORE_MOVED);
  open("own").moveBack();  // finds what it wrote
  EXPECT_FALSE(open("own").address());
  EXPECT_EQ(labelsNow(), 2U);
}

// What was moved back and to another place is joined there by who had joined it before, who keeps what is the folder's.
TEST_F(MirrorTest, AFolderWhoseStoreWasMovedJoinsItElsewhere) {
  const Address there = parseAddress("postgresql://server/team?project=elsewhere");
  label(open("a"));
  open("a").moveBack();
  write(in("b/.project/memory"), "remembered");
  const auto join = [&] { FolderProject::join(in("b"), nullptr, there, access("b")); };
  EXPECT_EQ(refusalOf(join), errors::STORE_NOT_FOUND);
  EXPECT_EQ(open("b").address(), ADDRESS);
  FolderProject::open(in("a")).moveTo(there, access("a"));
  join();
  EXPECT_EQ(open("b").labels().list().size(), 1U);
  EXPECT_EQ(read(in("b/.project/memory")), "remembered");
  EXPECT_EQ(refusalOf(join), errors::ALREADY_A_PROJECT);
}

// A store of before a move is none to go back to.
TEST_F(MirrorTest, AStoreBesideTheAddressThatIsNotOfTheEndIsNotTakenBack) {
  put("own/f");
  label(FolderProject::init(in("own")));
  const std::string old = read(in("own/.project/store.db"));
  const Address there = parseAddress("postgresql://server/team?project=own");
  FolderProject::open(in("own")).moveTo(there, access("own"));
  label(open("own"), u"second");
  servers_->projects.at(there.text()).isClosed = true;
  EXPECT_EQ(refusalOf([&] { open("own").moveBack(); }), errors::STORE_MOVED);
  write(in("own/.project/store.db"), old);
  EXPECT_EQ(refusalOf([&] { open("own").moveBack(); }), errors::STORE_MOVED);
}

// The mirror is a copy: where it cannot be used, another one is made, or none, and nothing else changes.
TEST_F(MirrorTest, AMirrorThatCannotBeUsedIsMadeAnew) {
  label(open("a"));
  const auto file = [&] { return std::filesystem::directory_iterator(in("cache-a"))->path() / "store.db"; };
  const auto isUsed = [&] { return open("a").seen().has_value(); };
  const auto expected = rowsOnServer();
  write(file(), "nonsense");
  EXPECT_EQ(rows("a"), expected);
  EXPECT_TRUE(isUsed());
  runSql(file(), "DELETE FROM category");  // whose label is there
  EXPECT_EQ(rows("a"), expected);
  runSql(file(), "UPDATE edit SET changes = x'00' WHERE number = 2");
  EXPECT_EQ(open("a").labels().list().size(), 1U);
  std::filesystem::remove_all(in("cache-a"));
  EXPECT_EQ(rows("a"), expected);
  struct stat status {};
  ASSERT_EQ(stat(file().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  std::filesystem::permissions(in("cache-a"), std::filesystem::perms(0755));
  EXPECT_EQ(rows("a"), expected);
  EXPECT_FALSE(isUsed());
  const FolderProject within = FolderProject::open(in("a"), nullptr, {servers_, in("a/cache")});
  EXPECT_EQ(within.labels().list().size(), 1U);
  EXPECT_FALSE(within.seen());
}

TEST_F(MirrorTest, AProjectIsOneByItsAddressToo) {
  std::filesystem::create_directory(in("a/sub"));
  EXPECT_EQ(FolderProject::rootOf(in("a/sub")), in("a"));
  EXPECT_EQ(refusalOf([&] { FolderProject::init(in("a/sub")); }), errors::ALREADY_A_PROJECT);
  EXPECT_EQ(refusalOf([&] { FolderProject::join(in("b"), nullptr, ADDRESS, access("b")); }), errors::ALREADY_A_PROJECT);
  EXPECT_EQ(refusalOf([&] { FolderProject::open(in("a")); }), errors::STORE_UNREACHABLE);
  ServerAccess asked = access("a");
  asked.require = [](const Address& address) {
    EXPECT_EQ(address, ADDRESS);
    throw Error(errors::STORE_UNTRUSTED, "as planned");
  };
  servers_->turns = 0;
  EXPECT_EQ(refusalOf([&] { FolderProject::open(in("a"), nullptr, asked); }), errors::STORE_UNTRUSTED);
  EXPECT_EQ(servers_->turns, 0);
  for (const std::string& text : {std::string("postgresql://ann:pw@server/team?project=film"), std::string(3000, 'x'),
                                  std::string(), std::string("postgresql://server/team?project=film\n\n")}) {
    write(in("b/.project/address"), text);
    EXPECT_EQ(refusalOf([&] { open("b"); }), errors::ADDRESS_UNUSABLE) << text.substr(0, 60);
  }
}

TEST_F(MirrorTest, NothingIsLeftWhereAProjectCannotBeMade) {
  std::filesystem::create_directory(in("new"));
  EXPECT_EQ(refusalOf([&] { FolderProject::initAt(in("new"), nullptr, ADDRESS, access("new"), {}); }),
            errors::STORE_NAME_TAKEN);
  EXPECT_EQ(refusalOf([&] {
              FolderProject::join(in("new"), nullptr, parseAddress("postgresql://server/team?project=none"),
                                  access("new"));
            }),
            errors::STORE_NOT_FOUND);
  EXPECT_EQ(tree("new"), std::vector<std::string>());
}

// Mirrors come and go: what an edit settled is taken back with it all the same.
TEST_F(MirrorTest, WhatAnEditSettlesIsKeptWithIt) {
  const auto noted = [](const FolderProject& project) {
    std::vector<std::string> settled;
    for (const Edit& edit : project.history().edits()) settled.push_back(edit.settled);
    return settled;
  };
  const FolderProject a = open("a");
  {
    const auto scope = a.beginWrite();
    a.note({Remembered{}}, true);
  }
  a.confirm();
  EXPECT_NE(noted(a).back(), "");
  EXPECT_EQ(noted(open("b")), noted(a));
  onServer().log.erase(onServer().log.begin());
  const auto store = mirror("a");
  store->readAnew();
  EXPECT_NE(store->whole().edits.back().settled, "");
}

TEST_F(MirrorTest, WritersOfOneCheckoutAndOfSeveralLoseNothing) {
  constexpr int EDITS = 15;
  std::vector<std::thread> writers;
  for (const char* name : {"a", "a", "b"}) {
    writers.emplace_back([this, name, number = writers.size()] {
      const FolderProject project = open(name);
      for (int i = 0; i < EDITS; ++i) label(project, fromBytes(std::to_string(number) + "." + std::to_string(i)));
    });
  }
  for (std::thread& writer : writers) writer.join();
  EXPECT_EQ(open("a").labels().list().size(), 3U * EDITS);
  for (const char* name : {"a", "b"}) EXPECT_EQ(rows(name), rowsOnServer());
}

TEST(AddressTest, IsReadAsItIsWritten) {
  for (const auto& [text, same] : std::vector<std::pair<std::string, std::string>>{
           {"postgresql://h/d?project=p", ""},
           {"postgres://h/d?project=p", "postgresql://h/d?project=p"},
           {"postgresql://h:5433,[::1]:5432/d?project=p", ""},
           {"postgresql:///?project=p&service=team", ""},
           {"postgresql:///?service=te%61m&project=p", "postgresql:///?project=p&service=team"},
           {"postgresql://h/d?project=%C3%A9%20%26%2F", ""}}) {
    EXPECT_EQ(parseAddress(text).text(), same.empty() ? text : same);
  }
  EXPECT_EQ(parseAddress("postgresql://h/d?project=%C3%A9").project, "é");
}

TEST(AddressTest, IsRefusedWithoutBeingShown) {
  for (const char* text :
       {"", "mysql://h/d?project=p", "h/d?project=p", "postgresql://ann:hunter2@h/d?project=p",
        "postgresql://ann@h/d?project=p", "postgresql://h/d?project=p&password=hunter2",
        "postgresql://h/d?project=p&sslmode=disable", "postgresql://h/d?project=p&project=q", "postgresql://h/d",
        "postgresql://h/d?project=", "postgresql://h/d?project=%0a", "postgresql://h/d?project=%g0",
        "postgresql://h/d?project=%", "postgresql://h/d?project=%ff", "postgresql:///d?project=p",
        "postgresql://h?project=p", "postgresql://h h/d?project=p", "postgresql://h%20/d?project=p"}) {
    try {
      parseAddress(text);
      ADD_FAILURE() << text;
    } catch (const Error& error) {
      EXPECT_EQ(error.identifier(), std::string(errors::ADDRESS_UNUSABLE)) << text;
      EXPECT_EQ(std::string(error.what()).find("hunter2"), std::string::npos);
    }
  }
}

}  // namespace

}  // namespace folder_host
