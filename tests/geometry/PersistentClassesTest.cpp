#include "geometry/BoundingBox.h"
#include "geometry/Circle.h"
#include "geometry/ConstraintPoint.h"
#include "geometry/CoordinateSystem.h"
#include "geometry/Ellipse.h"
#include "geometry/GeometricTolerances.h"
#include "geometry/Hyperbola.h"
#include "geometry/NurbsCurve.h"
#include "geometry/Parabola.h"
#include "geometry/Plane.h"
#include "geometry/PolyLine.h"
#include "geometry/PolyLine2_Deprecated.h"
#include "geometry/ProjectionPoint.h"
#include "geometry/RotationPoint.h"
#include "geometry/StraightLine.h"
#include "geometry/VectorField.h"
#include "geometry/mesh/Mesh.h"
#include "platform/kvarchive/Persistence.h"
#include "platform/kvgeneral/NameInterface.h"
#include "platform/kvident/GUIdentifier.h"
#include "platform/kvident/Identifier.h"

#include <gtest/gtest.h>

using namespace Kavrel;

namespace {

template <class T>
BaseClassRegister recordOf()
{
  BaseClassRegister record;
  T::serialization_register(&record);
  return record;
}

/// Archives that were written once hold the hash of the key and the version.
template <class T>
void expectClass(const std::string& key, unsigned version, bool polymorphic)
{
  SCOPED_TRACE(key);
  const BaseClassRegister record = recordOf<T>();
  const unsigned hash = PersistenceArchiver::getHashForName(key);
  EXPECT_EQ(record.classHash, hash);
  EXPECT_EQ(record.saveVersion, version);
  EXPECT_EQ(record.loadVersion, version);
  EXPECT_EQ(record.polymorphic, polymorphic);
  EXPECT_EQ(PersistenceArchiver::getHashForType(PersistenceArchiver::getHashForName(typeid(T).name())), hash);
}

/// The four spaces of a class template.
template <template <class, unsigned> class Type>
void expectSpaces(const std::string& key, unsigned floatVersion, unsigned doubleVersion, bool polymorphic)
{
  expectClass<Type<float, 2>>(key + "2f", floatVersion, polymorphic);
  expectClass<Type<float, 3>>(key + "3f", floatVersion, polymorphic);
  expectClass<Type<double, 2>>(key + "2", doubleVersion, polymorphic);
  expectClass<Type<double, 3>>(key + "3", doubleVersion, polymorphic);
}

TEST(PersistentClasses, KeysAndVersionsStayWhatArchivesHold)
{
  expectSpaces<BoundingBox>("BoundingBox", 500001, 300001, false);
  expectSpaces<Circle>("BoostExportCircle", 500001, 53013, true);
  expectSpaces<ConicArc>("BoostExportConicArc", 500001, 1, true);
  expectSpaces<CoordinateSystem>("BoostExportCoordinateSystem", 500002, 500002, false);
  expectSpaces<Curve>("BoostExportCurve", 500001, 53013, true);
  expectSpaces<Ellipse>("BoostExportEllipse", 500001, 53013, true);
  expectSpaces<Hyperbola>("BoostExportHyperbola", 500001, 53013, true);
  expectSpaces<NurbsCurve>("BoostExportNurbsCurve", 500001, 53013, true);
  expectSpaces<OrthMatrix>("OrthMatrix", 1, 1, false);
  expectSpaces<Parabola>("BoostExportParabola", 500001, 53013, true);
  expectSpaces<Plane>("Plane", 500001, 53013, false);
  expectSpaces<Point>("Point", 500001, 53013, false);
  expectSpaces<StraightLine>("BoostExportStraightLine", 500001, 53013, true);
  expectSpaces<Vector>("Vector", 1, 1, false);
  expectClass<ConstraintPoint>("ConstraintPoint", 53013, false);
  expectClass<GeometricTolerances>("GeometricTolerances", 500002, false);
  expectClass<GUIdentifier>("GUIdentifier", 1, false);
  expectClass<Identifier>("Identifier", 1, false);
  expectClass<Interval>("Interval", 1, false);
  expectClass<Mesh>("Mesh", 150001, false);
  expectClass<NameInterface>("NameInterface", 1, true);
  expectClass<Point3N>("Point3N", 53013, false);
  expectClass<Point3NT>("Point3NT", 53013, false);
  expectClass<PolyLine<Point<float, 2>>>("BoostExportPolyLinePoint2f", 500001, true);
  expectClass<PolyLine<Point<float, 3>>>("BoostExportPolyLinePoint3f", 500001, true);
  expectClass<PolyLine<Point<double, 2>>>("BoostExportPolyLinePoint2", 53013, true);
  expectClass<PolyLine<Point<double, 3>>>("BoostExportPolyLinePoint3", 53013, true);
  expectClass<PolyLine<ConstraintPoint>>("BoostExportPolyLineConstraintPoint", 53013, true);
  expectClass<PolyLine<Point3N>>("BoostExportPolyLinePoint3N", 53013, true);
  expectClass<PolyLine<Point3NT>>("BoostExportPolyLinePoint3NT", 53013, true);
  expectClass<PolyLine<ProjectionPoint>>("BoostExportPolyLineProjectionPoint", 53013, true);
  expectClass<PolyLine2_Deprecated>("PolyLine2", 53013, true);
  expectClass<ProjectionPoint>("ProjectionPoint", 53013, false);
  expectClass<RotationPoint>("RotationPoint", 400000, false);
  expectClass<Vector<double, 1>>("Vector1", 1, false);
  expectClass<VectorField>("VectorField", 300002, true);
  expectClass<Vertex>("Vertex", 53013, false);
}

} // namespace
