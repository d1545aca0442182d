#pragma once

#include <string_view>

namespace talvero::net {

// Whether `text` is an absolute URL the network layer can be handed: a scheme, then a
// well-formed rest with no spaces or stray characters. Says nothing of reachability.
bool isParsableUrl(std::string_view text);

}  // namespace talvero::net
