// What the 3D physics core costs over Bullet driven directly, in one process:
// - 1,000 boxes of 1 m dropped in a 10 × 10 × 10 grid onto a static floor, 600 frames of
//   1/60 s (falling, colliding, settling): `physicsStep`, one fixed step a frame, against the
//   same scene built with Bullet's own calls and the core's settings, stepped by
//   `stepSimulation(h, 0)`. Only `physicsStep` is in the ratio; ours also runs
//   `physicsSyncForRender` each frame, as a frame does, timed apart. Whole run and its first
//   120 frames. Both sides end with the same velocities when they simulate the same motion,
//   which the figures check.
// - `physicsSyncForRender` for 1,000 moving bodies at alpha 0.5 (interpolating), against a loop
//   that reads the 1,000 Bullet transforms and writes them with `TransformManager::setTransform`,
//   looking each entity's instance up (and, for information, with instances kept from the
//   start): bodies sliding without turning, then bodies spinning after a blow.
// - 100 characters walking over steps: `physicsStep` with them less `physicsStep` without them,
//   per character and frame; "not measured" when the build makes no characters.
// Times are CPU time of the main thread (CLOCK_THREAD_CPUTIME_ID); each figure is the median of
// runs made alternately. The entities need a renderer engine, and the frame loop builds it on
// the default backend only: run under xvfb-run.

#include <btBulletDynamicsCommon.h>
#include <filament/Engine.h>
#include <filament/TransformManager.h>
#include <math/mat4.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "bench_clock.h"
#include "scene3d/engine_state.h"
#include "scene3d/frame_loop.h"
#include "scene3d/physics/character.h"
#include "scene3d/physics/physics_world.h"
#include "scene3d/scenes.h"

namespace {

using talvero::bench::median;
using talvero::bench::threadSeconds;

using namespace talvero;

constexpr int kBoxes = 1000;
constexpr int kFrames = 600;
constexpr int kEarlyFrames = 120;
constexpr int kDropRuns = 5;
constexpr int kSyncRuns = 9;
constexpr int kSyncCalls = 200;
constexpr float kStep = 1.0f / 60.0f;
constexpr float kGravity = -9.81f;

// The settings the core gives its world and bodies, repeated for the raw side.
constexpr int kSolverIterations = 10;
constexpr float kFriction = 0.2f;
constexpr float kRestitution = 0;
constexpr float kLinearDamping = 0.05f;
constexpr float kAngularDamping = 0.05f;
constexpr float kBoxMargin = 0.05f;
constexpr float kDensity = 1000;
constexpr float kSleepLinearSpeed = 0.05f;
constexpr float kSleepAngularSpeed = 0.05f;
constexpr float kSleepTime = 0.5f;

btScalar combinedFriction(const btCollisionObject* a, const btCollisionObject* b) {
  return std::sqrt(a->getFriction() * b->getFriction());
}
btScalar combinedRestitution(const btCollisionObject* a, const btCollisionObject* b) {
  return std::max(a->getRestitution(), b->getRestitution());
}

// Bullet keeps the combine rules, the time to sleep and the contact callbacks in globals the
// core sets for the process: while a raw world lives they hold the same rules and no callbacks,
// and the core's come back after it.
struct RawGlobals {
  btScalar (*friction)(const btCollisionObject*,
                       const btCollisionObject*) = gCalculateCombinedFrictionCallback;
  btScalar (*restitution)(const btCollisionObject*,
                          const btCollisionObject*) = gCalculateCombinedRestitutionCallback;
  btScalar deactivationTime = gDeactivationTime;
  ContactStartedCallback started = gContactStartedCallback;
  ContactEndedCallback ended = gContactEndedCallback;

  RawGlobals() {
    gCalculateCombinedFrictionCallback = &combinedFriction;
    gCalculateCombinedRestitutionCallback = &combinedRestitution;
    gDeactivationTime = kSleepTime;
    gContactStartedCallback = nullptr;
    gContactEndedCallback = nullptr;
  }
  ~RawGlobals() {
    gCalculateCombinedFrictionCallback = friction;
    gCalculateCombinedRestitutionCallback = restitution;
    gDeactivationTime = deactivationTime;
    gContactStartedCallback = started;
    gContactEndedCallback = ended;
  }
};

constexpr float kHalf = 0.5f;
// Wide enough that the boxes of the fallen towers stay on it; its top at y = 0.
constexpr float kFloorHalf[3] = {100, 0.5f, 100};

// Box i of the grid: 1.5 m apart, the lowest layer 1 m above the floor.
btVector3 gridPosition(int i) {
  return {(i % 10) * 1.5f - 6.75f, (i / 100) * 1.5f + 1.5f, ((i / 10) % 10) * 1.5f - 6.75f};
}

// The same scene on Bullet alone.
struct RawWorld {
  RawGlobals globals;
  btDefaultCollisionConfiguration configuration;
  btCollisionDispatcher dispatcher{&configuration};
  btDbvtBroadphase broadphase;
  btSequentialImpulseConstraintSolver solver;
  btDiscreteDynamicsWorld world{&dispatcher, &broadphase, &solver, &configuration};
  std::vector<std::unique_ptr<btCollisionShape>> shapes;
  std::vector<std::unique_ptr<btRigidBody>> bodies;

  explicit RawWorld(float gravity) {
    world.setGravity({0, gravity, 0});
    world.getSolverInfo().m_numIterations = kSolverIterations;
  }
  ~RawWorld() {
    for (auto& body : bodies) world.removeRigidBody(body.get());
  }

  btRigidBody* addBox(const btVector3& half, const btVector3& at, bool dynamic) {
    auto shape = std::make_unique<btBoxShape>(half);
    shape->setMargin(kBoxMargin);
    // A solid box's own mass and inertia, as the core gives them, rather than those Bullet
    // derives from the box with its margin, which differ in the last bits.
    const double x2 = double(half.x()) * half.x(), y2 = double(half.y()) * half.y(),
                 z2 = double(half.z()) * half.z();
    const double mass = dynamic ? kDensity * 8 * double(half.x()) * half.y() * half.z() : 0;
    const btVector3 inertia(float(mass / 3 * (y2 + z2)), float(mass / 3 * (x2 + z2)),
                            float(mass / 3 * (x2 + y2)));
    btRigidBody::btRigidBodyConstructionInfo info(float(mass), nullptr, shape.get(), inertia);
    info.m_startWorldTransform.setOrigin(at);
    info.m_friction = kFriction;
    info.m_restitution = kRestitution;
    info.m_linearDamping = kLinearDamping;
    info.m_angularDamping = kAngularDamping;
    info.m_linearSleepingThreshold = kSleepLinearSpeed;
    info.m_angularSleepingThreshold = kSleepAngularSpeed;
    auto body = std::make_unique<btRigidBody>(info);
    world.addRigidBody(body.get());
    shapes.push_back(std::move(shape));
    bodies.push_back(std::move(body));
    return bodies.back().get();
  }
};

// Ours: the entities the bodies stand on, made and destroyed with the world.
struct OurWorld {
  std::vector<uint32_t> entities;

  explicit OurWorld(float gravity) {
    scene3d::physicsShutdown();
    scene3d::physicsConfigure(2 * kBoxes, 0, gravity, 0);
    scene3d::physicsInit();
  }
  ~OurWorld() {
    scene3d::physicsShutdown();
    for (uint32_t entity : entities) scene3d::destoryEntity(entity);
  }

  uint32_t addBox(const btVector3& half, const btVector3& at, bool dynamic) {
    const uint32_t entity = scene3d::createEntity();
    entities.push_back(entity);
    scene3d::setPosition(entity, at.x(), at.y(), at.z());
    return scene3d::physicsCreateBox(entity, half.x(), half.y(), half.z(),
                                     dynamic ? scene3d::kMotionDynamic : scene3d::kMotionStatic, 0);
  }
};

struct DropTimes {
  double early = 0;  // seconds over the first kEarlyFrames frames
  double whole = 0;
  double sync = 0;                  // ours: physicsSyncForRender over the run, outside the ratio
  std::vector<btVector3> rest;      // where the boxes ended
  std::vector<btVector3> velocity;  // and how they moved then
};

DropTimes dropOurs() {
  OurWorld ours(kGravity);
  ours.addBox({kFloorHalf[0], kFloorHalf[1], kFloorHalf[2]}, {0, -kFloorHalf[1], 0}, false);
  std::vector<uint32_t> boxes;
  for (int i = 0; i < kBoxes; ++i) {
    boxes.push_back(ours.addBox({kHalf, kHalf, kHalf}, gridPosition(i), true));
  }
  DropTimes times;
  for (int frame = 0; frame < kFrames; ++frame) {
    const double start = threadSeconds();
    scene3d::physicsStep(kStep);
    times.whole += threadSeconds() - start;
    if (frame + 1 == kEarlyFrames) times.early = times.whole;
    const double syncStart = threadSeconds();
    scene3d::physicsSyncForRender();
    times.sync += threadSeconds() - syncStart;
  }
  // The poses after the last step, not those half a step behind that interpolation shows.
  scene3d::setPhysicsInterpolation(false);
  scene3d::physicsSyncForRender();
  scene3d::setPhysicsInterpolation(true);
  for (size_t i = 1; i < ours.entities.size(); ++i) {
    float at[3];
    scene3d::getWorldPosition(ours.entities[i], at);
    times.rest.emplace_back(at[0], at[1], at[2]);
  }
  for (uint32_t box : boxes) {
    float v[3];
    scene3d::physicsGetLinearVelocity(box, v);
    times.velocity.emplace_back(v[0], v[1], v[2]);
  }
  return times;
}

DropTimes dropRaw() {
  RawWorld raw(kGravity);
  raw.addBox({kFloorHalf[0], kFloorHalf[1], kFloorHalf[2]}, {0, -kFloorHalf[1], 0}, false);
  for (int i = 0; i < kBoxes; ++i) raw.addBox({kHalf, kHalf, kHalf}, gridPosition(i), true);
  DropTimes times;
  for (int frame = 0; frame < kFrames; ++frame) {
    const double start = threadSeconds();
    // The core rebuilds its broadphase tree once after bodies are added; without it the pairs
    // come in another order and the towers fall otherwise.
    if (frame == 0) raw.broadphase.optimize();
    raw.world.stepSimulation(kStep, 0);
    times.whole += threadSeconds() - start;
    if (frame + 1 == kEarlyFrames) times.early = times.whole;
  }
  for (size_t i = 1; i < raw.bodies.size(); ++i) {
    times.rest.push_back(raw.bodies[i]->getWorldTransform().getOrigin());
    times.velocity.push_back(raw.bodies[i]->getLinearVelocity());
  }
  return times;
}

struct DropFigures {
  DropTimes ours;
  DropTimes raw;
  double meanHeightOurs = 0, meanHeightRaw = 0;
  double farthestApart = 0;  // the largest distance between a box's two ends
  double velocityApart = 0;  // the largest difference of its two last velocities
};

double meanHeight(const std::vector<btVector3>& rest) {
  double sum = 0;
  for (const btVector3& at : rest) sum += at.y();
  return rest.empty() ? 0 : sum / double(rest.size());
}

DropFigures measureDrop() {
  dropOurs();
  dropRaw();
  std::vector<double> oursEarly, oursWhole, oursSync, rawEarly, rawWhole;
  DropFigures figures;
  for (int run = 0; run < kDropRuns; ++run) {
    figures.ours = dropOurs();
    figures.raw = dropRaw();
    oursEarly.push_back(figures.ours.early);
    oursWhole.push_back(figures.ours.whole);
    oursSync.push_back(figures.ours.sync);
    rawEarly.push_back(figures.raw.early);
    rawWhole.push_back(figures.raw.whole);
  }
  figures.ours.early = median(oursEarly);
  figures.ours.whole = median(oursWhole);
  figures.ours.sync = median(oursSync);
  figures.raw.early = median(rawEarly);
  figures.raw.whole = median(rawWhole);
  figures.meanHeightOurs = meanHeight(figures.ours.rest);
  figures.meanHeightRaw = meanHeight(figures.raw.rest);
  for (size_t i = 0; i < figures.ours.rest.size() && i < figures.raw.rest.size(); ++i) {
    figures.farthestApart =
        std::max(figures.farthestApart, double(figures.ours.rest[i].distance(figures.raw.rest[i])));
    figures.velocityApart = std::max(
        figures.velocityApart, double(figures.ours.velocity[i].distance(figures.raw.velocity[i])));
  }
  return figures;
}

// Weightless boxes set moving, stepped `fullSteps` whole steps and then half a step, so that
// the sync interpolates at alpha 0.5 between the last two steps.
struct MovingBox {
  btVector3 at;
  btVector3 velocity;
};
struct MovingScene {
  std::vector<MovingBox> boxes;
  int fullSteps = 1;
};

// Every box sliding its own way, none turning.
MovingScene slidingScene() {
  MovingScene scene;
  for (int i = 0; i < kBoxes; ++i) {
    scene.boxes.push_back(
        {gridPosition(i),
         {std::sin(i * 0.7f) + 1.5f, std::cos(i * 0.3f), std::sin(i * 1.1f) - 1.5f}});
  }
  return scene;
}

// Pairs of boxes meeting off-centre head on: after the blow every box spins as it flies.
MovingScene spinningScene() {
  MovingScene scene;
  for (int pair = 0; pair < kBoxes / 2; ++pair) {
    const float y = float(pair / 25) * 4, z = float(pair % 25) * 4;
    scene.boxes.push_back({{-1.5f, y, z}, {6, 0, 0}});
    scene.boxes.push_back({{1.5f, y + 0.6f, z}, {-6, 0, 0}});
  }
  scene.fullSteps = 20;
  return scene;
}

// The angle in radians between the rotations of two world matrices, scale left aside.
double turnBetween(const float* a, const float* b) {
  double trace = 0;
  for (int column = 0; column < 3; ++column) {
    double dot = 0, lengthA = 0, lengthB = 0;
    for (int row = 0; row < 3; ++row) {
      dot += double(a[column * 4 + row]) * b[column * 4 + row];
      lengthA += double(a[column * 4 + row]) * a[column * 4 + row];
      lengthB += double(b[column * 4 + row]) * b[column * 4 + row];
    }
    trace += dot / std::sqrt(lengthA * lengthB);
  }
  return std::acos(std::clamp((trace - 1) / 2, -1.0, 1.0));
}

struct SyncRun {
  double seconds = 0;  // per call
  float alpha = 0;
  int turning = 0;  // bodies that turned more than a degree over the last step
};

// Ours: the scene through the public functions, the last whole step's poses written with
// interpolation off to count the turning bodies, then half a step carried over.
SyncRun syncOurs(const MovingScene& scene) {
  OurWorld ours(0);
  for (const MovingBox& box : scene.boxes) {
    const uint32_t body = ours.addBox({kHalf, kHalf, kHalf}, box.at, true);
    scene3d::physicsSetLinearVelocity(body, box.velocity.x(), box.velocity.y(), box.velocity.z());
  }
  std::vector<float> before(16 * ours.entities.size()), after(before.size());
  scene3d::setPhysicsInterpolation(false);
  for (int step = 0; step < scene.fullSteps; ++step) {
    scene3d::physicsStep(kStep);
    scene3d::physicsSyncForRender();
    std::vector<float>& poses = step + 1 < scene.fullSteps ? before : after;
    for (size_t i = 0; i < ours.entities.size(); ++i) {
      scene3d::getWorldMatrix(ours.entities[i], &poses[16 * i]);
    }
  }
  scene3d::setPhysicsInterpolation(true);
  scene3d::physicsStep(0.5f * kStep);
  SyncRun run;
  run.alpha = scene3d::physicsAlpha();
  for (size_t i = 0; i < ours.entities.size(); ++i) {
    if (turnBetween(&before[16 * i], &after[16 * i]) > M_PI / 180) ++run.turning;
  }
  const double start = threadSeconds();
  for (int call = 0; call < kSyncCalls; ++call) scene3d::physicsSyncForRender();
  run.seconds = (threadSeconds() - start) / kSyncCalls;
  return run;
}

// The raw loop: each body's transform read from Bullet and written to its own entity. A
// program holding entities looks their instances up as it writes, since the renderer moves
// instances when components come and go; `instancesKept` keeps them from the start instead,
// which only a scene that never changes may do.
double syncRaw(const MovingScene& scene, bool instancesKept) {
  RawWorld raw(0);
  filament::TransformManager& transforms = scene3d::state().engine->getTransformManager();
  std::vector<uint32_t> entities;
  std::vector<filament::TransformManager::Instance> instances;
  for (const MovingBox& box : scene.boxes) {
    raw.addBox({kHalf, kHalf, kHalf}, box.at, true)->setLinearVelocity(box.velocity);
    entities.push_back(scene3d::createEntity());
    instances.push_back(
        transforms.getInstance(utils::Entity::import(static_cast<int32_t>(entities.back()))));
  }
  for (int step = 0; step < scene.fullSteps; ++step) raw.world.stepSimulation(kStep, 0);
  const double start = threadSeconds();
  for (int call = 0; call < kSyncCalls; ++call) {
    for (size_t i = 0; i < raw.bodies.size(); ++i) {
      filament::math::mat4f matrix;
      raw.bodies[i]->getWorldTransform().getOpenGLMatrix(&matrix[0][0]);
      transforms.setTransform(
          instancesKept
              ? instances[i]
              : transforms.getInstance(utils::Entity::import(static_cast<int32_t>(entities[i]))),
          matrix);
    }
  }
  const double perCall = (threadSeconds() - start) / kSyncCalls;
  for (uint32_t entity : entities) scene3d::destoryEntity(entity);
  return perCall;
}

struct SyncFigures {
  SyncRun ours;
  double raw = 0;
  double rawKept = 0;  // instances looked up once
};

SyncFigures measureSync(const MovingScene& scene) {
  syncOurs(scene);
  syncRaw(scene, false);
  std::vector<double> ours, raw, rawKept;
  SyncFigures figures;
  for (int run = 0; run < kSyncRuns; ++run) {
    figures.ours = syncOurs(scene);
    ours.push_back(figures.ours.seconds);
    raw.push_back(syncRaw(scene, false));
    rawKept.push_back(syncRaw(scene, true));
  }
  figures.ours.seconds = median(ours);
  figures.raw = median(raw);
  figures.rawKept = median(rawKept);
  return figures;
}

// 100 capsules walking side by side at 2 m/s over a stepped mound of 0.2 m steps, up and
// down, each frame's velocity set as a script would: none downward on the ground, gravity's in
// the air. The same world without them gives what its fixed steps cost alone.
constexpr int kCharacters = 100;
constexpr int kWalkRuns = 5;
constexpr int kSteps = 5;
constexpr float kStepRise = 0.2f;
constexpr float kStepDepth = 0.6f;
constexpr float kMoundCentre = 7;
constexpr float kWalkSpeed = 2.0f;

struct WalkRun {
  double seconds = 0;  // physicsStep over the run
  int created = 0;
  int overTheTop = 0;  // characters that stood on the top step
  int pastTheMound = 0;
};

WalkRun walk(bool withCharacters) {
  OurWorld ours(kGravity);
  ours.addBox({kFloorHalf[0], kFloorHalf[1], kFloorHalf[2]}, {0, -kFloorHalf[1], 0}, false);
  for (int level = 1; level <= kSteps; ++level) {
    const float half = kStepDepth * float(kSteps + 1 - level);
    ours.addBox({half, kStepRise / 2, 14}, {kMoundCentre, kStepRise * (float(level) - 0.5f), 0},
                false);
  }
  constexpr float kRadius = 0.3f, kHalfHeight = 0.5f;
  const uint32_t capsule = scene3d::physicsBuildCapsule(kHalfHeight, kRadius);
  std::vector<uint32_t> characters, walkers;  // ids and their entities
  std::vector<float> fall(kCharacters, 0), highest(kCharacters, 0);
  WalkRun run;
  if (withCharacters) {
    for (int i = 0; i < kCharacters; ++i) {
      const uint32_t entity = scene3d::createEntity();
      ours.entities.push_back(entity);
      walkers.push_back(entity);
      scene3d::setPosition(entity, -1 - float(i % 2), kHalfHeight + kRadius + 0.02f,
                           float(i) * 0.25f - 12.4f);
      const uint32_t id = scene3d::characterCreate(entity, capsule, 0);
      if (id == 0) break;
      characters.push_back(id);
    }
    run.created = int(characters.size());
    if (run.created < kCharacters) return run;
  }
  for (int frame = 0; frame < kFrames; ++frame) {
    for (size_t i = 0; i < characters.size(); ++i) {
      const bool grounded = scene3d::characterGetGroundState(characters[i]) == scene3d::kOnGround;
      fall[i] = grounded ? 0 : fall[i] + kGravity * kStep;
      scene3d::characterSetVelocity(characters[i], kWalkSpeed, fall[i], 0);
    }
    const double start = threadSeconds();
    scene3d::physicsStep(kStep);
    run.seconds += threadSeconds() - start;
    for (size_t i = 0; i < characters.size(); ++i) {
      float at[3];
      scene3d::getWorldPosition(walkers[i], at);
      highest[i] = std::max(highest[i], at[1]);
      if (frame + 1 == kFrames && at[0] > kMoundCentre + kStepDepth * kSteps + kRadius) {
        ++run.pastTheMound;
      }
    }
  }
  const float onTop = kStepRise * kSteps + kHalfHeight + kRadius - 0.05f;
  run.overTheTop =
      int(std::count_if(highest.begin(), highest.end(), [&](float y) { return y >= onTop; }));
  return run;
}

struct WalkFigures {
  WalkRun last;
  double perUpdate = 0;  // seconds per character update
};

// Nothing measured when the build makes no characters.
WalkFigures measureWalk() {
  WalkFigures figures;
  figures.last = walk(true);
  if (figures.last.created < kCharacters) return figures;
  walk(false);
  std::vector<double> perUpdate;
  for (int run = 0; run < kWalkRuns; ++run) {
    figures.last = walk(true);
    const WalkRun without = walk(false);
    perUpdate.push_back((figures.last.seconds - without.seconds) / (double(kFrames) * kCharacters));
  }
  figures.perUpdate = median(perUpdate);
  return figures;
}

}  // namespace

int main() {
  scene3d::init();
  if (!scene3d::hasEngine()) {
    std::printf("physics3d bench: no renderer engine (run under xvfb-run)\n");
    return 1;
  }
  if (!scene3d::creatorHasPhysics()) {
    std::printf("physics3d bench: this build does not simulate 3D physics\n");
    return 1;
  }
  const DropFigures drop = measureDrop();
  const SyncFigures sliding = measureSync(slidingScene());
  const SyncFigures spinning = measureSync(spinningScene());
  const WalkFigures walking = measureWalk();

  std::printf("3D physics against Bullet driven directly (CPU time of the main thread, medians)\n");
  std::printf("%-52s %10s %10s %8s %6s\n", "", "ours", "raw", "ratio", "goal");
  std::printf("%-52s %10.1f %10.1f %8.2f %6.2f\n",
              "1,000 boxes dropped, physicsStep ms, 600 frames", drop.ours.whole * 1e3,
              drop.raw.whole * 1e3, drop.ours.whole / drop.raw.whole, 1.1);
  std::printf("%-52s %10.1f %10.1f %8.2f %6.2f\n", "1,000 boxes dropped, physicsStep ms, first 120",
              drop.ours.early * 1e3, drop.raw.early * 1e3, drop.ours.early / drop.raw.early, 1.1);
  std::printf("%-52s %10.1f\n", "  and physicsSyncForRender ms, 600 frames", drop.ours.sync * 1e3);
  std::printf("%-52s %10.3f %10.3f\n", "  mean height of the boxes at the end, m",
              drop.meanHeightOurs, drop.meanHeightRaw);
  std::printf("%-52s %10.3g\n", "  largest gap from an entity to its raw box, m",
              drop.farthestApart);
  std::printf("%-52s %10.3g\n", "  largest gap between a box's last velocities, m/s",
              drop.velocityApart);
  const auto printSync = [](const char* label, const SyncFigures& sync) {
    // One more column for the two bytes of "µ".
    std::printf("%-53s %10.1f %10.1f %8.2f %6.2f\n", label, sync.ours.seconds * 1e6, sync.raw * 1e6,
                sync.ours.seconds / sync.raw, 1.5);
    std::printf("  alpha %.2f, %d of %zu bodies turning\n", sync.ours.alpha, sync.ours.turning,
                size_t(kBoxes));
    std::printf("  raw with instances looked up once: %.1f µs, ratio %.2f\n", sync.rawKept * 1e6,
                sync.ours.seconds / sync.rawKept);
  };
  printSync("physicsSyncForRender µs, 1,000 sliding bodies", sliding);
  printSync("physicsSyncForRender µs, 1,000 spinning bodies", spinning);
  if (walking.last.created < kCharacters) {
    std::printf("characters: not measured (no character controller in this build)\n");
  } else {
    std::printf("%-53s %10.2f\n", "100 characters over steps, µs per character update",
                walking.perUpdate * 1e6);
    std::printf("  %d of %d reached the top step, %d were past the steps at the end\n",
                walking.last.overTheTop, kCharacters, walking.last.pastTheMound);
  }
  scene3d::destroyEngine();
  return 0;
}
