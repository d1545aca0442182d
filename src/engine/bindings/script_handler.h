#pragma once

#include <string>
#include <utility>

#include "engine/engine_module.h"
#include "platform/script/export_table.h"

namespace talvero {

// A script global backed by one export table: every context gets its own object of the
// table's operations under `globalName`. The handler fills the table when it is constructed;
// one that leaves nothing running in a context keeps the empty `release`.
class ScriptHandler : public EngineModule {
 public:
  explicit ScriptHandler(std::string globalName) : globalName_(std::move(globalName)) {}

  const ExportTable& exports() const { return exports_; }
  const std::string& globalName() const { return globalName_; }

  void install(const ScriptContext& context) override {
    context.setGlobal(globalName_, exports_.instantiate(context));
  }
  void release(const ScriptContext&) override {}

 protected:
  ExportTable exports_;

 private:
  std::string globalName_;
};

}  // namespace talvero
