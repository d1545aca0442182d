#pragma once

#include <string>

namespace talvero::desktop {

// Hands `uri` to the desktop's default handler for its scheme (a browser, a mail client, a
// file manager). False, with nothing shown, when the desktop has none or refuses it.
bool openWithDefaultHandler(const std::string& uri);

}  // namespace talvero::desktop
