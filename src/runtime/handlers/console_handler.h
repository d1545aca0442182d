#pragma once

#include "platform/script/export_table.h"

namespace talvero {

// The global `console`: `log`, `info` and `error` alike write their first argument's text
// as one line on the standard output; later arguments are not looked at.
class ConsoleHandler {
 public:
  ConsoleHandler();
  const ExportTable& exports() const { return exports_; }

 private:
  ExportTable exports_;
};

}  // namespace talvero
