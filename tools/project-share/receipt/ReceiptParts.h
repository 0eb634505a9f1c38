#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "output/JsonMaker.h"
#include "receipt/ReceiptEntry.h"

// The parts of a receipt (docs/json.md). It may come from anyone, and verify believes what it says about files: so
// every part is of the type that a receipt has before any of it is compared with a copy.
namespace project_share {

using Part = JsonMaker::Value;

// What a part is and, where it is a list, what its elements are.
struct PartShape {
  using Check = bool (*)(const Part& value);

  Check value;
  Check element;
  bool isNeeded;

  bool isList() const noexcept;
};

// By name. Of a name that is not there: anything is right.
const std::map<std::string, PartShape>& partShapes();
const PartShape& shapeOfPart(const std::string& part);

// None where a part is missing or not of its type: there is no default for one, as what has no size would be compared
// with nothing.
std::optional<ReceiptEntry> handedOutIn(const Part& element);
std::optional<ReceiptHeldBack> heldBackIn(const Part& element);
std::optional<ReceiptHead> headIn(const Part& object);

}  // namespace project_share
