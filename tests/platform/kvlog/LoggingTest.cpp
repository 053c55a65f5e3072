#include "platform/kvlog/Logging.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Kavrel {
namespace {

class LoggingTest : public testing::Test
{
protected:
  LoggingTest()
  {
    Logging::setSink([this](const LogRecord& record) {
      lines.push_back(std::string(record.channel) + "|" + record.message + "|" + record.sourcePath + "|" +
                      record.function + "|" + std::to_string(record.line));
    });
  }
  ~LoggingTest() override
  {
    Logging::setSink({});
    Logging::setLevel(LogLevel::Warn);
  }

  void logAll()
  {
    log.logWARN("w", "a.cpp", "f", 1);
    log.logDEBUG("d", "b.cpp", "g", 2);
    log.logTRACE("t", "c.cpp", "h", 3);
  }

  static constinit const inline Logging log{"channel"}; // usable while files are still being initialised
  std::vector<std::string> lines;
};

TEST_F(LoggingTest, LevelFiltersAndNothingIsLost)
{
  const std::vector<std::string> all = {"channel|w|a.cpp|f|1", "channel|d|b.cpp|g|2", "channel|t|c.cpp|h|3"};
  for (const auto& [level, count] :
       {std::pair(LogLevel::Warn, 1), std::pair(LogLevel::Debug, 2), std::pair(LogLevel::Trace, 3)}) {
    lines.clear();
    Logging::setLevel(level);
    logAll();
    EXPECT_EQ(lines, std::vector<std::string>(all.begin(), all.begin() + count));
  }
}

TEST_F(LoggingTest, SinkMayLogReplaceItselfAndThrow)
{
  Logging::setSink([&](const LogRecord& record) {
    Logging::setSink([&](const LogRecord&) { throw std::runtime_error("disk full"); });
    lines.push_back(record.message);
  });
  log.logWARN("first", "", "", 0);
  EXPECT_EQ(lines, std::vector<std::string>{"first"});
  EXPECT_THROW(log.logWARN("second", "", "", 0), std::runtime_error);
}

TEST_F(LoggingTest, ThreadsMayLogWhileSinksChange)
{
  std::atomic<int> received = 0;
  const Logging::Sink counting = [&](const LogRecord&) { ++received; };
  Logging::setSink(counting);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([&] {
      for (int j = 0; j < 1000; ++j)
        log.logWARN("x", "", "", j);
    });
  for (int i = 0; i < 1000; ++i)
    Logging::setSink(counting);
  for (auto& thread : threads)
    thread.join();
  EXPECT_EQ(received, 4000);
}

} // namespace
} // namespace Kavrel
