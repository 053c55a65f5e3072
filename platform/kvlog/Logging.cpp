#include "platform/kvlog/Logging.h"

#include "platform/kvgeneral/HookSlot.h"

#include <atomic>

namespace Kavrel {

namespace {

constinit std::atomic<LogLevel> levelInForce{LogLevel::Warn};

// Never destroyed: files that log may still be torn down after this one.
HookSlot<Logging::Sink>& sinkSlot()
{
  static auto& slot = *new HookSlot<Logging::Sink>;
  return slot;
}

} // namespace

void Logging::logWARN(const std::string& message, const char* sourcePath, const char* function, int line) const
{
  write(LogLevel::Warn, message, sourcePath, function, line);
}

void Logging::logDEBUG(const std::string& message, const char* sourcePath, const char* function, int line) const
{
  write(LogLevel::Debug, message, sourcePath, function, line);
}

void Logging::logTRACE(const std::string& message, const char* sourcePath, const char* function, int line) const
{
  write(LogLevel::Trace, message, sourcePath, function, line);
}

Logging::Sink Logging::setSink(Sink sink) { return sinkSlot().exchange(std::move(sink)); }

LogLevel Logging::setLevel(LogLevel level) noexcept { return levelInForce.exchange(level); }

void Logging::write(LogLevel level, const std::string& message, const char* sourcePath, const char* function,
                    int line) const
{
  if (level > levelInForce.load(std::memory_order_relaxed)) return;
  if (const auto sink = sinkSlot().get()) (*sink)({level, channel, message, sourcePath, function, line});
}

} // namespace Kavrel
