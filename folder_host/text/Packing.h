#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

// Numbers, texts and times one after the other in bytes: numbers are eight bytes, the least first; a text has its
// length before it; a time is two numbers.
namespace folder_host {

void putNumber(std::string& bytes, std::uint64_t number);
void putText(std::string& bytes, std::string_view text);
void putTime(std::string& bytes, const timespec& time);

// Takes such bytes apart, whoever made them. Once they are found not to be what is asked for, everything is empty, and
// stays so.
class Unpacker {
 public:
  explicit Unpacker(std::string_view bytes) : rest_(bytes) {}

  std::uint64_t number();
  std::uint64_t number(std::uint64_t most);
  // Of things of which each has so many bytes at least: a number that was made up allocates nothing.
  std::size_t count(std::size_t least) { return static_cast<std::size_t>(number(rest_.size() / least)); }
  std::string text() { return std::string(textInPlace()); }
  // Of the bytes themselves.
  std::string_view textInPlace() { return take(count(1)); }
  timespec time();

  // The bytes that were not taken yet.
  std::size_t left() const noexcept { return rest_.size(); }
  bool fails() const noexcept { return fails_; }
  bool isAtEnd() const noexcept { return !fails_ && rest_.empty(); }

 private:
  std::string_view take(std::size_t count);

  std::string_view rest_;
  bool fails_ = false;
};

}  // namespace folder_host
