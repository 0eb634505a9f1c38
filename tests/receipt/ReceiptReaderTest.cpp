#include <fcntl.h>
#include <sys/stat.h>

#include "Refusal.h"
#include "Shared.h"
#include "receipt/ReceiptReader.h"

namespace project_share {

using folder_host::read;
using folder_host::refusalOf;
using folder_host::write;

namespace {

const std::string DIGEST(64, 'e');

class ReceiptReaderTest : public SharedProject {
 protected:
  // What a share writes, with content.
  std::string receipt() const {
    type("share public IN/copy --receipt IN/receipt");
    return read(in("receipt"));
  }
  std::string refusalOfText(const std::string& text) const {
    write(in("fed"), text);
    return refusalOf([&] { ReceiptReader(in("fed")); });
  }
};

std::string with(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  if (at == std::string::npos) throw std::runtime_error("there is no " + from);
  return text.replace(at, from.size(), to);
}

TEST_F(ReceiptReaderTest, TellsWhatWasWritten) {
  receipt();
  ReceiptReader reader(in("receipt"));
  EXPECT_EQ(reader.head().profileName, "public");
  EXPECT_EQ(reader.head().destination, in("copy"));
  EXPECT_TRUE(reader.head().hasContent);
  for (int i = 0; i < 2; ++i) {  // as often as it is asked
    std::vector<std::string> shared, held;
    reader.forEachShared([&](const ReceiptEntry& entry) { shared.push_back(entry.path + ">" + entry.target); });
    reader.forEachHeldBack(
        [&](const ReceiptHeldBack& entry) { held.push_back(entry.path + " " + reasonInWords(entry.reason)); });
    EXPECT_EQ(shared,
              (std::vector<std::string>{".project>", ".project/store.db>", "link>open", "open>", "sub>", "sub/deep>"}));
    EXPECT_EQ(held, (std::vector<std::string>{"drafts filter 1, drop-files: a/in",
                                              "drafts/secret filter 1, drop-files: a/in"}));
  }
  reader.forEachShared([&](const ReceiptEntry& entry) {
    if (entry.path != "sub/deep") return;
    EXPECT_EQ(entry.size, 4U);
    EXPECT_EQ(entry.modified.tv_nsec, 5);
    EXPECT_EQ(entry.mode & 0400U, 0400U);
    EXPECT_EQ(entry.sha256.size(), 64U);
    EXPECT_EQ(entry.labels.size(), 1U);
  });
}

TEST_F(ReceiptReaderTest, APartOfAReceiptIsNone) {
  const std::string text = receipt();
  for (std::size_t length = 0; length + 1 < text.size(); length += 7) {
    ASSERT_EQ(refusalOfText(text.substr(0, length)), refusals::RECEIPT_UNREADABLE) << length;
  }
  EXPECT_EQ(refusalOfText(text), "");
  EXPECT_EQ(refusalOfText(with(text, "\"shape\"", "\"unknown\": [[{}], 7], \"shape\"")), "");
}

// Besides those that are tried with the program.
TEST_F(ReceiptReaderTest, AReceiptWithAFaultIsNone) {
  const std::string text = receipt(), link = R"({"path":"link","kind":"link","target":"open",)";
  const std::pair<std::string, std::string> rows[] = {
      {"\"time\": \"2", "\"time\": \"x"},
      {"\"time\": \"2", "\"time\": \"\\u001b"},
      {"\"from\": \"\"", "\"from\": \"a\", \"fromHex\": \"62\""},
      {"\"judgement\": \"", "\"judgement\": \"0"},
      {"\"risks\": [", "\"risks\": [{}"},
      {"\"allLabels\": [", "\"allLabels\": [{\"uuid\": \"u\", \"deleted\": true, \"category\": 5},"},
      {"\"allLabels\": [", "\"allLabels\": [{\"uuid\": \"u\"},"},
      {"\"handedOut\": [", "\"handedOut\": [[" + std::string(70, '[') + std::string(70, ']') + "],"},
      {link, with(link, "\"path\":\"link\"", "\"path\":\"/link\"")},
      {link, with(link, "\"path\":\"link\"", "\"path\":\"link\",\"pathHex\":\"61\"")},
      {link, with(link, "\"path\":\"link\"", "\"path\":\".project/store.db\"")},
      {link, with(link, "\"target\":\"open\"", "\"target\":[]")},
      {link, with(link, "\"kind\":\"link\"", "\"kind\":\"file\"")},
      {link, with(link, "\"kind\":\"link\"", "\"kind\":\"pipe\"")},
      {link, link + "\"kind\":\"link\","},
      {"\"size\":4,", ""},
      {"\"mode\":\"0", "\"mode\":\"8"},
      {",5]", ",1000000000]"},
      {"\"reason\":{\"rule\":\"filter\"", "\"reason\":{\"rule\":\"mood\""},
      {"\"reason\":{\"rule\":\"filter\",", "\"reason\":{"},
  };
  for (const auto& [from, to] : rows) {
    EXPECT_EQ(refusalOfText(with(text, from, to)), refusals::RECEIPT_UNREADABLE) << to.substr(0, 90);
  }
}

TEST_F(ReceiptReaderTest, WhatIsNoFileIsNeitherWaitedForNorRead) {
  receipt();
  ASSERT_EQ(::mkfifo(in("pipe").c_str(), 0600), 0);
  for (const std::string& named : {in("pipe"), in("copy"), in("none"), std::string("/dev/zero")}) {
    EXPECT_EQ(refusalOf([&] { ReceiptReader{named}; }), refusals::RECEIPT_UNREADABLE) << named;
  }
}

TEST_F(ReceiptReaderTest, AKeptOneEndsAtItsBoundAndHasItsOwnHead) {
  receipt();
  const std::string file = in("p/.project/receipts/" + kept().at(0)), text = read(file);
  const auto refusal = [&](std::uint64_t most) {
    return refusalOf(
        [&] { ReceiptReader(folder_host::Descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC)), file, most); });
  };
  const std::uint64_t size = read(in("receipt")).size();
  EXPECT_EQ(refusal(size), "");
  EXPECT_EQ(refusal(size - 1), refusals::RECEIPT_UNREADABLE);
  write(file, with(text, in("copy"), in("COPY")));
  EXPECT_EQ(refusal(size), refusals::RECEIPT_UNREADABLE);
  write(file, text.substr(0, text.size() - 1));
  EXPECT_EQ(refusal(size), refusals::RECEIPT_UNREADABLE);
}

}  // namespace

}  // namespace project_share
