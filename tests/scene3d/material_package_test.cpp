#include "scene3d/material_package.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace talvero::scene3d {
namespace {

std::vector<uint8_t> readPackage(const std::string& name) {
  std::ifstream in(std::string(TALVERO_TEST_MATERIALS) + "/" + name, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::string check(const std::vector<uint8_t>& bytes) {
  return checkMaterialPackage(bytes.data(), bytes.size());
}

TEST(MaterialPackage, AcceptsADesktopOpenGLPackageOfThisVersion) {
  const std::vector<uint8_t> package = readPackage("unlit_color.filamat");
  ASSERT_GT(package.size(), 1000u);
  EXPECT_EQ(check(package), "");
}

TEST(MaterialPackage, RefusesBytesThatAreNoPackage) {
  EXPECT_EQ(checkMaterialPackage(nullptr, 0), "too short to be a material package");
  EXPECT_EQ(check(std::vector<uint8_t>(11, 0)), "too short to be a material package");
  std::vector<uint8_t> garbage(4096);
  for (size_t i = 0; i < garbage.size(); ++i) garbage[i] = static_cast<uint8_t>(i * 37 + 11);
  EXPECT_NE(check(garbage), "");
}

TEST(MaterialPackage, RefusesEveryTruncationOfAGoodPackage) {
  const std::vector<uint8_t> package = readPackage("unlit_color.filamat");
  ASSERT_FALSE(package.empty());
  for (size_t size : {size_t{12}, size_t{100}, package.size() / 2, package.size() - 1}) {
    const std::vector<uint8_t> cut(package.begin(), package.begin() + static_cast<long>(size));
    EXPECT_NE(check(cut), "") << size << " bytes";
  }
}

TEST(MaterialPackage, RefusesPackagesForOtherTargets) {
  EXPECT_EQ(check(readPackage("unlit_color_mobile.filamat")), "no desktop shaders");
  EXPECT_EQ(check(readPackage("unlit_color_vulkan.filamat")), "no OpenGL shaders");
}

TEST(MaterialPackage, RefusesAnotherMaterialVersion) {
  std::vector<uint8_t> package = readPackage("unlit_color.filamat");
  // The version chunk: its tag, a 4-byte size, then the version itself.
  const std::string tag = "SREV_TAM";  // "MAT_VERS" as the little-endian 64-bit tag lies
  auto at = std::search(package.begin(), package.end(), tag.begin(), tag.end());
  ASSERT_NE(at, package.end());
  at[12] = static_cast<uint8_t>(at[12] + 1);
  EXPECT_EQ(check(package).rfind("material version ", 0), 0u) << check(package);
}

// The renderer decodes each shader as it first draws it, trusting the package: a shader that
// points outside it, or at a line the dictionary lacks, would crash it then.
TEST(MaterialPackage, RefusesShadersThatPointOutsideThePackageOrItsDictionary) {
  const std::vector<uint8_t> good = readPackage("unlit_color.filamat");
  const std::string tag = "LSLG_TAM";  // "MAT_GLSL"
  const auto at = std::search(good.begin(), good.end(), tag.begin(), tag.end());
  ASSERT_NE(at, good.end());
  const size_t index = static_cast<size_t>(at - good.begin()) + 12;  // past the tag and size
  const size_t firstOffset = index + 8 + 3;  // past the count and one entry's three bytes
  uint32_t offset = 0;
  std::memcpy(&offset, &good[firstOffset], sizeof offset);

  std::vector<uint8_t> outside = good;
  const uint32_t far = 0x7FFFFFF0;
  std::memcpy(&outside[firstOffset], &far, sizeof far);
  EXPECT_EQ(check(outside), "a shader lies outside the package");

  std::vector<uint8_t> unknownLine = good;
  const size_t firstLine = index + offset + 8;  // past the shader's size and line count
  unknownLine[firstLine] = 0xFF;
  unknownLine[firstLine + 1] = 0xFF;
  EXPECT_EQ(check(unknownLine), "a shader line is not in the dictionary");
}

}  // namespace
}  // namespace talvero::scene3d
