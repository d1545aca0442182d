#pragma once

#include <functional>
#include <string>

#include "platform/script/export_table.h"
#include "services/system_utilities.h"

namespace talvero {

// The rows of `_creatorUtils` that `SystemUtilities` serves, in groups that stand apart in the
// table. Each row keeps a reference to `utilities`, which must outlive the table.

// `language`, `platform` and `pixelRatio`, read-only properties read at each access, then
// `setPreciseTouch`, which pointer input here has no use for.
void addPlatformPropertyRows(ExportTable& exports, SystemUtilities& utilities,
                             std::function<std::string()> language,
                             std::function<std::string()> platform);
// `openFilePicker(onComplete, ignored, multiple, accept)`, then `run(id, reject)`.
void addPickerAndRunRows(ExportTable& exports, SystemUtilities& utilities);
// `openAppSettings()`, then `openUrl(url, ignored)`.
void addSystemOpenRows(ExportTable& exports, SystemUtilities& utilities);
// `shareMedia(id, text)`.
void addShareRow(ExportTable& exports, SystemUtilities& utilities);

}  // namespace talvero
