#include "folder_host/store/History.h"

#include <map>
#include <random>
#include <set>

#include "Fixture.h"
#include "folder_host/store/Blob.h"
#include "folder_host/store/Store.h"
#include "folder_host/text/Utf.h"
#include "project/sharing/profiles/ExportFilter.h"
#include "project/sharing/profiles/ExportProfile.h"
#include "project/sharing/profiles/ExportProfileManager.h"

namespace folder_host {

namespace {

namespace profiles = project::sharing::profiles;
using Rows = std::set<std::string>;

// All that people edit, a text a row.
Rows rowsOf(Store& store) {
  Rows rows;
  for (const char* table : {"node WHERE length(parent) > 0", "node_value", "category", "label", "mark", "rule"}) {
    for (const Store::Row& row : store.query((std::string("SELECT * FROM ") + table).c_str())) {
      std::string text = table;
      for (const std::string& column : row) text += "|" + column;
      rows.insert(text);
    }
  }
  return rows;
}

Rows without(const Rows& a, const Rows& b) {
  Rows rest;
  std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::inserter(rest, rest.end()));
  return rest;
}

#ifdef NDEBUG
constexpr int STEPS = 2000;
#else
constexpr int STEPS = 300;
#endif

class HistoryTest : public FolderTest {
 protected:
  HistoryTest() {
    put("p/f", "content");
    project_ = std::make_unique<FolderProject>(FolderProject::init(in("p")));
    store_ = Store::open(in("p/.project/store.db"));
    labels_ = std::make_unique<LabelStore>(store_);
    profiles_ = profiles::createManager(std::make_shared<MetadataStore>(store_));
  }

  std::u16string someLabel() {
    const auto all = labels_->list();
    return all.empty() ? u"none" : all[random_() % all.size()].uuid;
  }

  std::shared_ptr<profiles::ExportProfile> someProfile() {
    const auto all = profiles_->getProfiles();
    return all.empty() ? profiles_->createProfile(u"p") : all[random_() % all.size()];
  }

  std::u16string someName() { return std::u16string(1, static_cast<char16_t>(u'a' + random_() % 4)); }
  std::string somePath() { return std::string(1, static_cast<char>('p' + random_() % 6)); }

  void editFilter(profiles::ExportProfile& profile) {
    const auto filters = profile.getFilters();
    if (!filters.empty() && random_() % 2 == 0) profile.removeFilter(filters.front());
    for (const LabelRecord& label : labels_->list()) {
      if (random_() % 3 == 0) profile.addFilter(profiles::EXCLUDE_LABEL, {{label.categoryUUID, label.uuid}});
    }
    profile.save();
  }

  // As commands do, so that no two have one name, and no filter names a label that is gone.
  void rename(profiles::ExportProfile& profile) {
    const std::u16string name = someName();
    for (const auto& other : profiles_->getProfiles()) {
      if (other->getName() == name) return;
    }
    profile.setName(name);
  }
  bool isUsed(const std::u16string& label) {
    return !store_->query("SELECT 1 FROM node WHERE location = ?", {toBlob(label)}).empty();
  }
  // What no command makes, counted.
  std::string strangeThings() {
    const char* sql =
        "SELECT (SELECT count(*) FROM node WHERE type = CAST(? AS BLOB) AND length(location) = 72 AND location NOT IN"
        " (SELECT uuid FROM label)), (SELECT count(*) - count(DISTINCT category || name) FROM label),"
        " (SELECT count(*) - count(DISTINCT name) FROM category),"
        " (SELECT count(*) - count(DISTINCT value) FROM node_value WHERE key = CAST(? AS BLOB))";
    const Store::Row row = store_->query(sql, {toBlob(u"Filter"), toBlob(u"Name")}).front();
    return row[0] + row[1] + row[2] + row[3];
  }

  // One step, which may be refused and may change nothing.
  void editSomehow() {
    const std::u16string label = someLabel();
    switch (random_() % 12) {
      case 0:
      case 1:
        return static_cast<void>(labels_->create(someName(), someName()));
      case 2:
        return labels_->rename(label, someName());
      case 3:
        return isUsed(label) ? void() : labels_->erase(label);
      case 4:
        return labels_->setProtected(label, random_() % 2 == 0);
      case 5:
      case 6:
        return static_cast<void>(
            labels_->attach(label, {somePath(), somePath()}, static_cast<MarkKind>(random_() % 3)));
      case 7:
        return static_cast<void>(labels_->detach(label, {somePath(), somePath(), somePath()}));
      case 8:
        return labels_->setRules(label, {somePath(), somePath()});
      case 9:
        return static_cast<void>(profiles_->createProfile(someName()));
      case 10:
        return random_() % 3 == 0 ? profiles_->deleteProfile(someProfile()) : rename(*someProfile());
      default:
        return editFilter(*someProfile());
    }
  }

  std::mt19937 random_{2026};  // NOLINT(cert-msc51-cpp): the same edits each time
  std::unique_ptr<FolderProject> project_;
  std::shared_ptr<Store> store_;
  std::unique_ptr<LabelStore> labels_;
  std::unique_ptr<profiles::ExportProfileManager> profiles_;
};

// The model knows of each edit which rows came and which went, and nothing of what is in the way of what.
TEST_F(HistoryTest, OfRandomEditsIsTakenBackRowByRowUpToTheEmptyProject) {
  const History history(store_);
  std::map<std::int64_t, std::pair<Rows, Rows>> model;  // by number: the rows that came, and those that went
  std::map<std::int64_t, std::int64_t> undone;          // what an edit took back
  std::size_t refused = 0;
  const auto step = [&](const auto& act) {
    const Rows before = rowsOf(*store_);
    const std::int64_t last = store_->lastEdit();
    std::string refusal = refusalOf(act);
    const Rows after = rowsOf(*store_);
    const bool isEdit = store_->lastEdit() != last;
    EXPECT_EQ(isEdit, before != after);
    EXPECT_EQ(strangeThings(), "0000");
    EXPECT_TRUE(refusal.empty() || before == after) << refusal;
    if (isEdit) model[store_->lastEdit()] = {without(after, before), without(before, after)};
    return refusal;
  };
  for (int i = 0; i < STEPS; ++i) {
    store_->setAuthor({random_() % 2 == 0 ? "anna" : "ben", "desk", std::string(i < 20 ? 70000 : 1, 'w')});
    if (random_() % 4 != 0 || model.empty()) {
      step([&] {
        try {
          store_->atomically([&] { editSomehow(); });
        } catch (const std::exception&) {  // of the library: the name is taken
          throw Error(errors::NAME_EMPTY, "refused");
        }
      });
      continue;
    }
    const auto number = static_cast<std::int64_t>(model.size() - random_() % std::min<std::size_t>(model.size(), 20));
    const std::string refusal = step([&] { history.undo(number); });
    if (!refusal.empty()) {
      ++refused;
      continue;
    }
    const auto& [came, went] = model[number];
    ASSERT_EQ(model[store_->lastEdit()], std::pair(went, came)) << number;
    undone[store_->lastEdit()] = number;
  }
  const auto log = history.edits();
  ASSERT_EQ(log.size(), model.size());
  EXPECT_EQ(log.front().words.size(), std::size_t{64} << 10U);
  EXPECT_GT(undone.size(), STEPS / 20U);
  EXPECT_GT(refused, STEPS / 40U);
  for (const Edit& edit : log) {
    const auto target = undone.find(edit.number);
    EXPECT_EQ(edit.undoes, target == undone.end() ? "" : log[static_cast<std::size_t>(target->second - 1)].id);
  }
  // Each takes back their own; whose last edit is built upon waits for the other one.
  const auto next = [&] { return history.lastOf({random_() % 2 == 0 ? "anna" : "ben", "desk"}); };
  for (int inVain = 0; inVain < 20;) {
    const std::int64_t last = next();
    inVain = last != 0 && refusalOf([&] { history.undo(last); }).empty() ? 0 : inVain + 1;
  }
  EXPECT_EQ(rowsOf(*store_), Rows());
}

// By numbers: what each row's last undo is refused for has to be taken back first.
TEST_F(HistoryTest, WhatWasMadeUponOtherThingsIsNotMadeAgainWithoutThem) {
  const History history(store_);
  const LabelRecord label = labels_->create(u"c", u"l");  // 1
  const auto profile = profiles_->createProfile(u"p");    // 2
  profile->addFilter(profiles::EXCLUDE_LABEL, {{label.categoryUUID, label.uuid}});
  profile->save();                    // 3
  profiles_->deleteProfile(profile);  // 4
  labels_->erase(label.uuid);         // 5
  const auto first = [&](std::int64_t number) {
    try {
      history.undo(number);
      return std::int64_t{0};
    } catch (const EditInTheWay& error) {
      return error.first();
    }
  };
  for (const auto& [number, expected] : std::vector<std::pair<std::int64_t, std::int64_t>>{
           {4, 5}, {5, 0}, {4, 0}, {6, 7}, {3, 0}, {8, 0}, {7, 0}, {6, 0}, {5, 0}, {1, 4}, {2, 4}}) {
    EXPECT_EQ(first(number), expected) << number;
  }
}

}  // namespace

}  // namespace folder_host
