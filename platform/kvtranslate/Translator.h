#pragma once

#include "platform/Export.h"

#include <functional>
#include <optional>
#include <string>

namespace Kavrel {

/// Turns the texts that a user may see into the user's language.
///
/// The host installs a catalogue; without one every text stays as it is. Safe to call from any thread.
class KVSHAPES_EXPORT Translator
{
public:
  /// What a catalogue is asked. \c disambiguation may be null, \c number is -1 where the text has no count.
  struct Query
  {
    const char* context;
    const char* text;
    const char* disambiguation;
    int number;
  };

  /// Answers a query, or nothing where the catalogue has no entry.
  using Catalogue = std::function<std::optional<std::string>(const Query&)>;

  /// The translation of \p text within \p context, or \p text itself where no catalogue knows it. A null text is empty.
  static std::string translate(const char* context, const char* text, const char* disambiguation = nullptr,
                               int number = -1);

  /// Installs the process's catalogue and returns the one before it; an empty one switches translation off.
  static Catalogue setCatalogue(Catalogue catalogue);
};

} // namespace Kavrel
