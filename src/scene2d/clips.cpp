#include <algorithm>
#include <climits>
#include <cmath>
#include <utility>
#include <vector>

#include "scene2d/internal/tables.h"
#include "scene2d/scene2d.h"

using namespace talvero::scene2d;

namespace {

C2DAnimEventCallback g_animEventCallback = nullptr;

const AnimClip* currentClip(const Entity2D& e) {
  if (e.clip < 0 || static_cast<size_t>(e.clip) >= e.clips.size()) return nullptr;
  return &e.clips[e.clip];
}

// The rectangle of `frame`, clamped to the clip, so that a frame index that ran below 0 (a
// negative speed) holds the first frame.
void showFrame(Entity2D& e, const AnimClip& clip, int32_t frame) {
  int32_t last = static_cast<int32_t>(clip.frames.size()) - 1;
  const AnimFrame& f = clip.frames[std::clamp(frame, 0, last)];
  e.u0 = f.u0;
  e.v0 = f.v0;
  e.u1 = f.u1;
  e.v1 = f.v1;
}

// A frame index from a whole-number float, kept inside int32 whatever the clip time became.
int32_t toFrameIndex(float whole) {
  constexpr float kLowest = -2147483648.0f;
  return whole > kLowest ? static_cast<int32_t>(whole) : INT32_MIN;
}

void advance(Entity2D& e, int32_t id, float dt) {
  const AnimClip* clip = currentClip(e);
  if (!clip || clip->frames.empty() || !(clip->fps > 0) || !std::isfinite(clip->fps)) return;
  float step = dt * e.clipSpeed;
  // An infinite or NaN speed would leave the clip time NaN for good.
  if (!std::isfinite(step)) return;
  e.clipTime += step;
  float frameDuration = 1 / clip->fps;
  float frames = static_cast<float>(clip->frames.size());
  float whole = std::trunc(e.clipTime / frameDuration);
  if (!std::isfinite(whole)) return;
  if (whole >= frames) {
    if (!clip->loop) {
      whole = frames - 1;
      e.playing = false;
      animEvents.push_back({id, e.clip, 1});
    } else {
      // However many periods a stall skipped, one wrap is reported.
      whole = std::fmod(whole, frames);
      float period = frameDuration * frames;
      e.clipTime -= std::trunc(e.clipTime / period) * period;
      animEvents.push_back({id, e.clip, 0});
    }
  }
  e.frame = toFrameIndex(whole);
  showFrame(e, *clip, e.frame);
}

}  // namespace

namespace talvero::scene2d {

void advanceAnimations(float dt) {
  for (size_t id = 1; id < g_entities.size(); ++id) {
    Entity2D& e = g_entities[id];
    if (e.alive && e.playing) advance(e, static_cast<int32_t>(id), dt);
  }
}

void flushAnimationEvents() {
  // The callback runs script, which may create or destroy entities or define clips; it only
  // ever sees this local copy, and events raised meanwhile wait for the next flush.
  std::vector<AnimEvent> events;
  events.swap(animEvents);
  for (const AnimEvent& event : events) {
    if (!g_animEventCallback) break;
    g_animEventCallback(event.entity, event.clip, event.kind);
  }
  if (animEvents.empty()) {
    events.clear();
    animEvents.swap(events);
  }
}

}  // namespace talvero::scene2d

int32_t c2dDefineAnimation(int32_t entity, const float* frames, int32_t count, bool loop,
                           float fps) {
  Entity2D* e = liveEntity(entity);
  if (!e || !frames || count < 1) return -1;
  AnimClip clip;
  clip.loop = loop;
  clip.fps = fps;
  clip.frames.reserve(count);
  for (int32_t i = 0; i < count; ++i) {
    const float* f = frames + 4 * static_cast<size_t>(i);
    clip.frames.push_back({f[0], f[1], f[2], f[3]});
  }
  e->clips.push_back(std::move(clip));
  return static_cast<int32_t>(e->clips.size() - 1);
}

void c2dPlayAnimation(int32_t entity, int32_t clip) {
  Entity2D* e = liveEntity(entity);
  if (!e || clip < 0 || static_cast<size_t>(clip) >= e->clips.size()) return;
  // Playing the current clip again resumes it where it stopped.
  if (clip != e->clip) {
    e->clip = clip;
    e->frame = 0;
    e->clipTime = 0;
  }
  e->playing = true;
  showFrame(*e, e->clips[clip], e->frame);
}

void c2dStopAnimation(int32_t entity) {
  if (Entity2D* e = liveEntity(entity)) e->playing = false;
}

void c2dSetAnimationSpeed(int32_t entity, float speed) {
  if (Entity2D* e = liveEntity(entity)) e->clipSpeed = speed;
}

int32_t c2dGetAnimationFrame(int32_t entity) {
  const Entity2D* e = liveEntity(entity);
  return e ? e->frame : 0;
}

void c2dSetAnimEventCallback(C2DAnimEventCallback callback) {
  g_animEventCallback = callback;
}
