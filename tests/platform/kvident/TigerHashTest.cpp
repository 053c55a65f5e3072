#include "platform/kvident/TigerHash.h"

#include <gtest/gtest.h>

#include <string>

namespace Kavrel {
namespace {

// The digests that the designers of the function published.
TEST(TigerHashTest, PublishedDigests)
{
  const std::tuple<std::string, const char*> rows[] = {
      {"", "3293ac630c13f0245f92bbb1766e16167a4e58492dde73f3"},
      {"abc", "2aab1484e8c158f2bfb8c5ff41b57a525129131c957b5f93"},
      {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+-",
       "f71c8583902afb879edfe610f82c0d4786a3a534504486b5"},
      {"Tiger - A Fast New Hash Function, by Ross Anderson and Eli Biham",
       "8a866829040a410c729ad23f5ada711603b3cdd357e4c15e"},
  };
  for (const auto& [text, digest] : rows)
    EXPECT_EQ(TigerHash::tHash(text), digest) << text;
}

} // namespace
} // namespace Kavrel
