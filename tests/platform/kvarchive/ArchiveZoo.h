#pragma once

#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/kvarchive/Persistence.h"

/// Persistent classes of every sort, for the tests of the archive. One source per program includes this.
namespace Kavrel::Zoo {

/// An abstract base.
struct Shape
{
  virtual ~Shape() = default;
  virtual std::string kind() const = 0;
  int tag = 0;
  KVSHAPES_PERSISTENT();
};

struct Round : Shape
{
  std::string kind() const override { return "Round"; }
  double radius = 0;
  unsigned int loadedVersion = 0xFFFFFFFFu;
  KVSHAPES_PERSISTENT();
};

struct Labelled
{
  virtual ~Labelled() = default;
  std::string label;
  KVSHAPES_PERSISTENT();
};

/// Two steps away from Shape, which doesn't stand at its beginning: the pair (Shape, Ball) is registered nowhere.
struct Ball : Labelled, Round
{
  std::string kind() const override { return "Ball"; }
  KVSHAPES_PERSISTENT();
};

/// Its Shape part doesn't stand at its beginning.
struct Sign : Labelled, Shape
{
  std::string kind() const override { return "Sign"; }
  KVSHAPES_PERSISTENT();
};

/// History: version 1 stored the weight as an int, version 2 as a double, version 3 added the label.
struct Parcel
{
  double weight = 0;
  std::string label = "none";
  KVSHAPES_PERSISTENT();
};

/// No virtual operations.
struct Corner
{
  Corner() { ++alive; }
  explicit Corner(double value) : x(value) { ++alive; }
  Corner(const Corner& other) : x(other.x) { ++alive; }
  Corner& operator=(const Corner&) = default;
  ~Corner() { --alive; }
  static inline int alive = 0;
  double x = 0;
  KVSHAPES_PERSISTENT();
};

struct RichCorner : Corner
{
  double extra = 0;
  KVSHAPES_PERSISTENT();
};

/// Refers to corners that belong to a Solid.
struct Face
{
  std::shared_ptr<Corner> first, second;
  KVSHAPES_PERSISTENT();
};

/// Its faces stand before the corners that it owns.
struct Solid
{
  std::vector<Face> faces;
  std::vector<std::shared_ptr<Corner>> corners;
  KVSHAPES_PERSISTENT();
};

struct Link
{
  std::shared_ptr<Link> next;
  KVSHAPES_PERSISTENT();
};

/// Numbers in a row and nothing else.
struct Triple
{
  float values[3] = {};
  friend bool operator==(const Triple&, const Triple&) = default;
  KVSHAPES_PERSISTENT();
};

/// Every kind of value and container.
struct Crate
{
  int number = 0;
  std::string text;
  Parcel parcel;
  std::vector<double> doubles;
  std::vector<bool> flags;
  std::vector<std::string> texts;
  std::deque<int> ints;
  std::vector<Triple> triples;
  std::deque<Triple> scattered;
  std::vector<Parcel> parcels;
  std::vector<std::pair<Parcel, Triple>> pairs;
  std::vector<float> manyFloats;
  std::vector<std::shared_ptr<Shape>> shapes;
  std::shared_ptr<const Round> round;
  KVSHAPES_PERSISTENT();
};

} // namespace Kavrel::Zoo

template <>
struct Kavrel::PersistentFlat<Kavrel::Zoo::Triple>
{
  using Component = float;
};

namespace Kavrel::Zoo {

KVSHAPES_PERSISTENT_CLASS(Shape, "ZooShape", 1)
KVSHAPES_PERSISTENT_CLASS(Round, "ZooRound", 7)
KVSHAPES_PERSISTENT_CLASS(Ball, "ZooBall", 1)
KVSHAPES_PERSISTENT_CLASS(Labelled, "ZooLabelled", 1)
KVSHAPES_PERSISTENT_CLASS(Sign, "ZooSign", 1)
KVSHAPES_PERSISTENT_CLASS(Parcel, "ZooParcel", 3)
KVSHAPES_PERSISTENT_CLASS(Corner, "ZooCorner", 1)
KVSHAPES_PERSISTENT_CLASS(RichCorner, "ZooRichCorner", 1)
KVSHAPES_PERSISTENT_CLASS(Face, "ZooFace", 1)
KVSHAPES_PERSISTENT_CLASS(Solid, "ZooSolid", 1)
KVSHAPES_PERSISTENT_CLASS(Link, "ZooLink", 1)
KVSHAPES_PERSISTENT_CLASS(Triple, "ZooTriple", 1)
KVSHAPES_PERSISTENT_CLASS(Crate, "ZooCrate", 0xFFFFFFFFu)

struct Saving
{
  PersistenceArchiver& archive;

  template <class Base, class Self>
  void parent(const Self& self)
  {
    Persistence::saveParent<Base>(archive, self);
  }
  void values(const auto&... value) { (archive << ... << value); }
  void object(const auto& value) { Persistence::saveObject(archive, value); }
  void containers(const auto&... list) { (Persistence::saveContainer(archive, list), ...); }
  void container64(const auto& list) { Persistence::saveContainer64(archive, list); }
  void pointer(const auto& value) { Persistence::savePointer(archive, value); }
  void view(const auto& value) { Persistence::savePointer(archive, value); }
};

struct Loading
{
  PersistenceArchiver& archive;

  template <class Base, class Self>
  void parent(Self& self)
  {
    Persistence::loadParent<Base>(archive, self);
  }
  void values(auto&... value) { (archive >> ... >> value); }
  void object(auto& value) { Persistence::loadObject(archive, value); }
  void containers(auto&... list) { (Persistence::loadContainer(archive, list), ...); }
  void container64(auto& list) { Persistence::loadContainer64(archive, list); }
  void pointer(auto& value) { Persistence::loadPointer(archive, value); }
  void view(auto& value) { Persistence::loadPointer(archive, value, true); }
};

/// Defines `save` and `load` by the steps that both take.
#define KVSHAPES_ZOO_STEPS(Class, ...)                                                                                 \
  void Class::save(PersistenceArchiver& archiver, unsigned int) const                                                  \
  {                                                                                                                    \
    Saving way{archiver};                                                                                              \
    __VA_ARGS__;                                                                                                       \
  }                                                                                                                    \
  void Class::load(PersistenceArchiver& archiver, unsigned int)                                                        \
  {                                                                                                                    \
    Loading way{archiver};                                                                                             \
    __VA_ARGS__;                                                                                                       \
  }

KVSHAPES_ZOO_STEPS(Shape, way.values(tag))
KVSHAPES_ZOO_STEPS(Ball, way.parent<Round>(*this), way.values(label))
KVSHAPES_ZOO_STEPS(Labelled, way.values(label))
KVSHAPES_ZOO_STEPS(Sign, way.parent<Labelled>(*this), way.parent<Shape>(*this))
KVSHAPES_ZOO_STEPS(Corner, way.values(x))
KVSHAPES_ZOO_STEPS(RichCorner, way.parent<Corner>(*this), way.values(extra))
KVSHAPES_ZOO_STEPS(Face, way.view(first), way.view(second))
KVSHAPES_ZOO_STEPS(Solid, way.containers(faces, corners))
KVSHAPES_ZOO_STEPS(Link, way.pointer(next))
KVSHAPES_ZOO_STEPS(Triple, way.values(values[0], values[1], values[2]))
KVSHAPES_ZOO_STEPS(Crate, way.values(number, text), way.object(parcel),
                   way.containers(doubles, flags, texts, ints, triples, scattered, parcels, pairs),
                   way.container64(manyFloats), way.containers(shapes), way.pointer(round))

void Round::save(PersistenceArchiver& archiver, unsigned int) const
{
  Persistence::saveParent<Shape>(archiver, *this);
  archiver << radius;
}
void Round::load(PersistenceArchiver& archiver, unsigned int version)
{
  loadedVersion = version;
  Persistence::loadParent<Shape>(archiver, *this);
  archiver >> radius;
}

void Parcel::save(PersistenceArchiver& archiver, unsigned int) const { archiver << weight << label; }
void Parcel::load(PersistenceArchiver& archiver, unsigned int version)
{
  int whole = 0;
  if (version < 2) {
    archiver >> whole;
    weight = whole;
  } else
    archiver >> weight;
  if (version >= 3) archiver >> label;
}

inline std::shared_ptr<Ball> redBall()
{
  auto ball = std::make_shared<Ball>();
  ball->tag = 3;
  ball->radius = 1.5;
  ball->label = "red";
  return ball;
}

inline Solid twoFaces()
{
  Solid solid;
  for (int i = 0; i < 3; ++i)
    solid.corners.push_back(std::make_shared<Corner>(i));
  for (std::size_t i = 0; i < 2; ++i)
    solid.faces.push_back({solid.corners[i], solid.corners[i + 1]});
  return solid;
}

/// Something in every member; the ball is shared.
inline Crate fullCrate()
{
  Crate crate;
  crate.number = -7;
  crate.text = "text";
  crate.parcel.weight = 2.5;
  crate.doubles = {1, -2, 3e300};
  crate.flags = {true, false, true};
  crate.texts = {"", "two", "three"};
  crate.ints = {4, 5};
  crate.triples = {{{1, 2, 3}}, {{4, 5, 6}}};
  crate.scattered = {{{7, 8, 9}}};
  crate.parcels.resize(3);
  crate.parcels[1].label = "middle";
  crate.pairs.resize(2);
  crate.pairs[1].first.weight = 11;
  crate.pairs[1].second.values[2] = 12;
  crate.manyFloats = {0.5f, 0.25f};
  crate.shapes = {redBall(), nullptr, std::make_shared<Sign>()};
  crate.shapes.push_back(crate.shapes[0]);
  crate.round = std::static_pointer_cast<Ball>(crate.shapes[0]);
  return crate;
}

} // namespace Kavrel::Zoo
