#include "platform/desktop/default_handler.h"

#include <gio/gio.h>

namespace talvero::desktop {

bool openWithDefaultHandler(const std::string& uri) {
  GError* error = nullptr;
  const bool opened = g_app_info_launch_default_for_uri(uri.c_str(), nullptr, &error);
  if (error != nullptr) g_error_free(error);
  return opened;
}

}  // namespace talvero::desktop
