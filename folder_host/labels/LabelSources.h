#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "folder_host/store/LabelStore.h"
#include "folder_host/text/Patterns.h"

namespace folder_host {

// Labels by their index in LabelSources::labels(), ascending.
using LabelSet = std::vector<std::size_t>;

// What decides whether a path has a label.
struct LabelSource {
  enum class Kind { nothing, mark, exception, rule, negatedRule };
  Kind kind = Kind::nothing;
  std::string at;       // the path of the mark, or that which the rule matches: the path itself, or a folder above it
  std::string pattern;  // of the rule

  bool gives() const noexcept { return kind == Kind::mark || kind == Kind::rule; }
};

// The marks and rules of a project, asked about paths, whatever stands there. Labels are meant by their index in
// labels(). A folder above a path counts as one.
class LabelSources {
 public:
  // As the store has them now.
  explicit LabelSources(const LabelStore& labels);

  // By UUID.
  const std::vector<LabelRecord>& labels() const noexcept { return labels_; }
  std::optional<std::size_t> find(const std::u16string& uuid) const;
  // Those of the UUIDs that there are.
  LabelSet setOf(const std::vector<std::u16string>& uuids) const;

  using Marks = std::map<std::pair<std::string, std::size_t>, MarkKind>;  // by path and label
  const Marks& marks() const noexcept { return marks_; }
  // The mark on the path itself.
  std::optional<MarkKind> markOn(const std::string& path, std::size_t label) const;
  // Changes what is asked here, not the store.
  void put(const std::string& path, std::size_t label, MarkKind kind) { marks_[{path, label}] = kind; }
  void remove(const std::string& path, std::size_t label) { marks_.erase({path, label}); }

  struct Rule {
    std::size_t label;
    std::string pattern;
  };
  // By label, those of one label in their order.
  const std::vector<Rule>& rules() const noexcept { return rules_; }
  const PatternTable& patterns() const noexcept { return patterns_; }  // its owners are labels

  // Any mark that reaches the path wins over rules.
  LabelSource sourceOf(const std::string& path, bool isFolder, std::size_t label) const;
  // All that the path has.
  LabelSet labelsOf(const std::string& path, bool isFolder) const;
  // As if there were no mark.
  LabelSource ruleFor(const std::string& path, bool isFolder, std::size_t label) const;

 private:
  std::vector<LabelRecord> labels_;
  Marks marks_;
  std::vector<Rule> rules_;
  PatternTable patterns_;
};

// The label's exceptions, in both, that had something to except from before an edit and have nothing any more after it:
// what gave it there was removed.
std::vector<std::string> exceptionsMadeIdle(LabelSources before, LabelSources after, std::size_t label);

}  // namespace folder_host
