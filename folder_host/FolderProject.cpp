#include "folder_host/FolderProject.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <filesystem>
#include <iterator>
#include <optional>
#include <system_error>
#include <tuple>
#include <utility>
#include <vector>

#include "folder_host/Error.h"
#include "folder_host/files/Descriptor.h"
#include "folder_host/files/Publication.h"
#include "folder_host/store/MirrorFile.h"
#include "folder_host/store/Store.h"

namespace folder_host {

namespace fs = std::filesystem;

namespace {

// What cannot be looked at counts as there: a project that is out of reach is not one that another stands above.
bool holdsStore(const fs::path& folder) {
  const auto holds = [&](const char* file) {
    struct stat status {};
    return ::lstat((folder / file).c_str(), &status) == 0 || (errno != ENOENT && errno != ENOTDIR);
  };
  return holds(STORE_FILE) || holds(ADDRESS_FILE);
}

// Empty where neither the folder nor one above it is a project that counts.
template <class Counts>
std::string nearestProject(fs::path folder, const Counts& counts) {
  while (!holdsStore(folder) || !counts(folder)) {
    if (!folder.has_relative_path()) return {};
    folder = folder.parent_path();
  }
  return folder.string();
}

// Links are resolved here, once: a project's root is compared, and trusted, by its text.
std::string resolvedFolder(const std::string& folder) {
  return attempt(errors::NOT_A_PROJECT, "there is no folder", folder, [&] {
    const fs::path resolved = fs::canonical(folder);
    if (!fs::is_directory(resolved)) throw std::system_error(ENOTDIR, std::generic_category());
    return resolved.string();
  });
}

Error alreadyProject(const std::string& root) {
  return {errors::ALREADY_A_PROJECT, inQuotes(root) + " is a project already; nothing is left to be made"};
}

// A stranger's project further up would else keep everybody below it from having one.
void refuseProject(const std::string& root, const Trust& trust) {
  const auto counts = [&](const fs::path& folder) { return folder == root || isTrusted(folder.string(), trust); };
  const std::string project = nearestProject(root, counts);
  if (project.empty()) return;
  throw alreadyProject(project);
}

// The file is closed here: closing it when SQLite has it open would drop the locks on it.
void writeFile(const Publication& publication, const char* name, const std::string& bytes) {
  const Descriptor file = openBeneath(publication.content(), name, O_WRONLY | O_CREAT | O_EXCL, 0600);
  writeAll(file, bytes);
  check(::fsync(file.get()));
}

std::string bytesOf(const Address& address) { return address.text() + '\n'; }

// None where the project has its store in the folder. It may be a stranger's: anything may be there.
std::optional<Address> addressIn(const Descriptor& storeFolder) {
  constexpr off_t MOST = 2000;
  try {
    const Descriptor file = openBeneath(storeFolder, ADDRESS_NAME, O_RDONLY | O_NONBLOCK);
    const struct stat status = statusOf(file);
    if (!S_ISREG(status.st_mode) || status.st_size > MOST)
      throw Error(errors::ADDRESS_UNUSABLE, "what stands where the project's address should be is none; ask for it");
    std::string text = readAt(file, static_cast<std::size_t>(MOST), 0);
    if (!text.empty() && text.back() == '\n') text.pop_back();
    return parseAddress(text);
  } catch (const std::system_error& error) {
    if (error.code().value() == ENOENT) return std::nullopt;
    throw systemFailure(errors::STORE_UNREADABLE, "cannot read", ADDRESS_FILE, error.code().value());
  }
}

// What keeps anything from being read from, or written to, a store that is the project's no more.
std::function<void()> checkOf(std::shared_ptr<const Descriptor> storeFolder, std::optional<Address> address) {
  return [folder = std::move(storeFolder), address = std::move(address)] {
    const bool isSame = address ? addressIn(*folder) == address
                                : ::faccessat(folder->get(), ADDRESS_NAME, F_OK, AT_SYMLINK_NOFOLLOW) != 0;
    if (!isSame) throw Error(errors::STORE_MOVED, "the project's store was moved meanwhile; do it again");
  };
}

// The store's folder gets its name when it is whole: a folder is a project or it is none. It is opened as anyone will
// open it, and loses the name where that fails.
template <class Open>
auto makeStore(const Descriptor& root, const char* name, const std::string& bytes,
               const std::function<void()>& reachServer, const Open& open) {
  Publication publication(root);
  writeFile(publication, name, bytes);
  if (reachServer) reachServer();
  publication.publishOverEmpty(STORE_FOLDER);
  try {
    return open();
  } catch (...) {
    publication.takeBack();
    throw;
  }
}

// What was left by a process that was killed may lie in what became a project, too. An empty `.project` gives way to
// ours, so it is asked whose that is, too.
template <class Open>
auto makeProject(const std::string& root, const Trust& trust, const char* name, const std::string& bytes,
                 const std::function<void()>& reachServer, const Open& open) {
  try {
    const Descriptor folder = openFolder(root);
    Publication::removeAbandoned(folder);
    refuseProject(root, trust);
    requireTrusted(root, trust);
    return makeStore(folder, name, bytes, reachServer, open);
  } catch (const std::system_error& error) {
    // Another process may have made the project meanwhile. Then that is told, and not that its folder cannot be
    // replaced.
    const int code = error.code().value();
    refuseProject(root, trust);
    if (code == EEXIST) {
      throw Error(errors::STORE_FAILED, inQuotes(root + "/" + STORE_FOLDER) + " is something else's; move it away");
    }
    throw systemFailure(errors::STORE_FAILED, "cannot make a store in", root, code);
  }
}

// Where the named thing is, without links before its last name, and with a slash behind that, as for the system,
// without one there either; what is not there is taken by its name. Who names a link means the link: a label on what it
// leads to would leave the link itself without one.
std::string resolvedLocation(std::string named) {
  const bool followsLink = named.size() > 1 && named.back() == '/';
  while (named.size() > 1 && named.back() == '/') named.pop_back();
  const fs::path path = fs::absolute(named);
  const fs::path name = path.filename();
  const bool nameless = name.empty() || name == "." || name == "..";
  std::string location =
      (nameless ? fs::weakly_canonical(path) : fs::weakly_canonical(path.parent_path()) / name).string();
  while (location.size() > 1 && location.back() == '/') location.pop_back();
  std::error_code error;
  return followsLink && fs::is_symlink(location, error) ? fs::canonical(location).string() : location;
}

std::string resolvedOrRefused(const std::string& named) {
  try {
    return resolvedLocation(named);
  } catch (const fs::filesystem_error& error) {
    const int code = error.code().value();
    throw systemFailure(code == ENAMETOOLONG ? errors::PATH_TOO_LONG : errors::PATH_OUTSIDE_PROJECT, "cannot follow",
                        named, code);
  }
}

// The rest of `location` below `root`; empty for root itself, nothing outside of it. By whole names: "/a/bc" does not
// lie below "/a/b".
std::optional<std::string> below(const std::string& root, const std::string& location) {
  if (location == root) return std::string();
  const std::string prefix = root == "/" ? root : root + "/";
  if (location.compare(0, prefix.size(), prefix) != 0) return std::nullopt;
  return location.substr(prefix.size());
}

bool isStore(const std::string& relative) { return relative.substr(0, relative.find('/')) == STORE_FOLDER; }

}  // namespace

FolderProject FolderProject::init(const std::string& folder, const Trust& trust) {
  const std::string root = resolvedFolder(folder);
  return makeProject(root, trust, STORE_NAME, Store::inMemory()->image(), nullptr,
                     [&] { return openFound(root, trust, {}); });
}

FolderProject FolderProject::initAt(const std::string& folder, const Trust& trust, const Address& address,
                                    const ServerAccess& access, const Author& author) {
  const std::string root = resolvedFolder(folder);
  const auto create = [&] { access.servers->create(address, {}, {editBy(author, 1)}); };
  return makeProject(root, trust, ADDRESS_NAME, bytesOf(address), create,
                     [&] { return openFound(root, trust, access); });
}

FolderProject FolderProject::join(const std::string& folder, const Trust& trust, const Address& address,
                                  const ServerAccess& access) {
  const std::string root = resolvedFolder(folder);
  const auto openJoined = [&] {
    FolderProject project = openFound(root, trust, access);
    project.store_->beginRead();
    return project;
  };
  struct stat status {};
  if (::lstat((root + "/" + ADDRESS_FILE).c_str(), &status) != 0)
    return makeProject(root, trust, ADDRESS_NAME, bytesOf(address), nullptr, openJoined);
  try {
    openJoined();
  } catch (const Error& error) {
    const std::string_view why = error.identifier();
    if (why != errors::STORE_MOVED && why != errors::STORE_NOT_FOUND && why != errors::STORE_UNREACHABLE) throw;
    // A store that was not closed by a move counts as the same one only if it has the state that was seen last.
    const FolderProject project = openFound(root, trust, access);
    access.servers->originAt(address)->read(why == errors::STORE_MOVED ? Position() : project.position());
    project.changeAddress(address);
    return openJoined();
  }
  throw alreadyProject(root);
}

void FolderProject::changeAddress(const Address& address) const {
  attempt(errors::STORE_FAILED, "cannot note the address in", root_ + "/" + STORE_FOLDER, [&] {
    const FileId earlier = idOf(statusIn(*storeFolder_, ADDRESS_NAME));
    Publication publication(*storeFolder_);
    writeFile(publication, ADDRESS_NAME, bytesOf(address));
    publication.replaceFile(ADDRESS_NAME, ADDRESS_NAME, earlier);
  });
}

bool FolderProject::isWithinOne(const std::string& folder) {
  return !nearestProject(resolvedFolder(folder), [](const fs::path&) { return true; }).empty();
}

std::string FolderProject::rootOf(const std::string& folder) {
  std::string root = nearestProject(resolvedFolder(folder), [](const fs::path&) { return true; });
  if (root.empty()) {
    throw Error(errors::NOT_A_PROJECT, "neither " + inQuotes(folder) + " nor a folder above it is a project");
  }
  return root;
}

FolderProject FolderProject::open(const std::string& folder, const Trust& trust, const ServerAccess& access) {
  std::string root = rootOf(folder);
  requireTrusted(root, trust);
  return openFound(std::move(root), trust, access);
}

// Whose it is is asked once more, of the very folder that was opened: it may have been exchanged since.
FolderProject FolderProject::openFound(std::string root, const Trust& trust, const ServerAccess& access) {
  const auto requireOpened = [&](const Descriptor& opened) { requireTrusted(root, trust, &opened); };
  Descriptor folder = attempt(errors::STORE_UNREADABLE, "cannot open", root + "/" + STORE_FOLDER,
                              [&] { return openBeneath(openFolder(root), STORE_FOLDER, O_RDONLY | O_DIRECTORY); });
  requireOpened(folder);
  const auto address = addressIn(folder);
  if (!address) {
    auto store = Store::open(root + "/" + STORE_FILE, requireOpened);
    folder = attempt(errors::STORE_FAILED, "cannot open", root + "/" + STORE_FOLDER,
                     [&] { return openBeneath(*store->folder(), ".", O_RDONLY | O_DIRECTORY); });
    return {std::move(root), std::move(folder), std::move(store), {}};
  }
  if (!access.servers) {
    throw Error(errors::STORE_UNREACHABLE, "the project's store is at " + inQuotes(address->text()) +
                                               ", and this program reaches no servers; use one that does");
  }
  if (access.require) access.require(*address);
  auto store = access.isOffline ? std::make_shared<Store>(openMirrorOffline(access.mirrors, root, *address))
                                : std::make_shared<Store>(openMirror(access.mirrors, root, *address),
                                                          access.servers->originAt(*address));
  return {std::move(root), std::move(folder), std::move(store), address};
}

FolderProject::FolderProject(std::string root, Descriptor storeFolder, std::shared_ptr<Store> store,
                             std::optional<Address> address)
    : root_(std::move(root)),
      storeFolder_(std::make_shared<const Descriptor>(std::move(storeFolder))),
      address_(std::move(address)),
      store_(std::move(store)),
      metadata_(std::make_shared<MetadataStore>(store_)),
      labels_(std::make_unique<LabelStore>(store_)) {
  store_->setCheck(checkOf(storeFolder_, address_));
}

FolderProject::FolderProject(FolderProject&&) noexcept = default;
FolderProject& FolderProject::operator=(FolderProject&&) noexcept = default;
FolderProject::~FolderProject() = default;

const std::string& FolderProject::root() const { return root_; }

std::shared_ptr<MetadataStore> FolderProject::metadata() const { return metadata_; }

LabelStore& FolderProject::labels() const { return *labels_; }

project::metadata::MetadataScopeGuard FolderProject::beginWrite() const { return store_->beginWrite(); }

void FolderProject::confirm() const { store_->confirm(); }

History FolderProject::history() const { return History(store_); }

void FolderProject::setAuthor(Author author) const { store_->setAuthor(std::move(author)); }

const Author& FolderProject::author() const { return store_->author(); }

std::int64_t FolderProject::lastEdit() const { return store_->lastEdit(); }

void FolderProject::note(const std::vector<Remembered>& before, bool settles) const {
  if (!before.empty()) store_->note({{}, bytesOf(Memory{before}), settles});
}

Edit FolderProject::undo(std::int64_t number, const std::shared_ptr<const EntryTable>& entries) const {
  Edit edit;
  std::vector<Remembered> before;
  store_->atomically([&] {
    edit = history().undo(number);
    if (edit.settled.empty()) return;
    auto noted = memoryIn(edit.settled);
    if (!noted) throw Error(errors::STORE_UNREADABLE, "the log of the project's store is damaged");
    before = std::move(noted->entries);
    store_->note({edit.id, bytesOf(Memory{followed(entries)->nowOf(before)})});
    // Should anything end this in between, what is held back is still held back.
    std::vector<Remembered> opened;
    std::copy_if(before.begin(), before.end(), std::back_inserter(opened),
                 [](const Remembered& one) { return one.from != one.at; });
    if (opened.empty()) return;
    replaceMemory(
        entries, [&](const Followed& followed) { return followed.renewedAsBefore(opened); }, When::withinTheEdit);
  });
  replaceMemory(entries, [&](const Followed& followed) { return followed.renewedAsBefore(before); });
  return edit;
}

std::string FolderProject::locate(const std::string& named) const {
  const auto relative = named.empty() ? std::nullopt : below(root_, resolvedOrRefused(named));
  if (!relative || isStore(*relative)) {
    throw Error(errors::PATH_OUTSIDE_PROJECT,
                inQuotes(named) + " is nothing that the project " + inQuotes(root_) + " holds; name something in it");
  }
  if (relative->size() >= PATH_MAX)
    throw Error(errors::PATH_TOO_LONG, "this path is too long; name it from a folder nearer to it: " + inQuotes(named));
  return *relative;
}

Listing FolderProject::list() const { return listFolder(root_); }

const Descriptor& FolderProject::storeFolder() const { return *storeFolder_; }

std::optional<std::int64_t> FolderProject::seen() const {
  if (!address_ || store_->folder() == nullptr) return std::nullopt;
  return attempt(errors::STORE_FAILED, "cannot look at the mirror of", address_->text(),
                 [&] { return std::int64_t{statusIn(*store_->folder(), STORE_NAME).st_mtim.tv_sec}; });
}

Position FolderProject::position() const { return store_->position(); }

void FolderProject::askOnce() const { store_->setAsksOnce(true); }

std::vector<Edit> FolderProject::lostOnServer() const { return store_->lost(); }

void FolderProject::acceptServer() const { store_->readAnew(); }

namespace {

// The new store is compared with the old one as whoever comes next will read it.
void requireSame(const Update& was, const Update& is) {
  const auto sorted = [](Changes content) {
    std::sort(content.begin(), content.end(),
              [](const Change& a, const Change& b) { return std::tie(a.table, a.row) < std::tie(b.table, b.row); });
    return content;
  };
  const auto isSame = [](const Edit& a, const Edit& b) {
    return std::tie(a.number, a.id, a.at, a.user, a.machine, a.words, a.undoes, a.settled, a.changes) ==
           std::tie(b.number, b.id, b.at, b.user, b.machine, b.words, b.undoes, b.settled, b.changes);
  };
  if (sorted(was.content) == sorted(is.content) &&
      std::equal(was.edits.begin(), was.edits.end(), is.edits.begin(), is.edits.end(), isSame))
    return;
  throw Error(errors::STORE_FAILED, "what was written is not what the store holds; nothing has moved");
}

}  // namespace

// The one step is that the address gets its name: from then on it, and not the store beside it, is the project's.
void FolderProject::moveTo(const Address& address, const ServerAccess& access) const {
  const auto scope = store_->beginWrite();
  Update whole = store_->whole();
  whole.edits.push_back(editBy(author(), position().revision + 1));
  access.servers->create(address, whole.content, whole.edits);
  requireSame(whole, Store::of(access.servers->originAt(address)->read({}))->whole());
  attempt(errors::STORE_FAILED, "cannot note the address in", root_ + "/" + STORE_FOLDER, [&] {
    Publication::removeAbandoned(*storeFolder_);
    Publication publication(*storeFolder_);
    writeFile(publication, ADDRESS_NAME, bytesOf(address));
    publication.publishFile(ADDRESS_NAME, ADDRESS_NAME);
    ::renameat(storeFolder_->get(), STORE_NAME, storeFolder_->get(), MOVED_STORE_NAME);
  });
}

// Whether the store beside the address is the one that was written when the store on the server was closed: what was
// seen of the server last is what it has, or comes right before the entry that closed it.
bool FolderProject::isWrittenBack() const {
  const Position known = position();
  struct stat status {};
  if (::fstatat(storeFolder_->get(), STORE_NAME, &status, AT_SYMLINK_NOFOLLOW) != 0) return false;
  const Position written = Store::open(root_ + "/" + STORE_FILE)->position();
  const std::vector<Edit> log = store_->whole().edits;
  return written == known || (log.size() > 1 && log.back().changes.empty() &&
                              written == Position{log[log.size() - 2].number, log[log.size() - 2].id});
}

void FolderProject::writeBack() const {
  const Update whole = store_->whole();
  const std::string image = Store::of(whole)->image();
  attempt(errors::STORE_FAILED, "cannot make a store in", root_ + "/" + STORE_FOLDER, [&] {
    // Beside an address it is none: a move was ended in between.
    ::renameat(storeFolder_->get(), STORE_NAME, storeFolder_->get(), MOVED_STORE_NAME);
    Publication::removeAbandoned(*storeFolder_);
    Publication publication(*storeFolder_);
    writeFile(publication, STORE_NAME, image);
    publication.publishFile(STORE_NAME, STORE_NAME);
  });
  requireSame(whole, Store::open(root_ + "/" + STORE_FILE)->whole());
}

// The new store is there before the server closes its own, and the address counts until it is removed. Whoever is ended
// in between finds the server closed, and the store beside the address.
void FolderProject::moveBack() const {
  try {
    store_->atomically([&] {
      writeBack();
      store_->closeOrigin();
    });
  } catch (const Error& error) {
    if (error.identifier() != std::string_view(errors::STORE_MOVED) || !isWrittenBack()) throw;
  }
  attempt(errors::STORE_FAILED, "cannot remove the address from", root_ + "/" + STORE_FOLDER, [&] {
    check(::unlinkat(storeFolder_->get(), ADDRESS_NAME, 0));
    check(::fsync(storeFolder_->get()));
  });
}

// The folder first: nobody has to wait for it with what they want to write, and whatever comes into the project from
// then on is not shared. A label that is attached meanwhile only holds back more. Where a file is moved meanwhile and
// its label with it, the listing has its old path, which no label holds back any more, but the file is not found there,
// and what is put there in its place is another one: whoever reads it refuses it as changed. The other way round, a
// file that came between with its label would be listed, and its label not known.
std::shared_ptr<WorkingCopy> FolderProject::workingCopy() const {
  auto listing = std::make_shared<const Listing>(list());
  store_->refresh();
  auto store = store_->memoryCopy();
  auto copy = std::make_shared<WorkingCopy>(root_, std::move(store), std::move(listing), memory());
  if (address_) copy->setAddress(address_->text());
  return copy;
}

std::shared_ptr<const Memory> FolderProject::memory() const {
  return attempt(errors::MEMORY_FAILED, "cannot read what was noted of labelled entries beside",
                 root_ + "/" + STORE_FILE, [&] { return std::make_shared<const Memory>(readMemory(storeFolder())); });
}

std::shared_ptr<const Followed> FolderProject::followed(std::shared_ptr<const EntryTable> entries) const {
  const auto scope = store_->beginRead();
  auto labels = std::make_shared<const EffectiveLabels>(*entries, *labels_);
  return std::make_shared<const Followed>(std::move(entries), std::move(labels), memory());
}

// Read again under the lock: another process may have replaced it since anything was looked at. What fails when the
// edit is kept must not say that it was not.
template <class Change>
void FolderProject::replaceMemory(const std::shared_ptr<const EntryTable>& entries, const Change& change,
                                  When when) const {
  const auto failure = [&](const char* why) {
    const std::string what = when == When::afterTheEdit
                                 ? "the labels are as they should be, but which entries have them cannot be noted: "
                                 : "nothing is changed, because which entries have labels cannot be noted: ";
    return Error(errors::MEMORY_FAILED, what + why);
  };
  try {
    const MemoryLock lock(storeFolder());
    writeMemory(storeFolder(), change(*followed(entries)));
  } catch (const Error& error) {
    throw failure(error.what());
  } catch (const std::system_error& error) {
    throw failure(error.code().message().c_str());
  }
}

void FolderProject::remember(const std::shared_ptr<const EntryTable>& entries, const Settled& settled) const {
  replaceMemory(entries, [&](const Followed& followed) { return followed.renewed(settled); });
}

void FolderProject::rememberAsMeant(const std::shared_ptr<const EntryTable>& entries,
                                    const std::vector<std::string>& paths) const {
  replaceMemory(entries, [&](const Followed& followed) { return followed.renewedAsMeant(paths); });
}

}  // namespace folder_host
