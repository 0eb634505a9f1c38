#include "folder_host/text/Glob.h"

#include <algorithm>
#include <array>

namespace folder_host {

namespace {

using ByteSet = std::bitset<256>;

constexpr std::size_t maximalPattern = 4096;
constexpr std::string_view wildcards = "*?[\\";

constexpr const char* unclosedSet = "a [ in it is never closed; write \\[ for the character";
constexpr const char* emptySet = "one of its [...] matches nothing";

// The first and the last byte of each range. The classes are those of ASCII, whatever the locale.
constexpr std::array<std::pair<std::string_view, std::string_view>, 12> classes = {{{"alnum", "09AZaz"},
                                                                                    {"alpha", "AZaz"},
                                                                                    {"blank", "\t\t  "},
                                                                                    {"cntrl", "\x01\x1f\x7f\x7f"},
                                                                                    {"digit", "09"},
                                                                                    {"graph", "!~"},
                                                                                    {"lower", "az"},
                                                                                    {"print", " ~"},
                                                                                    {"punct", "!/:@[`{~"},
                                                                                    {"space", "\t\n\r\r  "},
                                                                                    {"upper", "AZ"},
                                                                                    {"xdigit", "09AFaf"}}};

Glob::Marks marksOf(std::string_view text) {
  Glob::Marks marks;
  std::size_t before = 0;
  for (const char character : text) {
    const std::size_t byte = static_cast<unsigned char>(character);
    marks.set(byte);
    if (before != 0) marks.set((before * 37 + byte * 5) % marks.size());
    before = byte;
  }
  return marks;
}

void addRange(ByteSet& set, char first, char last) {
  for (std::size_t byte = static_cast<unsigned char>(first); byte <= static_cast<unsigned char>(last); ++byte) {
    set.set(byte);
  }
}

// Whether there is such a class.
bool addClass(ByteSet& set, std::string_view name) {
  const auto* const found =
      std::find_if(classes.begin(), classes.end(), [&](const auto& known) { return known.first == name; });
  if (found == classes.end()) return false;
  for (std::size_t i = 0; i < found->second.size(); i += 2) addRange(set, found->second[i], found->second[i + 1]);
  return true;
}

// Reads what is between brackets.
class SetReader {
 public:
  SetReader(std::string_view text, std::size_t at) : text_(text), at_(at) {}

  // From behind '[' to behind ']'. Returns the fault, if there is one.
  const char* read(ByteSet& set) {
    const bool isNegated = at_ < text_.size() && (text_[at_] == '!' || text_[at_] == '^');
    if (isNegated) ++at_;
    for (bool isFirst = true; isFirst || at_ >= text_.size() || text_[at_] != ']'; isFirst = false) {
      if (const char* const fault = readItem(set)) return fault;
    }
    ++at_;
    if (isNegated) set.flip();
    set.reset('/').reset(0);
    return set.none() ? emptySet : nullptr;
  }

  std::size_t at() const { return at_; }

 private:
  const char* readItem(ByteSet& set) {
    if (text_.substr(at_, 2) == "[:") {
      const std::size_t end = text_.find(']', at_ + 2);
      if (end == std::string_view::npos) return unclosedSet;
      if (end > at_ + 2 && text_[end - 1] == ':') {
        const std::string_view name = text_.substr(at_ + 2, end - at_ - 3);
        at_ = end + 1;
        first_ = '\0';
        return addClass(set, name) ? nullptr : emptySet;
      }
    }
    const bool isRange = first_ != '\0' && at_ + 1 < text_.size() && text_[at_] == '-' && text_[at_ + 1] != ']';
    if (isRange) ++at_;
    if (at_ < text_.size() && text_[at_] == '\\') ++at_;
    if (at_ >= text_.size()) return unclosedSet;
    const char byte = text_[at_++];
    addRange(set, isRange ? first_ : byte, byte);
    first_ = isRange ? '\0' : byte;
    return nullptr;
  }

  std::string_view text_;
  std::size_t at_;
  char first_ = '\0';  // with which a range could begin, unless zero
};

const char* faultOfWhole(std::string_view pattern) {
  if (pattern.empty()) return "it is empty";
  if (pattern.size() > maximalPattern) return "it has more than 4,096 bytes";
  if (pattern.find('\0') != std::string_view::npos) return "it holds a zero byte";
  if (pattern.front() == '#') return "it would be a comment; write \\# for the character";
  if (pattern == "!") return "nothing follows the !; write \\! for the character";
  const std::string_view body = pattern.substr(pattern.front() == '!' ? 1 : 0);
  return body.find_first_not_of('/') == std::string_view::npos ? "it has no name" : nullptr;
}

}  // namespace

// Makes tokens of a text.
class GlobReader {
 public:
  GlobReader(Glob& glob, std::string_view pattern) : glob_(glob), text_(pattern) {
    if (text_.front() == '!') text_.remove_prefix(1);
    glob_.isFoldersOnly_ = text_.back() == '/';
    if (glob_.isFoldersOnly_) text_.remove_suffix(1);
    glob_.isOfPath_ = text_.find('/') != std::string_view::npos;
    if (text_.front() == '/') text_.remove_prefix(1);
    firstWildcard_ = text_.find_first_of(wildcards);
  }

  void read() {
    while (at_ < text_.size() && glob_.fault_ == nullptr) readToken();
    if (glob_.fault_ != nullptr) return;
    if (text_.back() == ' ' && !isEscaped_ && !glob_.isFoldersOnly_) {
      glob_.fault_ = "the space at its end would not count; write \\ before it";
    }
    endName();
    finish();
  }

 private:
  using Kind = Glob::Kind;

  void readToken() {
    const char byte = text_[at_];
    isEscaped_ = byte == '\\';
    if (byte == '*') return readStars();
    if (byte == '[') return readSet();
    ++at_;
    if (byte == '?') return addWildcard(Kind::any);
    if (!isEscaped_) return addByte(byte);
    if (at_ == text_.size()) {
      glob_.fault_ = "nothing follows the \\ at its end; write \\\\ for the character";
    } else {
      addByte(text_[at_++]);
    }
  }

  // Several stars cross folders only where they are all between two '/', or between one and an end. Where the wildcards
  // begin is an end, too: "a**/b" is "a" and then "**/b".
  void readStars() {
    const std::size_t begin = at_;
    at_ = std::min(text_.find_first_not_of('*', begin), text_.size());
    const std::string_view rest = text_.substr(at_);
    const bool isBegun = begin == firstWildcard_ || text_[begin - 1] == '/';
    if (at_ - begin < 2 || !isBegun) return addWildcard(Kind::star);
    if (rest.empty()) {
      addWildcard(Kind::folders);
      addWildcard(Kind::star);
    } else if (rest.front() == '/') {
      ++at_;
      addWildcard(Kind::folders);
      endName();
    } else if (rest.substr(0, 2) == "\\/") {  // one folder or more
      at_ += 2;
      addWildcard(Kind::star);
      addByte('/');
      addWildcard(Kind::folders);
      name_.clear();
    } else {
      addWildcard(Kind::star);
    }
  }

  void readSet() {
    SetReader reader(text_, at_ + 1);
    glob_.fault_ = reader.read(glob_.sets_.emplace_back());
    at_ = reader.at();
    addWildcard(Kind::set);
  }

  void addByte(char byte) {
    if (byte == '/') {
      endName();
    } else {
      name_ += byte;
    }
    if (glob_.tokens_.empty()) {
      glob_.beginning_ += byte;
    } else {
      glob_.tokens_.push_back({Kind::byte, byte, 0});
      glob_.ending_ += byte;
    }
  }

  void addWildcard(Kind kind) {
    name_ += '*';
    glob_.needed_ |= marksOf(glob_.ending_);
    glob_.ending_.clear();
    glob_.tokens_.push_back({kind, '\0', static_cast<std::uint16_t>(kind == Kind::set ? glob_.sets_.size() - 1 : 0)});
  }

  void endName() {
    if (name_.empty()) glob_.fault_ = "one of its names is empty; write one / only";
    if (name_ == "." || name_ == "..") glob_.fault_ = "paths begin at the project's folder, without ./ and ../";
    name_.clear();
  }

  // A name in any folder is looked for in the name alone.
  void finish() {
    glob_.needed_ |= marksOf(glob_.beginning_) | marksOf(glob_.ending_);
    auto& tokens = glob_.tokens_;
    if (!glob_.beginning_.empty() || tokens.empty() || tokens.front().kind != Kind::folders) return;
    const bool hasMore = std::any_of(tokens.begin() + 1, tokens.end(), [](const auto& token) {
      return token.kind == Kind::folders || token.byte == '/';
    });
    if (hasMore) return;
    tokens.erase(tokens.begin());
    glob_.isOfPath_ = false;
  }

  Glob& glob_;
  std::string_view text_;
  std::size_t at_ = 0, firstWildcard_ = 0;
  std::string name_;  // what was read of it, with '*' for any wildcard
  bool isEscaped_ = false;
};

Glob::Candidate::Candidate(std::string_view ofPath, bool ofFolder)
    : path(ofPath),
      name(ofPath.substr(ofPath.rfind('/') + 1)),
      marksOfPath(marksOf(path)),
      marksOfName(marksOf(name)),
      isFolder(ofFolder) {}

Glob::Glob(std::string_view pattern) : fault_(faultOfWhole(pattern)) {
  if (fault_ == nullptr) GlobReader(*this, pattern).read();
}

std::optional<std::string> Glob::onlyEnding() const {
  std::string ending = (isOfPath_ ? "//" : "/") + beginning_;
  auto token = tokens_.begin();
  if (beginning_.empty() && token != tokens_.end()) {
    const bool isInAnyFolder = token->kind == Kind::folders;
    if (!isInAnyFolder && (token->kind != Kind::star || isOfPath_)) return {};
    ending = isInAnyFolder ? "/" : "";
    ++token;
  }
  for (; token != tokens_.end(); ++token) {
    if (token->kind != Kind::byte) return {};
    ending += token->byte;
  }
  return ending;
}

bool Glob::matches(const Candidate& candidate) const {
  if ((needed_ & ~(isOfPath_ ? candidate.marksOfPath : candidate.marksOfName)).any()) return false;
  if (isFoldersOnly_ && !candidate.isFolder) return false;
  std::string_view text = isOfPath_ ? candidate.path : candidate.name;
  if (text.size() < beginning_.size() + ending_.size()) return false;
  if (text.substr(text.size() - ending_.size()) != ending_) return false;
  if (text.substr(0, beginning_.size()) != beginning_) return false;
  text.remove_prefix(beginning_.size());
  return matchesRest(text);
}

// Only the last star and the last folders are ever tried again: what stands before them is best matched by as little of
// the text as possible. A star cannot pass a '/', so it is done with behind one.
bool Glob::matchesRest(std::string_view text) const {
  constexpr std::size_t none = std::string_view::npos;
  std::size_t afterStar = none, star = 0, afterFolders = none, folders = 0, token = 0, at = 0;
  while (token < tokens_.size() || at < text.size()) {
    if (token < tokens_.size()) {
      const Kind kind = tokens_[token].kind;
      if (kind == Kind::star) {
        afterStar = ++token;
        star = at = skipped(text, at, token);
        continue;
      }
      if (kind == Kind::folders) {
        afterFolders = ++token;
        folders = at;
        continue;
      }
      if (at == text.size()) return false;  // any other try would have even less
      if (takes(tokens_[token++], text[at])) {
        if (text[at++] == '/') afterStar = none;
        continue;
      }
    }
    if (afterStar != none && text[star] != '/') {
      token = afterStar;
      star = at = skipped(text, star + 1, token);
    } else {
      folders = afterFolders == none ? none : text.find('/', folders);
      if (folders == none) return false;
      at = ++folders;
      token = afterFolders;
    }
  }
  return true;
}

// The first place from `at` on that the star before the token could end at.
std::size_t Glob::skipped(std::string_view text, std::size_t at, std::size_t token) const {
  const bool isLast = token == tokens_.size();
  if (!isLast && tokens_[token].kind != Kind::byte) return at;
  const char wanted = isLast ? '/' : tokens_[token].byte;
  while (at < text.size() && text[at] != wanted && text[at] != '/') ++at;
  return at;
}

bool Glob::takes(const Token& token, char byte) const {
  if (token.kind == Kind::byte) return token.byte == byte;
  if (token.kind == Kind::any) return byte != '/';
  return sets_[token.set].test(static_cast<unsigned char>(byte));
}

}  // namespace folder_host
