#include "platform/net/url.h"

#include <glib.h>

#include <string>

namespace talvero::net {

bool isParsableUrl(std::string_view text) {
  const std::string owned(text);
  if (owned.empty() || owned.find_first_of(" \t\r\n") != std::string::npos) return false;
  return g_uri_is_valid(owned.c_str(), G_URI_FLAGS_NONE, nullptr);
}

}  // namespace talvero::net
