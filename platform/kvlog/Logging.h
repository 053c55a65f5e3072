#pragma once

#include "platform/Export.h"

#include <functional>
#include <string>

namespace Kavrel {

/// How much a log message matters, the most important first.
enum class LogLevel
{
  Warn,
  Debug,
  Trace
};

/// One message on its way to the sink. The texts live only as long as the call.
struct LogRecord
{
  LogLevel level;
  const char* channel;
  const std::string& message;
  const char* sourcePath;
  const char* function;
  int line;
};

/// A named log channel: each source file that logs owns one at file scope.
///
/// The library prints nothing by itself. A host installs one sink for the whole process; without a sink messages
/// vanish. All operations may be called from any thread and while files are still being initialised or already torn
/// down.
class KVSHAPES_EXPORT Logging
{
public:
  using Sink = std::function<void(const LogRecord&)>;

  /// Keeps the pointer: \p channelName is a literal, by custom the path of the source file.
  constexpr explicit Logging(const char* channelName) noexcept : channel(channelName) {}

  const char* getChannel() const noexcept { return channel; }

  /// Hands the message to the sink, unless the level in force leaves it out. What a sink throws reaches the caller.
  void logWARN(const std::string& message, const char* sourcePath, const char* function, int line) const;
  void logDEBUG(const std::string& message, const char* sourcePath, const char* function, int line) const;
  void logTRACE(const std::string& message, const char* sourcePath, const char* function, int line) const;

  /// Installs the process's sink and returns the one before it; an empty sink switches logging off.
  /// A sink runs without a lock held: it may log and may install another sink, and must itself bear concurrent calls.
  static Sink setSink(Sink sink);

  /// The least important level that still reaches the sink, `LogLevel::Warn` at first. Returns the level before.
  static LogLevel setLevel(LogLevel level) noexcept;

private:
  void write(LogLevel level, const std::string& message, const char* sourcePath, const char* function, int line) const;

  const char* channel;
};

} // namespace Kavrel
