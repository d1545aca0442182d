#pragma once

#include "engine/bindings/script_handler.h"

namespace talvero {

class CreatorUIStore;

// `_creatorUI`: what a script can do to the native UI tree. Each operation converts its
// arguments and calls the store or the screen of the node named by its `_id`. A retired
// context's touch and resize callbacks go with it.
class CreatorUIHandler : public ScriptHandler {
 public:
  explicit CreatorUIHandler(CreatorUIStore& store);

  void release(const ScriptContext& context) override;

  CreatorUIStore& creatorUIStore;
};

}  // namespace talvero
