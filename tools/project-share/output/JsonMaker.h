#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace project_share {

// Puts JSON together from what a parser finds in a text that anybody may have written: it can nest without end, and
// have more parts than there is memory for. A name that comes twice in an object could mean one thing here and another
// to the next reader. Whatever gives false ends the parsing.
class JsonMaker : public nlohmann::json_sax<nlohmann::json> {
 public:
  // Sorts its keys: an object of very many takes no longer for each.
  using Value = nlohmann::json;

  ~JsonMaker() override;

  bool null() final { return add(nullptr); }
  bool boolean(bool value) final { return add(value); }
  bool number_integer(number_integer_t value) final { return add(value); }
  bool number_unsigned(number_unsigned_t value) final { return add(value); }
  bool number_float(number_float_t value, const string_t& /*text*/) final { return add(value); }
  bool string(string_t& value) final { return add(std::move(value)); }
  bool binary(binary_t& /*value*/) final { return false; }
  bool start_object(std::size_t /*size*/) override { return open(Value::object()); }
  bool start_array(std::size_t /*size*/) override { return open(Value::array()); }
  bool key(string_t& name) override;
  bool end_object() override { return close(); }
  bool end_array() override { return close(); }

 protected:
  JsonMaker(std::size_t deepest, std::uint64_t most) : deepest_(deepest), most_(most) {}

  // Of a value that lies in no other.
  virtual bool isRight(Value& whole) = 0;
  // What cannot be put together, and why.
  virtual bool fail(const std::string& why) = 0;

  bool isInside() const noexcept { return !open_.empty(); }

 private:
  bool add(Value value);
  bool open(Value container);
  bool close();
  Value& place(Value value);

  std::size_t deepest_;
  std::uint64_t most_;
  std::uint64_t values_ = 0;
  Value whole_;
  std::vector<Value*> open_;  // objects and lists of it, each in the one before
  Value* field_ = nullptr;    // of the last of them, named last
};

}  // namespace project_share
