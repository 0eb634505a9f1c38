#include "server_store/Statement.h"

#include <utility>

namespace server_store {

namespace {

constexpr std::uint32_t BOOL = 16;
constexpr std::uint32_t BYTEA = 17;
constexpr std::uint32_t BIGINT = 20;
constexpr std::uint32_t BYTEA_ARRAY = 1001;
constexpr std::size_t COUNT_AT = 12;  // in an array, behind the number of its dimensions, a flag and its type

std::string big(std::uint64_t number, unsigned size) {
  std::string bytes;
  while (size-- > 0) bytes += static_cast<char>((number >> (8 * size)) & 0xFFU);
  return bytes;
}

}  // namespace

Value ofBytes(std::string_view bytes) { return {BYTEA, std::string(bytes)}; }

Value ofNumber(std::int64_t number) { return {BIGINT, big(static_cast<std::uint64_t>(number), 8)}; }

Value ofTruth(bool isTrue) { return {BOOL, big(isTrue ? 1 : 0, 1)}; }

ListValue::ListValue() : bytes_(big(1, 4) + big(0, 4) + big(BYTEA, 4) + big(0, 4) + big(1, 4)) {}

void ListValue::add(std::string_view bytes) {
  bytes_ += big(bytes.size(), 4);
  bytes_ += bytes;
  ++count_;
}

Value ListValue::finish() && {
  bytes_.replace(COUNT_AT, 4, big(count_, 4));
  return {BYTEA_ARRAY, std::move(bytes_)};
}

std::optional<std::int64_t> numberIn(std::string_view column, std::size_t size) {
  if (column.size() != size) return std::nullopt;
  std::uint64_t number = 0;
  for (const char c : column) number = number << 8U | static_cast<unsigned char>(c);
  if (size == 4) return static_cast<std::int32_t>(static_cast<std::uint32_t>(number));
  return static_cast<std::int64_t>(number);
}

}  // namespace server_store
