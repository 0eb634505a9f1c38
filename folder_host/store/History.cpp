#include "folder_host/store/History.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <map>
#include <set>
#include <string_view>
#include <tuple>
#include <utility>

#include "folder_host/Error.h"
#include "folder_host/store/Blob.h"
#include "folder_host/store/NodeKey.h"
#include "folder_host/store/Store.h"
#include "folder_host/text/FoldedName.h"
#include "folder_host/text/Utf.h"

namespace folder_host {

namespace {

Error damagedLog() {
  return {errors::STORE_UNREADABLE, "the log of the project's store is damaged, and nothing is taken back"};
}

// What edits can be in each other's way by. Two that have none of it in common can be taken back in any order.
struct Footprint {
  std::set<std::string> changed;  // rows, names, and that things are there
  std::set<std::string> needed;   // that things are there
};

// The columns of its primary key.
std::string rowKeyOf(const Change& change) {
  constexpr std::array<std::size_t, TABLES> KEYS = {3, 2, 1, 1, 2, 2};
  const auto table = static_cast<std::size_t>(change.table);
  std::string key = "row " + std::to_string(table);
  for (std::size_t i = 0; i < KEYS[table]; ++i) key += ' ' + std::to_string(change.row[i].size()) + ':' + change.row[i];
  return key;
}

// Names that look alike are one name here: no two things may have it.
std::optional<std::string> nameIn(const Change& change) {
  const auto look = [](const std::string& blob) { return lookOf(toBytes(fromBlob(blob))); };
  const std::vector<std::string>& row = change.row;
  if (change.table == StoreTable::category) return "name of a category " + look(row[1]);
  if (change.table == StoreTable::label) return "name of a label " + row[1] + look(row[2]);
  // By this key nodes that people name have their names.
  if (change.table == StoreTable::nodeValue && row[1] == toBlob(u"Name")) return "name of a node " + look(row[2]);
  return std::nullopt;
}

// By what the rows of other tables name it.
std::optional<std::string> identityIn(const Change& change) {
  if (change.table == StoreTable::category || change.table == StoreTable::label) return change.row[0];
  if (change.table == StoreTable::node) return childKeyOf(change.row[0], change.row[1], change.row[2]);
  return std::nullopt;
}

Footprint footprintOf(const Changes& changes) {
  Footprint footprint;
  std::map<std::string, int> rows;  // how often a row with that identity was put, less how often it went
  for (const Change& change : changes) {
    if (isTopNode(change)) continue;
    footprint.changed.insert(rowKeyOf(change));
    if (auto name = nameIn(change)) footprint.changed.insert(*std::move(name));
    if (const auto identity = identityIn(change)) rows[*identity] += change.isPut ? 1 : -1;
    for (const std::string& column : change.row) footprint.needed.insert("thing " + column);
  }
  for (const auto& [identity, count] : rows) {
    if (count != 0) footprint.changed.insert("thing " + identity);
  }
  return footprint;
}

bool haveInCommon(const std::set<std::string>& a, const std::set<std::string>& b) {
  const auto& [few, many] = a.size() < b.size() ? std::tie(a, b) : std::tie(b, a);
  return std::any_of(few.begin(), few.end(), [&, &all = many](const std::string& one) { return all.count(one) != 0; });
}

bool clash(const Footprint& a, const Footprint& b) {
  return haveInCommon(a.changed, b.changed) || haveInCommon(a.changed, b.needed) || haveInCommon(a.needed, b.changed);
}

std::string textOf(const Edit& edit) {
  return "edit " + std::to_string(edit.number) + " of " + inQuotes(edit.user + "@" + edit.machine);
}

// Of the edits before that number, by id: those that were taken back then. From the last on: one that took another back
// counts only while it stands itself.
std::set<std::string> takenBackBefore(const std::vector<Edit>& edits, std::int64_t number) {
  std::set<std::string> takenBack;
  for (auto edit = edits.rbegin(); edit != edits.rend(); ++edit) {
    if (edit->number < number && !edit->undoes.empty() && takenBack.count(edit->id) == 0)
      takenBack.insert(edit->undoes);
  }
  return takenBack;
}

void markTakenBack(std::vector<Edit>& edits) {
  const auto takenBack = takenBackBefore(edits, std::numeric_limits<std::int64_t>::max());
  for (Edit& edit : edits) edit.isTakenBack = takenBack.count(edit.id) != 0;
}

// The edit itself or, of one that took another one back, that one: to take it back is to make that one again.
const Edit& rootOf(const std::vector<Edit>& edits, const Edit& edit) {
  const Edit* root = &edit;
  while (!root->undoes.empty()) {
    const auto is = [&](const Edit& other) { return other.id == root->undoes && other.number < root->number; };
    const auto undone = std::find_if(edits.begin(), edits.end(), is);
    if (undone == edits.end()) break;
    root = &*undone;
  }
  return *root;
}

// Of the edits that stand, the last that is later and in the way; those that took others back stand for nothing but
// that.
const Edit* obstacleTo(const std::vector<Edit>& edits, const Edit& root) {
  const Footprint footprint = footprintOf(root.changes);
  for (auto other = edits.rbegin(); other != edits.rend() && other->number > root.number; ++other) {
    if (other->undoes.empty() && !other->isTakenBack && clash(footprint, footprintOf(other->changes))) return &*other;
  }
  return nullptr;
}

// Of an edit that is to be made again: what it was made upon has to be as it was then. The earlier edit of which that
// is not so.
const Edit* changedBelow(const std::vector<Edit>& edits, const Edit& root) {
  const Footprint footprint = footprintOf(root.changes);
  const auto takenBack = takenBackBefore(edits, root.number);
  for (auto other = edits.rbegin(); other != edits.rend(); ++other) {
    if (other->number >= root.number || !other->undoes.empty()) continue;
    const bool wasTakenBack = takenBack.count(other->id) != 0;
    if (wasTakenBack != other->isTakenBack && clash(footprint, footprintOf(other->changes))) return &*other;
  }
  return nullptr;
}

// The edit that stands and took that one back.
const Edit& takerOf(const std::vector<Edit>& edits, const Edit& edit) {
  const auto is = [&](const Edit& one) { return !one.isTakenBack && one.undoes == edit.id; };
  return *std::find_if(edits.begin(), edits.end(), is);
}

// Whoever makes a node makes those above it; the one right below the root is taken back by nobody.
void makeTopOf(Store& store, std::string_view parent) {
  auto parts = splitNodeKey(parent);
  while (parts && !(*parts)[0].empty()) parts = splitNodeKey(std::string((*parts)[0]));
  if (parts)
    store.run("INSERT INTO node VALUES(?, ?, ?) ON CONFLICT(parent, type, location) DO NOTHING",
              {"", (*parts)[1], (*parts)[2]});
}

// Whether all of it could be done.
bool revert(Store& store, const Changes& changes) {
  for (const Change& change : changes) {
    const bool isToGo = change.isPut && !isTopNode(change);
    if (isToGo && store.run(sqlOf(change.table).remove, change.row) != 1) return false;
  }
  for (const Change& change : changes) {
    if (change.isPut || isTopNode(change)) continue;
    if (change.table == StoreTable::node) makeTopOf(store, change.row[0]);
    if (store.run(sqlOf(change.table).put, change.row) != 1) return false;
  }
  return store.isSound();
}

}  // namespace

EditInTheWay::~EditInTheWay() = default;

std::vector<Edit> History::edits() const {
  std::vector<Edit> edits = heads();
  addChanges(edits, 0);
  return edits;
}

// Most of a log is what was changed, and most questions are about the last edits.
std::vector<Edit> History::heads() const {
  std::vector<Edit> edits;
  const char* sql = "SELECT number, id, at, user, machine, words, undoes FROM edit ORDER BY number";
  for (Store::Row& row : store_->query(sql)) {
    Edit& edit = edits.emplace_back();
    edit.number = std::stoll(row[0]);
    edit.id = std::move(row[1]);
    edit.at = std::stoll(row[2]);
    edit.user = std::move(row[3]);
    edit.machine = std::move(row[4]);
    edit.words = std::move(row[5]);
    edit.undoes = std::move(row[6]);
  }
  std::set<std::string> ids;
  for (const Edit& edit : edits) {
    if (edit.id.empty() || !ids.insert(edit.id).second) throw damagedLog();
  }
  markTakenBack(edits);
  return edits;
}

void History::addChanges(std::vector<Edit>& edits, std::int64_t from) const {
  for (auto edit = edits.rbegin(); edit != edits.rend() && edit->number >= from; ++edit) {
    const std::string number = std::to_string(edit->number);
    auto rows = store_->query("SELECT changes, settled FROM edit WHERE number = CAST(? AS INTEGER)", {number});
    auto changes = rows.empty() ? std::nullopt : changesIn(rows[0][0]);
    if (!changes) throw damagedLog();
    edit->changes = *std::move(changes);
    edit->settled = std::move(rows[0][1]);
  }
}

std::int64_t History::lastOf(const Author& author) const {
  const std::vector<Edit> all = heads();
  std::set<std::string> idle;
  for (const Store::Row& row : store_->query("SELECT id FROM edit WHERE length(changes) = 0 AND length(settled) = 0"))
    idle.insert(row[0]);
  const auto isOwn = [&](const Edit& edit) {
    return !edit.isTakenBack && edit.undoes.empty() && idle.count(edit.id) == 0 && edit.user == author.user &&
           edit.machine == author.machine;
  };
  const auto last = std::find_if(all.rbegin(), all.rend(), isOwn);
  return last != all.rend() ? last->number : 0;
}

Edit History::undo(std::int64_t number) const {
  const auto scope = store_->beginWrite();
  std::vector<Edit> all = heads();
  const auto edit = std::find_if(all.begin(), all.end(), [&](const Edit& one) { return one.number == number; });
  if (edit == all.end()) {
    throw Error(errors::EDIT_NOT_FOUND,
                "there is no edit " + std::to_string(number) + " in the log, which lists those that there are");
  }
  if (edit->isTakenBack) {
    const Edit& taker = takerOf(all, *edit);
    throw EditInTheWay(errors::EDIT_TAKEN_BACK,
                       textOf(*edit) + " is taken back already; to have it again, take back " + textOf(taker),
                       taker.number);
  }
  const Edit& root = rootOf(all, *edit);
  const bool isMadeAgain = &root != &*edit && root.isTakenBack;
  addChanges(all, isMadeAgain ? 0 : root.number);
  if (const Edit* obstacle = obstacleTo(all, root)) {
    throw EditInTheWay(errors::EDIT_BUILT_UPON,
                       textOf(*obstacle) + " builds upon " + textOf(root) + "; take edit " +
                           std::to_string(obstacle->number) + " back first",
                       obstacle->number);
  }
  if (const Edit* other = isMadeAgain ? changedBelow(all, root) : nullptr) {
    const Edit& first = other->isTakenBack ? takerOf(all, *other) : *other;
    throw EditInTheWay(errors::EDIT_BUILT_UPON,
                       textOf(root) + " was made while " + textOf(*other) +
                           (other->isTakenBack ? " stood" : " was taken back") + "; take " + textOf(first) +
                           " back first",
                       first.number);
  }
  if (!revert(*store_, edit->changes)) {
    throw Error(errors::EDIT_BUILT_UPON,
                "the project is not as " + textOf(*edit) + " left it: something else has changed it since");
  }
  store_->note({edit->id});
  return *edit;
}

}  // namespace folder_host
