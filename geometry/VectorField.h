#pragma once

#include "geometry/Point.h"
#include "platform/kvarchive/Persistent.h"
#include "platform/kvident/Identifier.h"

#include <string>
#include <utility>
#include <vector>

namespace Kavrel {

/// A named list of vectors, each at a point of its own.
class KVSHAPES_EXPORT VectorField
{
public:
  using Value = std::pair<Point<double, 3>, Vector<double, 3>>;
  using ConstIterator = std::vector<Value>::const_iterator;

  /// Empty, without a name, with a fresh identifier.
  VectorField() = default;
  virtual ~VectorField();
  VectorField(const VectorField&) = default;
  VectorField(VectorField&&) = default;
  VectorField& operator=(const VectorField&) = default;
  VectorField& operator=(VectorField&&) = default;

  const Identifier& getId() const { return id; }
  const std::string& getName() const { return name; }
  void setName(const std::string& text) { name = text; }

  void addValue(const Value& value) { values.push_back(value); }
  void addValue(const Point<double, 3>& point, const Vector<double, 3>& vector) { values.emplace_back(point, vector); }
  /// Appends the values of \p other, which may be this field.
  void addValues(const VectorField& other) { addValues(other.values); }
  void addValues(const std::vector<Value>& more);

  /// Removes all values; name and identifier stay.
  void clear() { values.clear(); }
  /// Makes \p target a field of the same name and values; its identifier stays.
  void copy(VectorField& target) const;
  /// Removes one value; an index past the end is ignored.
  void erase(std::size_t index);
  void reserve(std::size_t count) { values.reserve(count); }

  std::size_t size() const { return values.size(); }
  ConstIterator getStart() const { return values.begin(); }
  ConstIterator getEnd() const { return values.end(); }
  /// \p index must be below size().
  Value& operator[](std::size_t index) { return values[index]; }
  const Value& operator[](std::size_t index) const { return values[index]; }

private:
  Identifier id;
  std::string name;
  std::vector<Value> values;

  KVSHAPES_PERSISTENT();
};

} // namespace Kavrel
