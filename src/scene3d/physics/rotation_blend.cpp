#include <cmath>

#include "scene3d/physics/physics_state.h"

namespace talvero::scene3d::physics {

namespace {

// Four rotations are blended at once, one in each lane, so the long chains of arithmetic below
// run side by side.
using Lanes = float __attribute__((vector_size(16)));
constexpr int kLanes = 4;

[[gnu::always_inline]] inline Lanes splat(float v) {
  return Lanes{v, v, v, v};
}

[[gnu::always_inline]] inline Lanes squareRoot(Lanes v) {
#if defined(__SSE__)
  return __builtin_ia32_sqrtps(v);
#else
  return Lanes{std::sqrt(v[0]), std::sqrt(v[1]), std::sqrt(v[2]), std::sqrt(v[3])};
#endif
}

// Polynomials over the only ranges interpolation needs, about 1e-7 from the library's
// functions and several times faster. acos on [0, 1] (Abramowitz and Stegun 4.4.46).
[[gnu::always_inline]] inline Lanes acosOfUnit(Lanes x) {
  const Lanes p =
      ((((((-0.0012624911f * x + 0.0066700901f) * x - 0.0170881256f) * x + 0.0308918810f) * x -
         0.0501743046f) *
            x +
        0.0889789874f) *
           x -
       0.2145988016f) *
          x +
      1.5707963050f;
  return squareRoot(1.0f - x) * p;
}

// Sine and cosine on [0, π/2], by their series to the 11th and 12th powers.
[[gnu::always_inline]] inline void sinCosOfQuarter(Lanes a, Lanes& sine, Lanes& cosine) {
  const Lanes a2 = a * a;
  sine =
      a * (1.0f + a2 * (-1.0f / 6 +
                        a2 * (1.0f / 120 + a2 * (-1.0f / 5040 +
                                                 a2 * (1.0f / 362880 + a2 * (-1.0f / 39916800))))));
  cosine =
      1.0f +
      a2 * (-0.5f + a2 * (1.0f / 24 + a2 * (-1.0f / 720 +
                                            a2 * (1.0f / 40320 + a2 * (-1.0f / 3628800 +
                                                                       a2 * (1.0f / 479001600))))));
}

struct QuatLanes {
  Lanes x, y, z, w;
};

// Up to four rotations; the lanes left over hold the identity.
[[gnu::always_inline]] inline QuatLanes load(const Quat* q, int count) {
  Quat four[kLanes];
  for (int lane = 0; lane < kLanes; ++lane) four[lane] = lane < count ? q[lane] : Quat{};
  return {Lanes{four[0].x, four[1].x, four[2].x, four[3].x},
          Lanes{four[0].y, four[1].y, four[2].y, four[3].y},
          Lanes{four[0].z, four[1].z, four[2].z, four[3].z},
          Lanes{four[0].w, four[1].w, four[2].w, four[3].w}};
}

[[gnu::always_inline]] inline void blendFour(const Quat* from, const Quat* to, int count, float t,
                                             Quat* out) {
  const QuatLanes a = load(from, count), b = load(to, count);
  Lanes cosOmega = a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
  const Lanes sign = cosOmega < 0 ? splat(-1) : splat(1);
  cosOmega *= sign;
  // sin((1 - t)ω) / sin ω and sin(tω) / sin ω, with one angle's sine and cosine; ω is at most
  // π/2 once the signs agree. Lanes that nearly agree blend straight; what the curved formula
  // gives them (even NaN, at 1) is not used.
  const Lanes omega = acosOfUnit(cosOmega);
  const Lanes overSinOmega = 1.0f / squareRoot(1.0f - cosOmega * cosOmega);
  Lanes sinT, cosT;
  sinCosOfQuarter(t * omega, sinT, cosT);
  const auto curved = 1.0f - cosOmega > splat(0.0001f);
  const Lanes scaleA = curved ? cosT - cosOmega * sinT * overSinOmega : splat(1 - t);
  const Lanes scaleB = curved ? sign * sinT * overSinOmega : sign * t;
  QuatLanes q{scaleA * a.x + scaleB * b.x, scaleA * a.y + scaleB * b.y, scaleA * a.z + scaleB * b.z,
              scaleA * a.w + scaleB * b.w};
  const Lanes norm = squareRoot(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w);
  const Lanes inverse = norm > 0 ? 1.0f / norm : splat(1);
  for (int lane = 0; lane < count; ++lane) {
    out[lane] = {q.x[lane] * inverse[lane], q.y[lane] * inverse[lane], q.z[lane] * inverse[lane],
                 q.w[lane] * inverse[lane]};
  }
}

}  // namespace

void slerpMany(const Quat* from, const Quat* to, size_t count, float t, Quat* out) {
  for (size_t at = 0; at < count; at += kLanes) {
    const int lanes = count - at < kLanes ? static_cast<int>(count - at) : kLanes;
    blendFour(from + at, to + at, lanes, t, out + at);
  }
}

Quat slerp(const Quat& a, const Quat& b, float t) {
  Quat out;
  slerpMany(&a, &b, 1, t, &out);
  return out;
}

}  // namespace talvero::scene3d::physics
