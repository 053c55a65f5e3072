#include "platform/kvident/GUIdentifier.h"

#include <array>
#include <random>

namespace Kavrel {

namespace {

std::mt19937_64 makeEngine()
{
  std::random_device system;
  std::array<std::uint32_t, 16> words{};
  for (auto& word : words)
    word = system();
  std::seed_seq seed(words.begin(), words.end());
  return std::mt19937_64(seed);
}

std::uint64_t randomWord()
{
  thread_local std::mt19937_64 engine = makeEngine();
  return engine();
}

} // namespace

GUIdentifier::GUIdentifier() : high(0), low(0)
{
  while (!isValid()) {
    high = randomWord();
    low = randomWord();
  }
}

} // namespace Kavrel
