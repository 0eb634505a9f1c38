#pragma once

#include <locale.h>  // NOLINT(modernize-deprecated-headers): locale_t is no part of <clocale>

namespace folder_host {

// While one of these stands, text is UTF-8 to the C libraries that this thread calls, whatever the user's locale.
class Utf8Locale {
 public:
  // Error: std::system_error where the system has no such locale.
  Utf8Locale();
  ~Utf8Locale();
  Utf8Locale(const Utf8Locale&) = delete;
  Utf8Locale& operator=(const Utf8Locale&) = delete;

 private:
  locale_t utf8_;
  locale_t before_;
};

}  // namespace folder_host
