#pragma once

#include <functional>
#include <optional>
#include <string>

namespace talvero::toolkit {
class Window;
}

namespace talvero::desktop {

// What is offered to the user's applications: one local file and, optionally, a text that goes
// with it.
struct ShareItems {
  std::string fileUri;
  std::optional<std::string> text;
};

// Offers the items from `window`. Nothing is reported back: the user may pick an application
// or walk away. Tests put their own recorder in its place.
using ShareBackend = std::function<void(toolkit::Window& window, const ShareItems& items)>;

// The desktop has no share sheet, so sharing is "open with": a chooser of the applications that
// take the file's type, modal for `window`; the chosen one is launched on the file. No
// application can be handed the text along with the file, so the text is shown as the
// chooser's heading, where the user sees what goes with the file.
void shareItems(toolkit::Window& window, const ShareItems& items);

// The "file://" URI of an absolute local path, escaped as URIs need.
std::string fileUriOf(const std::string& path);

}  // namespace talvero::desktop
