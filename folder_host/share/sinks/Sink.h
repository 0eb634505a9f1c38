#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "folder_host/share/read/Source.h"

namespace folder_host {

// Where a hand-out is written: a folder, or whatever else can hold a tree. What is written has been judged and opened;
// a sink asks nothing about it. Errors of all functions: COPY_FAILED where it cannot be written; ENTRY_CHANGED and
// ENTRY_UNREADABLE where a file's content cannot be read.
class Sink {
 public:
  // Told of bytes of a file as they are written; may throw, which ends the writing.
  using Told = std::function<void(std::uint64_t)>;

  // Takes files and links one after the other. Used by one thread at a time; the sink outlives it.
  class Writer {
   public:
    Writer() = default;
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    virtual ~Writer();
    virtual void addFile(const OpenEntry& file, const Told& told) = 0;
    virtual void addLink(const OpenEntry& link) = 0;
  };

  Sink() = default;
  Sink(const Sink&) = delete;
  Sink& operator=(const Sink&) = delete;
  virtual ~Sink();

  // The top folder comes first, every other one after the folder that holds it, and all before the first file or link.
  virtual void addFolder(const OpenEntry& folder) = 0;
  // Once for each thread that is at work; where a sink takes one thing after the other, it is asked for one alone.
  virtual std::unique_ptr<Writer> writer() = 0;
  virtual bool takesSeveralWriters() const noexcept = 0;
  // The copy's own store. After all entries.
  virtual void addStore(const std::string& bytes) = 0;
  // Nothing more comes: what was written is complete, and durable.
  virtual void finish() = 0;
};

}  // namespace folder_host
