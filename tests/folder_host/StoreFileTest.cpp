#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "Fixture.h"
#include "folder_host/Error.h"
#include "folder_host/Store.h"

namespace folder_host {

namespace {

class StoreFileTest : public FolderTest {
 protected:
  StoreFileTest() {
    Store::create(file_);
    Store::open(file_)->run("INSERT INTO category VALUES(?, ?)", {"uuid", std::string(20000, 'x')});
  }

  std::string opening() const {
    return refusalOf([&] { Store::open(file_); });
  }

  std::string file_ = in("store.db");
};

}  // namespace

TEST_F(StoreFileTest, AFileThatIsNoStoreIsRefusedAndStaysAsItIs) {
  const std::string good = read(file_);
  std::string torn = good;
  torn.replace(100, 200, 200, '\xFF');
  const struct {
    const char* title;
    std::string content;
  } rows[] = {
      {"no byte", ""},
      {"text", "This is a letter, not a database. " + std::string(5000, '.')},
      {"only the header", good.substr(0, 100)},
      {"only the first page", good.substr(0, 4096)},
      {"cut off", good.substr(0, good.size() - 4096)},
      {"torn", torn},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.title);
    write(file_, row.content);
    EXPECT_EQ(opening(), errors::STORE_UNREADABLE);
    EXPECT_EQ(read(file_), row.content);
  }
}

TEST_F(StoreFileTest, AStoreOfAnotherKindOrAgeIsRefusedAndStaysAsItIs) {
  const std::string good = read(file_);
  const struct {
    const char* sql;
    const char* refusal;
  } rows[] = {
      {"PRAGMA user_version = 2", errors::STORE_TOO_NEW},
      {"PRAGMA user_version = 0", errors::STORE_UNREADABLE},
      {"PRAGMA application_id = 7", errors::STORE_UNREADABLE},
      {"PRAGMA application_id = 7; PRAGMA user_version = 2", errors::STORE_UNREADABLE},
      {"DROP TABLE attachment", errors::STORE_UNREADABLE},
      {"ALTER TABLE label DROP COLUMN kept", errors::STORE_UNREADABLE},
      {"CREATE TABLE unknown(x)", ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.sql);
    write(file_, good);
    runSql(file_, row.sql);
    const std::string before = read(file_);
    EXPECT_EQ(opening(), row.refusal);
    EXPECT_EQ(read(file_), before);
  }
}

}  // namespace folder_host
