#include "ui/vlist_bridge.h"

#include <string>
#include <vector>

#include "style_core/style_core.h"

namespace talvero {

namespace {

// The elements of a script array; anything else is an empty list.
uint32_t lengthOf(const ScriptValue& array) {
  return array.isArray() ? array.get("length").toUInt32() : 0;
}

// Keys as texts, with the pointers the core reads; the texts live as long as this does.
struct KeyList {
  explicit KeyList(const ScriptValue& array) {
    const uint32_t length = lengthOf(array);
    texts.reserve(length);
    for (uint32_t i = 0; i < length; ++i) texts.push_back(array.at(i).toString());
    pointers.reserve(length);
    for (const std::string& text : texts) pointers.push_back(text.c_str());
  }
  KeyList(const KeyList&) = delete;
  KeyList& operator=(const KeyList&) = delete;
  int32_t count() const { return static_cast<int32_t>(pointers.size()); }

  std::vector<std::string> texts;
  std::vector<const char*> pointers;
};

std::vector<float> estimatesOf(const ScriptValue& array) {
  std::vector<float> estimates;
  const uint32_t length = lengthOf(array);
  estimates.reserve(length);
  for (uint32_t i = 0; i < length; ++i) {
    const ScriptValue element = array.at(i);
    if (element.isNumber()) estimates.push_back(static_cast<float>(element.toDouble()));
  }
  return estimates;
}

}  // namespace

void VListBridge::setKeys(YGNodeRef list, const ScriptValue& keys, const ScriptValue& estimates) {
  KeyList keyList(keys);
  const std::vector<float> heights = estimatesOf(estimates);
  if (heights.size() != keyList.pointers.size()) return;
  vlistSetKeys(list, keyList.pointers.data(), heights.data(), keyList.count());
}

void VListBridge::insertKeys(YGNodeRef list, int32_t index, const ScriptValue& keys,
                             const ScriptValue& estimates) {
  KeyList keyList(keys);
  const std::vector<float> heights = estimatesOf(estimates);
  if (keyList.pointers.empty() || heights.size() != keyList.pointers.size()) return;
  vlistInsertKeys(list, index, keyList.pointers.data(), heights.data(), keyList.count());
}

void VListBridge::removeKeys(YGNodeRef list, const ScriptValue& keys) {
  KeyList keyList(keys);
  if (keyList.pointers.empty()) return;
  vlistRemoveKeys(list, keyList.pointers.data(), keyList.count());
}

}  // namespace talvero
