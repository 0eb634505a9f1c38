#include "folder_host/MetadataStore.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "Fixture.h"
#include "folder_host/Store.h"

// What the suite for hosts leaves to a host.
namespace folder_host {

namespace {

using project::metadata::MetadataNode;
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

TEST_F(MetadataStoreTest, ANodeThatWasReadIsAWorkingCopyAndWrittenItKeepsWhatItDoesNotGive) {
  set(A, u"k", u"v");
  set(A, u"empty", u"");
  const std::shared_ptr<MetadataNode> node = metadata_.getNode(A);
  EXPECT_EQ(node->getValue(u"k") + node->getValue(u"empty"), u"v");
  EXPECT_THROW(node->getValue(u"absent"), std::out_of_range);
  node->setValue(u"k", u"changed");
  EXPECT_EQ(metadata_.getNode(A)->getValue(u"k"), u"v");
  metadata_.setNodes({{A, node}, {AB, node}});
  for (const MetadataPath& path : {A, AB}) EXPECT_EQ(metadata_.getNode(path)->getValue(u"k"), u"changed");
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
  store_->run(
      "CREATE TRIGGER t BEFORE INSERT ON node_value WHEN length(NEW.node) > 12 BEGIN SELECT RAISE(ABORT, 'no'); END");
  EXPECT_EQ(refusalOf([&] { metadata_.setNodes({{A, node}, {LONG, node}}); }), errors::STORE_FAILED);
  EXPECT_EQ(rows(), 0U);
}

}  // namespace folder_host
