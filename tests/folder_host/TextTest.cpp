#include <gtest/gtest.h>

#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "folder_host/Error.h"
#include "folder_host/store/Blob.h"
#include "folder_host/text/Patterns.h"
#include "folder_host/text/Printable.h"
#include "folder_host/text/Utf.h"
#include "foundation/core/except/Exception.h"
#include "project/exception/ProjectException.h"

namespace folder_host {

namespace {

using resource_core::BaseMsgID;
using ProjectError = foundation::core::except::Exception<BaseMsgID, project::exception::ProjectException>;

ProjectError errorOf(const std::string& key) {
  return {{}, {{std::u16string(u"\u00E9t\u00E9"), 7L, "text"}, "ORCHID:project:sharing", key}};
}

}  // namespace

TEST(Text, BytesBecomeTheirCharactersOrOneSurrogateEachAndComeBack) {
  const std::pair<std::string, std::u16string> rows[] = {
      {"a/\x7F\xC3\xA9\xE2\x82\xAC\xEF\xBB\xBF", u"a/\x7F\u00E9\u20AC\uFEFF"},
      {"\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF", u"\U0001F600\U0010FFFF"},
      {"\xC0\xAF\xE2\x82x", u"\xDCC0\xDCAF\xDCE2\xDC82x"},                              // overlong; cut off
      {"\xED\xB2\x80\xF4\x90\x80\x80", u"\xDCED\xDCB2\xDC80\xDCF4\xDC90\xDC80\xDC80"},  // U+DC80; above U+10FFFF
  };
  for (const auto& [bytes, text] : rows) {
    EXPECT_EQ(fromBytes(bytes), text);
    EXPECT_EQ(toBytes(text), bytes);
  }
}

TEST(Text, ABlobHasTheHigherByteOfEachUnitFirst) {
  EXPECT_EQ(toBlob(u"\xFEFF\x0102"), std::string("\xFE\xFF\x01\x02"));
  EXPECT_THROW(fromBlob("abc"), Error);
}

TEST(Text, ASurrogateThatStandsForNothingIsReplaced) {
  EXPECT_EQ(toBytes(u"\xD800z\xDC00\xD800"), "\uFFFDz\uFFFD\uFFFD");
}

TEST(Text, IsShownOnOneLineByWhatIsSeen) {
  const std::pair<std::string, std::string> rows[] = {
      {"a\n\t\x1b\\\x7f \xFF\xE2\x80", R"(a\n\t\x1b\\\x7f \xff\xe2\x80)"},
      {"\xC2\x80\xC2\x9b\u00AD\u034f\u061c\u115f\u1160", R"(\u0080\u009b\u00ad\u034f\u061c\u115f\u1160)"},
      {"\u17b4\u17b5\u180b\u180e\u180f\u200b\u200d", R"(\u17b4\u17b5\u180b\u180e\u180f\u200b\u200d)"},
      {"\u2028\u2029\u202e\u2066\u2800\u3164\ufeff", R"(\u2028\u2029\u202e\u2066\u2800\u3164\ufeff)"},
      {"\uffa0\U0001d173\U000e0001\U000e007f", R"(\uffa0\U0001d173\U000e0001\U000e007f)"},
      {"\u00E9e\u0301\U0001F600\u3000\U0010FFFF", "\u00E9e\u0301\U0001F600\u3000\U0010FFFF"},
      {"\u2764\uFE0Fx\uFE0F\uFE0E", "\u2764\uFE0Fx\\ufe0f\\ufe0e"},
  };
  for (const auto& [bytes, seen] : rows) EXPECT_EQ(shown(bytes), seen);
}

TEST(Text, ANameStandsFreeOrInQuotesThatItCannotEnd) {
  for (const char* name : {"a", "a b", "a/", "a:b", "a,b", "-a", "~", "[x]", "\u00E9\xFF"})
    EXPECT_EQ(freeName(name), name);
  for (const std::string name : {"", " ", " a", "a ", "a  b", "a, b", "a: b", "- a", "~ a", "a\u00A0b", "\u3000"}) {
    EXPECT_EQ(freeName(name), "'" + name + "'");
  }
  EXPECT_EQ(freeName(u"it's"), "'it''s'");
  EXPECT_EQ(inQuotes("'"), "''''");
}

TEST(Text, APatternThatCouldNotMatchIsRefusedWithWhatToDo) {
  const std::pair<std::string, std::vector<std::string>> rows[] = {{"empty", {"", "a//b", "//a", "a\\//b", "**//b"}},
                                                                   {"\\!", {"!"}},
                                                                   {"no name", {"!/", "//"}},
                                                                   {"\\#", {"#a"}},
                                                                   {"space", {"a ", " ", "a\\\\ "}},
                                                                   {"\\\\", {"a\\", "a\\/"}},
                                                                   {"\\[", {"[a", "[]", "[!"}},
                                                                   {"[...]", {"[[:a:]]", "[!\x01-\xFF]", "a[/]b"}},
                                                                   {"../", {"./a", "a/..", "\\./a"}},
                                                                   {"zero", {std::string("a\0b", 3)}},
                                                                   {"4,096", {std::string(4097, 'a')}}};
  for (const auto& [hint, patterns] : rows) {
    for (const auto& pattern : patterns) {
      const char* const fault = patternFault(pattern);
      EXPECT_NE(std::string(fault == nullptr ? "none" : fault).find(hint), std::string::npos)
          << pattern << ": " << fault;
    }
  }
  for (const std::string pattern : {"!#a", "a\\ ", "a /", "a\nb", "...", "[.]/a", "a]", "[]]", "[[:]", "\\#", "/**/"}) {
    EXPECT_EQ(patternFault(pattern), nullptr) << pattern;
  }
  EXPECT_EQ(patternFault(std::string(4096, 'a')), nullptr);
}

TEST(Text, TheLastPatternOfEachOwnerThatMatchesDecides) {
  const PatternTable table(
      {{2, "*.c"}, {1, "a"}, {2, "!/b/a.c"}, {1, "a.?"}, {2, "/b/a.c/"}, {1, "!x*y"}, {0, "b/"}, {2, "!*.c"}});
  std::vector<std::size_t> deciding = {7};
  const std::vector<std::tuple<std::string, bool, std::vector<std::size_t>>> rows = {
      {"x", false, {}}, {"a", false, {1}},        {"b", false, {}},
      {"b", true, {6}}, {"b/a.c", false, {3, 7}}, {"xy", true, {5}}};
  for (const auto& [path, isFolder, expected] : rows) {
    table.match(path, isFolder, deciding);
    EXPECT_EQ(deciding, expected) << path;
  }
}

TEST(HostFunctions, EveryKnownMessageHasTextsOfItsOwnWithItsArgument) {
  std::set<std::string> summaries = {errorOf("Unknown").what()};
  for (const std::string key : {"ExportProfileUuidNotFound", "ExportProfileNameNotUnique", "ExportProfileNameNotFound",
                                "ExportProfilesStartupFailure", "ExportProfileAlreadyExists"}) {
    EXPECT_TRUE(summaries.insert(errorOf(key).what()).second) << key;
    EXPECT_EQ(errorOf(key).GetID(), "ORCHID:project:sharing:" + key);
    const bool showsIt = errorOf(key).GetUnicodeMessageTxt().find(u"\u00E9t\u00E9") != std::u16string::npos;
    EXPECT_EQ(showsIt, key.find("Not") != std::string::npos) << key;
  }
  const ProjectError another{{}, {{u"a", 7L, "text"}, "somebody:else", "ExportProfileNameNotFound"}};
  EXPECT_EQ(another.GetUnicodeMessageTxt(), u"somebody:else:ExportProfileNameNotFound (a, 7, text)");
}

}  // namespace folder_host
