#include "output/JsonMaker.h"

#include <fmt/format.h>

#include <utility>

#include "words/Names.h"

namespace project_share {

JsonMaker::~JsonMaker() = default;

bool JsonMaker::key(string_t& name) {
  const auto [added, isNew] = open_.back()->get_ref<Value::object_t&>().emplace(name, nullptr);
  field_ = &added->second;
  return isNew || fail(fmt::format("{} is there twice", inQuotes(name)));
}

bool JsonMaker::add(Value value) {
  if (++values_ > most_) return fail("it has too many parts");
  place(std::move(value));
  return isInside() || isRight(whole_);
}

bool JsonMaker::open(Value container) {
  if (++values_ > most_) return fail("it has too many parts");
  if (open_.size() == deepest_) return fail("it is too deep");
  open_.push_back(&place(std::move(container)));
  return true;
}

bool JsonMaker::close() {
  open_.pop_back();
  return isInside() || isRight(whole_);
}

JsonMaker::Value& JsonMaker::place(Value value) {
  if (open_.empty()) return whole_ = std::move(value);
  if (open_.back()->is_object()) return *field_ = std::move(value);
  return open_.back()->emplace_back(std::move(value));
}

}  // namespace project_share
