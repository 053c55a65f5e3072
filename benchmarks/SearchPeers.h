#pragma once

#include "SearchModels.h"

#include <CGAL/AABB_traits.h>
#include <CGAL/AABB_tree.h>
#include <CGAL/AABB_triangle_primitive.h>
#include <CGAL/Simple_cartesian.h>
#include <embree3/rtcore.h>
#include <fcl/fcl.h>
#include <limits>
#include <nanoflann.hpp>

/// The peers of the search, each behind the same few calls.
namespace Kavrel::Benchmarks {

class CgalTree
{
public:
  using Kernel = CGAL::Simple_cartesian<double>;
  using Triangles = std::vector<Kernel::Triangle_3>;
  using Primitive = CGAL::AABB_triangle_primitive<Kernel, Triangles::const_iterator>;
  using Tree = CGAL::AABB_tree<CGAL::AABB_traits<Kernel, Primitive>>;

  static Kernel::Point_3 point(const Vector3& v) { return {v[0], v[1], v[2]}; }
  static Kernel::Vector_3 vector(const Vector3& v) { return {v[0], v[1], v[2]}; }

  static Triangles trianglesOf(const SearchModel& model, const Vector3& shift = Vector3())
  {
    Triangles list;
    for (std::size_t i = 0; i < model.triangles.size(); ++i)
      list.emplace_back(point(model.corner(i, 0) + shift), point(model.corner(i, 1) + shift),
                        point(model.corner(i, 2) + shift));
    return list;
  }

  CgalTree(const SearchModel& model, bool accelerated)
      : triangles(trianglesOf(model)), tree(triangles.cbegin(), triangles.cend())
  {
    tree.build();
    if (accelerated) tree.accelerate_distance_queries();
  }

  Triangles triangles;
  Tree tree;
};

class EmbreeTree
{
public:
  EmbreeTree(const SearchModel& model, RTCBuildQuality quality, RTCSceneFlags flags)
      : device(rtcNewDevice("threads=1")), scene(rtcNewScene(device))
  {
    RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
    points = static_cast<float*>(
        rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, 12, model.points.size()));
    for (std::size_t i = 0; i < 3 * model.points.size(); ++i)
      points[i] = static_cast<float>(model.points[i / 3][i % 3]);
    triangles = static_cast<unsigned*>(
        rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, 12, model.triangles.size()));
    for (std::size_t i = 0; i < 3 * model.triangles.size(); ++i)
      triangles[i] = model.triangles[i / 3][i % 3];
    rtcSetGeometryBuildQuality(geometry, quality);
    rtcCommitGeometry(geometry);
    rtcAttachGeometry(scene, geometry);
    rtcReleaseGeometry(geometry);
    rtcSetSceneBuildQuality(scene, quality);
    rtcSetSceneFlags(scene, flags);
  }
  EmbreeTree(const EmbreeTree&) = delete;
  EmbreeTree& operator=(const EmbreeTree&) = delete;
  ~EmbreeTree()
  {
    rtcReleaseScene(scene);
    rtcReleaseDevice(device);
  }

  void build() { rtcCommitScene(scene); }

  unsigned nearest(const Vector3& query) const
  {
    RTCPointQuery point{static_cast<float>(query[0]), static_cast<float>(query[1]), static_cast<float>(query[2]), 0.0F,
                        std::numeric_limits<float>::infinity()};
    RTCPointQueryContext context;
    rtcInitPointQueryContext(&context);
    Nearest best{this, 0};
    rtcPointQuery(scene, &point, &context, measure, &best);
    return best.triangle;
  }

  float firstHit(const Vector3& origin, const Vector3& direction) const
  {
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    RTCRayHit hit{};
    hit.ray.org_x = static_cast<float>(origin[0]);
    hit.ray.org_y = static_cast<float>(origin[1]);
    hit.ray.org_z = static_cast<float>(origin[2]);
    hit.ray.dir_x = static_cast<float>(direction[0]);
    hit.ray.dir_y = static_cast<float>(direction[1]);
    hit.ray.dir_z = static_cast<float>(direction[2]);
    hit.ray.tfar = std::numeric_limits<float>::infinity();
    hit.ray.mask = 0xFFFFFFFFU;
    hit.hit.geomID = RTC_INVALID_GEOMETRY_ID;
    rtcIntersect1(scene, &context, &hit);
    return hit.ray.tfar;
  }

private:
  struct Nearest
  {
    const EmbreeTree* tree;
    unsigned triangle;
  };
  using Float3 = Vector<float, 3>;

  Float3 corner(unsigned triangle, unsigned i) const
  {
    const float* const p = points + 3 * triangles[3 * triangle + i];
    return {p[0], p[1], p[2]};
  }

  /// The nearest place in a triangle by the region in which the point lies.
  static Float3 nearestPlace(const Float3& p, const Float3& a, const Float3& b, const Float3& c)
  {
    const Float3 ab = b - a, ac = c - a, ap = p - a;
    const float d1 = ab.dot(ap), d2 = ac.dot(ap);
    if (d1 <= 0.0F && d2 <= 0.0F) return a;
    const Float3 bp = p - b;
    const float d3 = ab.dot(bp), d4 = ac.dot(bp);
    if (d3 >= 0.0F && d4 <= d3) return b;
    const Float3 cp = p - c;
    const float d5 = ab.dot(cp), d6 = ac.dot(cp);
    if (d6 >= 0.0F && d5 <= d6) return c;
    const float vc = d1 * d4 - d3 * d2;
    if (vc <= 0.0F && d1 >= 0.0F && d3 <= 0.0F) return a + (d1 / (d1 - d3)) * ab;
    const float vb = d5 * d2 - d1 * d6;
    if (vb <= 0.0F && d2 >= 0.0F && d6 <= 0.0F) return a + (d2 / (d2 - d6)) * ac;
    const float va = d3 * d6 - d5 * d4;
    if (va <= 0.0F && d4 - d3 >= 0.0F && d5 - d6 >= 0.0F) return b + ((d4 - d3) / ((d4 - d3) + (d5 - d6))) * (c - b);
    const float sum = 1.0F / (va + vb + vc);
    return a + (vb * sum) * ab + (vc * sum) * ac;
  }

  static bool measure(RTCPointQueryFunctionArguments* arguments)
  {
    auto& best = *static_cast<Nearest*>(arguments->userPtr);
    const Float3 query(arguments->query->x, arguments->query->y, arguments->query->z);
    const unsigned triangle = arguments->primID;
    const Float3 place = nearestPlace(query, best.tree->corner(triangle, 0), best.tree->corner(triangle, 1),
                                      best.tree->corner(triangle, 2));
    const float distance = (place - query).length();
    if (!(distance < arguments->query->radius)) return false;
    arguments->query->radius = distance;
    best.triangle = triangle;
    return true;
  }

  RTCDevice device;
  RTCScene scene;
  float* points = nullptr;
  unsigned* triangles = nullptr;
};

template <class BoundingVolume>
std::shared_ptr<fcl::BVHModel<BoundingVolume>> fclModel(const SearchModel& model, const Vector3& shift)
{
  std::vector<fcl::Vector3d> points;
  for (const Vector3& p : model.points)
    points.emplace_back(p[0] + shift[0], p[1] + shift[1], p[2] + shift[2]);
  std::vector<fcl::Triangle> triangles;
  for (const auto& t : model.triangles)
    triangles.emplace_back(t[0], t[1], t[2]);
  auto bvh = std::make_shared<fcl::BVHModel<BoundingVolume>>();
  bvh->beginModel();
  bvh->addSubModel(points, triangles);
  bvh->endModel();
  return bvh;
}

/// The points of a list as nanoflann wants to see them.
struct NanoflannCloud
{
  const std::vector<Vector3>& points;

  std::size_t kdtree_get_point_count() const { return points.size(); }
  double kdtree_get_pt(std::size_t i, std::size_t axis) const { return points[i][axis]; }
  template <class Box>
  bool kdtree_get_bbox(Box&) const
  {
    return false;
  }
};
using NanoflannTree =
    nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<double, NanoflannCloud>, NanoflannCloud, 3>;

} // namespace Kavrel::Benchmarks
