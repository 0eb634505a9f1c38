#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <utility>

#pragma GCC visibility push(default)

namespace fl::filesystem {

namespace detail {

template <class NativeChar, class Char>
struct path_traits {
  using native_char_type = NativeChar;
  using char_type = Char;
};

// Gives the text of the folder that holds `text`, or an empty text where there is none. Pure; the host defines it.
std::u16string extract_parent_path(const std::u16string& text);

// Gives `text` in the platform's native form. Pure; the host defines it.
std::u16string make_native_form(const std::u16string& text, bool flag);

}  // namespace detail

// A path as text. Its flag travels with the text but is no part of the path's identity: paths of equal text are equal,
// and hash alike, whatever their flags.
template <class NativeChar, class Char, class Traits>
class basic_path {
 public:
  basic_path() = default;
  explicit basic_path(std::basic_string<Char> text, bool flag) : text_(std::move(text)), flag_(flag) {}

  const std::basic_string<Char>& text() const noexcept { return text_; }
  bool flag() const noexcept { return flag_; }

  friend bool operator==(const basic_path& a, const basic_path& b) noexcept { return a.text_ == b.text_; }

 private:
  std::basic_string<Char> text_;
  bool flag_ = false;
};

using path = basic_path<char, char16_t, detail::path_traits<char, char16_t>>;

}  // namespace fl::filesystem

template <class NativeChar, class Char, class Traits>
struct std::hash<fl::filesystem::basic_path<NativeChar, Char, Traits>> {
  std::size_t operator()(const fl::filesystem::basic_path<NativeChar, Char, Traits>& path) const noexcept {
    return std::hash<std::basic_string<Char>>{}(path.text());
  }
};

#pragma GCC visibility pop
