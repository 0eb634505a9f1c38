#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "folder_host/Error.h"
#include "folder_host/store/Address.h"
#include "folder_host/store/Changes.h"
#include "folder_host/store/Position.h"

// What a mirror mirrors: the store of a project, kept elsewhere, as a list of edits and what they come to.
namespace folder_host {

// STORE_OUTCOME_UNKNOWN, with the id of the edit that may be kept or not.
class OutcomeUnknown : public Error {
 public:
  OutcomeUnknown(const std::string& message, std::string editId)
      : Error(errors::STORE_OUTCOME_UNKNOWN, message), editId_(std::move(editId)) {}
  ~OutcomeUnknown() override;

  const std::string& editId() const noexcept { return editId_; }

 private:
  std::string editId_;
};

// What leads from a known position to the newest one.
struct Update {
  bool isWhole = false;     // what the mirror has is replaced by `content`
  Changes content;          // rows put, in any order
  std::vector<Edit> edits;  // by number, without gaps, to the newest: those behind the known position or, of a whole
                            // one, all that the log still has, one at least.
};

// One project. Used by one thread at a time. Every call ends by a deadline, and reconnects where it has to. What comes
// back has the form that is said here, whoever sent it; that edits and content fit together is for the mirror to see.
//
// Errors of every call: STORE_UNREACHABLE, also where the deadline has passed; STORE_NOT_FOUND, there is no such
// project; STORE_TOO_NEW; STORE_MOVED, it was closed; STORE_UNREADABLE, what came back has another form, or is larger
// than any project; STORE_FAILED, the server could not do it. While the lock is held, read and lock are errors of the
// caller (std::logic_error), and so is publish while it is not, or with an edit that does not come next.
class Origin {
 public:
  virtual ~Origin();

  // The state of one moment, asked for in one round trip (two, where a whole one is needed although something was
  // known); nothing is kept open behind it. With {} as what is known, a whole one. Error: STORE_WENT_BACK, the known
  // position is none of its states: the edits that led there are lost.
  virtual Update read(const Position& known) = 0;

  // As read, and no other edit is kept until publish has returned or release was called. Further errors:
  // STORE_READ_ONLY, this user may not edit; STORE_BUSY, somebody else held the lock for too long.
  virtual Update lock(const Position& known) = 0;

  // Keeps the edit, which is the next one behind the locked state, and gives the lock back, also where it throws. After
  // the last one the project is closed: nothing is read or kept any more. Errors: STORE_CONFLICT, another edit was kept
  // instead, as the lock was lost; STORE_UNREADABLE, the project's rows are not what its edits come to; STORE_FAILED,
  // also where it is larger than an origin takes; STORE_OUTCOME_UNKNOWN, the deadline has passed, and the edit may be
  // kept or not. Of any other error, it is not kept.
  virtual void publish(const Edit& edit, bool isLast) = 0;
  void publish(const Edit& edit) { publish(edit, false); }

  // Gives the lock back, if it is held; does not wait.
  virtual void release() noexcept = 0;
};

// The servers that addresses lead to.
class Servers {
 public:
  virtual ~Servers();

  // Connects when it is first asked for something. Errors: ADDRESS_UNUSABLE.
  virtual std::shared_ptr<Origin> originAt(const Address& address) = 0;

  // Makes the address' project, with this content and this log (numbered from any number on, without gaps; one edit at
  // least). All of it or nothing. Errors: STORE_NAME_TAKEN; those of Origin's publish but STORE_CONFLICT; where the
  // outcome is unknown, it is the last edit's.
  virtual void create(const Address& address, const Changes& content, const std::vector<Edit>& log) = 0;
};

}  // namespace folder_host
