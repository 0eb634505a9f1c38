#include <unistd.h>

#include <cstdlib>

#include "Postgres.h"
#include "Proxy.h"
#include "host_conformance/FolderHost.h"
#include "server_store/PostgresServers.h"

namespace server_store {

namespace {

using folder_host::FolderProject;

// What a sequence counts stays counted when a transaction is rolled back: so an edit fails once.
constexpr const char* FAILING =
    "CREATE SEQUENCE edits START 10; GRANT ALL ON SEQUENCE edits TO PUBLIC; "
    "CREATE FUNCTION fail_once() RETURNS trigger LANGUAGE plpgsql AS "
    "$$BEGIN IF nextval('public.edits') = 2 THEN RAISE EXCEPTION 'as planned'; END IF; RETURN NEW; END$$; "
    "CREATE TRIGGER fail_once BEFORE INSERT ON project_share.edit FOR EACH ROW EXECUTE FUNCTION fail_once()";

host_conformance::Host hostAt(int port) {
  static const std::string prepared = postgres().run(FAILING);
  static int number = 0;
  const auto place = std::make_shared<folder_host::TemporaryFolder>();
  const folder_host::ServerAccess access{std::make_shared<PostgresServers>()};
  const auto address = folder_host::parseAddress("postgresql://127.0.0.1:" + std::to_string(port) +
                                                 "/postgres?project=project" + std::to_string(++number));
  return hostOf(
      place, FolderProject::initAt(place->path.string(), nullptr, address, access, {"ann", "m", "init"}),
      [place, access] { return FolderProject::open(place->path.string(), nullptr, access); },
      [] { postgres().run("SELECT setval('edits', 1)"); });
}

host_conformance::Host makeHost() { return hostAt(postgres().port()); }

// As far away as another continent.
host_conformance::Host makeDistantHost() {
  static Proxy proxy(postgres().port());
  proxy.setDelay(std::chrono::milliseconds(20));
  return hostAt(proxy.port());
}

}  // namespace

}  // namespace server_store

namespace folder_host {

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(OriginContract);  // another program's

}  // namespace folder_host

int main(int argc, char** argv) {
  if (access("/dev/shm/.", W_OK) == 0) setenv("TMPDIR", "/dev/shm", 0);
  testing::InitGoogleTest(&argc, argv);
  host_conformance::registerSuite("ServerHost", server_store::makeHost);
  host_conformance::registerSuite("DistantHost", server_store::makeDistantHost);
  return RUN_ALL_TESTS();
}
