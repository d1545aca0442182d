#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "platform/script/script_value.h"

namespace talvero {

class NodeVList;

// What `_creatorUI` does to a node named by its id (the number in a script node's `_id`). An id
// that names nothing, 0 included, makes each of them do nothing. Main thread only.

// One style property in the default layer: a number or a text as it is, a boolean as 1 or 0,
// anything else not applied; the node's screen flushes in every case.
void updateStyle(uint64_t id, const std::string& key, const ScriptValue& value);
// Every property of a plain object, then one flush.
void mergeStyle(uint64_t id, const ScriptValue& object);
// Switches the class layer "$name" on or off, through the node's transition when it has one.
void setClass(uint64_t id, const std::string& name, bool enabled);
// A content change, always on a later turn of the main queue: a script that reads the view
// in the same turn sees the old content.
void updateNode(uint64_t id, const std::string& key, const ScriptValue& value);
// The crop of an image node's base image, always on a later turn of the main queue; other
// nodes ignore it.
void setSourceRect(uint64_t id, double x, double y, double width, double height);
// Replaces the children `oldChildren` of the node by `newChildren`.
void setContent(uint64_t id, const ScriptValue& oldChildren, const ScriptValue& newChildren);
// Inserts a script node under the node `parentId` at `index`, or takes one away from it.
void insertChildNode(uint64_t parentId, int64_t index, const ScriptValue& node);
void removeChildNode(uint64_t parentId, const ScriptValue& node);

// Work on the virtual list named by a script object, at once on the main thread, else queued
// to it; nothing when the object names no list.
void withList(const ScriptValue& list, std::function<void(NodeVList&)> work);
// The scroll commands of a list: "scrollTo" an offset, "scrollToKey" the top of an item,
// "scrollToEnd" the content height. An unknown key or name does nothing.
void listCommand(const ScriptValue& target, const ScriptValue& name, const ScriptValue& argument);

}  // namespace talvero
