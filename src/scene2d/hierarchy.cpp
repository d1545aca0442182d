#include <cmath>
#include <vector>

#include "scene2d/internal/tables.h"
#include "scene2d/scene2d.h"

using namespace talvero::scene2d;

namespace talvero::scene2d {

Mat23 multiply(const Mat23& p, const Mat23& q) {
  Mat23 r;
  r.a = p.a * q.a + p.c * q.b;
  r.b = p.b * q.a + p.d * q.b;
  r.c = p.a * q.c + p.c * q.d;
  r.d = p.b * q.c + p.d * q.d;
  r.tx = p.a * q.tx + p.c * q.ty + p.tx;
  r.ty = p.b * q.tx + p.d * q.ty + p.ty;
  return r;
}

Mat23 inverse(const Mat23& m) {
  // In double, so that a tiny but non-zero determinant gives large numbers rather than 0 × inf.
  double det = static_cast<double>(m.a) * m.d - static_cast<double>(m.b) * m.c;
  if (det == 0) return Mat23{0, 0, 0, 0, 0, 0};
  double inv = 1 / det;
  Mat23 r;
  r.a = static_cast<float>(m.d * inv);
  r.b = static_cast<float>(-m.b * inv);
  r.c = static_cast<float>(-m.c * inv);
  r.d = static_cast<float>(m.a * inv);
  r.tx =
      static_cast<float>((static_cast<double>(m.c) * m.ty - static_cast<double>(m.d) * m.tx) * inv);
  r.ty =
      static_cast<float>((static_cast<double>(m.b) * m.tx - static_cast<double>(m.a) * m.ty) * inv);
  return r;
}

Mat23 entityWorldMatrix(int32_t id) {
  if (!liveEntity(id)) return Mat23{};
  // Walked without recursion so that a long chain of parents cannot exhaust the stack. The
  // bound only matters if the table were ever left with a cycle.
  static std::vector<int32_t> chain;
  chain.clear();
  for (int32_t at = id; liveEntity(at) && chain.size() < g_entities.size();
       at = g_entities[at].parent) {
    chain.push_back(at);
  }
  Mat23 parentWorld;
  uint32_t parentVersion = 0;
  for (size_t i = chain.size(); i-- > 0;) {
    Entity2D& e = g_entities[chain[i]];
    if (e.cachedLocalVersion != e.localVersion || e.cachedParentVersion != parentVersion) {
      float cos = std::cos(e.rotation), sin = std::sin(e.rotation);
      Mat23 local{cos * e.scaleX, sin * e.scaleX, -sin * e.scaleY, cos * e.scaleY, e.x, e.y};
      e.world = multiply(parentWorld, local);
      e.cachedLocalVersion = e.localVersion;
      e.cachedParentVersion = parentVersion;
      ++e.worldVersion;
    }
    parentWorld = e.world;
    parentVersion = e.worldVersion;
  }
  return parentWorld;
}

}  // namespace talvero::scene2d

namespace {

bool isAncestorOrSelf(int32_t ancestor, int32_t of) {
  size_t steps = 0;
  for (int32_t at = of; liveEntity(at) && steps <= g_entities.size();
       at = g_entities[at].parent, ++steps) {
    if (at == ancestor) return true;
  }
  return false;
}

void apply(const Mat23& m, float x, float y, float out[2]) {
  out[0] = m.a * x + m.c * y + m.tx;
  out[1] = m.b * x + m.d * y + m.ty;
}

}  // namespace

void c2dSetParent(int32_t entity, int32_t parent, bool keepWorld) {
  if (!liveEntity(entity)) return;
  if (parent != 0 && (!liveEntity(parent) || isAncestorOrSelf(entity, parent))) return;
  if (keepWorld) {
    Mat23 world = entityWorldMatrix(entity);
    Mat23 parentWorld = parent != 0 ? entityWorldMatrix(parent) : Mat23{};
    Mat23 local = multiply(inverse(parentWorld), world);
    Entity2D& e = g_entities[entity];
    e.x = local.tx;
    e.y = local.ty;
    // Shear has no field to go to and is dropped.
    e.rotation = std::atan2(local.b, local.a);
    e.scaleX = std::sqrt(local.a * local.a + local.b * local.b);
    e.scaleY = std::sqrt(local.c * local.c + local.d * local.d);
  }
  Entity2D& e = g_entities[entity];
  e.parent = parent;
  ++e.localVersion;
}

int32_t c2dGetParent(int32_t entity) {
  const Entity2D* e = liveEntity(entity);
  return e ? e->parent : 0;
}

int32_t c2dGetChildCount(int32_t entity) {
  if (!liveEntity(entity)) return 0;
  int32_t count = 0;
  for (const Entity2D& e : g_entities) {
    if (e.alive && e.parent == entity) ++count;
  }
  return count;
}

int32_t c2dGetChild(int32_t entity, int32_t index) {
  if (!liveEntity(entity) || index < 0) return 0;
  for (size_t id = 1; id < g_entities.size(); ++id) {
    if (g_entities[id].alive && g_entities[id].parent == entity && index-- == 0) {
      return static_cast<int32_t>(id);
    }
  }
  return 0;
}

void c2dGetWorldPosition(int32_t entity, float out[2]) {
  Mat23 world = entityWorldMatrix(entity);
  out[0] = world.tx;
  out[1] = world.ty;
}

void c2dGetWorldMatrix(int32_t entity, float out[6]) {
  Mat23 world = entityWorldMatrix(entity);
  const float values[6] = {world.a, world.b, world.c, world.d, world.tx, world.ty};
  for (int i = 0; i < 6; ++i) out[i] = values[i];
}

void c2dWorldToLocal(int32_t entity, float x, float y, float out[2]) {
  Mat23 toLocal = liveEntity(entity) ? inverse(entityWorldMatrix(entity)) : Mat23{};
  apply(toLocal, x, y, out);
}

void c2dLocalToWorld(int32_t entity, float x, float y, float out[2]) {
  apply(entityWorldMatrix(entity), x, y, out);
}
