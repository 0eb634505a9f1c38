#include "output/LabelReport.h"

#include <fmt/format.h>

#include <algorithm>

#include "words/Labels.h"
#include "words/Names.h"

namespace project_share {

using folder_host::LabelSource;

namespace {

std::string folderName(const std::string& path) { return inQuotes(path.empty() ? "./" : path + "/"); }

// A label that the entry has or, where `from` is set, had there.
struct Carried {
  const folder_host::LabelRecord* label;
  LabelSource source;
  const std::string* from;
};

std::vector<Carried> carriedBy(const folder_host::WorkingCopy& project, std::size_t entry) {
  const folder_host::Entry& listed = project.table()[entry];
  const auto& sources = project.effective().sources();
  const folder_host::LabelSet has = project.effective().of(entry);
  std::vector<Carried> carried;
  for (const std::size_t label : has) {
    carried.push_back({&sources.labels()[label],
                       sources.sourceOf(listed.path, listed.kind == folder_host::EntryKind::folder, label), nullptr});
  }
  const auto differs = project.followed().differing().find(entry);
  const folder_host::LabelSet had = differs != project.followed().differing().end() ? differs->second.labels : has;
  for (const std::size_t label : had) {
    if (std::binary_search(has.begin(), has.end(), label)) continue;
    carried.push_back({&sources.labels()[label], {}, &differs->second.from});
  }
  std::sort(carried.begin(), carried.end(),
            [](const Carried& a, const Carried& b) { return nameOf(*a.label) < nameOf(*b.label); });
  return carried;
}

}  // namespace

std::string textOf(const LabelSource& source, const std::string& path) {
  const bool isOwn = source.at == path;
  switch (source.kind) {
    case LabelSource::Kind::nothing:
      return "not labelled";
    case LabelSource::Kind::mark:
      return isOwn ? "attached" : "from " + folderName(source.at);
    case LabelSource::Kind::exception:
      return isOwn ? "excepted" : "excepted with " + folderName(source.at);
    case LabelSource::Kind::rule:
    case LabelSource::Kind::negatedRule:
      break;
  }
  return fmt::format("{} the rule {}{}", source.gives() ? "by" : "excepted by", inQuotes(source.pattern),
                     isOwn ? "" : ", which matches " + folderName(source.at));
}

Json jsonOf(const LabelSource& source, const std::string& path) {
  const char* kind = "none";
  if (source.kind == LabelSource::Kind::mark) kind = source.at == path ? "attached" : "folder";
  if (source.kind == LabelSource::Kind::exception) kind = "exception";
  if (source.kind == LabelSource::Kind::rule) kind = "rule";
  if (source.kind == LabelSource::Kind::negatedRule) kind = "negated-rule";
  Json object{{"kind", kind}};
  if (source.kind != LabelSource::Kind::nothing) putPath(object, "at", source.at);
  if (!source.pattern.empty()) object["rule"] = utf8(source.pattern);
  return object;
}

std::vector<std::string> labelTextsOf(const folder_host::WorkingCopy& project, std::size_t entry) {
  std::vector<std::string> texts;
  for (const auto& [label, source, from] : carriedBy(project, entry)) {
    const std::string whence = from != nullptr ? followedText(*from) : textOf(source, project.table()[entry].path);
    texts.push_back(freeName(nameOf(*label)) + "  " + whence);
  }
  return texts;
}

Json jsonOfLabels(const folder_host::WorkingCopy& project, std::size_t entry) {
  Json labels = Json::array();
  for (const auto& [label, source, from] : carriedBy(project, entry)) {
    labels.push_back(jsonOf(*label));
    labels.back()["source"] = from != nullptr ? jsonOfFollowed(*from) : jsonOf(source, project.table()[entry].path);
  }
  return labels;
}

std::string followedText(const std::string& from) {
  return from.empty() ? "of what had its name" : "followed from " + inQuotes(from);
}

Json jsonOfFollowed(const std::string& from) {
  Json object{{"kind", "followed"}};
  if (!from.empty()) putPath(object, "from", from);
  return object;
}

}  // namespace project_share
