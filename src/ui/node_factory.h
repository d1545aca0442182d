#pragma once

#include <memory>
#include <string>

#include "ui/node.h"

namespace talvero {

// Whether the layout core asks nodes of this kind for their size.
bool isMeasuredKind(const std::string& type);

// The node object of a kind, over an existing native node; kinds without a class of their own
// are plain containers.
std::shared_ptr<NodeProtocol> makeNodeOfKind(const std::string& type, bool scrollable,
                                             YGNodeRef nodePtr, const ScriptValue& script,
                                             CreatorUIStore& store);

}  // namespace talvero
