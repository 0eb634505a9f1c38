#include <sqlite3.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>

#include "FolderHost.h"
#include "folder_host/Error.h"
#include "folder_host/MemoryServers.h"

namespace folder_host {

namespace {

// Whether the next commit of this process is refused. Each connection asks this when it commits.
std::atomic<bool> failsNext{false};

int refuseCommits(sqlite3* database, char**, const sqlite3_api_routines*) {
  sqlite3_commit_hook(
      database, [](void*) { return failsNext.exchange(false) ? 1 : 0; }, nullptr);
  return SQLITE_OK;
}

host_conformance::Host makeHost() {
  const auto place = std::make_shared<TemporaryFolder>();
  return hostOf(
      place, FolderProject::init(place->path.string()), [place] { return FolderProject::open(place->path.string()); },
      [] { failsNext = true; });
}

// Its store is the mirror of a server, and each session has one of its own.
host_conformance::Host makeMirrorHost() {
  const auto place = std::make_shared<TemporaryFolder>();
  const auto servers = std::make_shared<MemoryServers>();
  const ServerAccess access{servers};
  const auto failNext = [servers] {
    servers->onCall = [&servers = *servers](const std::string& call) {
      if (call != "publish") return;
      servers.onCall = nullptr;
      throw Error(errors::STORE_UNREACHABLE, "as planned");
    };
  };
  const Address address = parseAddress("postgresql://server/team?project=film");
  return hostOf(
      place, FolderProject::initAt(place->path.string(), nullptr, address, access, {"ann", "m", "init"}),
      [place, access] { return FolderProject::open(place->path.string(), nullptr, access); }, failNext);
}

}  // namespace

}  // namespace folder_host

int main(int argc, char** argv) {
  if (access("/dev/shm/.", W_OK) == 0)
    setenv("TMPDIR", "/dev/shm", 0);  // thousands of commits, none of which need last
  sqlite3_auto_extension(reinterpret_cast<void (*)()>(folder_host::refuseCommits));
  testing::InitGoogleTest(&argc, argv);
  host_conformance::registerSuite("FolderHost", folder_host::makeHost);
  host_conformance::registerSuite("MirrorHost", folder_host::makeMirrorHost);
  return RUN_ALL_TESTS();
}
