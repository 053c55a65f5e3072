#include "platform/kverror/KvException.h"

#include <utility>

namespace Kavrel {

KvException::KvException(std::string text, std::source_location location)
    : KvException(std::move(text), location.file_name(), location.line(), location.column(), location.function_name())
{}

KvException::KvException(std::string text, std::string sourceFile, unsigned sourceLine, unsigned sourceColumn,
                         std::string functionName)
    : message(std::move(text)), file(std::move(sourceFile)), function(std::move(functionName)), line(sourceLine),
      column(sourceColumn)
{}

KvException::~KvException() = default;

const char* KvException::what() const noexcept { return message.c_str(); }

std::string KvException::log() const
{
  std::string place = file + ":" + std::to_string(line);
  if (column != 0) place += ":" + std::to_string(column);
  return message + " (" + place + ", " + function + ")";
}

KvExceptionNested::KvExceptionNested(std::string text, const std::string& className, const std::string& functionName,
                                     std::string sourcePath, int sourceLine)
    : KvException(std::move(text), std::move(sourcePath), static_cast<unsigned>(sourceLine), 0,
                  className + "::" + functionName)
{}

KvExceptionNested::~KvExceptionNested() = default;

std::string KvExceptionNested::log() const
{
  std::string text = KvException::log();
  if (!nested_ptr()) return text;
  try {
    rethrow_nested();
  } catch (const KvException& cause) {
    text += "\n" + cause.log();
  } catch (const std::exception& cause) {
    text += std::string("\n") + cause.what();
  } catch (...) {
    text += "\nunknown failure";
  }
  return text;
}

} // namespace Kavrel
