#pragma once

#include <yoga/Yoga.h>

#include <cstdint>

#include "platform/script/script_value.h"

namespace talvero {

// The script's arrays of keys and estimates as the parallel arrays that the list core takes.
// Keys are read as texts; estimates that are no numbers are dropped, so that their array no
// longer matches the keys and the change is refused.
class VListBridge {
 public:
  // Only with as many estimates as keys; no keys empty the list.
  static void setKeys(YGNodeRef list, const ScriptValue& keys, const ScriptValue& estimates);
  // Only with at least one key and as many estimates as keys.
  static void insertKeys(YGNodeRef list, int32_t index, const ScriptValue& keys,
                         const ScriptValue& estimates);
  // Only with at least one key.
  static void removeKeys(YGNodeRef list, const ScriptValue& keys);
};

}  // namespace talvero
