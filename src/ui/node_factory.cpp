#include "ui/node_factory.h"

#include <set>

#include "runtime/log.h"
#include "ui/node_image.h"
#include "ui/node_input.h"
#include "ui/node_scrollable.h"
#include "ui/node_text.h"
#include "ui/node_views.h"
#include "ui/node_vlist.h"

namespace talvero {

namespace {

// Kinds whose node classes are still to be built: they stand as plain containers meanwhile,
// and say so once per kind.
void warnUnbuiltKind(const std::string& type) {
  static std::set<std::string> warned;
  if (warned.insert(type).second) {
    logLine("[WARN] node type \"" + type + "\" is not built yet; shown as a plain container");
  }
}

}  // namespace

bool isMeasuredKind(const std::string& type) {
  // Videos are measured too once their class exists; as plain containers they are laid out
  // like any other.
  return type == "text" || type == "input" || type == "textarea" || type == "image";
}

std::shared_ptr<NodeProtocol> makeNodeOfKind(const std::string& type, bool scrollable,
                                             YGNodeRef nodePtr, const ScriptValue& script,
                                             CreatorUIStore& store) {
  if (type == "text") return std::make_shared<NodeText>(type, nodePtr, script, store);
  if (type == "input") return std::make_shared<NodeInput>(type, nodePtr, script, store);
  if (type == "textarea") return std::make_shared<NodeTextArea>(type, nodePtr, script, store);
  if (type == "button") return std::make_shared<NodeButton>(type, nodePtr, script, store);
  if (type == "widget") return std::make_shared<NodeWidget>(type, nodePtr, script, store);
  if (type == "screen") {
    if (scrollable) return std::make_shared<NodeScrollable>(type, nodePtr, script, store);
    return std::make_shared<NodeScreen>(type, nodePtr, script, store);
  }
  if (type == "scrollable") return std::make_shared<NodeScrollable>(type, nodePtr, script, store);
  if (type == "vlist") return std::make_shared<NodeVList>(type, nodePtr, script, store);
  if (type == "image") return std::make_shared<NodeImage>(type, nodePtr, script, store);
  if (type == "video") warnUnbuiltKind(type);
  return std::make_shared<Node>(type, nodePtr, script, store);
}

}  // namespace talvero
