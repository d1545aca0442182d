#pragma once

#include "platform/script/export_table.h"

namespace talvero {

// What every script-facing handler is: the export table that becomes its script object in
// each context. The handler fills the table when it is constructed.
class ScriptHandler {
 public:
  const ExportTable& exports() const { return exports_; }

 protected:
  ExportTable exports_;
};

}  // namespace talvero
