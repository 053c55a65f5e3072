#include "platform/kvtranslate/Translator.h"

#include "platform/kvgeneral/HookSlot.h"

namespace Kavrel {

namespace {

// Never destroyed: a failure may be raised while the process ends.
HookSlot<Translator::Catalogue>& catalogueSlot()
{
  static auto& slot = *new HookSlot<Translator::Catalogue>;
  return slot;
}

} // namespace

std::string Translator::translate(const char* context, const char* text, const char* disambiguation, int number)
{
  if (text == nullptr) return {};
  if (const auto catalogue = catalogueSlot().get())
    if (auto translation = (*catalogue)({context, text, disambiguation, number})) return *std::move(translation);
  return text;
}

Translator::Catalogue Translator::setCatalogue(Catalogue catalogue)
{
  return catalogueSlot().exchange(std::move(catalogue));
}

} // namespace Kavrel
