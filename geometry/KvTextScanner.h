#pragma once

#include "geometry/BoundingVolumeHierarchy/RawArray.h"
#include "platform/Export.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <limits>
#include <string_view>

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
    const char* const digits = skipSign();
    if (!startsNumber(digits)) return fail();
    if (const char* const stop = readShortDecimal(digits, value)) {
      if (*position == '-') value = -value;
      position = stop;
      return true;
    }
    return readAnyDecimal(*position == '-' ? position : digits, value);
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

  /// Takes digits with a point but without exponent, as long as one division gives the correctly rounded value: an
  /// integer below 2^53 over a power of ten that a double holds exactly. Null for any other number.
  const char* readShortDecimal(const char* at, double& value) const
  {
    constexpr std::ptrdiff_t mostCharacters = 19; // as many digits fit into 64 bits
    constexpr std::uint64_t largestExact = std::uint64_t(1) << 53;
    const char* const first = at;
    std::uint64_t digits = 0;
    at = takeDigits(at, digits);
    std::ptrdiff_t fraction = 0;
    if (at != end && *at == '.') {
      const char* const point = at++;
      at = takeDigits(at, digits);
      fraction = at - point - 1;
    }
    if (at - first > mostCharacters || digits > largestExact || (at != end && isExponent(*at))) return nullptr;
    value = static_cast<double>(digits) / exactPowersOfTen[fraction];
    return at;
  }

  /// Appends the digits at hand to a number; what is behind them. More than 19 digits wrap around.
  const char* takeDigits(const char* at, std::uint64_t& number) const
  {
    std::uint64_t chunk = 0;
    for (; end - at >= 8 && isDigitChunk(at, chunk); at += 8)
      number = 100000000 * number + valueOfDigits(chunk);
    while (at != end && isDigit(*at))
      number = 10 * number + static_cast<std::uint64_t>(*at++ - '0');
    return at;
  }

  /// Whether the next eight bytes are digits; \p chunk holds them, the first one lowest.
  static bool isDigitChunk(const char* at, std::uint64_t& chunk)
  {
    if constexpr (std::endian::native != std::endian::little) return false;
    std::memcpy(&chunk, at, sizeof(chunk));
    // Below '0' the subtraction borrows, above '9' the addition reaches the top bit.
    return (((chunk + 0x4646464646464646) | (chunk - 0x3030303030303030)) & 0x8080808080808080) == 0;
  }

  /// Eight digits in three multiplications: pairs, then all four pairs. (Lemire, 2018)
  static std::uint64_t valueOfDigits(std::uint64_t chunk)
  {
    chunk -= 0x3030303030303030;
    chunk = 10 * chunk + (chunk >> 8);
    constexpr std::uint64_t outerPairs = 0x000000FF000000FF;
    return ((chunk & outerPairs) * 0x000F424000000064 + ((chunk >> 16) & outerPairs) * 0x0000271000000001) >> 32;
  }

  bool readAnyDecimal(const char* first, double& value);

  bool readInteger(unsigned long long& magnitude, bool& negative)
  {
    const char* at = skipSign();
    if (failed || at == end || !isDigit(*at)) return false;
    negative = *position == '-';
    // Whatever is above this is above every type that is read.
    constexpr unsigned long long enough = 1ULL << 40;
    for (; at != end && isDigit(*at); ++at)
      if (magnitude < enough) magnitude = 10 * magnitude + static_cast<unsigned long long>(*at - '0');
    position = at;
    return true;
  }

  static constexpr double exactPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8, 1e9,
                                                1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18};

  std::string_view text;
  const char* position;
  const char* end;
  const char* wordStart;
  bool failed = false;
};

/// Text that was read in one piece.
struct KVSHAPES_EXPORT TextBuffer
{
  std::string_view view() const { return {bytes.data(), size}; }

  BoundingVolumeHierarchy::RawArray<char> bytes;
  std::size_t size = 0;
};

/// All that is left in a stream; nothing for a stream that isn't good.
KVSHAPES_EXPORT TextBuffer readRemainingText(std::istream& stream);

/// The number at the start of a word, by the rules of std::stod in the classic locale. Raises std::invalid_argument
/// "invalid stod argument" where there is none and std::out_of_range "stod argument out of range" for one that doesn't
/// fit.
KVSHAPES_EXPORT double numberOfWord(std::string_view word);

} // namespace Kavrel
