#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "engine/bindings/creator2d_bindings.h"
#include "engine/engine.h"
#include "image_encoding.h"
#include "main_queue_support.h"
#include "platform/gpu/gfx.h"
#include "runtime/buffers.h"
#include "scene2d/fresh_tables.h"
#include "scene2d/internal/physics_state.h"
#include "scene2d/internal/tables.h"
#include "scene2d/scene2d.h"
#include "test_support.h"
#include "ui/ui_store.h"

namespace talvero {
namespace {

using testing::json;

// `_creator2d` in the engine's own context, drawing into a GL target under Xvfb, over 2D tables
// and a physics world that no earlier test in the process has touched.
class Creator2DTest : public testing::FreshTables2D {
 protected:
  void SetUp() override {
    FreshTables2D::SetUp();
    scene2d::resetPhysicsWorld();
  }
  void TearDown() override {
    gpu::destroy(target);
    scene2d::resetPhysicsWorld();
  }

  std::string value(const std::string& expression) { return json(context(), expression); }
  void run(const std::string& source) { context().evaluate(source); }
  ScriptContext context() { return engine.currentContext(); }
  Creator2DHandler& handler() { return engine.creator2dHandler(); }
  CreatorUIStore& store() { return engine.creatorUI(); }

  // One frame as the view runs it: updates, the animation clock, the 2D frame.
  void frame() {
    if (!target.id) target = gpu::makeTarget(32, 32, "test");
    timeMs += 16;
    handler().runUpdates(0.016);
    engine.animationManager().tick();
    c2dRenderGL(target, timeMs);
  }

  TalveroEngine engine;
  gpu::Target target;
  double timeMs = 1000;
};

TEST_F(Creator2DTest, TheTableHoldsExactlyTheRowsThisBuildServesInTheirOrder) {
  EXPECT_EQ(value("Object.keys(_creator2d).join()"),
            "\"backend,version,render,onUpdate,offUpdate,setOnAnimEvent,setOnPointer,"
            "setClearColor,createScene,destroyScene,openScene,closeScene,sceneSetClearColor,"
            "addEntityToScene,removeEntityFromScene,setLayerYSort,cameraSetPosition,"
            "cameraSetZoom,cameraSetRotation,cameraScreenToWorld,cameraWorldToScreen,"
            "createEntity,destroyEntity,setPosition,setRotation,setScale,setLayer,setZ,"
            "setVisible,getPosition,setParent,getParent,getChildCount,getChild,"
            "getWorldPosition,getWorldMatrix,worldToLocal,localToWorld,getLocalTransform,"
            "setSprite,setSpriteFrame,setSpriteFramePx,setSpriteSize,setSpriteAnchor,"
            "setSpriteColor,setSpriteOpacity,setSpriteFlip,createTexture,getTextureWidth,"
            "getTextureHeight,destroyTexture,createTextureFromCanvas,updateTextureFromCanvas,"
            "setDefaultFilter,defineAnimation,playAnimation,stopAnimation,setAnimationSpeed,"
            "getAnimationFrame,createTilemap,setTile,bulkSetPositions,physicsHasSupport,"
            "physicsConfigure,setOnPhysicsEvent,physicsCreateBody,physicsRemoveBody,physicsAddBox,"
            "physicsAddCircle,physicsAddCapsule,physicsAddSegment,physicsAddPolygon,"
            "physicsSetLinearVelocity,physicsGetLinearVelocity,physicsSetAngularVelocity,"
            "physicsApplyLinearImpulse,physicsApplyForce,physicsSetTransform,"
            "physicsSetFixedRotation,physicsSetGravityScale,physicsSetLinearDamping,"
            "physicsSetBullet,physicsSetEnabled,physicsRaycastClosest,physicsOverlapPoint,"
            "pickSprite\"");
  EXPECT_EQ(value("[_creator2d.backend, _creator2d.version()]"), "[\"opengl\",1]");
}

TEST_F(Creator2DTest, BadIdsGiveNeutralResultsAsFreshArrays) {
  EXPECT_EQ(value("[_creator2d.getPosition(9), _creator2d.getWorldMatrix(9),"
                  " _creator2d.getLocalTransform(9), _creator2d.localToWorld(9, 3, 4),"
                  " _creator2d.cameraScreenToWorld(9, 3, 4)]"),
            "[[0,0],[1,0,0,1,0,0],[0,0,0,1,1],[3,4],[0,0]]");
  EXPECT_EQ(value("[_creator2d.getParent(9), _creator2d.getChild(9, 0),"
                  " _creator2d.getTextureWidth(9), _creator2d.getAnimationFrame(9),"
                  " _creator2d.pickSprite(9, 0, 0), _creator2d.createTextureFromCanvas(1),"
                  " _creator2d.defineAnimation(9, new Float32Array(4), 10, true)]"),
            "[0,0,0,0,0,0,-1]");
  EXPECT_EQ(value("Array.isArray(_creator2d.getPosition(9)) &&"
                  " _creator2d.getPosition(9) !== _creator2d.getPosition(9)"),
            "true");
  // Non-finite numbers land in the tables without harm.
  run("var e = _creator2d.createEntity(); _creator2d.setPosition(e, NaN, Infinity);"
      "var s = _creator2d.createScene(); _creator2d.cameraSetZoom(s, NaN);");
  EXPECT_EQ(value("_creator2d.getPosition(e).map(String)"), "[\"NaN\",\"Infinity\"]");
  EXPECT_EQ(value("_creator2d.cameraWorldToScreen(s, 0, 0).every(isFinite)"), "true");
}

TEST_F(Creator2DTest, TextureFromCanvasHasTheSurfacesPixelSize) {
  const std::string surface = value(
      "_creatorCanvas.rasterize(0, 10, 6, 2, new Float32Array([6, 0, 25, 0, 0, 10, 6]),"
      " 7, ['red'])");
  const int32_t texture = std::stoi(value("_creator2d.createTextureFromCanvas(" + surface + ")"));
  ASSERT_NE(texture, 0);
  EXPECT_EQ(c2dGetTextureWidth(texture), 20);
  EXPECT_EQ(c2dGetTextureHeight(texture), 12);
}

TEST_F(Creator2DTest, CanvasRowsHandTheSurfacesStraightPixelsToTheUploads) {
  struct Seen {
    int32_t texture;
    std::vector<uint8_t> rgba;
    int32_t width;
    int32_t height;
  };
  std::vector<Seen> seen;
  handler().canvasUploads = {
      [&](const uint8_t* rgba, int32_t width, int32_t height) {
        seen.push_back({0, {rgba, rgba + width * height * 4}, width, height});
        return 7;
      },
      [&](int32_t texture, const uint8_t* rgba, int32_t width, int32_t height) {
        seen.push_back({texture, {rgba, rgba + width * height * 4}, width, height});
      }};
  // A quarter-opaque blue stroke over a clear bitmap: every kind of alpha is in the hand-off.
  run("var surface = _creatorCanvas.rasterize(0, 5, 3, 1,"
      " new Float32Array([7, 0, 8, 2, 26, 1, 1, 3, 1]), 9, ['rgba(0, 0, 255, 0.25)']);");
  const int64_t surface = std::stoll(value("surface"));
  const auto straight = engine.creatorCanvasHandler().surfaces().straightRGBA(surface);
  ASSERT_TRUE(straight);

  EXPECT_EQ(value("_creator2d.createTextureFromCanvas(surface)"), "7");
  run("_creator2d.updateTextureFromCanvas(3, surface)");
  ASSERT_EQ(seen.size(), 2u);
  for (const Seen& upload : seen) {
    EXPECT_EQ(upload.rgba, straight->rgba);
    EXPECT_EQ(upload.width, 5);
    EXPECT_EQ(upload.height, 3);
  }
  EXPECT_EQ(seen[1].texture, 3);

  // The missing cases go through the helper the 3D rows share, tested there.
  EXPECT_EQ(value("_creator2d.createTextureFromCanvas(4242)"), "0");
}

TEST_F(Creator2DTest, TexturesResolveWithTheirSizeAndStaleOrBadBuffersReject) {
  const std::vector<uint8_t> white(3 * 2 * 4, 0xFF);
  const int64_t image = Buffers::putBuffer(
      std::make_shared<std::vector<uint8_t>>(testing::encodeImage(3, 2, white.data())));
  const int64_t junk = Buffers::putBuffer(std::make_shared<std::vector<uint8_t>>(10, 1));
  ::testing::internal::CaptureStdout();
  run("var results = [];"
      "function ok(t, w, h) { results.push([t, w, h]); }"
      "function no(e) { results.push(e.message); }"
      "_creator2d.createTexture(" +
      std::to_string(image) +
      ", ok, no);"
      "_creator2d.createTexture(424242, ok, no);"
      "_creator2d.createTexture(" +
      std::to_string(junk) + ", ok, no);");
  const std::string out = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(value("results"),
            "[[1,3,2],\"creator-2d: texture buffer not found\","
            "\"creator-2d: texture decode failed\"]");
  EXPECT_NE(out.find("[Buffers] createTexture: stale id 424242\n"), std::string::npos) << out;
  EXPECT_NE(out.find("[creator-2d] texture decode failed: "), std::string::npos) << out;
  EXPECT_NE(out.find("(10 bytes)"), std::string::npos) << out;
  // Neither refusal took a slot.
  EXPECT_EQ(value("[_creator2d.getTextureWidth(1), _creator2d.getTextureWidth(2)]"), "[3,0]");
}

TEST_F(Creator2DTest, TypedArrayRowsRefuseOtherValuesAndReadOnlyWhatTheArraysHold) {
  ::testing::internal::CaptureStdout();
  run("var e = _creator2d.createEntity(), f = _creator2d.createEntity();"
      "var plain = _creator2d.defineAnimation(e, [0, 0, 1, 1], 10, true);"
      "_creator2d.bulkSetPositions(new Float32Array([e]), new Float32Array([5, 5]), 1);"
      "_creator2d.bulkSetPositions(new Int32Array([e]), new Float64Array([5, 5]), 1);");
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "[creator-2d] defineAnimation: expected a Float32Array\n"
            "[creator-2d] bulkSetPositions: expected an Int32Array\n"
            "[creator-2d] bulkSetPositions: expected a Float32Array\n");
  EXPECT_EQ(value("[plain, _creator2d.getPosition(e)]"), "[-1,[0,0]]");

  // A subarray is read from its own offset; a count beyond the arrays is cut to them, and a
  // clip takes only whole frames.
  run("var ids = new Int32Array([0, e, f]).subarray(1);"
      "var at = new Float32Array([9, 9, 1, 2, 3]).subarray(2);"
      "_creator2d.bulkSetPositions(ids, at, 100);"
      "var clip = _creator2d.defineAnimation(e, new Float32Array(7), 10, true);");
  EXPECT_EQ(value("[_creator2d.getPosition(e), _creator2d.getPosition(f), clip]"),
            "[[1,2],[0,0],0]");
}

TEST_F(Creator2DTest, CreateTilemapTakesTileSizesBeforeTheAtlasAndTilesFromTheirOffset) {
  ::testing::internal::CaptureStdout();
  run("var plain = _creator2d.createTilemap(0, 2, 1, 8, 4, 3, 1, [0, 1]);"
      "var empty = _creator2d.createTilemap(0, 2, 1, 8, 4, 3, 1, new Int32Array(0));"
      "var map = _creator2d.createTilemap(0, 2, 1, 8, 4, 3, 0,"
      "    new Int32Array([9, 5, 6]).subarray(1));"
      "_creator2d.setTile(map, 1, 0, -1);");
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "[creator-2d] createTilemap: expected an Int32Array\n"
            "[creator-2d] createTilemap: 2 x 1 needs 2 tiles, got 0\n");
  EXPECT_EQ(value("[plain, empty]"), "[0,0]");
  const scene2d::Entity2D* entity = scene2d::liveEntity(std::stoi(value("map")));
  ASSERT_TRUE(entity && entity->tilemap);
  const scene2d::Tilemap& map = *entity->tilemap;
  EXPECT_EQ((std::vector<float>{map.tileW, map.tileH}), (std::vector<float>{8, 4}));
  EXPECT_EQ((std::vector<int32_t>{map.atlasCols, map.atlasRows}), (std::vector<int32_t>{3, 1}));
  EXPECT_EQ(map.tiles, (std::vector<int32_t>{5, -1}));
}

TEST_F(Creator2DTest, PhysicsRowsReachTheWorldInTheScriptsArgumentOrder) {
  // A static box of half size 2 × 1 at the origin, a triangle read from a subarray's own offset
  // at x 10, and a ball thrown sideways at x -10.
  run("_creator2d.physicsConfigure(0, -10, 1, 4);"
      "var ground = _creator2d.createEntity(), tri = _creator2d.createEntity(),"
      "    ball = _creator2d.createEntity();"
      "_creator2d.setPosition(tri, 10, 0); _creator2d.setPosition(ball, -10, 0);"
      "var slots = [_creator2d.physicsCreateBody(ground, 0), _creator2d.physicsCreateBody(tri, 0),"
      "             _creator2d.physicsCreateBody(ball, 2)];"
      "_creator2d.physicsAddBox(slots[0], 2, 1, 0, 0, 1, 0.5, 0, false);"
      "_creator2d.physicsAddPolygon(slots[1],"
      "    new Float32Array([99, 99, -1, -1, 1, -1, 0, 1]).subarray(2), 3, 1, 0.5, 0, false);"
      "_creator2d.physicsAddCircle(slots[2], 0.5, 0, 0, 1, 0.5, 0, false);"
      "_creator2d.physicsSetLinearVelocity(slots[2], 3, 4);"
      "function rounded(values) { return values.map(function (v) {"
      "  return Math.round(v * 1000) / 1000; }); }");
  EXPECT_EQ(value("[_creator2d.physicsHasSupport(), slots, _creator2d.physicsGetLinearVelocity("
                  "slots[2])]"),
            "[true,[1,2,3],[3,4]]");
  // Straight down onto the box's top at y 1: hit, entity, point, normal, fraction.
  EXPECT_EQ(value("rounded(_creator2d.physicsRaycastClosest(0, 5, 0, -5))"
                  ".map(function (v, i) { return i === 1 && v === ground ? 'ground' : v; })"),
            "[1,\"ground\",0,1,0,1,0.4]");
  EXPECT_EQ(value("_creator2d.physicsRaycastClosest(50, 50, 60, 50)"), "[0,0,0,0,0,0,0]");
  // Inside the triangle as given; outside the one the whole buffer would have made.
  EXPECT_EQ(value("_creator2d.physicsOverlapPoint(10, 0.5) === tri"), "true");

  // Gravity pulls along y only.
  for (int i = 0; i < 6; ++i) frame();
  EXPECT_EQ(value("(function (v) { return [Math.round(v[0] * 1000) / 1000, v[1] < 4]; })("
                  "_creator2d.physicsGetLinearVelocity(slots[2]))"),
            "[3,true]");
}

TEST_F(Creator2DTest, APolygonFromAnythingButAFloat32ArrayAddsNothing) {
  ::testing::internal::CaptureStdout();
  run("_creator2d.physicsConfigure(0, -10, 1, 4);"
      "var body = _creator2d.physicsCreateBody(_creator2d.createEntity(), 0);"
      "_creator2d.physicsAddPolygon(body, [-1, -1, 1, -1, 0, 1], 3, 1, 0.5, 0, false);"
      "_creator2d.physicsAddPolygon(body, new Float64Array([-1, -1, 1, -1, 0, 1]), 3, 1, 0.5, 0,"
      "    false);");
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "[creator-2d] physicsAddPolygon: expected a Float32Array\n"
            "[creator-2d] physicsAddPolygon: expected a Float32Array\n");
  EXPECT_EQ(value("_creator2d.physicsOverlapPoint(0, 0)"), "0");
}

// Two balls resting inside a sensor zone, with no gravity: the first step reports both visits.
TEST_F(Creator2DTest, PhysicsEventsReachTheFunctionAfterTheFrameAsThreeIntegers) {
  run("var got = []; _creator2d.physicsConfigure(0, 0, 1, 4);"
      "var zone = _creator2d.createEntity();"
      "_creator2d.physicsAddBox(_creator2d.physicsCreateBody(zone, 0), 3, 3, 0, 0, 1, 0, 0, true);"
      "var balls = [], slots = [];"
      "for (var i = 0; i < 2; i++) {"
      "  balls.push(_creator2d.createEntity()); _creator2d.setPosition(balls[i], 2 * i - 1, 0);"
      "  slots.push(_creator2d.physicsCreateBody(balls[i], 2));"
      "  _creator2d.physicsAddCircle(slots[i], 0.5, 0, 0, 1, 0, 0, false);"
      "}"
      "var names = {}; names[zone] = 'zone'; names[balls[0]] = 'left'; names[balls[1]] = 'right';"
      "_creator2d.setOnPhysicsEvent(function (a, b, type) {"
      "  got.push([names[a], names[b], Number.isInteger(type) ? type : 'not'].join());"
      "});");
  for (int i = 0; i < 4; ++i) frame();
  EXPECT_EQ(value("got.sort()"), "[\"zone,left,2\",\"zone,right,2\"]");

  // The function is read anew for each event: one that clears itself gets the first of the
  // two ends queued by the same step, and nothing after it.
  run("got = []; _creator2d.setOnPhysicsEvent(function (a, b, type) {"
      "  got.push(type); _creator2d.setOnPhysicsEvent(0); });"
      "_creator2d.physicsSetTransform(slots[0], 20, 0, 0);"
      "_creator2d.physicsSetTransform(slots[1], -20, 0, 0);");
  for (int i = 0; i < 4; ++i) frame();
  EXPECT_EQ(value("got"), "[3]");
}

TEST_F(Creator2DTest, AFrameRunsUpdatesThenLoopsThenDeliversClipEventsAfterThePass) {
  run("var order = []; var e = _creator2d.createEntity();"
      "_creator2d.playAnimation(e, _creator2d.defineAnimation(e, new Float32Array(4), 1000, true));"
      "_creator2d.setOnAnimEvent(function (event) {"
      "  order.push('event ' + [event.entityId, event.clipId, event.type]); });"
      "_creator2d.onUpdate(function (dt) { order.push('update ' + dt); });"
      "setLoop(function () { order.push('loop'); });");
  frame();  // the first frame of the 2D clock has dt 0: the clip has not moved yet
  run("order = [];");
  frame();
  EXPECT_EQ(value("order"), "[\"update 0.016\",\"loop\",\"event 1,0,0\"]");
}

TEST_F(Creator2DTest, UpdateFunctionsRunPerEntryAndOffUpdateRemovesEveryEqualOne) {
  run("var runs = 0; function f() { runs++; } function g() {}"
      "_creator2d.onUpdate(f); _creator2d.onUpdate(f); _creator2d.offUpdate(g);");
  handler().runUpdates(0.016);
  EXPECT_EQ(value("runs"), "2");
  // Removed during a pass, a function still runs in that pass.
  run("_creator2d.onUpdate(function () { _creator2d.offUpdate(f); });"
      "_creator2d.onUpdate(f);");
  handler().runUpdates(0.016);
  EXPECT_EQ(value("runs"), "5");
  handler().runUpdates(0.016);
  EXPECT_EQ(value("runs"), "5");
  EXPECT_EQ(handler().updateCallbacks.size(), 1u);
}

TEST_F(Creator2DTest, OpeningAndClosingFollowTheStoreHooks) {
  int opened = 0, closed = 0;
  store().onOpen2dScene = [&] { ++opened; };
  store().onClose2dScene = [&] { ++closed; };
  store().renderPaused = true;
  run("var s = _creator2d.createScene(); _creator2d.openScene(s);");
  EXPECT_EQ(opened, 1);
  EXPECT_FALSE(store().renderPaused);
  EXPECT_EQ(c2dActiveScene(), 1);
  store().readyToRender = true;
  run("_creator2d.closeScene(); _creator2d.openScene(s);");
  EXPECT_EQ(closed, 1);
  EXPECT_EQ(opened, 2);
  EXPECT_EQ(c2dActiveScene(), 1);
  EXPECT_FALSE(store().readyToRender);
}

TEST_F(Creator2DTest, ASessionsEndTakesItsFunctionsAndClosesTheSceneItOpened) {
  int closed = 0;
  store().onClose2dScene = [&] { ++closed; };
  const ScriptContext first = context();
  const ScriptContext second = ScriptContext::create();
  engine.configure(second);
  run("var ran = []; var s = _creator2d.createScene(); _creator2d.openScene(s);"
      "_creator2d.onUpdate(function () { ran.push('first'); });"
      "_creator2d.setOnPointer(function () { ran.push('pointer'); });"
      "var e = _creator2d.createEntity();"
      "_creator2d.playAnimation(e, _creator2d.defineAnimation(e, new Float32Array(4), 1000, true));"
      "_creator2d.setOnAnimEvent(function () { ran.push('event'); });"
      // A ball inside a sensor zone: the first step has an event for the physics function.
      "_creator2d.physicsConfigure(0, 0, 1, 4);"
      "_creator2d.physicsAddBox(_creator2d.physicsCreateBody(_creator2d.createEntity(), 0),"
      "    3, 3, 0, 0, 1, 0, 0, true);"
      "var ball = _creator2d.physicsCreateBody(_creator2d.createEntity(), 2);"
      "_creator2d.physicsAddCircle(ball, 0.5, 0, 0, 1, 0, 0, false);"
      "_creator2d.setOnPhysicsEvent(function () { ran.push('physics'); });");
  second.evaluate("var ran = []; _creator2d.onUpdate(function () { ran.push('second'); });");
  engine.releaseResources(first);
  EXPECT_EQ(closed, 1);
  EXPECT_EQ(c2dActiveScene(), 0);
  for (int i = 0; i < 4; ++i) frame();
  handler().pointer(0, 1, 2);
  EXPECT_EQ(value("ran"), "[]");
  EXPECT_EQ(json(second, "ran.length"), "4");
  // The tables outlive the session.
  EXPECT_EQ(json(second, "_creator2d.getAnimationFrame(1) >= 0 && _creator2d.createScene()"), "2");

  // A session that opened nothing leaves the open scene, and another's physics function, alone.
  second.evaluate(
      "_creator2d.openScene(1); var events = [];"
      "_creator2d.setOnPhysicsEvent(function (a, b, type) { events.push(type); });");
  engine.releaseResources(first);
  EXPECT_EQ(c2dActiveScene(), 1);
  run("_creator2d.physicsSetTransform(ball, 20, 0, 0)");
  for (int i = 0; i < 4; ++i) frame();
  EXPECT_EQ(json(second, "events"), "[3]");
}

}  // namespace
}  // namespace talvero
