#include <algorithm>
#include <cstdlib>
#include <map>
#include <random>
#include <set>

#include "Environment.h"
#include "PlainFilters.h"
#include "RandomProject.h"
#include "folder_host/Fixture.h"
#include "folder_host/FolderProject.h"
#include "folder_host/files/Path.h"
#include "folder_host/labels/Following.h"
#include "project/sharing/profiles/ExportFilter.h"

namespace hand_out {

namespace fs = std::filesystem;

using namespace folder_host;
using namespace project::sharing::profiles;

namespace {

using Paths = std::vector<std::string>;

bool isAtOrBelow(const std::string& path, const std::string& top) {
  return folder_host::isAtOrBelow(path, std::set<std::string>{top});
}

// A project in which people work, and which they share now and then. What each document's labels are is known here by
// one rule: they are those of the place where somebody put it or labelled it, and stay when it goes elsewhere.
class Week {
 public:
  Week(std::string folder, unsigned seed, std::map<std::string, std::size_t>& counts)
      : folder_(std::move(folder)), random_(seed), counts_(counts), project_(FolderProject::init(folder_)) {
    for (const char16_t* name : {u"a", u"b"}) labels_.push_back(project_.labels().create(u"c", name));
  }

  // Ends where a share is refused.
  void run() {
    for (const char* folder : {"", "a", "a/b", "c"}) {
      if (*folder != '\0') addFolder(folder);
      for (int left = 3; left > 0; --left) add(newPath(folder));
    }
    label({"a"}, 0, MarkKind::reach);
    label({file(), "a/b"}, 1, MarkKind::reach);
    label({file(), "c"}, below(2), oneIn(2) ? MarkKind::exception : MarkKind::reach);
    label({file()}, below(2), MarkKind::entry);
    project_.labels().setRules(labels_[below(2)].uuid, {"*.key"});
    remember({""});
    for (int left = 6; left > 0 && !isRefused_ && !testing::Test::HasFailure(); --left) {
      isCopied_ = oneIn(8);
      for (std::size_t steps = 1 + below(6); steps > 0; --steps) step();
      if (isCopied_) copyProject();
      share();
    }
  }

 private:
  struct Document {
    int number = 0;  // of its canary; none of a folder
    unsigned labels = 0;
    std::string from = {};  // the path at which it got them
    bool isNew = true;      // since the last command, and so are the next four
    bool isMoved = false;
    bool isRewritten = false;  // it is another file than before
    std::string sideOf = {};
    std::string at = {};  // where it was then
    bool isLinked = false;
  };

  std::size_t below(std::size_t limit) { return random_() % limit; }
  bool oneIn(std::size_t chances) { return below(chances) == 0; }
  fs::path onDisk(const std::string& path) const { return fs::path(folder_) / path; }
  void note(const std::string& text) { log_ += "\n" + text; }

  // A file for which that holds; empty where there is none.
  template <class Fits>
  std::string fileThat(const Fits& fits) {
    Paths paths;
    for (const auto& [path, document] : documents_) {
      if (document.number != 0 && fits(document)) paths.push_back(path);
    }
    return paths.empty() ? "" : paths[below(paths.size())];
  }
  std::string file() {
    return fileThat([](const Document&) { return true; });
  }
  // Who moves a file and edits it as well, all in one go, leaves nothing by which it could be known again.
  std::string fileToMove() {
    // Several names of one file are told from one another by their places alone.
    return fileThat([](const Document& document) { return !document.isRewritten && !document.isLinked; });
  }
  std::string fileToSave() {
    // Of a file with several names, the one that is saved apart is not told from the others when it moves as well.
    return fileThat([](const Document& document) { return !document.isMoved && !document.isLinked; });
  }

  std::string folder() {
    Paths paths = {""};
    for (const auto& [path, document] : documents_) {
      if (document.number == 0) paths.push_back(path);
    }
    return paths[below(paths.size())];
  }

  std::string newPath(const std::string& folder) {
    const std::string name = "f" + std::to_string(++next_) + (oneIn(4) ? ".key" : "");
    seen_.push_back(folder.empty() ? name : folder + "/" + name);
    return seen_.back();
  }

  // Where nothing is, and often where something was.
  std::string freePath() {
    const std::string path = seen_[below(seen_.size())];
    const std::string above = parentOf(path);
    const bool isFree =
        documents_.count(path) + gone_.count(path) == 0 && (above.empty() || documents_.count(above) != 0);
    return isFree && !isCopied_ && oneIn(2) ? path : newPath(folder());
  }

  // Of any length, but for what is copied.
  Document& write(const std::string& path) {
    Document& document = documents_[path];
    document.number = ++next_;
    folder_host::write(onDisk(path), canary(document.number) + std::string(below(40), '.'));
    return document;
  }

  void add(const std::string& path) {
    note("add " + path);
    documents_.erase(path);
    write(path);
  }

  void addFolder(const std::string& path) {
    note("mkdir " + path);
    fs::create_directory(onDisk(path));
    documents_[path] = {};
  }

  void rename(const std::string& from, const std::string& to) {
    if (documents_.count(to) != 0) remove(to);
    note("mv " + from + " " + to);
    fs::rename(onDisk(from), onDisk(to));
    std::map<std::string, Document> moved;
    for (auto one = documents_.begin(); one != documents_.end();) {
      if (!isAtOrBelow(one->first, from)) {
        ++one;
        continue;
      }
      Document& document = moved[to + one->first.substr(from.size())] = one->second;
      document.isMoved = true;
      if (!document.sideOf.empty()) document.isNew = false;
      document.sideOf.clear();
      one = documents_.erase(one);
    }
    for (auto& [path, document] : moved) documents_[path] = std::move(document);
  }

  void remove(const std::string& path) {
    note("rm " + path);
    fs::remove_all(onDisk(path));
    for (auto one = documents_.begin(); one != documents_.end();) {
      if (isAtOrBelow(one->first, path)) gone_.insert(one->second.at);
      one = isAtOrBelow(one->first, path) ? documents_.erase(one) : std::next(one);
    }
  }

  // As many programs do it: what is written is another file.
  void save(const std::string& path) {
    note("save " + path);
    fs::rename(onDisk(path), onDisk(".saved"));
    write(path).isRewritten = true;
    fs::remove(onDisk(".saved"));
  }

  void makeAgain(const std::string& path) {
    note("make again " + path);
    fs::remove(onDisk(path));
    write(path).isRewritten = true;
  }

  void saveAside(const std::string& path) {
    const std::string side = path + "~";
    if (documents_.count(side) != 0 || documents_[path].isLinked) return save(path);
    note("save aside " + path);
    documents_[side] = documents_[path];
    documents_[side].sideOf = path;
    documents_[side].isNew = true;
    fs::rename(onDisk(path), onDisk(side));
    write(path).isRewritten = true;
  }

  void swap(const std::string& a, const std::string& b) {
    if (a == b) return;
    const std::string between = newPath("");
    rename(a, between);
    rename(b, a);
    rename(between, b);
  }

  // What only looks like the other.
  void copy(const std::string& from, const std::string& to) {
    note("cp -p " + from + " " + to);
    const auto size = fs::file_size(onDisk(from));
    Document& document = documents_[to] = {};
    document.number = ++next_;
    document.isNew = false;  // it has no label of its own, whatever the place gives it
    const std::string text = canary(document.number);
    folder_host::write(onDisk(to), text + std::string(size - text.size(), '.'));
    fs::last_write_time(onDisk(to), fs::last_write_time(onDisk(from)));
  }

  void linkTwice(const std::string& path) {
    const Document document = documents_[path];
    if (document.isLinked) return;
    for (int left = 2; left > 0; --left) {
      const std::string link = newPath(folder());
      note(std::string("ln ").append(path).append(" ").append(link));
      fs::create_hard_link(onDisk(path), onDisk(link));
      documents_[link] = document;
      documents_[link].isMoved = documents_[link].isLinked = true;
    }
    remove(path);
  }

  void moveFolder(const std::string& path) {
    if (path.empty()) return;
    const std::string to = freePath();
    const bool isKnown = !documents_[path].isNew && documents_[path].labels != 0;
    const bool isRewritten = std::any_of(documents_.begin(), documents_.end(), [&](auto& one) {
      return isAtOrBelow(one.first, path) && one.second.isRewritten;
    });
    if (!isAtOrBelow(to, path) && (isKnown || !isRewritten)) rename(path, to);
  }

  // No file is the one that it was.
  void copyProject() {
    note("cp -a of the whole project");
    ++counts_["project copied"];
    const std::string command = "cp -a '" + folder_ + "/.' '" + folder_ + ".copy' && rm -r '" + folder_ + "' && mv '" +
                                folder_ + ".copy' '" + folder_ + "'";
    // NOLINTNEXTLINE(cert-env33-c): nothing of it comes from outside
    if (std::system(command.c_str()) != 0) throw std::runtime_error(command);
    project_ = FolderProject::open(folder_);
  }

  void step() {
    using Step = std::pair<const char*, std::function<void()>>;
    const std::vector<Step> always = {
        {"added", [&] { add(freePath()); }},
        {"saved", [&] { onOne(fileToSave(), [&](auto& path) { save(path); }); }},
        {"moved", [&] { onOne(fileToMove(), [&](auto& path) { rename(path, freePath()); }); }},
        {"copied", [&] { onOne(file(), [&](auto& path) { copy(path, freePath()); }); }},
        {"deleted", [&] { onOne(file(), [&](auto& path) { remove(path); }); }},
        {"made again", [&] { onOne(fileToSave(), [&](auto& path) { makeAgain(path); }); }}};
    const std::vector<Step> withIdentity = {
        {"saved aside", [&] { onOne(fileToSave(), [&](auto& path) { saveAside(path); }); }},
        {"moved onto a name", [&] { onOne(fileToMove(), [&](auto& path) { moveOver(path, file()); }); }},
        {"swapped", [&] { onOne(fileToMove(), [&](auto& path) { swap(path, fileToMove()); }); }},
        {"linked", [&] { onOne(fileToMove(), [&](auto& path) { linkTwice(path); }); }},
        {"folder made", [&] { addFolder(newPath(folder())); }},
        {"folder moved", [&] { moveFolder(folder()); }},
        {"followed", [&] { follow(oneIn(2) ? folder() : file()); }},
        {"labelled", [&] { settle(oneIn(2) ? folder() : file(), true); }},
        {"label taken off", [&] { settle(oneIn(2) ? folder() : file(), false); }},
        {"rules changed", [&] { changeRules(); }}};
    const std::size_t number = below(always.size() + (isCopied_ ? 0 : withIdentity.size()));
    const Step& one = number < always.size() ? always[number] : withIdentity[number - always.size()];
    ++counts_[one.first];
    one.second();
  }

  template <class Act>
  void onOne(const std::string& path, const Act& act) {
    if (!path.empty()) act(path);
  }

  void moveOver(const std::string& path, const std::string& other) {
    const Document &one = documents_[path], &two = documents_[other];
    if (one.number != two.number && !one.isNew) rename(path, other);  // the same file stays under both names
  }

  std::shared_ptr<const EntryTable> table() const {
    return std::make_shared<const EntryTable>(std::make_shared<const Listing>(project_.list()));
  }

  void label(const Paths& paths, std::size_t which, MarkKind kind) {
    for (const std::string& path : paths)
      note("mark " + std::to_string(which) + " " + path + " kind " + std::to_string(int(kind)));
    project_.labels().attach(labels_[which].uuid, paths, kind);
  }

  void settle(const std::string& path, bool attaches) {
    const std::size_t which = below(2);
    if (path.empty()) return;
    note((attaches ? "attach " : "detach ") + std::to_string(which) + " " + path);
    {
      const auto scope = project_.beginWrite();
      const LabelSources before(project_.labels());
      const std::size_t index = before.find(labels_[which].uuid).value();
      const bool isFolder = documents_[path].number == 0;
      if (attaches) {
        project_.labels().attach(labels_[which].uuid, {path}, MarkKind::reach);
      } else {
        if (before.markOn(path, index) != MarkKind::exception) project_.labels().detach(labels_[which].uuid, {path});
        if (LabelSources(project_.labels()).sourceOf(path, isFolder, index).gives())
          label({path}, which, MarkKind::exception);
        const LabelSources after(project_.labels());
        project_.labels().detach(labels_[which].uuid, exceptionsMadeIdle(before, after, index));
      }
    }
    remember({path});
  }

  void changeRules() {
    const std::size_t which = below(2);
    const std::string rule = Paths{"*.key", "f1*", "!f1*", "*~"}[below(4)];
    note("rule of " + std::to_string(which) + " " + rule);
    // What a rule gave, under the old name or the new one, goes with the rule.
    const LabelSources before(project_.labels());
    const std::size_t index = before.find(labels_[which].uuid).value();
    for (auto& [path, document] : documents_) {
      const auto isRuled = [&, isFolder = document.number == 0](const std::string& at) {
        return before.sourceOf(at, isFolder, index).kind == LabelSource::Kind::rule;
      };
      if (isRuled(path) || isRuled(document.from)) document.labels &= ~(1U << which);
    }
    project_.labels().setRules(labels_[which].uuid, {rule, "*2.key"});
    remember({});
  }

  void follow(const std::string& path) {
    note("follow " + path);
    const auto entries = table();
    const auto before = given();
    Paths settled;
    {
      const auto scope = project_.beginWrite();
      for (auto& move : followIn(*project_.followed(entries), *entries, {path}, project_.labels()))
        settled.push_back(move.first);
    }
    const auto after = given();
    for (const auto& [one, document] : documents_) {
      const bool isSettled = std::count(settled.begin(), settled.end(), one) != 0;
      const unsigned labels = isSettled && !document.isNew ? document.labels : isSettled ? 0 : before.at(one);
      EXPECT_EQ(after.at(one) & labels, labels) << one << log_;
    }
    remember(settled);
  }

  // By path, which labels the place gives.
  std::map<std::string, unsigned> given() const {
    const LabelSources sources(project_.labels());
    std::map<std::string, unsigned> result;
    for (const auto& [path, document] : documents_) {
      for (unsigned which = 0; which < labels_.size(); ++which) {
        const std::size_t index = sources.find(labels_[which].uuid).value();
        if (sources.sourceOf(path, document.number == 0, index).gives()) result[path] |= 1U << which;
      }
      result[path];
    }
    return result;
  }

  // As after every command.
  void remember(const Paths& settled) {
    project_.remember(table(), {settled});
    const auto places = given();
    gone_.clear();
    for (auto& [path, document] : documents_) {
      const unsigned has = places.at(path);
      const bool isSettled =
          std::any_of(settled.begin(), settled.end(), [&, &one = path](auto& top) { return isAtOrBelow(one, top); });
      const auto original = documents_.find(document.sideOf);
      if (isSettled || document.from == path) {
        document.labels = has;
      } else if (document.isNew && document.sideOf.empty()) {
        document.labels = labelsOfNew(path, places);
      } else if (document.isNew && original != documents_.end()) {
        document.labels = original->second.labels;
      }
      const std::string from = isSettled || document.labels == has ? path : document.from;
      document = {document.number, document.labels, from, false, false, false, {}, path, document.isLinked};
    }
  }

  // What is new in a folder that was moved has the folder's, and what its own name gives it.
  unsigned labelsOfNew(const std::string& path, const std::map<std::string, unsigned>& places) const {
    const auto folder = documents_.find(parentOf(path));
    if (folder == documents_.end() || folder->second.labels == places.at(folder->first)) return places.at(path);
    return folder->second.labels | (places.at(path) & ~places.at(folder->first));
  }

  void share() {
    const std::size_t which = below(2);
    const bool drops = isCopied_ || !oneIn(4);
    note((drops ? "share, drop " : "share, keep ") + std::to_string(which));
    const auto& kind = drops ? EXCLUDE_FILES_WITH_LABEL : INCLUDE_FILES_WITH_LABEL;
    const auto copy =
        judged(project_, Transformation([&](auto& project) {
                 plain::applyFileFilter(kind, {{labels_[which].categoryUUID, labels_[which].uuid}}, project);
               }));
    counts_["entries followed"] += copy->followed().differing().size();
    const std::size_t index = copy->effective().sources().find(labels_[which].uuid).value();
    for (const auto& lost : copy->followed().lost()) {
      const bool isOf = std::binary_search(lost.labels.begin(), lost.labels.end(), index);
      isRefused_ = isRefused_ || (drops && isOf && !lost.isMeant && (lost.isFolder || lost.isUncertain));
    }
    ++counts_[isRefused_ ? "refused" : "shared"];
    if (isRefused_) return;
    remember({});
    for (const Entry* entry : copy->entries()) {
      if (entry->kind != EntryKind::file) continue;
      const Document& document = documents_.at(entry->path);
      ASSERT_EQ(read(onDisk(entry->path)).rfind(canary(document.number), 0), 0U) << entry->path << log_;
      const bool has = (document.labels & (1U << which)) != 0;
      EXPECT_FALSE(drops ? has : document.labels != 0 && !has) << entry->path << " is shared" << log_;
      ++counts_["files shared"];
    }
  }

  const std::string folder_;
  std::mt19937 random_;
  std::map<std::string, std::size_t>& counts_;
  FolderProject project_;
  std::vector<LabelRecord> labels_;
  std::map<std::string, Document> documents_;  // by path, with folders
  Paths seen_;
  std::set<std::string> gone_;  // since the last command, by where it was then
  int next_ = 0;
  bool isCopied_ = false, isRefused_ = false;
  std::string log_;
};

}  // namespace

using WeeksTest = FolderTest;

TEST_F(WeeksTest, NoDocumentLeavesWithoutTheLabelThatItHad) {
  constexpr unsigned enough = 60;  // for everything to occur
  const unsigned first = environment::number("CANARY_SEED", 1);
  const unsigned weeks = environment::number("CANARY_PROJECTS", enough);
  std::map<std::string, std::size_t> counts;
  for (unsigned seed = first; seed - first < weeks && !HasFailure(); ++seed) {
    SCOPED_TRACE("CANARY_PROJECTS=1 CANARY_SEED=" + std::to_string(seed));
    std::filesystem::remove_all(in("p"));
    std::filesystem::create_directory(in("p"));
    EXPECT_NO_THROW(Week(in("p"), seed, counts).run());
  }
  if (HasFailure() || weeks < enough) return;
  for (const char* what :
       {"added",          "saved",        "saved aside",     "moved",           "moved onto a name", "swapped",
        "copied",         "linked",       "deleted",         "made again",      "folder made",       "folder moved",
        "project copied", "followed",     "labelled",        "label taken off", "rules changed",     "refused",
        "shared",         "files shared", "entries followed"}) {
    EXPECT_GT(counts[what], 0U) << what;
  }
}

}  // namespace hand_out
