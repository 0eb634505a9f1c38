#include "folder_host/share/Shape.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "folder_host/Error.h"
#include "folder_host/text/Utf.h"

namespace folder_host {

namespace {

struct Kind {
  Shape shape;
  const char* word;
};

constexpr std::array<Kind, 5> KINDS = {{{Shape::folder, "folder"},
                                        {Shape::tar, "tar"},
                                        {Shape::tarGz, "tar.gz"},
                                        {Shape::tarZst, "tar.zst"},
                                        {Shape::zip, "zip"}}};

bool endsAs(std::string_view name, std::string_view end) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return name.size() >= end.size() &&
         std::equal(end.begin(), end.end(), name.end() - static_cast<std::ptrdiff_t>(end.size()),
                    [&](char wanted, char c) { return wanted == lower(c); });
}

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const Character first = firstCharacter(text);
    if (!first.isValid) return false;
    text.remove_prefix(first.length);
  }
  return true;
}

Error unfit(const std::string& path, const char* why) {
  return {errors::NAME_UNFIT,
          "a zip cannot hold " + inQuotes(path) + ", " + why + "; share into a folder or a tar, or rename it"};
}

}  // namespace

Shape shapeOf(std::string_view destination) {
  for (const Kind& kind : KINDS) {
    if (kind.shape != Shape::folder && endsAs(destination, std::string(".") + kind.word)) return kind.shape;
  }
  return Shape::folder;
}

const char* wordOf(Shape shape) {
  return std::find_if(KINDS.begin(), KINDS.end(), [&](const Kind& kind) { return kind.shape == shape; })->word;
}

timespec timeIn(Shape shape, const timespec& time) {
  constexpr std::int64_t LAST_IN_TAR = 077777777777;  // the digits that its heads have room for
  if (shape == Shape::folder) return time;
  const std::int64_t last = shape == Shape::zip ? INT32_MAX : LAST_IN_TAR;
  return {std::clamp<std::int64_t>(time.tv_sec, 0, last), 0};
}

void requireFit(Shape shape, const std::vector<const Entry*>& entries, const std::string& scope) {
  if (shape != Shape::zip) return;
  for (const Entry* entry : entries) {
    const std::string_view path = std::string_view(entry->path).substr(scope.size());
    if (!isUtf8(path)) throw unfit(entry->path, "whose name is not UTF-8");
    if (!isUtf8(entry->target)) throw unfit(entry->path, "whose target is not UTF-8");
    if (path.find('\\') != path.npos) throw unfit(entry->path, "whose name has a backslash");
  }
}

}  // namespace folder_host
