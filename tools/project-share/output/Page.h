#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "folder_host/share/WorkingCopy.h"
#include "judgement/Judgement.h"

namespace project_share {

// What has changed since an earlier share.
struct PageChanges {
  struct List {
    std::string title;
    std::vector<std::string> paths;
  };
  std::string text;  // empty: there is nothing to compare with
  std::vector<List> lists = {};
};

// What a page tells of. All of it outlives the call.
struct PageContent {
  const folder_host::WorkingCopy& project;  // before any filter
  const Judgement& judgement;
  const std::vector<Risk>& refused;  // risks for which a share is refused
  const std::vector<Risk>& allowed;  // risks that are allowed
  const std::vector<Risk>& notes;
  PageChanges changes;
  std::string time;     // when it was looked at
  std::string digest;   // of the judgement, in hexadecimal digits
  std::string command;  // that shares what was judged, and nothing else
};

// An HTML page about a share, for whoever is to look at it before it is made: all entries, whatever part of them is
// shown elsewhere. It is read in any browser, alone: it has no script, loads nothing and leads nowhere, and its own
// policy forbids all of that to whatever could get into it. A name is text, as folder_host/text/Printable.h shows it.
void writePage(const PageContent& content, const std::function<void(std::string_view)>& put);

// The first 128 bits of a digest in groups that can be read out: "0f3c-…".
std::string inGroups(const std::string& digest);

}  // namespace project_share
