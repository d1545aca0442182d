#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "engine/bindings/creator_gl_bindings.h"
#include "engine/engine.h"
#include "image_encoding.h"
#include "main_queue_support.h"
#include "platform/toolkit/window.h"
#include "runtime/buffers.h"
#include "scene3d/frame_loop.h"
#include "scene3d/materials.h"
#include "scene3d/scene3d_test_support.h"
#include "scene3d/scenes.h"
#include "test_support.h"
#include "ui/ui_store.h"
#include "viewer/creator_gl_view.h"

namespace talvero {
namespace {

using testing::drainMainQueue;
using testing::json;

// `_creator` in the engine's own context, on a real renderer under Xvfb.
class CreatorGLTest : public ::testing::Test {
 protected:
  void TearDown() override { scene3d::destroyEngine(); }

  std::string value(const std::string& expression) { return json(context(), expression); }
  void run(const std::string& source) { context().evaluate(source); }
  ScriptContext context() { return engine.currentContext(); }
  CreatorGLHandler& gl() { return engine.creatorGLHandler(); }
  CreatorUIStore& store() { return engine.creatorUI(); }

  // An engine with an open scene of a camera, ready to draw 64 × 64 offscreen.
  void openSceneWithCamera() {
    run("_creator.createEngine([]);"
        "var scene = _creator.createScene(); var camera = _creator.createEntity();"
        "_creator.attachCameraToAR(scene, camera); _creator.openScene(scene);");
    ASSERT_TRUE(scene3d::hasEngine());
    scene3d::createSwapChainHeadless(64, 64);
    scene3d::setViewport(64, 64);
  }

  void frame(int64_t timeMs) {
    ASSERT_TRUE(scene3d::testing::whenFrameBegins([&] { scene3d::render(timeMs); }));
  }

  int64_t materialBuffer(const std::string& name) {
    const std::vector<uint8_t> bytes = scene3d::testing::readMaterial(name);
    return Buffers::putBuffer(std::make_shared<const std::vector<uint8_t>>(bytes));
  }

  TalveroEngine engine;
};

// An AR controller that records what it is asked.
class FakeController : public ARController {
 public:
  void setRootAnchor(uint32_t entity) override {
    calls.push_back("root " + std::to_string(entity));
  }
  void addImageAnchor(uint32_t entity, Bytes image, float width) override {
    calls.push_back("image " + std::to_string(entity) + " " + std::to_string(image->size()) + " " +
                    std::to_string(static_cast<int>(width)));
  }
  void launch(std::function<void()> onSuccess,
              std::function<void(const std::string&)> onFailure) override {
    calls.push_back("launch");
    if (failWith.empty()) {
      onSuccess();
    } else {
      onFailure(failWith);
    }
  }
  void stop() override { calls.push_back("stop"); }
  std::optional<uint32_t> sceneMaterial() override { return 7; }

  std::vector<std::string> calls;
  std::string failWith;
};

TEST_F(CreatorGLTest, TheTableHoldsExactlyTheRowsThisBuildServesInTheirOrder) {
  EXPECT_EQ(value("Object.keys(_creator).join()"),
            "\"createEngine,createGLView,getDisplaySize,warmRender,captureImage,createEntity,"
            "cloneEntity,destroyEntity,createScene,attachCameraToAR,addEntityToScene,"
            "removeEntityFromScene,openScene,closeScene,setVisible,isVisible,setPosition,"
            "setQuaternion,setEulerAngles,setScale,setMatrix,getMatrix,getWorldMatrix,"
            "getWorldPosition,getWorldDirection,getWorldMatrixInverse,getCameraViewDirection,"
            "setParent,setParentNull,getParent,getChildCount,getChild,getChildren,getName,setName,"
            "traverse,createMaterial,setMaterial,getMaterial,setUniformColor,setUniformRgb,"
            "setUniformRgba,setUniformFloat,setUniformBoolean,setUniformArray,setUniformTexture,"
            "createTexture,createTextureFromCanvas,updateTextureFromCanvas,setCulling,"
            "setReceiveShadows,setCastShadows,hasMesh,setMesh,setEarlyUpdate,setLateUpdate,"
            "physicsHasSupport,physicsConfigure,physicsCreateBox,physicsCreateSphere,"
            "physicsCreateCylinder,physicsBuildBox,physicsBuildSphere,physicsBuildCylinder,"
            "physicsBuildCapsule,physicsDestroyShape,physicsCreateBody,physicsSetPickable,"
            "physicsSetLinearVelocity,physicsGetLinearVelocity,physicsApplyImpulse,"
            "physicsSetBodyPosition,physicsRemoveBody,setInterpolation,physicsRaycast,"
            "setOnPhysicsEvent,characterCreate,characterDestroy,characterSetVelocity,"
            "characterGetVelocity,characterGetGroundState,characterSetPosition,"
            "setColliderFromMesh,setColliderBox,setColliderSphere,raycastView,"
            "createARController,createRootAnchor,createAnchor,getSceneMaterial,requestCamera,"
            "launchAR,stopAR,backend\"");
  EXPECT_EQ(value("_creator.backend"), "\"opengl\"");
}

TEST_F(CreatorGLTest, BeforeAnEngineRowsLogOnceAndGiveNeutralResults) {
  store().displayWidth = 390;
  store().displayHeight = 844;
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(value("[_creator.createEntity(), _creator.createEntity(), _creator.getName(5),"
                  " _creator.isVisible(5), _creator.getDisplaySize()]"),
            "[0,0,\"\",false,[390,844]]");
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "[creator-gl] createEntity: no 3D engine; call createEngine first\n"
            "[creator-gl] getName: no 3D engine; call createEngine first\n"
            "[creator-gl] isVisible: no 3D engine; call createEngine first\n");
  EXPECT_EQ(CreatorGLHandler::rendererBackend(), "OpenGL (Filament)");
}

TEST_F(CreatorGLTest, CreateEngineReadsItsFeatures) {
  ::testing::internal::CaptureStdout();
  run("_creator.createEngine(['uberarchive', 'capture'])");
  const std::string out = ::testing::internal::GetCapturedStdout();
  EXPECT_NE(out.find("[creator-gl] createEngine: GLB support is not built in this version; "
                     "\"uberarchive\" is not loaded\n"),
            std::string::npos);
  EXPECT_TRUE(store().glCaptureSupport);
  run("_creator.createEngine()");
  EXPECT_FALSE(store().glCaptureSupport);
  EXPECT_EQ(CreatorGLHandler::rendererBackend(), "OpenGL (Filament)");
}

TEST_F(CreatorGLTest, OpeningAndClosingFollowTheStoreHooks) {
  int opened = 0;
  int closed = 0;
  store().onOpenScene = [&] { ++opened; };
  store().onCloseScene = [&] { ++closed; };
  run("_creator.createEngine([]); var a = _creator.createScene(); var b = _creator.createScene();");
  run("_creator.closeScene()");
  EXPECT_EQ(closed, 0);  // nothing was open

  store().renderPaused = true;
  run("_creator.openScene(b)");
  EXPECT_EQ(opened, 1);
  EXPECT_FALSE(store().renderPaused);
  store().renderPaused = true;
  run("_creator.openScene(b)");  // the open one again: the hook still runs
  EXPECT_EQ(opened, 2);
  EXPECT_FALSE(store().renderPaused);
  EXPECT_EQ(gl().currentSceneId, 1u);
  EXPECT_EQ(scene3d::openSceneId(), 1);

  store().readyToRender = true;
  run("_creator.closeScene()");
  EXPECT_EQ(closed, 1);
  EXPECT_FALSE(store().readyToRender);
  EXPECT_FALSE(gl().currentSceneId);
  EXPECT_EQ(scene3d::openSceneId(), -1);
}

TEST_F(CreatorGLTest, MaterialsAreBuiltOncePerBufferAndStaleBuffersSaySo) {
  run("_creator.createEngine([])");
  const int64_t buffer = materialBuffer("unlit_color.filamat");
  const std::string id = std::to_string(buffer);
  EXPECT_EQ(value("_creator.createMaterial(" + id + ")"), "0");
  Buffers::dispose(buffer);
  // The second handle is another instance of the material already built.
  EXPECT_EQ(value("_creator.createMaterial(" + id + ")"), "1");
  EXPECT_EQ(gl().materialMap.size(), 1u);

  ::testing::internal::CaptureStdout();
  EXPECT_EQ(value("_creator.createMaterial(987654)"), "0");
  const int64_t garbage = Buffers::putBuffer(std::make_shared<std::vector<uint8_t>>(40, 7));
  EXPECT_EQ(value("_creator.createMaterial(" + std::to_string(garbage) + ")"), "0");
  const std::string out = ::testing::internal::GetCapturedStdout();
  EXPECT_NE(out.find("[Buffers] createMaterial: stale id 987654\n"), std::string::npos);
  EXPECT_NE(out.find("[creator-gl] createMaterial: "), std::string::npos);
  EXPECT_EQ(gl().materialMap.size(), 1u);  // a refused package is not remembered
  run("_creator.createEngine([])");
  EXPECT_TRUE(gl().materialMap.empty());
}

TEST_F(CreatorGLTest, TransformsAndTheHierarchyCrossAsNumbersAndTypedArrays) {
  run("_creator.createEngine([]); var parent = _creator.createEntity();"
      "var child = _creator.createEntity(); _creator.setParent(child, parent, false);"
      "_creator.setName(child, 'wheel'); _creator.setPosition(parent, 1, 2, 3);"
      "_creator.setPosition(child, 0, 1, 0); var out = new Float32Array(3);"
      "_creator.getWorldPosition(child, out);");
  EXPECT_EQ(value("Array.from(out)"), "[1,3,3]");
  EXPECT_EQ(
      value("[_creator.getParent(child) === parent, _creator.getChildCount(parent),"
            " _creator.getChildren(parent)[0] === child, _creator.getChild(parent, 0) === child,"
            " _creator.getChild(parent, 1), _creator.getName(child)]"),
      "[true,1,true,true,0,\"wheel\"]");

  run("var m = new Float32Array(16); m[0] = m[5] = m[10] = 2; m[15] = 1; m[12] = 5;"
      "_creator.setMatrix(parent, m); var back = new Float32Array(16);"
      "_creator.getMatrix(parent, back);");
  EXPECT_EQ(value("Array.from(back)"), "[2,0,0,0,0,2,0,0,0,0,2,0,5,0,0,1]");

  // Wrong arrays are refused with one line per row and id, and nothing is written.
  ::testing::internal::CaptureStdout();
  run("var short = new Float32Array(2); _creator.getWorldPosition(child, short);"
      "_creator.getWorldPosition(child, short); _creator.getMatrix(parent, [1, 2, 3]);"
      "_creator.setMatrix(parent, new Float64Array(16));");
  const std::string out = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(value("Array.from(short)"), "[0,0]");
  EXPECT_NE(out.find("getWorldPosition: needs a Float32Array of at least 3 elements\n"),
            std::string::npos);
  EXPECT_EQ(out.find("getWorldPosition"), out.rfind("getWorldPosition"));
  EXPECT_NE(out.find("getMatrix: needs a Float32Array of at least 16 elements\n"),
            std::string::npos);
  EXPECT_NE(out.find("setMatrix: needs a Float32Array of at least 16 elements\n"),
            std::string::npos);
  run("_creator.getMatrix(parent, back);");
  EXPECT_EQ(value("back[12]"), "5");
}

TEST_F(CreatorGLTest, SetMeshWantsItsTypedArraysAndLeavesTheEntityAsItWasOtherwise) {
  const int64_t buffer = materialBuffer("unlit_color.filamat");
  run("_creator.createEngine([]); var e = _creator.createEntity();"
      "var mat = _creator.createMaterial(" +
      std::to_string(buffer) +
      ");"
      "var p = new Float32Array([0,0,0, 1,0,0, 0,1,0]); var n = new Float32Array(9);"
      "var uv = new Float32Array(6); var ix = new Uint16Array([0, 1, 2]);");
  ::testing::internal::CaptureStdout();
  run("_creator.setMesh(e, mat, [0,0,0, 1,0,0, 0,1,0], n, ix, uv, 0);");
  run("_creator.setMesh(e, mat, p, n, new Uint32Array([0, 1, 2]), uv, 0);");
  const std::string out = ::testing::internal::GetCapturedStdout();
  EXPECT_NE(out.find("[creator-gl] setMesh: needs a Float32Array\n"), std::string::npos);
  EXPECT_EQ(value("_creator.hasMesh(e)"), "false");
  run("_creator.setMesh(e, mat, p, n, ix, uv, 0);");
  EXPECT_EQ(value("_creator.hasMesh(e)"), "true");
  EXPECT_EQ(value("_creator.getMaterial(e, 0) > mat"), "true");
}

TEST_F(CreatorGLTest, UniformArraysTakeFloat32ArraysAndArrayBuffers) {
  const int64_t buffer = materialBuffer("unlit_color.filamat");
  run("_creator.createEngine([]); var mat = _creator.createMaterial(" + std::to_string(buffer) +
      ");");
  ::testing::internal::CaptureStdout();
  run("_creator.setUniformArray(mat, 'baseColor', new Float32Array([1, 0, 0, 1]));"
      "_creator.setUniformArray(mat, 'baseColor', new Float32Array([1, 0, 0, 1]).buffer);"
      "_creator.setUniformArray(mat, 'nothing', new Float32Array([1, 0, 0, 1]).buffer);");
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "[creator-gl] setUniformArray: unknown parameter \"nothing\"\n");
}

TEST_F(CreatorGLTest, UpdateFunctionsRunEarlyThenLateAndMayCloseTheSceneMidFrame) {
  openSceneWithCamera();
  run("var log = []; _creator.setEarlyUpdate(function (dt) { log.push('early ' + dt); });"
      "_creator.setLateUpdate(function (dt) { log.push('late ' + dt); });");
  frame(1000);
  frame(1020);
  EXPECT_EQ(value("log"),
            "[\"early 0\",\"late 0\",\"early 0.019999999552965164\","
            "\"late 0.019999999552965164\"]");

  // A scene closed by the early function is neither updated late nor drawn.
  run("log = []; _creator.setEarlyUpdate(function () { log.push('early'); _creator.closeScene(); "
      "});");
  frame(1040);
  EXPECT_EQ(value("log"), "[\"early\"]");
  EXPECT_FALSE(gl().currentSceneId);
  EXPECT_EQ(scene3d::openSceneId(), -1);
  frame(1060);  // no scene: nothing runs
  EXPECT_EQ(value("log.length"), "1");
}

TEST_F(CreatorGLTest, AnUpdateFunctionMayReplaceTheEngine) {
  openSceneWithCamera();
  run("var made = 0; _creator.setEarlyUpdate(function () {"
      " if (made++ === 0) _creator.createEngine([]); });");
  frame(1000);
  EXPECT_TRUE(scene3d::hasEngine());
  EXPECT_EQ(scene3d::openSceneId(), -1);  // the open scene went with the old engine
  EXPECT_FALSE(scene3d::beginFrame());    // and so did the swap chain
  EXPECT_EQ(value("made"), "1");
}

TEST_F(CreatorGLTest, WarmRenderGivesUpAfterTwoHundredAndOneAttempts) {
  run("_creator.createEngine([]); var scene = _creator.createScene();");
  int warmCalls = 0;
  int readyCalls = 0;
  gl().warmSteps.warm = [&](int64_t) { return ++warmCalls > 3; };  // three refusals first
  gl().warmSteps.ready = [&] {
    ++readyCalls;
    return false;
  };
  std::vector<double> delays;
  gl().warmSteps.after = [&](double seconds, std::function<void()> step) {
    delays.push_back(seconds);
    dispatch::post(std::move(step));
  };
  run("var done = 0; _creator.warmRender(scene, function () { done++; });");
  EXPECT_EQ(value("done"), "0");  // the first step is queued, not run
  dispatch::pumpUntil([this] { return value("done") == "1"; }, 10);
  EXPECT_EQ(value("done"), "1");
  EXPECT_EQ(warmCalls, 4);
  EXPECT_EQ(readyCalls, 201 - 4);
  ASSERT_EQ(delays.size(), 201u);
  EXPECT_EQ(delays[0], 0.1);
  EXPECT_EQ(delays[3], 0.05);
}

TEST_F(CreatorGLTest, WarmRenderCallsBackOnceTheRealWarmUpIsDone) {
  run("_creator.createEngine([]); var scene = _creator.createScene();"
      "var done = 0; _creator.warmRender(scene, function () { done++; });");
  dispatch::pumpUntil([this] { return value("done") == "1"; }, 20);
  EXPECT_EQ(value("done"), "1");
}

TEST_F(CreatorGLTest, TexturesResolveWithTheirSizeAndStaleOrBadBuffersReject) {
  const std::vector<uint8_t> pixels(3 * 2 * 4, 0xFF);
  const int64_t image = Buffers::putBuffer(
      std::make_shared<std::vector<uint8_t>>(testing::encodeImage(3, 2, pixels.data())));
  const int64_t junk = Buffers::putBuffer(std::make_shared<std::vector<uint8_t>>(10, 1));
  ::testing::internal::CaptureStdout();
  run("_creator.createEngine([]); var results = [];"
      "function ok(t, w, h) { results.push([t, w, h]); }"
      "function no(e) { results.push(String(e.message)); }"
      "_creator.createTexture(" +
      std::to_string(image) +
      ", ok, no);"
      "_creator.createTexture(424242, ok, no);"
      "_creator.createTexture(" +
      std::to_string(junk) + ", ok, no);");
  dispatch::pumpUntil([this] { return value("results.length") == "3"; }, 10);
  const std::string out = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(value("results[0]"), "\"Failed to create texture\"");  // the stale id, at once
  EXPECT_EQ(value("results.slice(1).map(String).sort()"),
            "[\"0,3,2\",\"Failed to create texture\"]");
  EXPECT_NE(out.find("[Buffers] createTexture: stale id 424242\n"), std::string::npos);
  EXPECT_NE(out.find("[creator-gl] createTexture: the image does not decode"), std::string::npos);
}

// What a canvas row handed to the 3D layer's RGBA upload.
struct SeenUpload {
  int64_t texture = -1;
  std::vector<uint8_t> rgba;
  int32_t width = 0;
  int32_t height = 0;
};

TEST_F(CreatorGLTest, CanvasRowsHandTheSurfacesStraightPixelsToTheUploads) {
  std::vector<SeenUpload> seen;
  gl().canvasUploads = {
      [&](const uint8_t* rgba, int32_t width, int32_t height) {
        seen.push_back({-1, {rgba, rgba + width * height * 4}, width, height});
        return int64_t{5};
      },
      [&](int64_t texture, const uint8_t* rgba, int32_t width, int32_t height) {
        seen.push_back({texture, {rgba, rgba + width * height * 4}, width, height});
      }};
  // Half-transparent red at scale 2: the hand-off is the unpremultiplied bitmap, 6 by 4.
  run("_creator.createEngine([]);"
      "var surface = _creatorCanvas.rasterize(0, 3, 2, 2,"
      " new Float32Array([6, 0, 25, 0, 0, 2, 2]), 7, ['rgba(255, 0, 0, 0.5)']);");
  const int64_t surface = std::stoll(value("surface"));
  const auto straight = engine.creatorCanvasHandler().surfaces().straightRGBA(surface);
  ASSERT_TRUE(straight);
  ASSERT_EQ(straight->width, 6);
  ASSERT_EQ(straight->height, 4);

  EXPECT_EQ(value("_creator.createTextureFromCanvas(surface)"), "5");
  run("_creator.updateTextureFromCanvas(9, surface)");
  ASSERT_EQ(seen.size(), 2u);
  for (const SeenUpload& upload : seen) {
    EXPECT_EQ(upload.rgba, straight->rgba);
    EXPECT_EQ(upload.width, 6);
    EXPECT_EQ(upload.height, 4);
  }
  EXPECT_EQ(seen[1].texture, 9);
  // Straight, not premultiplied: the covered corner keeps full red at half alpha.
  EXPECT_EQ(std::vector<int>(seen[0].rgba.begin(), seen[0].rgba.begin() + 4),
            (std::vector<int>{255, 0, 0, 128}));

  // An unknown surface, or no canvas at all, gives 0 and never reaches the uploads.
  EXPECT_EQ(value("_creator.createTextureFromCanvas(4242)"), "0");
  run("_creator.updateTextureFromCanvas(9, 4242)");
  gl().canvas = nullptr;
  EXPECT_EQ(value("_creator.createTextureFromCanvas(surface)"), "0");
  run("_creator.updateTextureFromCanvas(9, surface)");
  EXPECT_EQ(seen.size(), 2u);
}

TEST_F(CreatorGLTest, ACanvasTextureShowsOnAMeshAndFollowsItsUpdate) {
  openSceneWithCamera();
  const int64_t material = materialBuffer("unlit_textured.filamat");
  // A square of side 2 at depth -2 fills the middle of the view; the canvas paints it.
  run("var instance = _creator.createMaterial(" + std::to_string(material) +
      ");"
      "_creator.setUniformRgba(instance, 'baseColor', 0xFFFFFFFF);"
      "var square = _creator.createEntity();"
      "_creator.setMesh(square, instance,"
      " new Float32Array([-1, -1, -2, 1, -1, -2, 1, 1, -2, -1, 1, -2]),"
      " new Float32Array([0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1]),"
      " new Uint16Array([0, 1, 2, 0, 2, 3]), new Float32Array([0, 0, 1, 0, 1, 1, 0, 1]), 0);"
      "_creator.addEntityToScene(scene, square);"
      "function paint(colour) {"
      "  return _creatorCanvas.rasterize(0, 4, 4, 1, new Float32Array([6, 0, 25, 0, 0, 4, 4]),"
      "                                  7, [colour]);"
      "}"
      "var surface = paint('#00ff00');"
      "var texture = _creator.createTextureFromCanvas(surface);"
      "_creator.setUniformTexture(instance, 'baseTexture', texture, 0, 0);");

  const auto centre = [this] {
    std::vector<uint8_t> pixels(64 * 64 * 4);
    EXPECT_TRUE(scene3d::testing::whenFrameBegins(
        [&] { scene3d::render_to_offscreen(1000, pixels.data()); }));
    const size_t at = (32 * 64 + 32) * 4;
    return std::vector<int>{pixels[at], pixels[at + 1], pixels[at + 2]};
  };
  EXPECT_EQ(centre(), (std::vector<int>{0, 255, 0}));

  run("_creator.updateTextureFromCanvas(texture, paint('#0000ff'))");
  EXPECT_EQ(centre(), (std::vector<int>{0, 0, 255}));
}

TEST_F(CreatorGLTest, TraverseSurvivesACallbackThatDestroys) {
  run("_creator.createEngine([]); var root = _creator.createEntity();"
      "var a = _creator.createEntity(), b = _creator.createEntity(), c = _creator.createEntity();"
      "_creator.setParent(a, root, false); _creator.setParent(b, a, false);"
      "_creator.setParent(c, root, false); var seen = [];"
      "_creator.traverse(root, function (e) { seen.push(e); if (e === a) "
      "_creator.destroyEntity(a); });");
  EXPECT_EQ(value("[seen.length, seen.indexOf(a) + 1 === seen.indexOf(b), seen.indexOf(c) >= 0]"),
            "[3,true,true]");
  EXPECT_EQ(value("_creator.getChildCount(root)"), "1");
}

TEST_F(CreatorGLTest, RequestCameraAnswersFromTheProbe) {
  bool available = false;
  gl().cameraProbe = [&available] { return available; };
  run("var answers = [];"
      "_creator.requestCamera(function () { answers.push('yes'); },"
      " function (e) { answers.push(e.message); });");
  dispatch::pumpUntil([this] { return value("answers.length") == "1"; }, 10);
  available = true;
  run("_creator.requestCamera(function () { answers.push('yes'); },"
      " function (e) { answers.push(e.message); });");
  dispatch::pumpUntil([this] { return value("answers.length") == "2"; }, 10);
  EXPECT_EQ(value("answers"), "[\"Camera is not available\",\"yes\"]");
}

TEST_F(CreatorGLTest, ARRowsUseARegisteredControllerAndIgnoreUnknownNames) {
  auto controller = std::make_shared<FakeController>();
  engine.registerARController("fake", [controller] { return controller; });
  const int64_t image = Buffers::putBuffer(std::make_shared<std::vector<uint8_t>>(5, 1));
  run("_creator.createEngine([]); var s = _creator.createScene(); var cam = "
      "_creator.createEntity();"
      "var t = _creator.createScene(); var out = [];"
      "_creator.createARController(t, cam, 'nobody', function () {});"
      "_creator.launchAR(t, function () { out.push('t ok'); }, function () { out.push('t no'); });"
      "_creator.createARController(s, cam, 'fake', function (e, on) { out.push([e, on]); });"
      "var root = _creator.createRootAnchor(s);"
      "var anchor = _creator.createAnchor(s, 2, " +
      std::to_string(image) +
      ");"
      "var loose = _creator.createAnchor(s, 2, 999999);"
      "_creator.launchAR(s, function () { out.push('s ok'); }, function () { out.push('s no'); "
      "});");
  EXPECT_EQ(value("[_creator.getSceneMaterial(s), _creator.getSceneMaterial(t)]"), "[7,0]");
  EXPECT_EQ(value("out"), "[\"s ok\"]");
  EXPECT_EQ(
      value("[_creator.isVisible(root), _creator.isVisible(anchor), _creator.isVisible(loose)]"),
      "[false,false,true]");
  EXPECT_EQ(controller->sceneId, 0u);
  controller->anchorCallback(9, true);
  EXPECT_EQ(value("out[1]"), "[9,true]");
  EXPECT_EQ(gl().activeARController, controller);
  run("_creator.stopAR()");
  EXPECT_FALSE(gl().activeARController);
  ASSERT_EQ(controller->calls.size(), 4u);
  EXPECT_EQ(controller->calls[0], "root " + value("root"));
  EXPECT_EQ(controller->calls[1], "image " + value("anchor") + " 5 2");
  EXPECT_EQ(controller->calls[2], "launch");
  EXPECT_EQ(controller->calls[3], "stop");

  controller->failWith = "no tracking";
  run("_creator.launchAR(s, function () {}, function (e) { out.push(e.message); });");
  EXPECT_EQ(value("out[2]"), "\"no tracking\"");
}

TEST_F(CreatorGLTest, ASessionsEndClearsOnlyWhatItsContextLeft) {
  auto controller = std::make_shared<FakeController>();
  engine.registerARController("fake", [controller] { return controller; });
  openSceneWithCamera();
  const ScriptContext first = context();
  const ScriptContext second = ScriptContext::create();
  engine.configure(second);
  // The first context owns the open scene, the controller and the early function; the late
  // function belongs to the second.
  run("var ran = []; _creator.createARController(scene, camera, 'fake', function () {});"
      "_creator.setEarlyUpdate(function () { ran.push('early'); });");
  second.evaluate("var ran = []; _creator.setLateUpdate(function () { ran.push('late'); });");
  engine.releaseResources(first);
  EXPECT_EQ(controller->calls, std::vector<std::string>{"stop"});
  EXPECT_TRUE(gl().arControllers.empty());
  EXPECT_FALSE(gl().currentSceneId);
  EXPECT_EQ(scene3d::openSceneId(), -1);
  // Scenes stay in the tables; the late function of the second context still runs.
  EXPECT_EQ(scene3d::sceneCount(), 1);
  second.evaluate("_creator.openScene(0)");
  frame(2000);
  EXPECT_EQ(json(second, "ran"), "[\"late\"]");
  EXPECT_EQ(value("ran"), "[]");
}

TEST_F(CreatorGLTest, PhysicsRowsTakeTheScriptsArgumentOrderAndFillFloat32Arrays) {
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(value("_creator.physicsHasSupport()"), "true");
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "") << "it needs no engine";
  openSceneWithCamera();
  // Gravity along +x, given first; the maximum of bodies comes last.
  run("_creator.physicsConfigure(6, 0, 0, 0);"
      "var ball = _creator.createEntity();"
      "var ballBody = _creator.physicsCreateSphere(ball, 1, 2, 0);"
      "var slab = _creator.createEntity(); _creator.setPosition(slab, 10, 0, 0);"
      "_creator.physicsCreateBox(slab, 0.5, 1, 2, 0, 0);");
  frame(1000);
  frame(1050);  // two fixed steps: 0.05 s falls a hair short of three
  run("var v = new Float32Array(3); _creator.physicsGetLinearVelocity(ballBody, v);");
  EXPECT_EQ(value("[Math.round(v[0] * 100), v[1], v[2]]"), "[20,0,0]");

  // The slab's half extents in order: its top at y = 1 is still under z = 1.9.
  run("var hit = new Float32Array(7);"
      "var found = _creator.physicsRaycast(10, 10, 1.9, 0, -1, 0, 20, hit);");
  EXPECT_EQ(value("[found === slab, Math.round(hit[1] * 100), Math.round(hit[4] * 100),"
                  " Math.round(hit[6] * 100)]"),
            "[true,100,100,45]");
  EXPECT_EQ(value("_creator.physicsRaycast(10, 10, 1.9, 0, -1, 0, 20, null) === slab"), "true");
  EXPECT_EQ(value("_creator.physicsRaycast(10, 10, 1.9, 0, -1, 0, 20) === slab"), "true");

  // Short or wrong arrays: one line per row and id, nothing written, the neutral result.
  ::testing::internal::CaptureStdout();
  run("var short = new Float32Array(6);"
      "var missed = _creator.physicsRaycast(10, 10, 1.9, 0, -1, 0, 20, short);"
      "_creator.physicsRaycast(10, 10, 1.9, 0, -1, 0, 20, [0, 0, 0, 0, 0, 0, 0]);"
      "var two = new Float32Array(2); _creator.physicsGetLinearVelocity(ballBody, two);");
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "[creator-gl] physicsRaycast: needs a Float32Array of at least 7 elements\n"
            "[creator-gl] physicsGetLinearVelocity: needs a Float32Array of at least 3 elements\n");
  EXPECT_EQ(value("[missed, Array.from(short).every(function (x) { return x === 0; }),"
                  " Array.from(two)]"),
            "[0,true,[0,0]]");
}

TEST_F(CreatorGLTest, PhysicsEventsReachTheirContextWhoseEndAloneClearsThem) {
  openSceneWithCamera();
  run("_creator.physicsConfigure(0, -9.81, 0, 0);"
      "var floor = _creator.createEntity(); _creator.setPosition(floor, 0, -0.5, 0);"
      "_creator.physicsCreateBox(floor, 5, 0.5, 5, 0, 0);"
      "var box = _creator.createEntity(); _creator.setPosition(box, 0, 0.6, 0);"
      "var boxBody = _creator.physicsCreateBox(box, 0.5, 0.5, 0.5, 2, 0);");
  const std::string floor = value("floor"), box = value("box");
  // The second context owns the open scene and the event function, which throws.
  const ScriptContext first = context();
  const ScriptContext second = ScriptContext::create();
  engine.configure(second);
  std::vector<std::string> thrown;
  second.setExceptionHandler([&thrown](const ScriptContext&, const ScriptValue& error) {
    thrown.push_back(error.toString());
  });
  // Which body of a pair comes first is the world's business: the names are sorted.
  second.evaluate("var names = {}; names[" + floor + "] = 'floor'; names[" + box +
                  "] = 'box'; _creator.openScene(0);"
                  "_creator.setOnPhysicsEvent(function (a, b, type) {"
                  " throw new Error([names[a], names[b]].sort().join(' on ') + ' ' + type); });");
  engine.releaseResources(first);
  int64_t time = 2000;
  for (int i = 0; i < 120 && thrown.empty(); ++i) frame(time += 16);
  EXPECT_EQ(thrown, std::vector<std::string>{"Error: box on floor 0"});

  // A function of the first context, cleared by its end; the second's end leaves the slot.
  run("var types = []; _creator.setOnPhysicsEvent(function (a, b, type) { types.push(type); });"
      "_creator.openScene(0); _creator.physicsSetBodyPosition(boxBody, 0, 3, 0);");
  engine.releaseResources(second);
  for (int i = 0; i < 120 && value("types.length") == "0"; ++i) frame(time += 16);
  EXPECT_EQ(value("types"), "[1]");
  second.evaluate("_creator.openScene(0);");
  engine.releaseResources(first);
  run("var out = new Float32Array(3);");
  for (int i = 0; i < 150; ++i) frame(time += 16);
  run("_creator.getWorldPosition(box, out);");
  EXPECT_EQ(value("Math.round(out[1] * 10)"), "5") << "the box landed again";
  EXPECT_EQ(value("types"), "[1]");
  EXPECT_EQ(thrown.size(), 1u);
}

TEST_F(CreatorGLTest, CaptureImageTakesTheViewsNextFrameWhenTheCaptureFeatureIsOn) {
  ASSERT_TRUE(toolkit::initToolkit());
  openSceneWithCamera();
  run("var got = [];"
      "function ok(id, name, size) { got.push([name, size, id]); }"
      "function no(e) { got.push(e.message); }"
      "_creator.captureImage(0, ok, no);");
  EXPECT_EQ(value("got"), "[\"Scene did not open\"]");

  auto view = std::make_shared<CreatorGLView>(store(), engine.animationManager());
  view->setFrame({{0, 0}, {64, 48}});
  store().onGetGLView = [view] { return view; };
  const auto captureOnce = [&](size_t answers) {
    run("_creator.captureImage(0, ok, no);");
    for (int frame = 0; frame < 500 && value("got.length") != std::to_string(answers); ++frame) {
      view->deliverFrame();
    }
  };
  captureOnce(2);  // created with no features: the frame is not captured
  EXPECT_EQ(value("got[1]"), "\"Failed to capture image\"");

  run("_creator.createEngine(['capture']); var s = _creator.createScene();"
      "var c = _creator.createEntity(); _creator.attachCameraToAR(s, c); _creator.openScene(s);");
  captureOnce(3);
  ASSERT_EQ(value("got.length"), "3");
  EXPECT_EQ(value("got[2][0]"), "\"image.png\"");
  const Bytes png = Buffers::get(std::stoll(value("got[2][2]")));
  ASSERT_TRUE(png);
  EXPECT_EQ(value("got[2][1]"), std::to_string(png->size()));
  EXPECT_EQ(std::string(png->begin() + 1, png->begin() + 4), "PNG");
}

}  // namespace
}  // namespace talvero
