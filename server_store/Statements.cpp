#include "server_store/Statements.h"

#include <utility>

#include "folder_host/store/Schema.h"

namespace server_store {

using folder_host::Change;

namespace {

constexpr std::size_t MOST_IN_LIST = 10000;
constexpr std::size_t LARGEST_LIST = std::size_t{8} << 20U;

// A count that is not the right one is made an error, by a division: the server goes on to COMMIT by itself, without
// asking whether it should.
constexpr const char* REMOVE =
    "WITH gone AS (DELETE FROM project_share.item USING unnest($2::bytea[]) AS one(digest) "
    "WHERE item.project = $1 AND item.digest = one.digest RETURNING 1) "
    "SELECT 1 / CASE WHEN count(*) = $3::bigint THEN 1 ELSE 0 END FROM gone";
constexpr const char* PUT =
    "INSERT INTO project_share.item(project, digest, change) "
    "SELECT $1, digest, change FROM unnest($2::bytea[], $3::bytea[]) AS one(digest, change)";
constexpr const char* MOVE_ON =
    "WITH moved AS (UPDATE project_share.project SET revision = $2::bigint, content = $3, closed = $4::boolean "
    "WHERE id = $1 AND revision = $2::bigint - 1 AND NOT closed RETURNING 1) "
    "SELECT 1 / count(*) FROM moved";

// The rows of one kind, as many to a statement as the server takes well.
class RowLists {
 public:
  RowLists(const std::string& projectId, bool arePut, ContentDigest& content, Statements& statements)
      : projectId_(projectId), arePut_(arePut), content_(content), statements_(statements) {}

  void add(const Change& change) {
    const std::string bytes = folder_host::bytesOf({{change.table, true, change.row}});
    const std::string digest = digestOfRow(bytes);
    digests_.add(digest);
    content_.toggle(digest);
    if (arePut_) rows_.add(bytes);
    if (digests_.count() >= MOST_IN_LIST || rows_.size() >= LARGEST_LIST) finish();
  }

  void finish() {
    if (digests_.count() == 0) return;
    const auto count = static_cast<std::int64_t>(digests_.count());
    Value digests = std::exchange(digests_, ListValue()).finish();
    Value other = arePut_ ? std::exchange(rows_, ListValue()).finish() : ofNumber(count);
    statements_.push_back({arePut_ ? PUT : REMOVE, {ofBytes(projectId_), std::move(digests), std::move(other)}});
  }

 private:
  const std::string& projectId_;
  const bool arePut_;
  ContentDigest& content_;
  Statements& statements_;
  ListValue digests_, rows_;
};

}  // namespace

Statement state(const std::string& project, std::int64_t from) {
  return {
      "SELECT p.id, p.format, p.revision, p.floor, p.content, p.closed, e.revision, e.id, e.at, e.author, e.machine, "
      "CASE WHEN e.revision <> $2 THEN e.words END, e.undoes, CASE WHEN e.revision <> $2 THEN e.changes END, "
      "CASE WHEN e.revision <> $2 THEN e.settled END "
      "FROM project_share.project p LEFT JOIN project_share.edit e ON e.project = p.id AND "
      "e.revision >= CASE WHEN $2 = 0 THEN p.floor WHEN $2 >= p.floor THEN $2 END "
      "WHERE p.name = $1 ORDER BY e.revision",
      {ofBytes(project), ofNumber(from)}};
}

Statement items(const std::string& project) {
  return {
      "SELECT i.change FROM project_share.item i JOIN project_share.project p ON p.id = i.project WHERE p.name = $1",
      {ofBytes(project)}};
}

Statement beginReading() { return {"BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY"}; }

Statement commit() { return {"COMMIT"}; }

Statements beginEditing(std::chrono::milliseconds lock) {
  return {{"BEGIN ISOLATION LEVEL READ COMMITTED READ WRITE"},
          {"SET LOCAL lock_timeout = " + std::to_string(lock.count())},
          {"SET LOCAL idle_in_transaction_session_timeout = 60000"}};
}

Statement takeLock(const std::string& project) {
  return {"SELECT 1 FROM project_share.project WHERE name = $1 FOR UPDATE", {ofBytes(project)}};
}

Statements keepRows(const std::string& projectId, const folder_host::Changes& changes, ContentDigest& content) {
  Statements statements;
  RowLists gone(projectId, false, content, statements), put(projectId, true, content, statements);
  for (const Change& change : changes) {
    if (!change.isPut) gone.add(change);
  }
  gone.finish();
  for (const Change& change : changes) {
    if (change.isPut) put.add(change);
  }
  put.finish();
  return statements;
}

Statement keepEdit(const std::string& projectId, const folder_host::Edit& edit) {
  return {
      "INSERT INTO project_share.edit(project, revision, id, at, author, machine, words, undoes, changes, "
      "settled) VALUES($1, $2, $3, $4, $5, $6, $7, $8, $9, $10)",
      {ofBytes(projectId), ofNumber(edit.number), ofBytes(edit.id), ofNumber(edit.at), ofBytes(edit.user),
       ofBytes(edit.machine), ofBytes(edit.words), ofBytes(edit.undoes), ofBytes(bytesOf(edit.changes)),
       ofBytes(edit.settled)}};
}

Statement moveOn(const std::string& projectId, std::int64_t revision, const ContentDigest& content, bool isLast) {
  return {MOVE_ON, {ofBytes(projectId), ofNumber(revision), ofBytes(content.bytes()), ofTruth(isLast)}};
}

Statement touch(const std::string& projectId) {
  return {"UPDATE project_share.project SET revision = revision WHERE id = $1", {ofBytes(projectId)}};
}

Statement makeProject(const std::string& projectId, const std::string& name, std::int64_t floor, std::int64_t revision,
                      const ContentDigest& content) {
  return {
      "INSERT INTO project_share.project(id, name, format, revision, floor, content, closed) "
      "VALUES($1, $2, $3::bigint, $4, $5, $6, false)",
      {ofBytes(projectId), ofBytes(name), ofNumber(folder_host::SCHEMA_VERSION), ofNumber(revision), ofNumber(floor),
       ofBytes(content.bytes())}};
}

Statement idOf(const std::string& project) {
  return {"SELECT id FROM project_share.project WHERE name = $1", {ofBytes(project)}};
}

}  // namespace server_store
