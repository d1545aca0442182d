#pragma once

#include <string>
#include <vector>

namespace talvero::desktop {

// The content types that a script's accept texts allow, in their order and without repeats,
// as MIME types a file chooser filters on ("image/*" may stand for a whole family):
// - "image/*", "video/*", "audio/*" and "text/*" allow that whole family;
// - a MIME type the system knows allows that type and its subtypes;
// - else the text without leading and trailing dots, as a file name extension the system
//   knows ("png", ".png", "tar.gz"), allows the type of files so named;
// - anything else is skipped.
// Directories are never allowed. An empty result means that every file may be chosen.
std::vector<std::string> contentTypesForAccept(const std::vector<std::string>& accept);

// The MIME type of a file of that name, by its extension alone, or "application/octet-stream".
std::string mimeTypeForFileName(const std::string& name);

}  // namespace talvero::desktop
