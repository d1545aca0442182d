#include "ui/relayout.h"

#include "style_core/style_core.h"
#include "ui/node.h"
#include "ui/ui_store.h"

namespace talvero {

void relayoutMeasuredNode(NodeProtocol& node, bool hasMeasure) {
  if (hasMeasure && node.show) markNodeDirty(node.nodePtr());
  std::shared_ptr<UIScreen> screen = CreatorUIStore::getNodeScreen(node.nodeId());
  if (!screen) screen = node.store().currentScreen;
  if (screen) screen->scheduleFlush();
}

}  // namespace talvero
