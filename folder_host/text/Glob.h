#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace folder_host {

// One pattern (Patterns.h), read once and then asked about many paths.
class Glob {
 public:
  // The bytes of a text and the pairs that stand together in it; others may share a mark with them.
  using Marks = std::bitset<256>;

  // A path that many patterns are asked about.
  struct Candidate {
    Candidate(std::string_view ofPath, bool ofFolder);

    std::string_view path, name;
    Marks marksOfPath, marksOfName;
    bool isFolder;
  };

  // In a text with a fault, only fault() means anything.
  explicit Glob(std::string_view pattern);

  const char* fault() const { return fault_; }
  bool isFoldersOnly() const { return isFoldersOnly_; }

  // Where all it asks for is an ending of "//" and the path, this ending: "//a/b" of "/a/b", "/a" of "a", ".a" of
  // "*.a".
  std::optional<std::string> onlyEnding() const;

  bool matches(const Candidate& candidate) const;

 private:
  friend class GlobReader;

  enum class Kind : std::uint8_t {
    byte,
    any,      // byte but '/'
    set,      // of bytes, without '/'
    star,     // any bytes but '/'
    folders,  // nothing, or any bytes with a '/' behind them
  };
  struct Token {
    Kind kind;
    char byte;
    std::uint16_t set;
  };

  bool matchesRest(std::string_view text) const;
  bool takes(const Token& token, char byte) const;
  std::size_t skipped(std::string_view text, std::size_t at, std::size_t token) const;

  const char* fault_ = nullptr;
  bool isFoldersOnly_ = false, isOfPath_ = false;
  Marks needed_;
  std::string beginning_, ending_;  // bytes that stand for themselves; the tokens have the ending, too
  std::vector<Token> tokens_;       // behind the beginning
  std::vector<std::bitset<256>> sets_;
};

}  // namespace folder_host
