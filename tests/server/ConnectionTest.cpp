#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <thread>

#include "Postgres.h"
#include "folder_host/Fixture.h"
#include "server_store/Hosts.h"
#include "server_store/PostgresServers.h"

namespace server_store {

using namespace folder_host;
using std::chrono::milliseconds;

namespace {

// Answers to a client what a test says, a connection after the other.
class Stranger {
 public:
  explicit Stranger(std::function<void(int)> answer)
      : listener_(listening(port_)), answer_(std::move(answer)), serving_([this] { serve(); }) {}
  ~Stranger() {
    ::shutdown(listener_, SHUT_RDWR);
    serving_.join();
    ::close(listener_);
  }

  Address address() const { return {"127.0.0.1:" + std::to_string(port_), "postgres", "", "project"}; }

 private:
  void serve() {
    for (int client = 0; (client = ::accept(listener_, nullptr, nullptr)) >= 0; ::close(client)) answer_(client);
  }

  int port_ = 0;
  const int listener_;
  const std::function<void(int)> answer_;
  std::thread serving_;
};

bool say(int client, const std::string& bytes) {
  return ::send(client, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<::ssize_t>(bytes.size());
}

bool hear(int client) {
  char bytes[4096];
  return ::recv(client, bytes, sizeof bytes, 0) > 0;
}

using std::string_literals::operator""s;

// No encryption; you are logged in; ask.
bool letIn(int client) {
  return hear(client) && say(client, "N") && hear(client) && say(client, "R\0\0\0\x08\0\0\0\0Z\0\0\0\x05I"s) &&
         hear(client);
}

std::string messageOf(const std::function<void()>& act) {
  try {
    act();
    return "nothing was refused";
  } catch (const Error& error) {
    return std::string(error.identifier()) + ": " + error.what();
  }
}

TEST(Hosts, AreReadAsTheyAreWritten) {
  const struct {
    const char* text;
    std::vector<std::string> hosts;  // none: refused
  } rows[] = {{"db", {"db 5432"}},
              {"db:1,[::1]:65535,127.0.0.1", {"db 1", "::1 65535", "127.0.0.1 5432"}},
              {"[fe80::1]", {"fe80::1 5432"}},
              {"::1", {}},
              {"db:", {}},
              {"db:0", {}},
              {"db:65536", {}},
              {"db:4294972728", {}},
              {"db:5x", {}},
              {"db,", {}},
              {":5", {}},
              {"[::1", {}},
              {"[::1]x5", {}},
              {"[]", {}}};
  for (const auto& row : rows) {
    std::vector<std::string> hosts;
    const std::string refusal = refusalOf([&] {
      for (const Host& host : hostsIn(row.text)) hosts.push_back(host.name + " " + host.port);
    });
    EXPECT_EQ(row.hosts, hosts) << row.text;
    EXPECT_EQ(row.hosts.empty() ? errors::ADDRESS_UNUSABLE : "", refusal) << row.text;
  }
}

TEST(Hosts, OfThisMachineAreNothingElse) {
  for (const char* name : {"localhost", "LocalHost", "127.0.0.1", "127.9.8.7", "::1"}) EXPECT_TRUE(isThisMachine(name));
  for (const char* name :
       {"localhost.example", "127.0.0.1.example", "127.1", "0.0.0.0", "::", "::2", "128.0.0.1", ""}) {
    EXPECT_FALSE(isThisMachine(name)) << name;
  }
}

TEST(Server, ThatDoesNotAnswerIsWaitedForUntilTheDeadline) {
  const Deadlines deadlines{milliseconds(400), milliseconds(600), milliseconds(100)};
  std::vector<std::unique_ptr<Stranger>> silent;
  const auto wait = [](int client) {
    while (hear(client)) {
    }
  };
  silent.push_back(std::make_unique<Stranger>(wait));
  silent.push_back(std::make_unique<Stranger>([&](int client) { letIn(client) ? wait(client) : void(); }));
  for (const auto& stranger : silent) {
    PostgresServers servers(deadlines);
    const std::pair<const char*, std::function<void()>> rows[] = {
        {errors::STORE_UNREACHABLE, [&] { servers.originAt(stranger->address())->read({}); }},
        {errors::STORE_UNREACHABLE,
         [&] {
           servers.originAt(stranger->address())->lock({1, "id"});
         }},
        {stranger == silent[0] ? errors::STORE_UNREACHABLE : errors::STORE_OUTCOME_UNKNOWN,
         [&] { servers.create(stranger->address(), {}, {editOf(1, {})}); }}};
    for (const auto& [identifier, act] : rows) {
      const auto begin = Clock::now();
      EXPECT_EQ(identifier, refusalOf(act));
      EXPECT_LT(Clock::now() - begin, milliseconds(2000));
    }
  }
}

TEST(Server, ThatSaysAnythingIsRefused) {
  const std::string large(1 << 20, '\0');
  const struct {
    const char* identifier;
    std::function<void(int)> answer;
  } rows[] = {
      {errors::STORE_UNREACHABLE, [](int client) { say(client, "HTTP/1.1 400 Bad Request\r\n\r\n"); }},
      {errors::STORE_UNREACHABLE, [](int client) { hear(client) && say(client, "S\x16\x03"); }},
      {errors::STORE_UNREACHABLE, [](int client) { letIn(client) && say(client, "D\0\0\0\x01"s); }},
      {errors::STORE_UNREACHABLE,
       [](int client) {
         letIn(client) && say(client,
                              "1\0\0\0\x04"s
                              "2\0\0\0\x04"s
                              "Z\0\0\0\x05I"s);
       }},
      // A row that has no end, and settings that have none.
      {errors::STORE_UNREADABLE,
       [&](int client) {
         if (letIn(client) && say(client,
                                  "1\0\0\0\x04"s
                                  "2\0\0\0\x04"s
                                  "D\x7F\0\0\0"s)) {
           while (say(client, large)) {
           }
         }
       }},
      {errors::STORE_UNREADABLE,
       [&](int client) {
         std::string many;
         while (many.size() < large.size())
           many +=
               "S\0\0\0\x08"s
               "a\0b\0"s;
         for (bool goesOn = letIn(client); goesOn; goesOn = say(client, many)) {
         }
       }},
  };
  for (const auto& row : rows) {
    const Stranger stranger(row.answer);
    PostgresServers servers({milliseconds(2000), milliseconds(5000), milliseconds(100)});
    const std::string message = messageOf([&] { servers.originAt(stranger.address())->read({}); });
    EXPECT_EQ(row.identifier, message.substr(0, message.find(':'))) << message;
    EXPECT_EQ(std::string::npos, message.find('\n')) << message;
  }
}

TEST(Server, ThatIsNotThereOrNotReadyIsRefused) {
  postgres().run("CREATE DATABASE bare");
  PostgresServers servers({milliseconds(1000), milliseconds(5000), milliseconds(100)});
  Address address = postgres().addressOf("p");
  const auto identifierAt = [&](const Address& at) { return refusalOf([&] { servers.originAt(at)->read({}); }); };
  address.database = "bare";
  EXPECT_EQ(errors::STORE_NOT_FOUND, identifierAt(address));
  address.database = "none such";
  EXPECT_EQ(errors::STORE_UNREACHABLE, identifierAt(address));
  address.hosts = "127.0.0.1:1";
  EXPECT_EQ(errors::STORE_UNREACHABLE, identifierAt(address));
  address.hosts = "none-such.invalid";
  EXPECT_EQ(errors::STORE_UNREACHABLE, identifierAt(address));
  address.hosts = "127.0.0.1:x";
  EXPECT_EQ(errors::ADDRESS_UNUSABLE, identifierAt(address));
  // The next host is tried, with the time that is left.
  const Stranger silent([](int client) {
    while (hear(client)) {
    }
  });
  address = postgres().addressOf("none such");
  address.hosts = "127.0.0.1:1," + silent.address().hosts + "," + address.hosts;
  EXPECT_EQ(errors::STORE_NOT_FOUND, identifierAt(address));
}

TEST(Server, LetsEachUserDoWhatTheirRolesAllow) {
  PostgresServers servers;
  const Address address = postgres().addressOf("of roles");
  servers.create(address, {}, {editOf(1, {})});
  const struct {
    const char* user;
    std::string read, lock, create;
  } rows[] = {{"editor", "", "", errors::STORE_NAME_TAKEN},
              {"sharer", "", errors::STORE_READ_ONLY, errors::STORE_READ_ONLY},
              {"stranger", errors::STORE_NOT_FOUND, errors::STORE_READ_ONLY, errors::STORE_READ_ONLY}};
  for (const auto& row : rows) {
    ::setenv("PGUSER", row.user, 1);
    EXPECT_EQ(row.read, refusalOf([&] { servers.originAt(address)->read({}); })) << row.user;
    EXPECT_EQ(row.lock, refusalOf([&] { servers.originAt(address)->lock({}); })) << row.user;
    EXPECT_EQ(row.create, refusalOf([&] { servers.create(address, {}, {editOf(1, {})}); })) << row.user;
  }
  ::setenv("PGUSER", "editor", 1);
}

TEST(Server, WhoseTablesHoldAnythingElseIsNotBelieved) {
  const char* noDigest =
      "ALTER TABLE project_share.project DROP CONSTRAINT IF EXISTS project_content_check; "
      "UPDATE project_share.project SET content = ''";
  const char* damages[] = {
      "UPDATE project_share.edit SET changes = '\\xff' WHERE revision = 6",
      "UPDATE project_share.edit SET id = repeat('a', 200)::bytea WHERE revision = 6",
      "UPDATE project_share.edit SET id = '' WHERE revision = 6",
      "UPDATE project_share.edit SET author = repeat('a', 5000)::bytea WHERE revision = 6",
      "UPDATE project_share.edit SET words = repeat('a', 70000)::bytea WHERE revision = 6",
      "UPDATE project_share.edit SET at = -1 WHERE revision = 6",
      "DELETE FROM project_share.edit WHERE revision = 6",
      "DELETE FROM project_share.edit WHERE revision = 7",
      "UPDATE project_share.edit SET revision = 9 WHERE revision = 7",
      "UPDATE project_share.project SET id = repeat('a', 200)::bytea",
      "UPDATE project_share.project SET revision = 8",
      noDigest,
  };
  const char* damagesOfItems[] = {
      "UPDATE project_share.item SET change = ''",
      "UPDATE project_share.item SET change = change || change",
      "UPDATE project_share.item SET change = set_byte(change, 0, 2)",
      "UPDATE project_share.item SET change = set_byte(change, 0, 200)",
      "UPDATE project_share.item SET change = set_byte(change, length(change) - 1, 48)",
      "DELETE FROM project_share.item",
  };
  PostgresServers servers;
  const std::vector<Edit> log = {editOf(5, {}), editOf(6, {}), editOf(7, {})};
  const auto expectRefused = [&](const char* damage, const Position& known) {
    postgres().run("TRUNCATE project_share.project CASCADE");
    const Address address = postgres().addressOf("damaged");
    servers.create(address, {rowPut("a", "1")}, log);
    EXPECT_EQ("", refusalOf([&] { servers.originAt(address)->read(known); }));
    postgres().run("SET session_replication_role = replica; "s + damage);
    EXPECT_EQ(errors::STORE_UNREADABLE, refusalOf([&] { servers.originAt(address)->read(known); })) << damage;
    EXPECT_EQ(errors::STORE_UNREADABLE, refusalOf([&] { servers.originAt(address)->lock(known); })) << damage;
  };
  for (const char* damage : damages) {
    expectRefused(damage, {});
    expectRefused(damage, positionOf(log[0]));
  }
  for (const char* damage : damagesOfItems) expectRefused(damage, {});
}

TEST(Server, ShowsItsWordsInMessagesAlone) {
  PostgresServers servers;
  const Address address = postgres().addressOf("of words");
  servers.create(address, {}, {editOf(1, {})});
  postgres().run(
      "CREATE FUNCTION speak() RETURNS trigger LANGUAGE plpgsql AS $$ BEGIN RAISE NOTICE 'aloud'; "
      "RAISE EXCEPTION E'a ''line''\\nand %', repeat('x', 1000); END $$; "
      "CREATE TRIGGER speak BEFORE INSERT ON project_share.edit FOR EACH ROW EXECUTE FUNCTION speak()");
  const auto origin = servers.originAt(address);
  origin->lock({});
  const TemporaryFolder place;
  const int terminal = ::dup(STDERR_FILENO), said = ::open((place.path / "said").c_str(), O_WRONLY | O_CREAT, 0600);
  ::dup2(said, STDERR_FILENO);
  const std::string message = messageOf([&] { origin->publish(editOf(2, {})); });
  ::dup2(terminal, STDERR_FILENO);
  for (const int descriptor : {terminal, said}) ::close(descriptor);
  EXPECT_EQ("", folder_host::read(place.path / "said"));
  EXPECT_EQ("store-failed: the server at '" + address.hosts + "/postgres' could not do it: 'a ''line'''", message);
  postgres().run("DROP FUNCTION speak CASCADE");
  EXPECT_EQ(1U, servers.originAt(address)->read({}).edits.size());
}

// What a service names is proven by a certificate, and the log-in is bound to it: also where the service, the
// environment or the server would have it otherwise.
TEST(Server, OfAServiceIsProvenToBeIt) {
  const std::string folder = postgres().folder(), data = folder + "/data/";
  const auto makeCertificate = [&](const std::string& name) {
    outputOf(
        "openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=x -addext subjectAltName=DNS:teams.example "
        "-keyout " +
        name + ".key -out " + name + ".crt && chmod 600 " + name + ".key && chown --reference=" + data + " " + name +
        ".key " + name + ".crt");
  };
  makeCertificate(data + "server");
  makeCertificate(data + "other");
  std::string hba = read(data + "pg_hba.conf");
  write(data + "pg_hba.conf", "host all proven 127.0.0.1/32 scram-sha-256\n" + hba);
  postgres().run(
      "SET password_encryption = 'scram-sha-256'; CREATE ROLE proven LOGIN PASSWORD 'secret' IN ROLE "
      "project_share_editors");
  const auto encrypt = [&](const char* isOn) {
    postgres().run("ALTER SYSTEM SET ssl = "s + isOn);
    postgres().run("SELECT pg_reload_conf()");
    while (postgres().run("SHOW ssl") != isOn + "\n"s) {
    }
  };
  const struct {
    const char* isOn;
    const char* host;
    const char* root;
    const char* user;
    std::string identifier;
  } rows[] = {{"on", "teams.example", "server", "proven", errors::STORE_NOT_FOUND},
              {"on", "other.example", "server", "proven", errors::STORE_UNREACHABLE},
              {"on", "teams.example", "other", "proven", errors::STORE_UNREACHABLE},
              {"on", "teams.example", "server", "editor", errors::STORE_UNREACHABLE},
              {"off", "teams.example", "server", "proven", errors::STORE_UNREACHABLE}};
  PostgresServers servers;
  const std::string services = folder + "/services";
  ::setenv("PGSERVICEFILE", services.c_str(), 1);
  ::setenv("PGSSLMODE", "disable", 1);
  for (const auto& row : rows) {
    encrypt(row.isOn);
    write(services, "[teams]\nhost="s + row.host + "\nhostaddr=127.0.0.1\nport=" + std::to_string(postgres().port()) +
                        "\ndbname=postgres\npassword=secret\nsslmode=disable\nchannel_binding=disable\nsslrootcert=" +
                        data + row.root + ".crt\nuser=" + row.user + "\n");
    ::unsetenv("PGUSER");
    const std::string message = messageOf([&] { servers.originAt({"", "", "teams", "p"})->read({}); });
    EXPECT_EQ(row.identifier, message.substr(0, message.find(':'))) << message;
    EXPECT_EQ(std::string::npos, message.find("secret"));
  }
  encrypt("on");
  write(services, read(services) + "user=proven\nsslrootcert=" + data + "server.crt\n");
  Changes many;
  many.reserve(30);
  for (int i = 0; i < 30; ++i) many.push_back(rowPut(std::to_string(i), std::string(std::size_t{1} << i % 21, 'x')));
  const Address encrypted = {"", "", "teams", "encrypted"};
  servers.create(encrypted, many, {editOf(1, {})});
  EXPECT_TRUE(sorted(many) == sorted(servers.originAt(encrypted)->read({}).content));
  const std::string message = messageOf([&] { servers.originAt({"", "", "none such", "p"})->read({}); });
  EXPECT_NE(std::string::npos, message.find("none such")) << message;
  for (const char* name : {"PGSERVICEFILE", "PGSSLMODE"}) ::unsetenv(name);
  encrypt("off");
  ::setenv("PGUSER", "editor", 1);
}

}  // namespace

}  // namespace server_store
