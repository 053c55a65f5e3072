#pragma once

#include "platform/Export.h"
#include "platform/kvappcache/EvalCache.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

namespace Kavrel {

class KVSHAPES_EXPORT Mesh;

/// One recomputable value in the process-wide evaluation cache: a mesh, or a vector of int or float.
///
/// The cache may empty the entry at any time; a value handed out stays alive through its shared pointer. Storing calls
/// for a lock of the owner, reading and being dropped at the same time do not.
template <class T>
class KVSHAPES_EXPORT AllocatedCachedEvalObject final : public AllocatedCachedEvalObjectBase
{
public:
  AllocatedCachedEvalObject() = default;
  ~AllocatedCachedEvalObject() override;

  /// Stores \p newValue, which may be null, under \p newLabel, a literal, and announces its size: the bytes of the
  /// value (0 for null) and 16. Other entries may be dropped for it.
  void setValue(std::shared_ptr<T> newValue, const char* newLabel);

  /// The value, which counts as a use, or null when nothing was stored or the cache has dropped it.
  std::shared_ptr<T> getValue();

  std::size_t getSizeInBytes() const noexcept override { return sizeInBytes; }
  void recomputeSize() override;
  std::size_t drop() noexcept override;
  /// The label of the last value, an empty text before the first one.
  const char* getLabel() const override;

private:
  static std::size_t measure(const T* object);

  mutable std::mutex mutex;
  bool registered = false;
  std::shared_ptr<T> value;
  const char* label = "";
  std::atomic<std::size_t> sizeInBytes{0};
};

extern template class AllocatedCachedEvalObject<Mesh>;
extern template class AllocatedCachedEvalObject<std::vector<int>>;
extern template class AllocatedCachedEvalObject<std::vector<float>>;

} // namespace Kavrel
