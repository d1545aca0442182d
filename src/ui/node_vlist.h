#pragma once

#include <yoga/Yoga.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "ui/node_scrollable.h"

namespace talvero {

class UIScreen;

// The view of a virtual list. The list core decides which keys are mounted and where each
// item lies; this view asks the script for the subtrees of new keys through its method
// `_syncWindow(removed, added)`, hangs each in a wrapper in the document view, and places
// the wrappers where the core says. Only the mounted window has nodes and views.
class NodeVList : public NodeScrollable {
 public:
  // One mounted item: its own native root, the wrapper placed in the document view, the view
  // of its subtree and the script description of that subtree.
  struct Item {
    YGNodeRef rootPtr = nullptr;
    std::shared_ptr<FlippedDocumentView> wrapper;
    std::shared_ptr<toolkit::View> contentView;
    ScriptValue subtreeJS;
    bool placed = false;
  };

  NodeVList(const std::string& type, YGNodeRef nodePtr, ScriptValue script, CreatorUIStore& store);

  // Starts the list in the core from its description (`_overscan`, `_startThreshold`,
  // `_endThreshold`, `_inverted`, `_keys`, `_estimates`), as a node of `owner`.
  void setUp(UIScreen& owner, const ScriptValue& description);

  // Gives the core the new viewport first, so the common update sees the window it wants.
  void applyFrame() override;
  // The document spans the view's width and the list's content height.
  void updateContentSize() override;
  void didScroll(double offset) override;

  // Places every item at its offset, sizes the document, and makes a scroll that the core
  // asked for.
  void refresh();
  // Hangs the view of a just-built item subtree into the list, in a wrapper that shows once
  // it is placed.
  void addItem(const std::string& key, YGNodeRef rootPtr, std::shared_ptr<toolkit::View> content,
               const ScriptValue& subtree);
  // Takes one item's views and nodes away and tells the core; nothing for a key not mounted.
  void unmountItem(const std::string& key);
  // Every item unmounted and the list freed in the core: the node is going away.
  void teardown();
  // Scrolls the view to an offset (negative counts as 0); the scroll then takes its usual way.
  void scrollTo(double offset);

  std::unordered_map<std::string, Item> items;
  std::weak_ptr<UIScreen> ownerScreen;
  std::optional<double> pendingScrollY;
  bool isAdjusting = false;

 private:
  void sizeDocument();
  float laidOutWidth_ = 0;  // the width the items were last laid out at
};

// The hooks of the list core, registered by the store.
void vlSyncHandler(int32_t screenId, YGNodeRef node, const char** removed, int32_t removedCount,
                   const char** added, int32_t addedCount);
void vlAdjustHandler(int32_t screenId, YGNodeRef node, float y);
void vlEdgeHandler(int32_t screenId, YGNodeRef node, bool isEnd);

// The list node of a script object's `_id`, or null.
std::shared_ptr<NodeVList> findVList(const ScriptValue& list);

}  // namespace talvero
