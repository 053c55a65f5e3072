#include "geometry/KvTextScanner.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <istream>
#include <locale>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <locale.h>

namespace Kavrel {

void KvTextScanner::skipToWord()
{
  while (position != end) {
    if (*position == '#') {
      const void* const lineFeed = std::memchr(position, '\n', static_cast<std::size_t>(end - position));
      position = lineFeed ? static_cast<const char*>(lineFeed) + 1 : end;
    } else if (isSeparator(*position)) {
      ++position;
    } else {
      return;
    }
  }
}

std::size_t KvTextScanner::lineOfWord() const
{
  return 1 + static_cast<std::size_t>(std::count(text.data(), wordStart, '\n'));
}

namespace {

bool readOutOfRange(const char* first, const char* stop, double& value)
{
  std::istringstream number(std::string(first, stop));
  number.imbue(std::locale::classic());
  return static_cast<bool>(number >> value);
}

} // namespace

bool KvTextScanner::readAnyDecimal(const char* first, double& value)
{
  const auto [stop, error] = std::from_chars(first, end, value);
  if (error == std::errc::invalid_argument) return fail();
  if (error == std::errc::result_out_of_range && !readOutOfRange(first, stop, value)) return fail();
  // Formatted input takes an exponent without digits as part of the number and then rejects the whole.
  if (stop != end && isExponent(*stop) && std::none_of(first, stop, isExponent)) return fail();
  position = stop;
  return true;
}

namespace {

constexpr std::size_t firstBlock = 1 << 16;
constexpr std::streamoff largestFile = std::streamoff(1) << 40; // what claims to be larger isn't a file

/// 0 where the stream can't tell.
std::size_t bytesLeft(std::streambuf& buffer)
{
  const std::streampos here = buffer.pubseekoff(0, std::ios_base::cur, std::ios_base::in);
  if (here == std::streampos(std::streamoff(-1))) return 0;
  const std::streampos last = buffer.pubseekoff(0, std::ios_base::end, std::ios_base::in);
  buffer.pubseekpos(here, std::ios_base::in);
  const std::streamoff left = last - here;
  return left > 0 && left < largestFile ? static_cast<std::size_t>(left) : 0;
}

} // namespace

TextBuffer readRemainingText(std::istream& stream)
{
  TextBuffer text;
  if (!stream.good()) return text;
  // One byte more than is there, so that the first read already meets the end.
  text.bytes = BoundingVolumeHierarchy::RawArray<char>(std::max(firstBlock, bytesLeft(*stream.rdbuf()) + 1));
  while (true) {
    stream.read(text.bytes.data() + text.size, static_cast<std::streamsize>(text.bytes.size() - text.size));
    text.size += static_cast<std::size_t>(stream.gcount());
    if (!stream.good()) return text;
    BoundingVolumeHierarchy::RawArray<char> larger(2 * text.bytes.size());
    std::memcpy(larger.data(), text.bytes.data(), text.size);
    text.bytes.swap(larger);
  }
}

double numberOfWord(std::string_view word)
{
  double value = 0;
  const char* const end = word.data() + word.size();
  const auto [stop, error] = std::from_chars(word.data(), end, value);
  if (error == std::errc() && stop == end && (value == 0 || std::isnormal(value))) return value;

  // What else stod takes: a sign, a prefix of the word, hexadecimal digits, infinities.
  static const locale_t classic = newlocale(LC_ALL_MASK, "C", nullptr);
  const std::string copy(word);
  char* rest = nullptr;
  errno = 0;
  value = strtod_l(copy.c_str(), &rest, classic);
  if (rest == copy.c_str()) throw std::invalid_argument("invalid stod argument");
  if (errno == ERANGE) throw std::out_of_range("stod argument out of range");
  return value;
}

} // namespace Kavrel
