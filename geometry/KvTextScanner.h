#pragma once

#include "platform/Export.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <iosfwd>
#include <limits>
#include <string>
#include <string_view>
#include <system_error>

namespace Kavrel {

/// Reads words and numbers from a text in memory. A number is what formatted input of a stream in the classic locale
/// would take, and ends where that would end; but nothing here depends on a stream or a locale. Once a number failed,
/// nothing more can be read.
class KVSHAPES_EXPORT KvTextScanner
{
public:
  /// Borrows the text.
  explicit KvTextScanner(std::string_view source)
      : text(source), position(source.data()), end(position + source.size()), wordStart(position)
  {}

  /// The next word, up to a blank, tab, line end or `#`, which is swallowed. Before a word these separate and a `#`
  /// starts a comment that runs to the line feed. False at the end of the text and after a failure.
  bool nextWord(std::string_view& word)
  {
    if (failed) return false;
    skipToWord();
    if (position == end) return false;
    wordStart = position;
    while (position != end && !endsWord(*position))
      ++position;
    word = std::string_view(wordStart, static_cast<std::size_t>(position - wordStart));
    if (position != end) ++position;
    return true;
  }

  /// The next number; false, for good, where there is none or where it is too large for the type. A number too small
  /// gives the nearest one that there is.
  bool read(double& value)
  {
    const char* digits = skipSign();
    if (!startsNumber(digits)) return fail();
    const char* const first = *position == '-' ? position : digits;
    const auto [stop, error] = std::from_chars(first, end, value);
    if (error == std::errc::result_out_of_range && !readOutOfRange(first, stop, value)) return fail();
    if (error == std::errc::invalid_argument) return fail();
    // Formatted input takes an exponent without digits as part of the number and then rejects the whole.
    if (stop != end && isExponent(*stop) && std::none_of(first, stop, isExponent)) return fail();
    position = stop;
    return true;
  }

  /// A minus wraps around, as in formatted input: -1 is the largest value.
  bool read(unsigned& value)
  {
    unsigned long long magnitude = 0;
    bool negative = false;
    if (!readInteger(magnitude, negative) || magnitude > std::numeric_limits<unsigned>::max()) return fail();
    value = static_cast<unsigned>(negative ? 0ULL - magnitude : magnitude);
    return true;
  }

  bool read(int& value)
  {
    unsigned long long magnitude = 0;
    bool negative = false;
    constexpr unsigned long long largest = std::numeric_limits<int>::max();
    if (!readInteger(magnitude, negative) || magnitude > largest + (negative ? 1 : 0)) return fail();
    value = static_cast<int>(negative ? -static_cast<long long>(magnitude) : static_cast<long long>(magnitude));
    return true;
  }

  bool hasFailed() const { return failed; }

  /// The line, counted from 1, on which the last word started.
  std::size_t lineOfWord() const;

private:
  static bool isSeparator(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
  static bool endsWord(char c) { return isSeparator(c) || c == '#'; }
  static bool isSpace(char c) { return isSeparator(c) || c == '\v' || c == '\f'; }
  static bool isExponent(char c) { return c == 'e' || c == 'E'; }
  static bool isDigit(char c) { return c >= '0' && c <= '9'; }

  bool fail()
  {
    failed = true;
    return false;
  }

  void skipToWord();

  /// Skips white space; what is behind a sign, where there is one.
  const char* skipSign()
  {
    while (position != end && isSpace(*position))
      ++position;
    return position != end && (*position == '+' || *position == '-') ? position + 1 : position;
  }

  bool startsNumber(const char* at) const
  {
    if (failed || at == end) return false;
    return isDigit(*at) || (*at == '.' && at + 1 != end && isDigit(at[1]));
  }

  bool readInteger(unsigned long long& magnitude, bool& negative)
  {
    const char* const digits = skipSign();
    if (failed || digits == end) return false;
    negative = *position == '-';
    const auto [stop, error] = std::from_chars(digits, end, magnitude);
    if (error != std::errc() || stop == digits) return false;
    position = stop;
    return true;
  }

  static bool readOutOfRange(const char* first, const char* stop, double& value);

  std::string_view text;
  const char* position;
  const char* end;
  const char* wordStart;
  bool failed = false;
};

/// All that is left in a stream.
KVSHAPES_EXPORT std::string readRemainingText(std::istream& stream);

/// The number at the start of a word, by the rules of std::stod in the classic locale. Raises std::invalid_argument
/// "invalid stod argument" where there is none and std::out_of_range "stod argument out of range" for one that doesn't
/// fit.
KVSHAPES_EXPORT double numberOfWord(std::string_view word);

} // namespace Kavrel
