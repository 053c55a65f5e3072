#include "platform/kvmath/MathException.h"

namespace Kavrel {

MathException::MathException(const char* text, std::source_location location) : KvException(text, location) {}

MathException::~MathException() = default;

} // namespace Kavrel
