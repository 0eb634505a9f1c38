#include <algorithm>
#include <random>

#include "Environment.h"
#include "PlainFilters.h"
#include "SampleHosts.h"
#include "project/sharing/SerializationData.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"

// Random operations on the library and on a plain model of it, with the same in both after each one.
namespace {

using memory_host::LabelKey;
using memory_host::MemoryProject;
using samples::errorOf;
using samples::HostKind;
using samples::Items;
using samples::Rows;
using Text = std::u16string;
using Texts = std::vector<Text>;
using namespace std::string_literals;

const Texts kinds{u"Label", u"IncludeLabels", u"FileLabel", u"IncludeFilesWithLabel"};

const Text longText(400, u'x');
const Texts nasty{u"",        u"a",        u"A",       u"a ",           u"a\0"s,   u"\0"s,         u"\xD800"s,
                  u"\xDC00"s, u"\xFEFF"s,  u"\xFFFF"s, u"\xD83D\xDE00", u"\u00E9", u"e\u0301",     u"%_'\"/\\:",
                  u"Labels",  u"FileLabe", u"label",   u"Name",         longText,  longText + u"y"};

struct Filter {
  Text kind;
  bool isOfFiles;
  std::set<LabelKey> items;
};
using Filters = std::vector<Filter>;

// What is stored of a profile: by kind, the category by label.
struct Stored {
  Text name;
  std::map<Text, std::map<Text, Text>> filters;
};

Items itemsOf(const std::set<LabelKey>& keys) {
  Items items;
  for (const auto& [category, label] : keys) items.emplace_back(category, label);
  return items;
}

void add(Filters& filters, const Text& kind, const std::set<LabelKey>& items) {
  const auto known = std::find(kinds.begin(), kinds.end(), kind) - kinds.begin();
  if (known < 4) filters.insert(known >= 2 ? filters.begin() : filters.end(), {kind, known >= 2, items});
}

// One project, two profiles of it that are kept and edited, the model of all that, and the dice.
class Walk {
 public:
  Walk(unsigned seed, const HostKind& kind) : random_(seed), isFolder_(kind.isFolder) {
    for (Texts* texts : {&uuids_, &names_, &categories_, &labels_}) {
      std::sample(nasty.begin(), nasty.end(), std::back_inserter(*texts), 4, random_);
    }
    fillProject();
    host_ = kind.make(project_);
    manager_ = project::sharing::profiles::createManager(host_->getMetadataManager());
    for (Edited& edited : edited_) {
      while (!edited.profile) create(edited);
    }
  }

  void step() {
    using Step = void (Walk::*)(Edited&);
    constexpr Step steps[] = {&Walk::create,       &Walk::load,         &Walk::look,         &Walk::erase,
                              &Walk::rename,       &Walk::addFilter,    &Walk::addFilter,    &Walk::removeFilter,
                              &Walk::changeFilter, &Walk::changeFilter, &Walk::changeFilter, &Walk::save,
                              &Walk::save,         &Walk::apply};
    (this->*steps[below(std::size(steps))])(edited_[below(std::size(edited_))]);
  }

  void compare() {
    ASSERT_EQ(samples::storedIn(*host_->getMetadataManager()), stored());
    ASSERT_EQ(samples::labelsAndEntriesIn(*host_), samples::labelsAndEntriesIn(project_));
    for (const Edited& edited : edited_) {
      const auto filters = edited.profile->getFilters();
      ASSERT_EQ(filters.size(), edited.filters.size());
      for (std::size_t i = 0; i < filters.size(); ++i) {
        ASSERT_EQ(filters[i]->getType(), edited.filters[i].kind);
        ASSERT_EQ(filters[i]->getItems(), itemsOf(edited.filters[i].items));
      }
    }
  }

 private:
  struct Edited {
    std::shared_ptr<samples::ExportProfile> profile = {};
    Text uuid = {};
    Filters filters = {};
  };

  std::size_t below(std::size_t n) { return random_() % n; }
  const Text& any(const Texts& texts) { return texts[below(texts.size())]; }
  Text anyKind() { return below(6) == 0 ? any(nasty) : any(kinds); }
  std::vector<LabelKey> anyItems() {
    std::vector<LabelKey> keys(below(4));
    for (auto& [category, label] : keys) category = any(categories_), label = any(labels_);
    return keys;
  }

  void fillProject() {
    for (const Text& label : labels_) project_.addLabel(any(categories_), label, static_cast<int>(below(4)) - 1);
    project_.categories.insert(categories_[0]);
    Texts paths{u"a/", u"a b/", u"a/b/", u"a/b/c", u"a/\xDCFF", u"ab/", u"\u00E9/", u"\u00E9/x"};
    for (Text& path : paths) path.insert(0, u"/p/");
    if (!isFolder_) addOddOnes(paths);
    for (Text& path : paths) {
      std::set<LabelKey> attached;
      for (const auto& [label, isRemovable] : project_.labels) {
        if (below(3) == 0) attached.insert(label);
      }
      const bool isFile = path.empty() || path.back() != u'/';
      isFile ? project_.addFile(path, attached) : project_.addFolder(path.substr(0, path.size() - 1), attached);
    }
  }

  // In any order, one twice, some outside the root, which is odd as well.
  void addOddOnes(Texts& paths) {
    paths.insert(paths.end(), {u"", u"relative", u"/q/", u"/q/x", u"/p/", u"/p/a/b/d/", u"/p/a/b/d/e", any(paths)});
    std::shuffle(paths.begin(), paths.end(), random_);
    project_.root = memory_host::Path(any({u"/p", u"/p", u"/p/", u"/", u"", u"/p/a"}), true);
  }

  Rows stored() const {
    Rows rows;
    for (const auto& [uuid, profile] : profiles_) {
      rows.push_back({u"ExportProfile", uuid, profile.name});
      for (const auto& [kind, items] : profile.filters) {
        rows.push_back({u"Filter", uuid, kind});
        for (const auto& [label, category] : items) rows.push_back({u"Filter", uuid, kind, label, category});
      }
    }
    return rows;
  }

  Filters load(const Text& uuid) const {
    Filters filters;
    for (const auto& [kind, stored] : profiles_.at(uuid).filters) {
      std::set<LabelKey> items;
      for (const auto& [label, category] : stored) items.emplace(category, label);
      add(filters, kind, items);
    }
    return filters;
  }

  // What the action gives is edited from now on, unless it has to fail.
  template <class Action>
  void open(Edited& edited, const Text& uuid, const std::string& error, const Action& action) {
    ASSERT_EQ(errorOf([&] { edited.profile = action(); }), error);
    if (error.empty()) edited.uuid = uuid, edited.filters = load(uuid);
  }

  void create(Edited& edited) {
    const Text uuid = any(uuids_), name = any(names_);
    const auto holds = [&](const auto& profile) { return profile.first != uuid && profile.second.name == name; };
    const bool isTaken = std::any_of(profiles_.begin(), profiles_.end(), holds);
    if (!isTaken) profiles_[uuid].name = name;
    open(edited, uuid, isTaken ? "ExportProfileAlreadyExists" : "",
         [&] { return manager_->createProfile(name, uuid); });
  }

  void load(Edited& edited) {
    const Text uuid = any(uuids_);
    open(edited, uuid, profiles_.count(uuid) != 0 ? "" : "ExportProfileUuidNotFound",
         [&] { return manager_->getProfileByUUID(uuid); });
  }

  void look(Edited&) {
    std::vector<std::pair<Text, Text>> all, listed;
    for (const auto& [uuid, profile] : profiles_) all.emplace_back(profile.name, uuid);
    std::sort(all.begin(), all.end());
    for (const auto& profile : manager_->getProfiles()) listed.emplace_back(profile->getName(), profile->getUUID());
    ASSERT_EQ(listed, all);
    const Text name = any(names_);
    const auto same = std::count_if(all.begin(), all.end(), [&](const auto& one) { return one.first == name; });
    const char* error = same == 0 ? "ExportProfileNameNotFound" : "ExportProfileNameNotUnique";
    ASSERT_EQ(errorOf([&] { ASSERT_EQ(manager_->getProfileByName(name)->getName(), name); }), same == 1 ? "" : error);
  }

  void erase(Edited& edited) {
    manager_->deleteProfile(edited.profile);
    profiles_.erase(edited.uuid);
  }

  void rename(Edited& edited) {
    const Text name = any(names_);
    const auto stored = profiles_.find(edited.uuid);
    ASSERT_EQ(errorOf([&] { edited.profile->setName(name); }), stored == profiles_.end() ? "out of range" : "");
    if (stored != profiles_.end()) stored->second.name = name;
  }

  void addFilter(Edited& edited) {
    const Text kind = anyKind();
    const auto given = anyItems();
    Items items;
    for (const auto& [category, label] : given) items.emplace_back(category, label);
    edited.profile->addFilter(kind, items);
    add(edited.filters, kind, {given.begin(), given.end()});
  }

  // Of one that is not there, the last.
  void removeFilter(Edited& edited) {
    const std::size_t position = below(edited.filters.size() + 1);
    const bool isThere = position < edited.filters.size();
    edited.profile->removeFilter(isThere ? edited.profile->getFilters()[position] : nullptr);
    if (edited.filters.empty()) return;
    edited.filters.erase(isThere ? edited.filters.begin() + static_cast<std::ptrdiff_t>(position)
                                 : std::prev(edited.filters.end()));
  }

  void changeFilter(Edited& edited) {
    if (edited.filters.empty()) return;
    const std::size_t position = below(edited.filters.size()), change = below(3);
    samples::ExportFilter& filter = *edited.profile->getFilters()[position];
    auto& [kind, isOfFiles, left] = edited.filters[position];
    if (change == 0) return filter.setType(kind = anyKind());
    Items items;
    for (const auto& [category, label] : anyItems()) {
      items.emplace_back(category, label);
      if (change == 1)
        left.insert({category, label});
      else if (left.erase({category, label}) == 0 && !left.empty())
        left.erase(std::prev(left.end()));
    }
    change == 1 ? filter.addItems(items) : filter.removeItems(items);
  }

  // A profile that was deleted must not be saved.
  void save(Edited& edited) {
    const auto stored = profiles_.find(edited.uuid);
    if (stored == profiles_.end()) return;
    edited.profile->save();
    stored->second.filters.clear();
    for (const Filter& filter : edited.filters) {
      auto& items = stored->second.filters[filter.kind];
      for (const auto& [category, label] : filter.items) items[label] = category;
    }
  }

  // Rarely, or there is nothing left to be dropped.
  void apply(Edited& edited) {
    if (below(4) != 0) return;
    memory_host::Probe expected, made;
    const auto model = memory_host::probed(project_, expected), host = memory_host::probed(*host_, made);
    const bool isStored = profiles_.count(edited.uuid) != 0 && below(2) == 0;
    if (isStored) {
      project::sharing::SerializationData data;
      data.projectManagers[data.projectPath] = host_;
      project::sharing::profiles::ExportProfileTransformation(edited.uuid).apply(data);
    } else {
      edited.profile->apply(*host);
    }
    for (const auto& [kind, isOfFiles, items] : isStored ? load(edited.uuid) : edited.filters) {
      (isOfFiles ? plain::applyFileFilter : plain::applyLabelFilter)(kind, itemsOf(items), *model);
      if (isFolder_) dropOrphans();
    }
    EXPECT_EQ(isFolder_ || isStored ? expected.calls() : made.calls(), expected.calls());
  }

  void dropOrphans() {
    std::set<Text> left{u"/p"};
    const auto isOrphan = [&](const auto& entry) {
      const bool hasParent = left.count(fl::filesystem::detail::extract_parent_path(entry.name.text())) != 0;
      if (hasParent) left.insert(entry.name.text());
      return !hasParent;
    };
    auto& entries = project_.entries;
    entries.erase(std::remove_if(entries.begin(), entries.end(), isOrphan), entries.end());
  }

  std::mt19937 random_;
  const bool isFolder_;
  Texts uuids_, names_, categories_, labels_;
  std::map<Text, Stored> profiles_;  // by UUID
  MemoryProject project_;            // labels and entries
  std::shared_ptr<samples::ProjectManager> host_;
  std::unique_ptr<samples::ExportProfileManager> manager_;
  Edited edited_[2];
};

void walk(const HostKind& kind, unsigned usualSteps) {
  constexpr unsigned stepsOfAWalk = 100;
  const unsigned first = environment::number("MODEL_SEED", 1), steps = environment::number("MODEL_STEPS", usualSteps);
  for (unsigned seed = first; (seed - first) * stepsOfAWalk < steps; ++seed) {
    SCOPED_TRACE("MODEL_STEPS=100 MODEL_SEED=" + std::to_string(seed) + " runs it again");
    Walk one(seed, kind);
    for (unsigned step = 0; step < stepsOfAWalk; ++step) {
      one.step();
      one.compare();
      if (testing::Test::HasFailure()) return;
    }
  }
}

TEST(Model, OfALibraryOnTheMemoryHostIsRightAtEachStep) { walk(samples::memoryHost, 190000 / SLOWDOWN); }

TEST(Model, OfALibraryOnAFolderHostIsRightAtEachStep) { walk(samples::folderHost, 10000 / SLOWDOWN); }

}  // namespace
