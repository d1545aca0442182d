#pragma once

// Shared between the files of this folder only: the one libsoup session of the process.
// Nothing outside src/platform/net includes this.

#include <libsoup/soup.h>

namespace talvero::net {

// The process-wide session, made on first use on the main thread and never released: it
// keeps its connections alive between requests to the same host. It runs on the main context.
SoupSession* sharedSession();

}  // namespace talvero::net
