#include "platform/net/soup_session.h"

namespace talvero::net {

SoupSession* sharedSession() {
  // No user agent of the session's own: each request carries the one its caller chose.
  static SoupSession* session = soup_session_new_with_options("user-agent", nullptr, nullptr);
  return session;
}

}  // namespace talvero::net
