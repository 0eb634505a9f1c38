#include "folder_host/LabelStore.h"

#include "Fixture.h"
#include "folder_host/MetadataStore.h"
#include "folder_host/Store.h"
#include "folder_host/Text.h"

// What the suite for hosts leaves to a host.
namespace folder_host {

namespace {

using project::management::CategoryIdentifier;
using project::management::LabelIdentifier;

class LabelStoreTest : public ::testing::Test {
 protected:
  std::shared_ptr<Store> store_ = Store::inMemory();
  LabelStore labels_{store_};
  LabelRecord secret_ = labels_.create(u"Access", u"Secret");
  LabelRecord open_ = labels_.create(u"Access", u"Open");
  LabelRecord draft_ = labels_.create(u"State", u"Draft");
};

using project::metadata::MetadataNodeSpecification;
using project::metadata::MetadataPath;
using project::metadata::PathElement;

const PathElement a{u"a", u"a"}, b{u"b", u"b"}, longOne{u"long", u"long"};
const MetadataPath A({a}), AB({a, b}), LONG({longOne});

class MetadataStoreTest : public ::testing::Test {
 protected:
  void set(const MetadataPath& path, const std::u16string& key, const std::u16string& value) {
    auto node = std::make_shared<MetadataNodeSpecification>();
    node->put(key, value);
    metadata_.setNodes({{path, node}});
  }
  std::size_t rows() const { return store_->query("SELECT 1 FROM node UNION ALL SELECT 1 FROM node_value").size(); }

  std::shared_ptr<Store> store_ = Store::inMemory();
  MetadataStore metadata_{store_};
};

}  // namespace

TEST_F(LabelStoreTest, ALabelIsRemovedFromItsOwnCategoryOnly) {
  labels_.removeLabel(CategoryIdentifier(draft_.categoryUUID), LabelIdentifier(open_.uuid), true);
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
  EXPECT_EQ(refusalOf([&] { labels_.attach(u"absent", {}); }), errors::LABEL_NOT_FOUND);
  EXPECT_EQ(labels_.list().back().name + (labels_.list().back().kept ? u", kept" : u""), u"Final, kept");
  for (const auto& label : {draft_, open_}) labels_.erase(label.uuid);
  EXPECT_EQ(labels_.list().size(), 1U);
  EXPECT_EQ(labels_.getCategories().size(), 1U) << "a category goes with its last label";
  EXPECT_EQ(store_->query("SELECT * FROM attachment").size(), 0U);
}

TEST_F(MetadataStoreTest, ARemovedNodeLeavesNoRow) {
  for (const MetadataPath& path : {AB, LONG}) set(path, u"k", u"v");
  EXPECT_EQ(rows(), 5U);
  metadata_.removeNodes({A});
  EXPECT_EQ(rows(), 2U);
}

TEST_F(MetadataStoreTest, AllNodesOfOneCallAreWrittenOrNone) {
  const auto node = std::make_shared<MetadataNodeSpecification>();
  node->put(u"k", u"v");
  EXPECT_THROW(metadata_.setNodes({{A, node}, {LONG, nullptr}}), std::invalid_argument);
  store_->run("CREATE UNIQUE INDEX one_each ON node_value(value)");
  EXPECT_EQ(refusalOf([&] { metadata_.setNodes({{A, node}, {LONG, node}}); }), errors::STORE_FAILED);
  EXPECT_EQ(rows(), 0U);
}

}  // namespace folder_host
