#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What goes to a server and comes from it, in its binary format.
namespace server_store {

// A parameter of a statement.
struct Value {
  std::uint32_t type;  // as the server numbers its types
  std::string bytes;
};

Value ofBytes(std::string_view bytes);
Value ofNumber(std::int64_t number);
Value ofTruth(bool isTrue);

// Bytes of one column each, for a statement that takes many rows at once.
class ListValue {
 public:
  ListValue();

  void add(std::string_view bytes);
  std::size_t count() const noexcept { return count_; }
  std::size_t size() const noexcept { return bytes_.size(); }
  Value finish() &&;

 private:
  std::string bytes_;
  std::size_t count_ = 0;
};

struct Statement {
  std::string sql;
  std::vector<Value> values = {};
};

// The columns of a row that came, each bytes or nothing; they are gone with the next row.
using Row = std::vector<std::optional<std::string_view>>;

// The number that a column of 4 or 8 bytes holds, or the truth one of 1 byte; none where it is something else.
std::optional<std::int64_t> numberIn(std::string_view column, std::size_t size);

}  // namespace server_store
