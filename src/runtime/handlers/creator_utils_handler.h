#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/bytes.h"
#include "platform/script/export_table.h"
#include "runtime/animation_manager.h"

namespace talvero {

// `_creatorUtils`: the door to everything that is neither scene nor UI.
class CreatorUtilsHandler {
 public:
  using OpenProject = std::function<void(const std::string& source, const ScriptValue& reject)>;
  using FetchLocal = std::function<Bytes(const std::string& path)>;

  explicit CreatorUtilsHandler(std::shared_ptr<AnimationManager> animationManager);

  const ExportTable& exports() const { return exports_; }

  OpenProject openProject;
  std::string language = "en";
  std::string platform = "linux";
  FetchLocal onFetchLocal;

 private:
  std::shared_ptr<AnimationManager> animationManager_;
  ExportTable exports_;
};

}  // namespace talvero
