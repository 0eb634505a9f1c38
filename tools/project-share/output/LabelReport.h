#pragma once

#include <string>
#include <vector>

#include "folder_host/labels/LabelSources.h"
#include "folder_host/share/WorkingCopy.h"
#include "output/Json.h"

// Where the label of a path comes from, or what keeps it from having one, in words.
namespace project_share {

// "attached", "from 'drafts/'", "by the rule '*.tmp'", "by the rule 'drafts/', which matches 'drafts/'"; "excepted",
// "excepted with 'drafts/'", "excepted by the rule '!a'"; of nothing, "not labelled".
std::string textOf(const folder_host::LabelSource& source, const std::string& path);

// {"kind": "attached" | "folder" | "rule" | "exception" | "negated-rule" | "none"}, with "at" and "rule" where it has
// them.
Json jsonOf(const folder_host::LabelSource& source, const std::string& path);

// Of a label that an entry had under another name: "followed from 'drafts/plan.txt'".
std::string followedText(const std::string& from);
Json jsonOfFollowed(const std::string& from);

// The labels that the entry has, and those that it had under another name and has no more, by name, each with
// where it comes from: "audience/internal  from 'drafts/'".
std::vector<std::string> labelTextsOf(const folder_host::WorkingCopy& project, std::size_t entry);
Json jsonOfLabels(const folder_host::WorkingCopy& project, std::size_t entry);

}  // namespace project_share
