#pragma once

#include <string>

#include "platform/bytes.h"
#include "platform/script/script_value.h"

namespace talvero {

// A new random (version 4) UUID in its upper-case text form, "8-4-4-4-12" hex digits.
std::string makeUuidText();

// "Boundary-" and a new UUID: unlikely enough to occur in any part to need no check.
std::string makeMultipartBoundary();

// The multipart/form-data body of `entries`, a script array of [name, value, filename]
// entries. A value that is an object with a number `_id` is a file part holding the bytes of
// that `Buffers` id (none for a stale id), named by `filename` when it is a text, else
// "blob". Any other value is a text part of its string form; a missing value is empty.
// Names go out as given, unescaped.
Bytes makeMultipartBody(const ScriptValue& entries, const std::string& boundary);

}  // namespace talvero
