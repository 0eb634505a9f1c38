// Any rows as what a server answers: a byte how many columns a row has, the numbers of their bytes, which may say that
// there is none, and these.

#include <set>

#include "Fuzz.h"
#include "folder_host/Error.h"
#include "server_store/UpdateReader.h"

using namespace server_store;

namespace {

class Bytes {
 public:
  Bytes(const std::uint8_t* bytes, std::size_t size) : rest_(reinterpret_cast<const char*>(bytes), size) {}

  bool isEmpty() const { return rest_.empty(); }
  std::size_t number() { return isEmpty() ? 0 : static_cast<unsigned char>(take(1).front()); }
  std::string_view take(std::size_t count) {
    const std::string_view taken = rest_.substr(0, count);
    rest_.remove_prefix(taken.size());
    return taken;
  }
  Row row(std::size_t columns) {
    Row row(columns);
    for (auto& column : row) {
      const std::size_t size = number();
      if (size != 255) column = take(size);
    }
    return row;
  }

 private:
  std::string_view rest_;
};

void read(Bytes bytes, const folder_host::Position& known) {
  const Refusals refusals({"host", "db", "", "project"});
  UpdateReader reader(refusals, known);
  while (!bytes.isEmpty()) {
    const std::size_t columns = bytes.number() % 16;
    columns == 1 ? reader.addItem(bytes.row(columns)) : reader.addState(bytes.row(columns));
  }
  if (!reader.isThere() || reader.needsWhole()) return;
  const bool hasGoneBack = reader.hasGoneBack();
  const folder_host::Update update = std::move(reader).finish();
  require(!hasGoneBack && update.isWhole == (known.revision == 0), "what is told is what was asked for");
  std::int64_t number = update.isWhole ? 0 : known.revision;
  require(!update.isWhole || !update.edits.empty(), "a whole one has an edit");
  for (const folder_host::Edit& edit : update.edits) {
    require(isSound(edit) && (number == 0 || edit.number == number + 1), "the edits are in order");
    number = edit.number;
  }
  for (const folder_host::Change& change : update.content) {
    require(change.isPut && change.row.size() == sqlOf(change.table).columns, "the rows are rows");
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  for (const folder_host::Position& known : {folder_host::Position{}, folder_host::Position{1, "a"}}) {
    try {
      read({bytes, size}, known);
    } catch (const folder_host::Error& error) {
      const std::set<std::string> all = {"store-unreadable", "store-too-new", "store-went-back"};
      require(all.count(error.identifier()) == 1, "what cannot be used is refused");
    }
  }
  return 0;
}
