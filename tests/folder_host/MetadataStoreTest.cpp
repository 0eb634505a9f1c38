#include "folder_host/MetadataStore.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Fixture.h"
#include "folder_host/Error.h"
#include "folder_host/Store.h"

namespace folder_host {

namespace {

using project::metadata::MetadataNode;
using project::metadata::MetadataNodeSpecification;
using project::metadata::MetadataPath;
using project::metadata::MetadataPathBuilder;
using namespace std::string_literals;
using Values = std::map<std::u16string, std::u16string>;

// Each name is an element's type and location.
MetadataPath pathOf(const std::vector<std::u16string>& locations) {
  MetadataPathBuilder builder;
  for (const std::u16string& location : locations) builder.add(location, location);
  return builder.build();
}

class MetadataStoreTest : public ::testing::Test {
 protected:
  void set(const MetadataPath& path, const Values& values = {}) {
    auto node = std::make_shared<MetadataNodeSpecification>();
    for (const auto& [key, value] : values) node->put(key, value);
    metadata_.setNodes({{path, node}});
  }

  std::u16string get(const MetadataPath& path, const std::u16string& key) {
    return metadata_.getNode(path)->getValue(key);
  }

  std::vector<std::u16string> children(const MetadataPath& path) {
    std::vector<std::u16string> locations;
    for (const MetadataPath& child : metadata_.getChildPaths(path)) locations.push_back(child.getLeaf().getLocation());
    return locations;
  }

  std::shared_ptr<Store> store_ = Store::inMemory();
  MetadataStore metadata_{store_};
};

const std::vector<std::u16string> NEAR_NAMES = {u"",       u"a",        u"A",      u"ab",     u"_",
                                                u"%",      u"\xFEFF-a", u"\xD800", u"\xDC00", u"\xD800\xDC00",
                                                u"\xFFFF", u"a\0b"s,    u"a\0"s,   u"\0"s,    u"\0\0"s};

}  // namespace

TEST_F(MetadataStoreTest, NamesThatAreNearlyAlikeStayApart) {
  for (const std::u16string& name : NEAR_NAMES) set(pathOf({u"p", name}), {{name, name + u"!"}});
  for (const std::u16string& name : NEAR_NAMES) {
    EXPECT_EQ(get(pathOf({u"p", name}), name), name + u"!");
    EXPECT_EQ(children(pathOf({name})), std::vector<std::u16string>());
  }
  EXPECT_EQ(children(pathOf({u"p"})).size(), NEAR_NAMES.size());
  EXPECT_FALSE(metadata_.nodeExists(pathOf({u"p", u"b"})));
}

TEST_F(MetadataStoreTest, RemovingANodeTakesExactlyWhatLiesBelowIt) {
  for (const std::u16string& name : NEAR_NAMES) {
    for (const std::u16string& other : NEAR_NAMES) set(pathOf({name, u"deeper", u"deepest"}), {{other, u"v"}});
  }
  for (std::size_t i = 0; i < NEAR_NAMES.size(); ++i) {
    metadata_.removeNodes({pathOf({NEAR_NAMES[i]})});
    EXPECT_FALSE(metadata_.nodeExists(pathOf({NEAR_NAMES[i], u"deeper", u"deepest"})));
    const auto left = store_->query("SELECT 1 FROM node_value").size();
    EXPECT_EQ(left, (NEAR_NAMES.size() - i - 1) * NEAR_NAMES.size());
    EXPECT_EQ(store_->query("SELECT 1 FROM node").size(), (NEAR_NAMES.size() - i - 1) * 3);
  }
}

TEST_F(MetadataStoreTest, ANodeIsWrittenWithItsParentsAndKeepsWhatItDoesNotGive) {
  set(pathOf({u"a", u"b", u"c"}), {{u"k", u"old"}, {u"other", u"stays"}});
  set(pathOf({u"a", u"b"}), {{u"k", u"b's"}});
  set(pathOf({u"a", u"b", u"c"}), {{u"k", u"new"}});
  EXPECT_TRUE(metadata_.nodeExists(pathOf({u"a"})));
  EXPECT_EQ(get(pathOf({u"a", u"b", u"c"}), u"k"), u"new");
  EXPECT_EQ(get(pathOf({u"a", u"b", u"c"}), u"other"), u"stays");
  EXPECT_EQ(get(pathOf({u"a", u"b"}), u"k"), u"b's");
}

TEST_F(MetadataStoreTest, ANodeThatWasReadIsAWorkingCopy) {
  set(pathOf({u"a"}), {{u"k", u"v"}, {u"empty", u""}});
  const std::shared_ptr<MetadataNode> node = metadata_.getNode(pathOf({u"a"}));
  EXPECT_EQ(node->getValue(u"empty"), u"");
  EXPECT_THROW(node->getValue(u"absent"), std::out_of_range);
  node->setValue(u"k", u"changed");
  EXPECT_EQ(get(pathOf({u"a"}), u"k"), u"v");
  metadata_.setNodes({{pathOf({u"a"}), node}, {pathOf({u"b"}), node}});
  EXPECT_EQ(get(pathOf({u"a"}), u"k"), u"changed");
  EXPECT_EQ(get(pathOf({u"b"}), u"empty"), u"");
  EXPECT_EQ(metadata_.getNode(pathOf({u"absent"})), nullptr);
}

TEST_F(MetadataStoreTest, AllNodesOfOneCallAreWrittenOrNone) {
  const auto node = std::make_shared<MetadataNodeSpecification>();
  node->put(u"k", u"v");
  EXPECT_THROW(metadata_.setNodes({{pathOf({u"a"}), node}, {pathOf({u"b"}), nullptr}}), std::invalid_argument);
  store_->run(
      "CREATE TRIGGER t BEFORE INSERT ON node_value WHEN length(NEW.node) > 12 BEGIN SELECT RAISE(ABORT, 'no'); END");
  EXPECT_EQ(refusalOf([&] {
              metadata_.setNodes({{pathOf({u"a"}), node}, {pathOf({u"long"}), node}});
            }),
            errors::STORE_FAILED);
  EXPECT_EQ(children(MetadataPath()), std::vector<std::u16string>());
}

}  // namespace folder_host
