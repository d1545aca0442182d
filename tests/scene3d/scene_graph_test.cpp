#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "scene3d/scenes.h"
#include "scene3d_test_support.h"

namespace talvero::scene3d {
namespace {

using testing::Scene3DTest;
using Matrix = std::vector<float>;

Matrix world(uint32_t entity) {
  Matrix out(16);
  getWorldMatrix(entity, out.data());
  return out;
}

Matrix local(uint32_t entity) {
  Matrix out(16);
  getMatrix(entity, out.data());
  return out;
}

void expectNear(const Matrix& a, const Matrix& b, float tolerance = 1e-5f) {
  ASSERT_EQ(a.size(), b.size());
  for (size_t i = 0; i < a.size(); ++i) EXPECT_NEAR(a[i], b[i], tolerance) << "element " << i;
}

// Column-major products and rotations built here, apart from the code under test.
Matrix multiply(const Matrix& a, const Matrix& b, int n) {
  Matrix out(n * n, 0);
  for (int column = 0; column < n; ++column) {
    for (int row = 0; row < n; ++row) {
      for (int k = 0; k < n; ++k) out[column * n + row] += a[k * n + row] * b[column * n + k];
    }
  }
  return out;
}

Matrix rotation(char axis, float degrees) {
  const float r = degrees * 0.017453292f, c = std::cos(r), s = std::sin(r);
  if (axis == 'x') return {1, 0, 0, 0, c, s, 0, -s, c};
  if (axis == 'y') return {c, 0, -s, 0, 1, 0, s, 0, c};
  return {c, s, 0, -s, c, 0, 0, 0, 1};
}

TEST_F(Scene3DTest, KeepWorldReparentingLeavesTheWorldMatrixWhereItWas) {
  const uint32_t parent = createEntity();
  const uint32_t child = createEntity();
  setPosition(parent, 1, 2, 3);
  setEulerAngles(parent, 0, 90, 0, 0);
  setScale(parent, 2, 2, 2);
  setPosition(child, -4, 5, 6);
  const Matrix before = world(child);
  setParent(child, parent, true);
  expectNear(world(child), before);
  EXPECT_EQ(getParent(child), parent);
  setParentNull(child, true);
  expectNear(world(child), before);
  EXPECT_EQ(getParent(child), 0u);
}

TEST_F(Scene3DTest, ParentingCarriesTheSubtreeIntoTheParentsSceneAndOutOfScenes) {
  const int64_t other = createScene();
  const uint32_t anchor = createEntity();
  const uint32_t child = createEntity();
  const uint32_t grandchild = createEntity();
  setParent(grandchild, child, false);
  addEntityToScene(scene, child);
  EXPECT_TRUE(isEntityInScene(scene, grandchild));
  addEntityToScene(other, anchor);
  setParent(child, anchor, false);
  EXPECT_TRUE(isEntityInScene(other, child));
  EXPECT_TRUE(isEntityInScene(other, grandchild));
  // Adding never takes it out of the earlier scene, which answers first until it does.
  EXPECT_EQ(sceneOf(child), scene);
  removeEntityFromScene(child);
  EXPECT_EQ(sceneOf(child), other);
  // `setParentNull` leaves it in its scene; parenting under an entity of no scene takes it out.
  setParentNull(child, false);
  EXPECT_EQ(sceneOf(child), other);
  setParent(child, createEntity(), false);
  EXPECT_EQ(sceneOf(child), -1);
  EXPECT_FALSE(isEntityInScene(other, grandchild));
}

TEST_F(Scene3DTest, EulerOrdersAreTheTransposedProductsAndOrderFiveIsOrderZero) {
  const uint32_t entity = createEntity();
  const float a = 30, b = 45, c = 60;
  const Matrix rx = rotation('x', a), ry = rotation('y', b), rz = rotation('z', c);
  const std::vector<Matrix> products = {
      multiply(multiply(rx, ry, 3), rz, 3), multiply(multiply(ry, rx, 3), rz, 3),
      multiply(multiply(rz, rx, 3), ry, 3), multiply(multiply(rz, ry, 3), rx, 3),
      multiply(multiply(rx, rz, 3), ry, 3), multiply(multiply(rx, ry, 3), rz, 3)};
  for (int order = 0; order <= 5; ++order) {
    setEulerAngles(entity, a, b, c, order);
    const Matrix m = local(entity);
    for (int column = 0; column < 3; ++column) {
      for (int row = 0; row < 3; ++row) {
        // Transposed: the matrix's column is the product's row.
        EXPECT_NEAR(m[column * 4 + row], products[order][row * 3 + column], 1e-5f)
            << "order " << order;
      }
    }
  }
}

TEST_F(Scene3DTest, RotationsKeepScaleAndTranslationAndAZeroColumnStaysZero) {
  const uint32_t entity = createEntity();
  setScale(entity, 2, 3, 4);
  setPosition(entity, 7, 8, 9);
  setQuaternion(entity, 0, 0.7071068f, 0, 0.7071068f);
  const Matrix m = local(entity);
  EXPECT_NEAR(std::hypot(m[0], m[1], m[2]), 2, 1e-5f);
  EXPECT_NEAR(std::hypot(m[4], m[5], m[6]), 3, 1e-5f);
  EXPECT_NEAR(std::hypot(m[8], m[9], m[10]), 4, 1e-5f);
  EXPECT_EQ((Matrix{m[12], m[13], m[14]}), (Matrix{7, 8, 9}));
  setScale(entity, 0, 1, 1);
  const Matrix flat = local(entity);
  setScale(entity, 5, 5, 5);  // a zero column cannot be scaled back
  expectNear(local(entity), flat);
}

TEST_F(Scene3DTest, TheWorldInverseUndoesTheWorldMatrix) {
  const uint32_t parent = createEntity();
  const uint32_t child = createEntity();
  setEulerAngles(parent, 10, 20, 30, 2);
  setScale(parent, 1, 2, 3);
  setPosition(parent, 4, -5, 6);
  setParent(child, parent, false);
  setPosition(child, 1, 1, 1);
  Matrix inverse(16);
  getWorldMatrixInverse(child, inverse.data());
  expectNear(multiply(inverse, world(child), 4), {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1},
             1e-4f);
}

TEST_F(Scene3DTest, ViewRaysPointDownTheCameraAxisAndOutToTheCorners) {
  float direction[3];
  getCameraViewDirection(scene, 32, 32, direction);
  EXPECT_NEAR(direction[0], 0, 1e-6f);
  EXPECT_NEAR(direction[1], 0, 1e-6f);
  EXPECT_NEAR(direction[2], -1, 1e-6f);
  // The top left corner of a square view at 60°: tan 30° both ways before normalising.
  getCameraViewDirection(scene, 0, 0, direction);
  const float t = std::tan(30 * 3.1415927f / 180);
  const float s = 1 / std::sqrt(2 * t * t + 1);
  EXPECT_NEAR(direction[0], -t * s, 1e-5f);
  EXPECT_NEAR(direction[1], t * s, 1e-5f);
  EXPECT_NEAR(direction[2], -s, 1e-5f);
}

TEST_F(Scene3DTest, ShowingAChildUnderAHiddenParentDrawsItButItStillReadsHidden) {
  const uint32_t parent = square(-2, 0xFF0000FF);
  setVisible(parent, false);
  EXPECT_EQ(pixelAt(draw(), 32, 32), (std::vector<int>{26, 64, 145, 255}));  // the sky
  const uint32_t child = square(-1.5f, 0x00FF00FF);
  setParent(child, parent, true);
  EXPECT_EQ(pixelAt(draw(), 32, 32), (std::vector<int>{26, 64, 145, 255}));
  setVisible(child, true);
  EXPECT_EQ(pixelAt(draw(), 32, 32), (std::vector<int>{0, 255, 0, 255}));
  EXPECT_FALSE(isVisible(child));
}

TEST_F(Scene3DTest, AHiddenAncestorMoreThanTwoHundredUpIsNotSeen) {
  const uint32_t top = createEntity();
  uint32_t below = top;
  for (int depth = 0; depth < 205; ++depth) {
    const uint32_t next = createEntity();
    setParent(next, below, false);
    below = next;
  }
  setVisible(top, false);
  EXPECT_TRUE(isVisible(below));
  setVisible(getParent(getParent(below)), false);
  EXPECT_FALSE(isVisible(below));
}

TEST_F(Scene3DTest, TraverseGoesDepthFirstAndSurvivesACallbackThatDestroys) {
  const uint32_t root = createEntity();
  const uint32_t a = createEntity(), b = createEntity(), a1 = createEntity();
  setParent(a, root, false);
  setParent(b, root, false);
  setParent(a1, a, false);
  std::vector<uint32_t> seen;
  traverse(root, [&](uint32_t entity) {
    seen.push_back(entity);
    if (entity == a) destoryEntity(a);  // takes a1 with it
  });
  // Children in the transform manager's order, each followed by its own subtree; the list
  // was taken before the callback destroyed `a` and `a1`.
  ASSERT_EQ(seen.size(), 3u);
  const auto atA = std::find(seen.begin(), seen.end(), a);
  ASSERT_NE(atA, seen.end());
  ASSERT_NE(atA + 1, seen.end());
  EXPECT_EQ(atA[1], a1);
  EXPECT_NE(std::find(seen.begin(), seen.end(), b), seen.end());
  EXPECT_EQ(getChildCount(root), 1u);
  std::vector<uint32_t> leaf;
  traverse(b, [&](uint32_t entity) { leaf.push_back(entity); });
  EXPECT_TRUE(leaf.empty());
}

TEST_F(Scene3DTest, UnknownIdsLogOncePerRowAndGiveNeutralResults) {
  ::testing::internal::CaptureStdout();
  setPosition(0x7FFFFFF0, 1, 2, 3);
  setPosition(0x7FFFFFF0, 1, 2, 3);
  openScene(99);
  EXPECT_EQ(getParent(0x7FFFFFF0), 0u);
  const std::string log = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(log,
            "[creator-gl] setPosition: unknown entity 2147483632\n"
            "[creator-gl] openScene: unknown scene 99\n"
            "[creator-gl] getParent: unknown entity 2147483632\n");
  EXPECT_EQ(openSceneId(), scene);
}

}  // namespace
}  // namespace talvero::scene3d
