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

TEST(LabelStoreTest, ALabelGoesFromItsOwnCategoryAloneAndTakesAnEmptyCategoryAndItsAttachmentsWithIt) {
  const auto store = Store::inMemory();
  LabelStore labels(store);
  const LabelRecord open = labels.create(u"Access", u"Open"), draft = labels.create(u"State", u"Draft");
  labels.attach(draft.uuid, {"a"});
  labels.removeLabel(CategoryIdentifier(draft.categoryUUID), LabelIdentifier(open.uuid), true);
  EXPECT_EQ(labels.list().size(), 2U);
  EXPECT_EQ(refusalOf([&] { labels.attach(u"absent", {}); }), errors::LABEL_NOT_FOUND);
  labels.erase(draft.uuid);
  EXPECT_EQ(labels.getCategories().size(), 1U);
  EXPECT_EQ(store->query("SELECT * FROM attachment").size(), 0U);
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
