#include "scene3d/entity_graph.h"

#include <filament/TransformManager.h>

#include "scene3d/engine_state.h"

namespace talvero::scene3d {

std::vector<uint32_t> childrenOf(uint32_t entity) {
  std::vector<uint32_t> children;
  filament::Engine* engine = state().engine;
  if (!engine || entity == 0) return children;
  auto& transforms = engine->getTransformManager();
  const auto instance = transforms.getInstance(entityOf(entity));
  if (!instance) return children;
  std::vector<utils::Entity> found(transforms.getChildCount(instance));
  found.resize(transforms.getChildren(instance, found.data(), found.size()));
  for (const utils::Entity child : found) children.push_back(child.getId());
  return children;
}

std::vector<uint32_t> descendants(uint32_t entity) {
  std::vector<uint32_t> order;
  std::vector<uint32_t> pending = childrenOf(entity);
  // A stack in reverse, so that children come out in their own order, each before its own.
  std::vector<uint32_t> stack(pending.rbegin(), pending.rend());
  while (!stack.empty()) {
    const uint32_t next = stack.back();
    stack.pop_back();
    order.push_back(next);
    const std::vector<uint32_t> children = childrenOf(next);
    stack.insert(stack.end(), children.rbegin(), children.rend());
  }
  return order;
}

}  // namespace talvero::scene3d
