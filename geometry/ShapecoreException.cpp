#include "geometry/ShapecoreException.h"

#include <utility>

namespace Kavrel {

ShapecoreException::ShapecoreException(std::string text, std::source_location location)
    : KvException(std::move(text), location)
{}

ShapecoreException::~ShapecoreException() = default;

} // namespace Kavrel
