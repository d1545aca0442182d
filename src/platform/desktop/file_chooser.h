#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace talvero::toolkit {
class Window;
}

namespace talvero::desktop {

// What the user is asked to choose: existing files only, one or several, of the given content
// types (MIME types as `contentTypesForAccept` gives them); no types means any file.
struct FileChoice {
  bool multiple = false;
  std::vector<std::string> contentTypes;
};

// The chosen files' paths in the chooser's order, or nothing when the user cancelled.
using FileChoiceDone = std::function<void(std::optional<std::vector<std::string>> paths)>;

// Asks the user for files, modal for `parent` when there is one, and calls `done` exactly once
// on the main thread when the chooser ends. Tests put their own answer in its place.
using FileChooserBackend =
    std::function<void(toolkit::Window* parent, const FileChoice& choice, FileChoiceDone done)>;

// The desktop's own file chooser (the portal's where the desktop has one). Files that have no
// local path (remote locations) are left out of the answer. Without a display it answers
// "cancelled" at once.
void chooseFiles(toolkit::Window* parent, const FileChoice& choice, FileChoiceDone done);

}  // namespace talvero::desktop
