#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "folder_host/store/Changes.h"
#include "server_store/ContentDigest.h"
#include "server_store/Statement.h"

// What is asked of a server, in schema.sql's tables. All of it is said by whole names and within one transaction, so
// that it does not matter which of a pool's connections it comes by.
namespace server_store {

using Statements = std::vector<Statement>;

// The project's row with each edit that its log has from a revision on, or with all for 0; with none where the log does
// not reach back so far. What the edit of that very revision holds is left out. In order.
Statement state(const std::string& project, std::int64_t from);
// The rows of its store, each as a change that puts it.
Statement items(const std::string& project);

// One state, by several statements that come between these two.
Statement beginReading();
Statement commit();

// A transaction that edits. It waits so long for other edits; and ends by itself when it is not ended for a minute,
// lest a program that stands still keeps all others out.
Statements beginEditing(std::chrono::milliseconds lock);
// Nobody else edits the project until the transaction ends. What comes behind it sees what was edited before.
Statement takeLock(const std::string& project);

// These end with an error, so that what comes behind them is not done, where a row gone was not there or a row put was;
// and where the project is not at the revision before. `content` is brought up to date with the changes.
Statements keepRows(const std::string& projectId, const folder_host::Changes& changes, ContentDigest& content);
Statement keepEdit(const std::string& projectId, const folder_host::Edit& edit);
Statement moveOn(const std::string& projectId, std::int64_t revision, const ContentDigest& content, bool isLast);
// Writes the project's row as it is.
Statement touch(const std::string& projectId);

// A name that is taken is an error.
Statement makeProject(const std::string& projectId, const std::string& name, std::int64_t floor, std::int64_t revision,
                      const ContentDigest& content);
Statement idOf(const std::string& project);

}  // namespace server_store
