#include "folder_host/text/Patterns.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iterator>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "Fixture.h"

namespace folder_host {

namespace {

constexpr unsigned seed = 16;
constexpr std::size_t sets = 1000, pathsOfSet = 100;

using Texts = std::vector<std::string>;
using PatternList = std::vector<PatternTable::Pattern>;

Texts words(const std::string& text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), {}};
}

// Makes patterns and paths that come from one path of few letters, so that they often match.
class PatternMaker {
 public:
  explicit PatternMaker(unsigned start) : random_(start) {}

  // That fit a new path. Texts that are no patterns are counted only.
  PatternList patterns() {
    names_.clear();
    for (std::size_t count = 1 + below(4); count > 0; --count) names_.push_back(name());
    PatternList result;
    for (std::size_t count = 1 + below(4); result.size() < count;) {
      std::string text = pattern();
      if (patternFault(text) != nullptr) {
        ++faults;
      } else if (text.substr(0, 2) != "!!") {  // an attribute's pattern cannot begin with '!'
        result.push_back({0, std::move(text)});
      }
    }
    return result;
  }

  // One that is like the last new one. A folder has a '/' at its end.
  std::string path() {
    std::string result;
    for (const std::string& name : names_) {
      if (isOneIn(8)) result += this->name() + "/";
      if (!isOneIn(8)) result += (isOneIn(6) ? this->name() : name) + "/";
    }
    if (result.empty()) result = "a/";
    if (isOneIn(2)) result.pop_back();
    return result;
  }

  std::size_t faults = 0;

 private:
  std::size_t below(std::size_t limit) { return random_() % limit; }
  bool isOneIn(std::size_t count) { return below(count) == 0; }
  const std::string& oneOf(const Texts& texts) { return texts[below(texts.size())]; }

  std::string name() {
    std::string result;
    for (std::size_t count = 1 + below(3); count > 0; --count) result += isOneIn(6) ? oneOf(odd_) : oneOf(letters_);
    return result.find_first_not_of('.') == std::string::npos ? "b" : result;
  }

  std::string pattern() {
    std::string path = isOneIn(4) ? "/" : "";
    const std::size_t skipped = isOneIn(2) ? names_.size() - 1 : 0;
    for (std::size_t i = skipped; i < names_.size(); ++i) path += names_[i] + "/";
    if (!isOneIn(6)) path.pop_back();
    std::string result = isOneIn(3) ? "!" : "";
    for (const char byte : path) {
      if (isOneIn(4)) result += oneOf(wildcards_);
      if (!isOneIn(4)) result += byte;
    }
    return result;
  }

  std::mt19937 random_;
  const Texts letters_ = {"a", "a", "b", "c"}, odd_ = {".", "-", "]", " ", "#", "!", "\n", "\v", "\\", "\xC3"};
  const Texts wildcards_ = words(R"(* * * * ? ? ** **/ /** /**/ **\/ *** \ [ [^ [ab] [!a] [^b-c] [a-c] []-a] [a-] [\b]
    [\]-b] [/a] [.-/] [b-a] [[a] [[:a] [a-\c-] [!]b] [:a:] [[:lower:]] [a[:space:]-c] [.-a-c] [^[:cntrl:][:punct:]] [[:none:]])");
  Texts names_;
};

// In double quotes, in which a line of attributes takes any bytes.
std::string attributeLine(const std::string& pattern) {
  std::string line = "\"";
  for (const char byte : pattern.substr(isNegated(pattern) ? 1 : 0)) {
    if (byte == '"' || byte == '\\') line += '\\';
    line += byte == '\n' ? "\\n" : std::string(1, byte);
  }
  return line + (isNegated(pattern) ? "\" -x\n" : "\" x\n");
}

std::string verdictOf(const PatternList& patterns, const std::string& path) {
  std::vector<std::size_t> deciding;
  const bool isFolder = path.back() == '/';
  PatternTable(patterns).match({path.data(), path.size() - (isFolder ? 1 : 0)}, isFolder, deciding);
  if (deciding.empty()) return "unspecified";
  return isNegated(patterns[deciding.front()].text) ? "unset" : "set";
}

}  // namespace

using Patterns = FolderTest;

// Each set of patterns is the attributes of a folder of its own, so that git is asked once about them all.
TEST_F(Patterns, DecideLikeThoseOfGit) {
  PatternMaker maker(seed);
  std::string questions;
  Texts expected;
  std::map<std::string, std::size_t> verdicts;
  const Texts classes = words("alnum alpha blank cntrl digit graph lower print punct space upper xdigit");
  for (std::size_t set = 0; set < sets; ++set) {
    const bool isClass = set < classes.size();
    const auto patterns = isClass ? PatternList{{0, "[[:" + classes[set] + ":]]"}} : maker.patterns();
    const std::string folder = std::to_string(set) + "/";
    std::string attributes;
    for (const auto& pattern : patterns) attributes += attributeLine(pattern.text);
    put(folder + ".gitattributes", attributes);
    for (std::size_t i = 1; i <= (isClass ? 255 : pathsOfSet); ++i) {
      const std::string path = isClass ? std::string("a/") + static_cast<char>(i) : maker.path();
      if (path == "a/." || path == "a//") continue;
      const std::string verdict = verdictOf(patterns, path);
      ++verdicts[verdict];
      std::string answer = folder;
      answer.append(path).push_back('\0');
      questions += answer;
      answer.append("x\0", 2).append(verdict).push_back('\0');
      expected.push_back(std::move(answer));
    }
  }
  for (const auto& verdict : {"set", "unset", "unspecified"}) EXPECT_GT(verdicts[verdict], expected.size() / 20);
  EXPECT_GT(maker.faults, sets / 10);

  put("questions", questions);
  const std::string run = "cd '" + in(".") + R"(' && exec 2>errors && git() { env -i PATH="$PATH" GIT_ATTR_NOSYSTEM=1 \
    GIT_CONFIG_NOSYSTEM=1 GIT_CONFIG_GLOBAL=/dev/null git "$@"; } && git init -q --template= . &&
    git check-attr --stdin -z x <questions >answers)";
  // NOLINTNEXTLINE(cert-env33-c): nothing of it comes from outside
  ASSERT_EQ(std::system(run.c_str()), 0) << read(in("errors"));
  const std::string answers = read(in("answers"));
  std::size_t at = 0;
  for (const std::string& answer : expected) {
    ASSERT_EQ(answers.substr(at, answer.size()), answer)
        << "seed " << seed << ", " << read(in(answer.substr(0, answer.find('/')) + "/.gitattributes"));
    at += answer.size();
  }
  EXPECT_EQ(read(in("errors")), "");
}

}  // namespace folder_host
