#pragma once

/// The lists of hierarchies that exist, as `M(dimension, provider)`. The provider may hold commas: take it as variadic
/// argument.

/// Over the segments of polylines; these come with both sorters.
#define KV_FOR_EACH_SEGMENT_HIERARCHY(M)                                                                               \
  M(2, ElementSetProvider<Segment<Point<float, 2>>>)                                                                   \
  M(2, ElementSetProvider<Segment<Point<double, 2>>>)                                                                  \
  M(3, ElementSetProvider<Segment<Point<float, 3>>>)                                                                   \
  M(3, ElementSetProvider<Segment<Point<double, 3>>>)                                                                  \
  M(3, ElementSetProvider<Segment<ConstraintPoint>>)                                                                   \
  M(3, ElementSetProvider<Segment<Point3N>>)                                                                           \
  M(3, ElementSetProvider<Segment<Point3NT>>)                                                                          \
  M(3, ElementSetProvider<Segment<ProjectionPoint>>)

/// Over points, boxes and triangles held by value or by pointer.
#define KV_FOR_EACH_VALUE_HIERARCHY(M)                                                                                 \
  M(2, ElementSetProvider<Vector<double, 2>>)                                                                          \
  M(3, ElementSetProvider<Vector<double, 3>>)                                                                          \
  M(1, ElementSetProvider<AxisAlignedBox<double, 1>>)                                                                  \
  M(2, ElementSetProvider<AxisAlignedBox<double, 2>>)                                                                  \
  M(3, ElementSetProvider<AxisAlignedBox<double, 3>>)                                                                  \
  M(3, ElementSetProvider<Triangle>)                                                                                   \
  M(3, ElementSetProvider<Triangle*>)

/// Over triangles named by their index in a set.
#define KV_FOR_EACH_INDEX_HIERARCHY(M)                                                                                 \
  M(3, SetIndexElementSetProvider<Mesh, Triangle>)                                                                     \
  M(3, SetIndexElementSetProvider<DEMeshAdapter, SetIndexElement<DEMeshAdapter>>)                                      \
  M(2, SetIndexElementSetProvider<InitialCoordinatesMesh, SetIndexElement<InitialCoordinatesMesh>>)

#define KV_FOR_EACH_HIERARCHY(M)                                                                                       \
  KV_FOR_EACH_SEGMENT_HIERARCHY(M) KV_FOR_EACH_VALUE_HIERARCHY(M) KV_FOR_EACH_INDEX_HIERARCHY(M)
