#include "services/system_utility_rows.h"

#include <utility>

namespace talvero {

void addPlatformPropertyRows(ExportTable& exports, SystemUtilities& utilities,
                             std::function<std::string()> language,
                             std::function<std::string()> platform) {
  SystemUtilities* system = &utilities;
  exports.addProperty("language", [language = std::move(language)] { return language(); })
      .addProperty("platform", [platform = std::move(platform)] { return platform(); })
      .addProperty("pixelRatio", [system] { return system->pixelRatio(); })
      .add("setPreciseTouch", [](bool) {});
}

void addPickerAndRunRows(ExportTable& exports, SystemUtilities& utilities) {
  SystemUtilities* system = &utilities;
  exports
      .add("openFilePicker",
           [system](ScriptValue onComplete, ScriptValue, bool multiple, ScriptValue accept) {
             system->openFilePicker(std::move(onComplete), multiple, acceptListOf(accept));
           })
      .add("run", [system](int64_t id, ScriptValue reject) { system->run(id, std::move(reject)); });
}

void addSystemOpenRows(ExportTable& exports, SystemUtilities& utilities) {
  SystemUtilities* system = &utilities;
  exports.add("openAppSettings", [system] { system->openAppSettings(); })
      .add("openUrl", [system](std::string url, bool) { system->openUrl(url); });
}

void addShareRow(ExportTable& exports, SystemUtilities& utilities) {
  SystemUtilities* system = &utilities;
  exports.add("shareMedia",
              [system](int64_t id, std::string text) { system->shareMedia(id, text); });
}

}  // namespace talvero
