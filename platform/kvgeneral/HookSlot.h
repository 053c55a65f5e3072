#pragma once

#include <memory>
#include <mutex>
#include <utility>

namespace Kavrel {

/// Holds the one callable that a host has installed for the process. A call works on a copy of the reference, so that
/// the callable may itself exchange the hook, and a replaced one lives until its last call ends.
template <class Function>
class HookSlot
{
public:
  /// The callable in force, null where none is installed.
  std::shared_ptr<const Function> get() const
  {
    const std::lock_guard lock(mutex);
    return current;
  }

  /// Installs \p next and returns the callable before it. An empty callable uninstalls.
  Function exchange(Function next)
  {
    auto entry = next ? std::make_shared<const Function>(std::move(next)) : nullptr;
    {
      const std::lock_guard lock(mutex);
      current.swap(entry);
    }
    return entry ? *entry : Function();
  }

private:
  mutable std::mutex mutex;
  std::shared_ptr<const Function> current;
};

} // namespace Kavrel
