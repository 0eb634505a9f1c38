#include "folder_host/LabelStore.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Fixture.h"
#include "folder_host/Error.h"
#include "folder_host/Store.h"
#include "folder_host/Text.h"

namespace folder_host {

namespace {

using project::management::CategoryIdentifier;
using project::management::LabelIdentifier;
using Paths = std::vector<std::string>;

class LabelStoreTest : public ::testing::Test {
 protected:
  std::size_t labelsOn(const std::string& path) const { return labels_.labelsOf(path).size(); }

  std::shared_ptr<Store> store_ = Store::inMemory();
  LabelStore labels_{store_};
  LabelRecord secret_ = labels_.create(u"Access", u"Secret");
  LabelRecord open_ = labels_.create(u"Access", u"Open");
  LabelRecord draft_ = labels_.create(u"State", u"Draft");
};

}  // namespace

TEST_F(LabelStoreTest, LabelsOfOneCategoryNameShareTheCategory) {
  EXPECT_EQ(secret_.categoryUUID, open_.categoryUUID);
  EXPECT_NE(secret_.categoryUUID, draft_.categoryUUID);
  EXPECT_EQ(labels_.getCategories().size(), 2U);
  EXPECT_EQ(labels_.getLabels(CategoryIdentifier(secret_.categoryUUID)).size(), 2U);
  EXPECT_EQ(labels_.getLabels(CategoryIdentifier(u"Access")).size(), 0U) << "a name is no identity";
  std::u16string names;
  for (const LabelRecord& label : labels_.list()) names += label.categoryName + u"/" + label.name + u" ";
  EXPECT_EQ(names, u"Access/Open Access/Secret State/Draft ");
}

TEST_F(LabelStoreTest, AttachingCountsWhatIsNew) {
  EXPECT_EQ(labels_.attach(secret_.uuid, {"a", "b", "a", "\xFF"}), 3U);
  EXPECT_EQ(labels_.attach(secret_.uuid, {"b", "c"}), 1U);
  EXPECT_EQ(labels_.attach(open_.uuid, {"a"}), 1U);
  EXPECT_EQ(labels_.pathsOf(secret_.uuid), (Paths{"a", "b", "c", "\xFF"}));
  EXPECT_EQ(labels_.detach(secret_.uuid, {"a", "a", "x"}), 1U);
  ASSERT_EQ(labelsOn("a"), 1U);
  EXPECT_EQ(labels_.labelsOf("a")[0].getUUID(), open_.uuid);
  EXPECT_EQ(labels_.labelsOf("a")[0].getCategory().toString(), open_.categoryUUID);
  EXPECT_EQ(refusalOf([&] { labels_.attach(u"absent", {"a"}); }), errors::LABEL_NOT_FOUND);
}

TEST_F(LabelStoreTest, ARemovedLabelIsDetachedWhateverTheFlag) {
  for (const bool flag : {false, true}) {
    const LabelRecord label = labels_.create(u"Access", u"Short-lived");
    labels_.attach(label.uuid, {"a", "b"});
    labels_.removeLabel(CategoryIdentifier(draft_.categoryUUID), LabelIdentifier(label.uuid), flag);
    EXPECT_EQ(labelsOn("a"), 1U) << "a label is removed from its own category only";
    labels_.removeLabel(CategoryIdentifier(label.categoryUUID), LabelIdentifier(label.uuid), flag);
    EXPECT_EQ(labelsOn("a"), 0U);
    EXPECT_EQ(labels_.pathsOf(label.uuid), Paths());
  }
  EXPECT_EQ(labels_.list().size(), 3U);
}

TEST_F(LabelStoreTest, ALabelIsRenamedKeptAndErasedByItsIdentity) {
  labels_.attach(draft_.uuid, {"a"});
  labels_.rename(draft_.uuid, u"Draft");
  labels_.rename(draft_.uuid, u"Final");
  labels_.setKept(draft_.uuid, true);
  EXPECT_EQ(labels_.labelsOf("a")[0].getLabelIdentifier().isRemovable(), 0);
  EXPECT_EQ(labels_.getLabels(CategoryIdentifier(secret_.categoryUUID))[0].isRemovable(), 1);
  EXPECT_EQ(refusalOf([&] { labels_.rename(secret_.uuid, u"Open"); }), errors::LABEL_NAME_TAKEN);
  EXPECT_EQ(refusalOf([&] { labels_.rename(u"absent", u"x"); }), errors::LABEL_NOT_FOUND);
  EXPECT_EQ(labels_.list().back().name + (labels_.list().back().kept ? u", kept" : u""), u"Final, kept");
  for (const auto& label : {draft_, open_}) labels_.erase(label.uuid);
  EXPECT_EQ(labels_.list().size(), 1U);
  EXPECT_EQ(labels_.getCategories().size(), 1U) << "a category goes with its last label";
  EXPECT_EQ(store_->query("SELECT * FROM attachment").size(), 0U);
}

}  // namespace folder_host
