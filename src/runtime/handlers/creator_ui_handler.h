#pragma once

#include "runtime/handlers/script_handler.h"

namespace talvero {

class CreatorUIStore;

// `_creatorUI`: what a script can do to the native UI tree. Each operation converts its
// arguments and calls the store or the screen of the node named by its `_id`.
class CreatorUIHandler : public ScriptHandler {
 public:
  explicit CreatorUIHandler(CreatorUIStore& store);

  CreatorUIStore& creatorUIStore;
};

}  // namespace talvero
