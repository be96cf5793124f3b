#include "module_scene/mesh/tessellation.h"

#include <GL/glu.h>

#include <memory>

namespace nubo::scene {

namespace {

using Callback = void (*)();

/// GLU hands its callers' pointers back: here they are numbers of places.
void* toPointer(std::size_t place) { return reinterpret_cast<void*>(place); }

void addCorner(void* place, void* result) {
  static_cast<Tessellation*>(result)->triangles.push_back(std::uint32_t(reinterpret_cast<std::size_t>(place)));
}

void addPoint(const GLdouble point[3], void* /*nearby*/[4], const GLfloat /*weights*/[4], void** place, void* result) {
  auto& points = static_cast<Tessellation*>(result)->points;
  *place = toPointer(points.size());
  points.push_back({point[0], point[1]});
}

/// That somebody wants to know of edges keeps GLU from making strips and fans.
void ignoreEdge(GLboolean /*isBorder*/, void* /*result*/) {}

}  // namespace

Tessellation tessellate(const std::vector<std::array<double, 2>>& points,
                        const std::vector<std::vector<std::uint32_t>>& loops, bool odd) {
  Tessellation result{{}, points};
  const std::unique_ptr<GLUtesselator, void (*)(GLUtesselator*)> glu(gluNewTess(), gluDeleteTess);
  gluTessCallback(glu.get(), GLU_TESS_VERTEX_DATA, reinterpret_cast<Callback>(addCorner));
  gluTessCallback(glu.get(), GLU_TESS_COMBINE_DATA, reinterpret_cast<Callback>(addPoint));
  gluTessCallback(glu.get(), GLU_TESS_EDGE_FLAG_DATA, reinterpret_cast<Callback>(ignoreEdge));
  gluTessProperty(glu.get(), GLU_TESS_WINDING_RULE, odd ? GLU_TESS_WINDING_ODD : GLU_TESS_WINDING_NONZERO);
  gluTessNormal(glu.get(), 0, 0, 1);
  gluTessBeginPolygon(glu.get(), &result);
  for (const auto& loop : loops) {
    gluTessBeginContour(glu.get());
    for (const std::uint32_t place : loop) {
      GLdouble point[]{points[place][0], points[place][1], 0};
      gluTessVertex(glu.get(), point, toPointer(place));
    }
    gluTessEndContour(glu.get());
  }
  gluTessEndPolygon(glu.get());
  return result;
}

}  // namespace nubo::scene
