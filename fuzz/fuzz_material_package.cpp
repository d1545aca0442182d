#include <cstddef>
#include <cstdint>

#include "scene3d/material_package.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  talvero::scene3d::checkMaterialPackage(data, size);
  return 0;
}
