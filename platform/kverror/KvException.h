#pragma once

#include "platform/Export.h"

#include <exception>
#include <source_location>
#include <string>

namespace Kavrel {

/// A failure with a message and the place in the source that raised it: file, line, column and function signature.
class KVSHAPES_EXPORT KvException : public std::exception
{
public:
  explicit KvException(std::string message, std::source_location location = std::source_location::current());
  ~KvException() override;

  /// The message alone.
  const char* what() const noexcept override;

  /// The message followed by file, line, column and function of the raise. A column of 0 is unknown and left out.
  virtual std::string log() const;

  const std::string& getMessage() const { return message; }

protected:
  KvException(std::string message, std::string file, unsigned line, unsigned column, std::string function);

private:
  std::string message;
  std::string file;
  std::string function;
  unsigned line;
  unsigned column;
};

/// Raised inside a handler: it keeps the failure that was being handled, which std::rethrow_if_nested brings back.
class KVSHAPES_EXPORT KvExceptionNested : public KvException, public std::nested_exception
{
public:
  KvExceptionNested(std::string message, const std::string& className, const std::string& functionName,
                    std::string sourcePath, int line);
  ~KvExceptionNested() override;

  /// The texts of this failure and of all that it holds, one a line, the outermost first.
  std::string log() const override;
};

} // namespace Kavrel
