#pragma once

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>

#include "server_store/Statement.h"

// What a turn, several statements asked for in one round trip, may come to.
namespace server_store {

// Is told a row, and which statement it answers, counted from 0; what it throws ends the turn.
using OnRow = std::function<void(std::size_t, const Row&)>;

struct Answer {
  bool hasWarned = false;  // something is not as it was asked for
  std::string last;        // what the server calls what it did last
};

// There is no connection, or none any more: what the last turn came to is not known. what() is not for a terminal as it
// is, and short.
class ConnectionLost : public std::runtime_error {
 public:
  enum class When { connecting, talking, late };

  ConnectionLost(When when, const std::string& why) : std::runtime_error(why), when_(when) {}
  ~ConnectionLost() override;

  When when() const noexcept { return when_; }

 private:
  When when_;
};

// The server refused a statement, and has done nothing of the turn that comes behind it. what() is not for a terminal
// as it is, and short.
class StatementRefused : public std::runtime_error {
 public:
  StatementRefused(std::size_t statement, const std::string& code, const std::string& why)
      : std::runtime_error(why), statement_(statement), code_(code) {}
  ~StatementRefused() override;

  std::size_t statement() const noexcept { return statement_; }  // counted from 0
  const std::string& code() const noexcept { return code_; }     // its SQLSTATE

 private:
  std::size_t statement_;
  std::string code_;
};

// What came is larger than any project.
class AnswerTooLarge : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
  ~AnswerTooLarge() override;
};

}  // namespace server_store
