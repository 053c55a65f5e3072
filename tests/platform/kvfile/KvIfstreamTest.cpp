#include "platform/kvfile/KvIfstream.h"
#include "support/CommaLocale.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace Kavrel {
namespace {

class KvIfstreamTest : public testing::Test
{
protected:
  KvIfstreamTest() { std::ofstream(path) << "1234.5 -0.25 1e3 7"; }
  ~KvIfstreamTest() override { std::filesystem::remove(path); }

  const std::filesystem::path path = std::filesystem::path(testing::TempDir()) / "KvIfstreamTest numbers.txt";
};

TEST_F(KvIfstreamTest, ReadsNumbersTheSameOnEveryHost)
{
  const Testing::CommaLocale host;
  for (const FileName& name : {FileName(path), FileName(path.string()), FileName(path.c_str())}) {
    KvIfstream direct(name);
    KvIfstream later;
    later.open(name);
    for (KvIfstream* stream : {&direct, &later}) {
      double a = 0, b = 0, c = 0;
      int d = 0;
      *stream >> a >> b >> c >> d;
      EXPECT_TRUE(*stream);
      EXPECT_EQ(a, 1234.5);
      EXPECT_EQ(b, -0.25);
      EXPECT_EQ(c, 1000.0);
      EXPECT_EQ(d, 7);
    }
  }
}

TEST_F(KvIfstreamTest, WhatIsNoFileStaysClosed)
{
  for (const FileName& name : {FileName(path.parent_path()), FileName(path.string() + ".missing"), FileName(),
                               FileName(static_cast<const char*>(nullptr))}) {
    SCOPED_TRACE(name.toString());
    const KvIfstream stream(name);
    EXPECT_FALSE(stream.is_open());
    EXPECT_TRUE(stream.fail());
  }
}

} // namespace
} // namespace Kavrel
