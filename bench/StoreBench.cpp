// The folder host's answers to the library's calls beside the same queries through bare prepared statements, on one
// store in memory: what the disk takes is in neither.
#include <map>
#include <memory>

#include "BareStore.h"
#include "InTurns.h"
#include "StoreCalls.h"
#include "Suite.h"
#include "folder_host/store/MetadataStore.h"
#include "folder_host/store/Store.h"
#include "folder_host/store/StoreFile.h"

namespace bench {

namespace {

using project::metadata::MetadataNodeSpecification;
using Kind = StoreCall::Kind;

folder_host::StoreDatabase emptyStore() {
  folder_host::StoreDatabase store = folder_host::openInMemory();
  folder_host::createTables(store.database);
  return store;
}

// One connection with both ways to it. It only grows, as the numbers of profiles do.
class Stored {
 public:
  Stored() : Stored(emptyStore()) {}

  void grow(std::size_t profiles) {
    for (; profiles_ < profiles; ++profiles_) {
      bare.answer(BareStore::keysOf({{Kind::set, profilePath(profiles_), u"Name", u"a name"}}));
      bare.answer(BareStore::keysOf(callsToSave(profiles_)));
    }
  }

  void answer(const std::vector<StoreCall>& calls) {
    const auto scope = metadata.beginWriteScope();
    for (const StoreCall& call : calls) answer(call);
  }

  folder_host::MetadataStore metadata;
  BareStore bare;

 private:
  explicit Stored(folder_host::StoreDatabase store) : Stored(store, store.database.getHandle()) {}
  Stored(folder_host::StoreDatabase& store, sqlite3* handle)
      : metadata(std::make_shared<folder_host::Store>(std::move(store))), bare(handle) {}

  void answer(const StoreCall& call) {
    switch (call.kind) {
      case Kind::exists:
        benchmark::DoNotOptimize(metadata.nodeExists(call.path));
        return;
      case Kind::children:
        benchmark::DoNotOptimize(metadata.getChildPaths(call.path));
        return;
      case Kind::node:
        benchmark::DoNotOptimize(metadata.getNode(call.path));
        return;
      case Kind::set: {
        const auto node = std::make_shared<MetadataNodeSpecification>();
        if (!call.key.empty()) node->put(call.key, call.value);
        return metadata.setNodes({{call.path, node}});
      }
      case Kind::remove:
        return metadata.removeNodes({call.path});
    }
  }

  std::size_t profiles_ = 0;
};

using Calls = std::vector<StoreCall> (*)(std::size_t);

void add(const Suite& suite, const std::string& operation, std::size_t profiles, Calls callsOf) {
  suite.add("store/" + operation + "/" + std::to_string(profiles), 10 / profiles, [=](benchmark::State& state) {
    static Stored stored;
    stored.grow(profiles);
    const std::vector<StoreCall> calls = callsOf(operation == "save" ? 0 : profiles);
    const auto keys = BareStore::keysOf(calls);
    inTurns(
        state, [&] { stored.bare.answer(keys); }, [&] { stored.answer(calls); });
  });
}

}  // namespace

void addStore(const Suite& suite) {
  for (const std::size_t profiles : {1U, 10U, 100U, 1000U}) {
    if (suite.isShort() && profiles > 10) return;
    add(suite, "list", profiles, callsToList);
    add(suite, "find", profiles, callsToFindByName);
    add(suite, "create", profiles, callsToCreate);
    add(suite, "save", profiles, callsToSave);
  }
}

}  // namespace bench
