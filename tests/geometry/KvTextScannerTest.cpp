#include "geometry/KvTextScanner.h"
#include "support/CommaLocale.h"
#include "support/RandomGeometry.h"

#include <locale>
#include <sstream>
#include <stdexcept>

namespace Kavrel {
namespace {

using namespace Testing;

/// The numbers up to the first failure.
template <class T, class Read>
std::vector<T> readWith(Read read)
{
  std::vector<T> values;
  for (T value{}; read(value);)
    values.push_back(value);
  return values;
}

template <class T>
void expectReadsAlike(const std::string& text)
{
  KvTextScanner scanner(text);
  std::istringstream stream(text);
  stream.imbue(std::locale::classic());
  EXPECT_EQ(readWith<T>([&](T& value) { return scanner.read(value); }),
            readWith<T>([&](T& value) { return bool(stream >> value); }))
      << '"' << text << '"';
}

void expectTakesWhatFormattedInputTakes(const std::string& text)
{
  expectReadsAlike<double>(text);
  expectReadsAlike<int>(text);
  expectReadsAlike<unsigned>(text);
}

/// The words between the bars.
std::vector<std::string> wordsOf(const std::string& text)
{
  std::vector<std::string> words;
  std::istringstream stream(text);
  for (std::string word; std::getline(stream, word, '|');)
    words.push_back(word);
  return words;
}

const std::vector<std::string> numbers =
    wordsOf("|0|-0|+0|1|-1|+1|++1|+-1|-+1|--1|- 1|+|-|.|-.|1.|.5|-.5|+.5|1.5.5|1..5|1e3|1E3|1e+3|1e-3|1e|1e+|1e-|1e+x|"
            "1e.5|1e3.5|1e3e3|.e3|1.e3|e3|1,5|1 ,5|0x10|0X1p3|010|1_000|nan|NaN|inf|-inf|infinity|1nan|1inf|1d3|1f|"
            "1e308|1e309|-1e309|1e-308|1e-310|4.9e-324|1e-400|-1e-400|0e999|0.0e-999|"
            "179769313486231570814527423731704356798070e267|123456789012345678901234567890|1\v2\f3|1\t2\r\n3|1#2|"
            "0.1000000000000000055511151231257827021181583404541015625|2147483647|2147483648|-2147483648|-2147483649|"
            "4294967295|4294967296|-4294967295|-4294967296|18446744073709551615|18446744073709551616|"
            "99999999999999999999999|00000000000000000000000007|1 2 3 x 4|");

TEST(KvTextScanner, takesTheNumbersThatFormattedInputTakes)
{
  for (const std::string& text : numbers)
    expectTakesWhatFormattedInputTakes(text);
  const std::string letters = "00123456789999++--..eE x\n\t#nif,";
  repeat(20000, 72, [&](RandomGeometry& random) {
    std::string text;
    for (std::size_t n = random.index(14); n > 0; --n)
      text += letters[random.index(letters.size())];
    expectTakesWhatFormattedInputTakes(text);
  });
}

TEST(KvTextScanner, readsBackEveryDoubleBitForBit)
{
  repeat(40000, 73, [&](RandomGeometry& random) {
    const double range = random.coin() ? 300 : 12;
    const double written = random.logUniform(std::pow(10, -range), std::pow(10, range)) * (random.coin() ? 1 : -1);
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out.precision(random.coin() ? 17 : 1 + static_cast<int>(random.index(17)));
    if (random.coin() && range < 300) out.setf(std::ios::fixed);
    out << written;
    const std::string text = out.str();
    double value = 0;
    ASSERT_TRUE(KvTextScanner(text).read(value)) << text;
    EXPECT_EQ(value, std::stod(text)) << text;
  });
}

TEST(KvTextScanner, splitsWordsAndDropsComments)
{
  const std::tuple<std::string, std::vector<std::string>> rows[] = {
      {"a b\tc\rd\ne", {"a", "b", "c", "d", "e"}},
      {"12#x y\nz", {"12", "x", "y", "z"}},
      {"a\r\n# b\r\nc\r\n", {"a", "c"}},
      {std::string("a\0b", 3), {std::string("a\0b", 3)}},
      {"\xEF\xBB\xBFpoints 1", {"\xEF\xBB\xBFpoints", "1"}}};
  for (const auto& [text, expectedWords] : rows) {
    SCOPED_TRACE(text);
    KvTextScanner scanner(text);
    std::vector<std::string> words;
    for (std::string_view word; scanner.nextWord(word);)
      words.emplace_back(word);
    EXPECT_EQ(words, expectedWords);
  }
}

/// The outcome of a conversion as text.
template <class Convert>
std::string outcome(Convert&& convert)
{
  try {
    std::ostringstream out;
    out << std::hexfloat << convert();
    return out.str();
  } catch (const std::invalid_argument&) {
    return "invalid";
  } catch (const std::out_of_range&) {
    return "out of range";
  }
}

TEST(NumberOfWord, convertsLikeStod)
{
  std::vector<std::string> words = numbers;
  words.insert(words.end(), {"1.5abc", "0x1p-1074", "0x1p-1075", "0xg", "nan(12)", "infinit", "2.2250738585072014e-308",
                             "2.2250738585072011e-308", std::string("3\0x", 3)});
  for (const std::string& word : words) {
    SCOPED_TRACE("\"" + word + "\"");
    EXPECT_EQ(outcome([&] { return numberOfWord(word); }), outcome([&] { return std::stod(word); }));
  }
}

TEST(KvTextScanner, ignoresTheLocaleOfTheHost)
{
  const CommaLocale foreign;
  double normal = 0, tiny = 1;
  KvTextScanner scanner("1.5 1.5e-400");
  EXPECT_TRUE(scanner.read(normal) && scanner.read(tiny));
  EXPECT_EQ(normal, 1.5);
  EXPECT_EQ(tiny, 0);
  EXPECT_EQ(numberOfWord("1.5x"), 1.5);
}

TEST(ReadRemainingText, takesWhatIsLeftAndNothingOfABadStream)
{
  const std::string large(300000, 'x');
  std::istringstream stream("word " + large);
  std::string word;
  stream >> word;
  EXPECT_EQ(readRemainingText(stream).view(), " " + large);
  EXPECT_EQ(readRemainingText(stream).view(), "");
}

} // namespace
} // namespace Kavrel
