#pragma once

#include "platform/script/export_table.h"

namespace talvero {

// The script objects whose operations belong to subsystems still to come: each exists from
// the engine's construction, as an empty object in every context, and gains its rows when
// its subsystem lands.
class CreatorGLHandler {
 public:
  const ExportTable& exports() const { return exports_; }

 private:
  ExportTable exports_;
};

class Creator2DHandler {
 public:
  const ExportTable& exports() const { return exports_; }

 private:
  ExportTable exports_;
};

class CreatorUIHandler {
 public:
  const ExportTable& exports() const { return exports_; }

 private:
  ExportTable exports_;
};

class CreatorCanvasHandler {
 public:
  const ExportTable& exports() const { return exports_; }

 private:
  ExportTable exports_;
};

}  // namespace talvero
