#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/bytes.h"
#include "platform/desktop/default_handler.h"
#include "platform/desktop/file_chooser.h"
#include "platform/desktop/settings_application.h"
#include "platform/desktop/share.h"
#include "platform/script/script_value.h"

namespace talvero {

namespace toolkit {
class Window;
}

// The desktop as the system utilities reach it. Each member starts as the desktop's own; tests
// put recorders in their place.
struct DesktopAccess {
  std::function<bool(const std::string& uri)> openUri = &desktop::openWithDefaultHandler;
  std::function<bool()> openSettings = &desktop::openSettingsApplication;
  desktop::FileChooserBackend chooseFiles = &desktop::chooseFiles;
  desktop::ShareBackend share = &desktop::shareItems;
};

// A chosen file as the script receives it. `type` stays on the native side.
struct FileResponse {
  std::string name;  // the last path component
  int64_t size = 0;
  std::string type;  // MIME type by extension, or "application/octet-stream"
  Bytes data;
};

// Reads the file at `path`; one that cannot be read (gone since it was chosen, a folder, no
// permission) gives empty bytes and size 0.
FileResponse readFileResponse(const std::string& path);

// The accept argument of the file picker as texts: a text is a list of one, an array of texts
// is that list, and anything else, an array holding any other value included, is no list.
std::vector<std::string> acceptListOf(const ScriptValue& accept);

// A fresh "share-<UUID>.png", the UUID random (version 4) in upper case.
std::string shareFileName();

// The small system services of `_creatorUtils`: the project switch, opening URLs and the
// settings, the file picker, sharing and the display's pixel ratio. Main thread only; every
// operation but `openAppSettings` does its work from the main queue, after the calling script
// has returned.
class SystemUtilities {
 public:
  using OpenProject = std::function<void(const std::string& source, const ScriptValue& reject)>;

  // `openProject` is the handler's slot, read when a switch happens: it is filled after the
  // handler is built and must outlive this object.
  explicit SystemUtilities(const OpenProject& openProject, DesktopAccess desktop = {});

  // The host's main window, or null while there is none: pickers and sharing belong to it and
  // `pixelRatio` reads its scale. Until the host fills it there is no window.
  std::function<toolkit::Window*()> mainWindow;

  // Replaces the program with the UTF-8 source in Buffers under `id`; `reject` receives the
  // new project's top-level exception. A missing id or bytes that are not UTF-8 are logged
  // as "[Buffers] run: stale id <id>" and `reject` is not called.
  void run(int64_t id, ScriptValue reject);
  // Hands a parsable URL to the desktop's default handler; anything else is dropped silently.
  void openUrl(const std::string& url);
  // Starts the desktop's settings application at once; logs when the desktop has none.
  void openAppSettings();
  // Shows the file chooser and calls `onComplete` with [[id, name, size], ...], each id a new
  // Buffers entry of the file's bytes. Cancelled: no argument at all for a single file, [] for
  // several.
  void openFilePicker(ScriptValue onComplete, bool multiple, std::vector<std::string> accept);
  // Writes the bytes under `id` to a new PNG file in the temporary folder and offers it, with
  // `text` unless that is empty or "undefined", from the main window; without one nothing is
  // shown. A missing id is logged as "[Buffers] shareMedia: stale id <id>".
  void shareMedia(int64_t id, const std::string& text);
  // The main window's scale factor, read at each call; 2 without a window.
  double pixelRatio() const;

 private:
  toolkit::Window* window() const;

  const OpenProject& openProject_;
  DesktopAccess desktop_;
  // Queued work checks it, so that work queued before this object died does nothing.
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace talvero
