#include <sys/xattr.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <set>
#include <system_error>

#include "Environment.h"
#include "PlainFilters.h"
#include "RandomProject.h"
#include "folder_host/Fixture.h"
#include "folder_host/FolderProject.h"
#include "folder_host/share/HandOut.h"
#include "folder_host/text/Utf.h"
#include "project/sharing/profiles/ExportFilter.h"
#include "project/sharing/profiles/ExportProfile.h"
#include "project/sharing/profiles/ExportProfileManager.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"

namespace hand_out {

namespace fs = std::filesystem;

using namespace folder_host;
using namespace project::sharing::profiles;

namespace {

// Of extended attributes the names: none leaves without.
std::string attributesOf(const fs::path& path) {
  std::string names(std::size_t{1} << 16U, '\0');  // the system's own bound
  const ssize_t size = ::llistxattr(path.c_str(), names.data(), names.size());
  if (size < 0 && errno != ENOTSUP) throw std::system_error(errno, std::generic_category(), path.string());
  return names.substr(0, static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
}

// All that lies in the folder, in a fixed order: names, contents, link targets, and attributes, also its own.
std::string everythingIn(const fs::path& folder) {
  std::vector<fs::path> paths(fs::recursive_directory_iterator(folder), {});
  std::sort(paths.begin(), paths.end());
  std::string bytes = attributesOf(folder);
  for (const fs::path& path : paths) {
    bytes += '\n' + path.filename().string() + '\n' + attributesOf(path) + '\n';
    if (fs::is_symlink(path))
      bytes += fs::read_symlink(path).string();
    else if (fs::is_regular_file(path))
      bytes += read(path);
  }
  return bytes;
}

// The numbers of the canaries in any of the encodings, which are one without zero bytes.
std::set<int> canariesIn(std::string bytes) {
  bytes.erase(std::remove(bytes.begin(), bytes.end(), '\0'), bytes.end());
  std::set<int> numbers;
  for (std::size_t at = bytes.find("cNry"); at != bytes.npos; at = bytes.find("cNry", at + 1)) {
    const int number = static_cast<int>(std::strtol(bytes.substr(at + 4, 6).c_str(), nullptr, 10));
    if (bytes.compare(at, canary(number).size(), canary(number)) == 0) numbers.insert(number);
  }
  return numbers;
}

// Whether the ASCII text is there in any of the encodings.
bool holds(const std::string& bytes, const std::string& ascii) {
  const auto texts = encoded(ascii);
  return std::any_of(texts.begin(), texts.end(), [&](const auto& text) { return bytes.find(text) != bytes.npos; });
}

class HandOutTest : public FolderTest {
 protected:
  HandOutTest() { put(canary(0), canary(0)); }

  void handOut(unsigned seed) {
    for (const char* folder : {"p", "copy"}) fs::remove_all(in(folder));
    fs::create_directory(in("p"));
    const Planted planted = plant(in("p"), seed);
    const FolderProject project = FolderProject::open(in("p"));
    const std::string before = everythingIn(in("p"));
    const auto left = project.workingCopy();
    strip(*left, *createManager(project.metadata())->getProfileByUUID(planted.profile));
    const HandedOut told = share(project.workingCopy(), ExportProfileTransformation(planted.profile), in("copy"));
    EXPECT_EQ(told.files + told.folders + told.links, left->entries().size());
    EXPECT_TRUE(everythingIn(in("p")) == before) << "the project was changed";
    expectCopyOf(*left, planted);
    count(project.labels(), *left);
    for (const int number : planted.deleted) counts_["deleted names in the store"] += holds(before, canary(number));
  }

  // By the plain rules.
  void strip(WorkingCopy& copy, const ExportProfile& profile) {
    for (const auto& filter : profile.getFilters()) {
      const std::u16string kind = filter->getType();
      const auto items = filter->getItems();
      const bool ofFiles = kind == EXCLUDE_FILES_WITH_LABEL || kind == INCLUDE_FILES_WITH_LABEL;
      (ofFiles ? plain::applyFileFilter : plain::applyLabelFilter)(kind, items, copy);
      for (const LabelRecord& label : copy.getLabelManager().list()) {
        const auto item = std::find(items.begin(), items.end(), ExportStrategyItem(label.categoryUUID, label.uuid));
        counts_["protected labels that a filter drops"] += kind == EXCLUDE_LABEL && item != items.end();
      }
    }
    copy.applyHostRules();
  }

  void expectCopyOf(WorkingCopy& left, const Planted& planted) const {
    std::vector<std::string> names = namesOf(left.entries());
    names.insert(names.end(), {".project", ".project/store.db"});
    std::sort(names.begin(), names.end());
    EXPECT_EQ(tree("copy"), names);
    const std::string copy = everythingIn(in("copy"));
    const std::set<int> numbers = canariesOf(left, planted);
    EXPECT_EQ(canariesIn(copy), numbers);
    for (const auto& [uuid, number] : planted.named) {
      EXPECT_EQ(holds(copy, toBytes(uuid)), numbers.count(number) != 0) << "the UUID of " << number;
    }
    EXPECT_TRUE(createManager(FolderProject::open(in("copy")).metadata())->getProfiles().empty());
  }

  // Of a link the name alone: where it leads to is shared as well. A label leaves with what carries it.
  std::set<int> canariesOf(WorkingCopy& left, const Planted& planted) const {
    std::string bytes;
    for (const Entry* entry : left.entries()) {
      bytes += entry->path + '\n' + (entry->kind == EntryKind::file ? read(in("p/" + entry->path)) : "") + '\n';
      for (const auto& label : left.effective().fileLabelsOf(left.table().find(entry->path).value())) {
        bytes += canary(planted.named.at(label.getUUID()));
        bytes += canary(planted.named.at(label.getCategory().toString()));
      }
    }
    return canariesIn(bytes);
  }

  void count(const LabelStore& all, WorkingCopy& left) {
    const LabelStore& labels = left.getLabelManager();
    counts_["labels removed"] += all.list().size() - labels.list().size();
    counts_["categories removed"] += all.getCategories().size() - labels.getCategories().size();
    for (std::size_t i = 0; i < left.table().size(); ++i) {
      const std::string what = left.table()[i].kind == EntryKind::link ? "links" : "others";
      ++counts_[what + (left.heldBack()[i] ? " held back" : " shared")];
    }
  }

  std::map<std::string, std::size_t> counts_;
};

}  // namespace

TEST_F(HandOutTest, ACopyHoldsWhatMayLeaveAndNothingElse) {
  constexpr unsigned enough = 60;  // for everything to occur
  const unsigned first = environment::number("CANARY_SEED", 1);
  const unsigned projects = environment::number("CANARY_PROJECTS", enough);
  unsigned shared = 0;
  for (unsigned seed = first; shared < projects && !HasFailure(); ++seed, ++shared) {
    SCOPED_TRACE("CANARY_PROJECTS=1 CANARY_SEED=" + std::to_string(seed));
    EXPECT_NO_THROW(handOut(seed));
  }
  if (HasFailure() || projects < enough) return;
  for (const char* what :
       {"others shared", "others held back", "links shared", "links held back", "labels removed", "categories removed",
        "protected labels that a filter drops", "deleted names in the store"}) {
    EXPECT_GT(counts_[what], 0U) << what;
  }
}

}  // namespace hand_out
