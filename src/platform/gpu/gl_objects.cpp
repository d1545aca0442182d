#include "platform/gpu/gl_objects.h"

namespace talvero::gpu {

ObjectTables& objects() {
  static ObjectTables tables;
  return tables;
}

TargetRecord* findTarget(Target target) {
  if (!hasDevice()) return nullptr;
  return objects().targets.find(target.id);
}

}  // namespace talvero::gpu
