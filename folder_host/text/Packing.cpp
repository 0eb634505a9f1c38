#include "folder_host/text/Packing.h"

namespace folder_host {

void putNumber(std::string& bytes, std::uint64_t number) {
  for (unsigned shift = 0; shift < 64; shift += 8) bytes += static_cast<char>((number >> shift) & 0xFFU);
}

void putText(std::string& bytes, std::string_view text) {
  putNumber(bytes, text.size());
  bytes += text;
}

void putTime(std::string& bytes, const timespec& time) {
  putNumber(bytes, static_cast<std::uint64_t>(time.tv_sec));
  putNumber(bytes, static_cast<std::uint64_t>(time.tv_nsec));
}

std::uint64_t Unpacker::number() {
  const std::string_view bytes = take(sizeof(std::uint64_t));
  std::uint64_t number = 0;
  for (std::size_t i = bytes.size(); i-- > 0;) number = number << 8U | static_cast<unsigned char>(bytes[i]);
  return number;
}

std::uint64_t Unpacker::number(std::uint64_t most) {
  const std::uint64_t value = number();
  if (value > most) fails_ = true;
  return fails_ ? 0 : value;
}

timespec Unpacker::time() {
  constexpr std::uint64_t MOST = 999999999;
  const auto seconds = static_cast<time_t>(number());
  return {seconds, static_cast<long>(number(MOST))};
}

std::string_view Unpacker::take(std::size_t count) {
  if (count > rest_.size()) fails_ = true;
  if (fails_) return {};
  const std::string_view taken = rest_.substr(0, count);
  rest_.remove_prefix(count);
  return taken;
}

}  // namespace folder_host
