#include "folder_host/LabelStore.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "Fixture.h"
#include "folder_host/Error.h"
#include "folder_host/MetadataStore.h"
#include "folder_host/Store.h"
#include "folder_host/Text.h"

// What the suite for hosts leaves to a host.
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
  EXPECT_EQ(labels_.list().back().name + (labels_.list().back().kept ? u", kept" : u""), u"Final, kept");
  for (const auto& label : {draft_, open_}) labels_.erase(label.uuid);
  EXPECT_EQ(labels_.list().size(), 1U);
  EXPECT_EQ(labels_.getCategories().size(), 1U) << "a category goes with its last label";
  EXPECT_EQ(store_->query("SELECT * FROM attachment").size(), 0U);
}

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
