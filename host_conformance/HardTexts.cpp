#include "Bench.h"

namespace host_conformance {

using namespace std::string_literals;

std::u16string number(std::size_t value) {
  const std::string digits = std::to_string(value);
  return {digits.begin(), digits.end()};
}

std::vector<std::u16string> hardTexts(std::size_t longest) {
  const std::u16string x(longest - 1, u'x');
  return {u"", u"a", u"A", u"ab", u"aB", u"b", x + u"x", x + u"y", x,
          // Blanks, patterns, separators, quotes, escapes, line ends.
          u" ", u"a ", u" a", u"a\u00A0", u"a\t", u"a\n", u"a\r\n", u"\na", u"a.", u".a", u"..a", u"...", u"_", u"%",
          u"a_", u"a%", u"*", u"?", u"a*", u"[a]", u"a/b", u"/", u"a\\b", u"a\\", u"a//b", u"a'b", u"a''b", u"a\"b",
          u"a.b", u"a:b", u"a|b", u"a,b", u"a;b", u"a=b", u"a b", u"a  b", u"-a", u"~", u"$a", u"{0}", u"{}", u"%s",
          u"%1", u"$1", u"&amp;", u"&", u"%61", u"\\u0061", u"a#b", u"a\001b", u"a\037b", u"a\177b", u"a\u0085b",
          u"a\u2028b",
          // What is taken for numbers, for nothing, or for the library's own.
          u"1", u"01", u"1.0", u"1e0", u"null", u"NULL", u"Root", u"Name", u"Filter", u"wholeproject",
          // Composed and decomposed, case and width beyond ASCII, scripts, what is not seen.
          u"\u00E9", u"e\u0301", u"\u00C9", u"k", u"K", u"\u212A", u"ss", u"\u00DF", u"i", u"\u0130", u"fi", u"\uFB01",
          u"\uFF41", u"\u4E2D\u6587", u"\u05D0\u05D1", u"\u0416", u"\u0436", u"a\u200B", u"a\u200Eb", u"\uFEFF",
          u"\uFEFF-a", u"\uE000", u"\uFFFD", u"\uFFFF", u"\xD83D\xDE00", u"\xD83D\xDE01", u"\xD800\xDC00",
          // Halves of pairs, and U+0000.
          u"\xD800", u"\xDC00-a", u"\xD800-a\0"s, u"a\xDC80", u"a\xDC81", u"\xDE00\xD83D", u"\0"s, u"\0\0"s, u"a\0"s,
          u"a\0b"s, u"a\0c"s};
}

std::vector<std::u16string> hardNames(std::u16string_view without) {
  std::vector<std::u16string> names = hardTexts(200);
  const auto isNone = [&](const std::u16string& text) {
    return text.empty() || text.find_first_of(without) != std::u16string::npos;
  };
  names.erase(std::remove_if(names.begin(), names.end(), isNone), names.end());
  return names;
}

}  // namespace host_conformance
