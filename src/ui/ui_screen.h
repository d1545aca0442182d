#pragma once

#include <yoga/Yoga.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

#include "platform/script/script_value.h"
#include "ui/node.h"

namespace talvero {

class CreatorUIStore;
class NodeVList;

// A view change under a live parent, made at the next flush.
struct MountInsert {
  std::shared_ptr<toolkit::View> parent;
  std::shared_ptr<toolkit::View> child;
  int64_t index = 0;
};
struct MountRemove {
  std::shared_ptr<toolkit::View> view;
};
using MountOp = std::variant<MountInsert, MountRemove>;

// One tree of nodes: the script's description, the native layout nodes made from it and a
// view per node. The native tree changes inside the script's call; views under a live parent
// change in one batch at the flush, which also runs the one layout pass. Main thread only.
class UIScreen : public std::enable_shared_from_this<UIScreen> {
 public:
  explicit UIScreen(CreatorUIStore& store, bool isWidget = false);
  ~UIScreen();
  UIScreen(const UIScreen&) = delete;
  UIScreen& operator=(const UIScreen&) = delete;

  void build(int32_t id, const ScriptValue& node);
  std::shared_ptr<NodeProtocol> addNodeRecursive(const ScriptValue& node, YGNodeRef parent,
                                                 uint32_t index);
  void addNodesToParent(NodeProtocol& parent, const ScriptValue& children, bool immediately);
  void insertNode(int64_t index, YGNodeRef parent, const ScriptValue& node);
  void removeNode(YGNodeRef parent, const ScriptValue& node);
  void removeAllChildren(YGNodeRef parent, const ScriptValue& children);
  void removeNodeRecursive(const ScriptValue& node);
  void removeSelf();

  void scheduleFlush();
  void flush();
  void recalc();
  void calculateLayout(float width, float height);
  void invokeOnOpen();
  void invokeOnClose();

  // Builds the subtree of one virtual-list item on a root of its own, hangs its view into the
  // list and lays it out at the list's width.
  void vlistMount(NodeVList& list, const std::string& key, const ScriptValue& subtree);
  // Applies the frames of a script subtree's nodes, which no pass of the screen lays out.
  void applyFramesForSubtree(const ScriptValue& node);

  // The node of an id, or null.
  NodeProtocol* node(uint64_t id) const;

  std::unordered_map<uint64_t, std::shared_ptr<NodeProtocol>> nodes;
  std::shared_ptr<NodeProtocol> rootNode;
  std::optional<int32_t> screenId;
  YGNodeRef rootNodePtr = nullptr;
  bool show = false;
  bool isWidget = false;
  ScriptValue nodeJS;
  CreatorUIStore& creatorUIStore;
  std::vector<MountOp> pendingOps;
  float cachedWidth = 0;
  float cachedHeight = 0;
  bool flushScheduled = false;

 private:
  void applyFrames();
  // Takes one child out of `nodes` and the native tree, queueing its view's removal.
  void detachChild(YGNodeRef parent, const ScriptValue& node);
};

// The id a script object carries in `_id`; 0 when it has none.
uint64_t scriptNodeId(const ScriptValue& node);

}  // namespace talvero
