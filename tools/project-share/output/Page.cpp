#include "output/Page.h"

#include <fmt/format.h>

#include <array>
#include <set>

#include "folder_host/files/Digest.h"
#include "folder_host/share/read/FirstBytes.h"
#include "folder_host/text/Printable.h"
#include "output/EntryReport.h"
#include "output/Json.h"
#include "output/LabelReport.h"
#include "output/Output.h"
#include "output/Report.h"
#include "output/View.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"
#include "words/Names.h"
#include "words/Profiles.h"

namespace project_share {

using folder_host::Entry;
using folder_host::EntryKind;

namespace {

// Elements, and no classes, tell in the tree what is what: there may be very many of them. On paper, what was folded by
// hand on the way to what is held back is unfolded, as far as the browser can.
constexpr const char* STYLE = R"(
:root{color-scheme:light dark;--ink:#1b1b1b;--soft:#565656;--held:#9a1515;--warn:#704400;--line:#b9b9b9;--back:#fff}
@media screen and (prefers-color-scheme:dark){
:root{--ink:#e9e9e9;--soft:#b0b0b0;--held:#ff9d93;--warn:#f0c060;--line:#555;--back:#161616}}
body{font:1rem/1.5 system-ui,sans-serif;color:var(--ink);background:var(--back);max-width:64rem;margin:0 auto;
padding:1rem;overflow-wrap:anywhere}
h1{font-size:1.6rem;line-height:1.25}h2{font-size:1.2rem;margin-top:2rem;border-bottom:1px solid var(--line)}
bdi{white-space:pre-wrap}
a{color:inherit}a:focus-visible,summary:focus-visible{outline:3px solid}
.skip{position:absolute;left:-99rem}.skip:focus{position:static}
.risks strong,em{color:var(--warn)}em,i{font-style:normal}
b{color:var(--held)}i,small{color:var(--soft)}small{font-size:.9em}
table{border-collapse:collapse}th,td{text-align:right;padding:.2rem .8rem;border:1px solid var(--line)}
th:first-child{text-align:left}
.tree,.tree ul{list-style-type:"";padding-left:1.3rem}.tree{padding-left:0}
.tree ul{border-left:1px solid var(--line);margin-left:.3rem}summary{cursor:pointer}
code{font-family:ui-monospace,monospace;white-space:pre-wrap}.digest{font-size:1.3rem}
@media(max-width:40rem){.tree ul{padding-left:.6rem}}
@media print{.skip{display:none}body{max-width:none;padding:0}summary,h2{break-after:avoid}
details.way::details-content{content-visibility:visible;block-size:auto}}
)";

// A browser's parser takes so many elements in one another; what lies deeper stands beside what it lies in.
constexpr std::size_t DEEPEST_PART = 100;

std::string escaped(std::string_view text) {
  std::string result;
  for (const char c : folder_host::shown(text)) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      case '\'':
        result += "&#39;";
        break;
      default:
        result += c;
    }
  }
  return result;
}

// Apart from what stands around it, whichever way it is written.
std::string isolated(std::string_view text) { return "<bdi>" + escaped(text) + "</bdi>"; }

class Page {
 public:
  Page(const PageContent& content, const std::function<void(std::string_view)>& put)
      : content_(content),
        judgement_(content.judgement),
        report_(content.project, content.judgement),
        below_(countedBelow(content.project, content.judgement)),
        put_(put) {}

  void write() {
    begin();
    findings("What speaks against it", content_.refused, "Nothing that was looked for.");
    findings("What speaks against it and is allowed", content_.allowed);
    findings("What is worth knowing", content_.notes);
    changes();
    skipped();
    numbers();
    labels();
    filters();
    tree();
    end();
  }

 private:
  void begin() {
    // Only this style holds, by its digest.
    const std::string policy = "default-src 'none'; base-uri 'none'; form-action 'none'; style-src 'sha256-" +
                               folder_host::base64Of(*bytesOf(folder_host::sha256Of(std::string_view(STYLE)))) + "'";
    const std::string title = fmt::format("What a share by profile {} would hand out", inQuotes(judgement_.name));
    const std::size_t shared = judgement_.shared.size();
    put_(folder_host::PAGE_HEAD);
    put_(fmt::format(R"(<html lang="en">
<head>
<meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="{}">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>{}</title>
<style>{}</style>
</head>
<body>
<a class="skip" href="#tree">To the tree</a> <a class="skip" href="#digest">To the digest</a>
<main>
<h1>{}</h1>
<p>Of {}, {} of {} {} shared. {}</p>
<p>Looked at: {}. This page tells what is held back. It is for whoever may know that.</p>
)",
                     policy, escaped(title), STYLE, isolated(title), isolated(scopeText(content_.project)), shared,
                     counted(judgement_.entries, "entry", "entries"), shared == 1 ? "is" : "are",
                     content_.refused.empty() ? "Nothing stops the share."
                                              : "The share is refused for the risks that come first here.",
                     escaped(content_.time)));
  }

  void heading(std::string_view title) { put_(fmt::format("<h2>{}</h2>\n", title)); }

  void findings(std::string_view title, const std::vector<Risk>& found, std::string_view otherwise = {}) {
    if (found.empty() && otherwise.empty()) return;
    heading(title);
    if (found.empty()) return put_(fmt::format("<p>{}</p>\n", otherwise));
    put_("<ul class=\"risks\">\n");
    for (const Risk& risk : found) {
      put_(fmt::format("<li><strong>{}</strong>: {}</li>\n", escaped(risk.identifier), isolated(messageOf(risk))));
    }
    put_("</ul>\n");
  }

  void changes() {
    if (content_.changes.text.empty()) return;
    heading("What has changed");
    put_(fmt::format("<p>{}</p>\n", isolated(content_.changes.text)));
    for (const auto& [title, paths] : content_.changes.lists) {
      if (paths.empty()) continue;
      put_(fmt::format("<details open><summary>{}: {}</summary><ul>\n", escaped(title), paths.size()));
      for (const std::string& path : paths) put_(fmt::format("<li>{}</li>\n", isolated(freeName(path))));
      put_("</ul></details>\n");
    }
  }

  void skipped() {
    const auto& paths = content_.project.listing().skipped;
    if (paths.empty()) return;
    heading("No file, folder or link, and so never shared");
    put_("<ul>\n");
    for (const std::string& path : paths) put_(fmt::format("<li>{}</li>\n", isolated(freeName(path))));
    put_("</ul>\n");
  }

  void numbers() {
    const auto& entries = content_.project.listing().entries;
    const folder_host::Selection inside = content_.project.inScope();
    std::array<std::array<std::size_t, 2>, 3> counts{};  // by kind: shared, held back
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (inside[i]) ++counts[static_cast<std::size_t>(entries[i].kind)][isShared(i) ? 0 : 1];
    }
    heading("In numbers");
    put_(
        "<table>\n<tr><th scope=\"col\">What</th><th scope=\"col\">shared</th><th scope=\"col\">held back</th></tr>\n");
    for (const EntryKind kind : {EntryKind::file, EntryKind::folder, EntryKind::link}) {
      const auto [shared, heldBack] = counts[static_cast<std::size_t>(kind)];
      put_(fmt::format("<tr><th scope=\"row\">{}s</th><td>{}</td><td>{}</td></tr>\n", wordOf(kind), shared, heldBack));
    }
    put_("</table>\n");
  }

  void labels() {
    heading("Labels");
    put_(fmt::format("<p>{}</p>\n", isolated(textOf(judgement_.leaving))));
    std::set<std::size_t> removed;
    for (const FilterEffect& filter : judgement_.filters) {
      removed.insert(filter.labelsRemoved.begin(), filter.labelsRemoved.end());
    }
    if (removed.empty()) return;
    put_(fmt::format("<p>{}</p>\n", isolated("Labels that are removed from the copy: " +
                                             namesOf(judgement_, {removed.begin(), removed.end()}))));
  }

  void filters() {
    heading("Filters");
    if (judgement_.filters.empty()) return put_("<p>There is none: all is shared.</p>\n");
    put_("<ul>\n");
    for (std::size_t i = 1; i <= judgement_.filters.size(); ++i) {
      put_(fmt::format("<li>{}</li>\n", isolated(textOfFilter(judgement_, i))));
    }
    put_("</ul>\n");
  }

  void tree() {
    put_("<h2 id=\"tree\">The tree</h2>\n<ul class=\"tree\">\n");
    std::size_t open = 0;
    for (const ViewLine& line : viewOf(content_.project, judgement_, {})) {
      for (; open > line.indent; --open) put_("</ul></details></li>\n");
      const Below& below = below_[line.entry];
      const bool isDeep = line.indent >= DEEPEST_PART;
      if (isDeep || below.shared + below.heldBack == 0) {
        put_("<li>" + entryText(line.entry, isDeep) + "</li>\n");
        continue;
      }
      // Open on the way to what is held back. In a folder that is held back itself there is nothing else.
      put_(isShared(line.entry) && below.heldBack > 0 ? "<li><details class=\"way\" open><summary>"
                                                      : "<li><details><summary>");
      put_(entryText(line.entry, false));
      put_(fmt::format("; <small>{} shared and {} held back below</small></summary><ul>\n", below.shared,
                       below.heldBack));
      ++open;
    }
    for (; open > 0; --open) put_("</ul></details></li>\n");
    put_("</ul>\n");
  }

  std::string entryText(std::size_t entry, bool isDeep) const {
    const Entry& listed = content_.project.table()[entry];
    const std::string name = isDeep ? listed.path : listed.path.substr(listed.path.rfind('/') + 1);
    std::string line = isolated(freeName(name + (listed.kind == EntryKind::folder ? "/" : "")));
    if (listed.kind == EntryKind::link) line += " <small>(a link to " + isolated(inQuotes(listed.target)) + ")</small>";
    const Reason& reason = judgement_.reasons[entry];
    if (reason.rule != Reason::Rule::none) {
      line += " <b>held back</b>; <small>" + isolated(textOf(judgement_, reason)) + "</small>";
    } else {
      line += " <i>shared</i>";
      if (const Spared* spared = sparedOf(judgement_, listed)) {
        line += "; <em>" + isolated(textOf(judgement_, *spared)) + "</em>";
      }
    }
    for (const std::string& exception : report_.exceptionsOf(entry)) line += "; <em>" + isolated(exception) + "</em>";
    const std::vector<std::string> labels = labelTextsOf(content_.project, entry);
    if (labels.empty()) return line;
    return line + "; <small>" + (labels.size() == 1 ? "label: " : "labels: ") +
           isolated(fmt::format("{}", fmt::join(labels, "; "))) + "</small>";
  }

  void end() {
    put_(fmt::format(R"(<h2 id="digest">To share just this</h2>
<p>The digest of all that this page tells, to be compared or read out:</p>
<p class="digest"><code>{}</code></p>
<p>In full: <code>{}</code></p>
<p>This command shares what this page tells, and refuses where anything of that has changed by then:</p>
<p><code>{}</code></p>
</main>
</body>
</html>
)",
                     inGroups(content_.digest), escaped(content_.digest), escaped(content_.command)));
  }

  bool isShared(std::size_t entry) const { return judgement_.reasons[entry].rule == Reason::Rule::none; }

  const PageContent& content_;
  const Judgement& judgement_;
  const EntryReport report_;
  const std::vector<Below> below_;
  const std::function<void(std::string_view)>& put_;
};

}  // namespace

void writePage(const PageContent& content, const std::function<void(std::string_view)>& put) {
  Page(content, put).write();
}

std::string inGroups(const std::string& digest) {
  constexpr std::size_t SHOWN = 32, GROUP = 4;
  std::string groups;
  for (std::size_t i = 0; i < SHOWN && i < digest.size(); i += GROUP) {
    groups += (i > 0 ? "-" : "") + digest.substr(i, GROUP);
  }
  return groups;
}

}  // namespace project_share
