#pragma once

#include <string>
#include <vector>

#include "platform/bytes.h"

namespace talvero {

// Finds files that ship with the runtime or the application. A bundle is a directory; a
// resource name may carry folders ("models/ship" + "glb"). Bundles registered by the host are
// searched first, in order, then the candidate bundles; the first bundle that has the
// resource ends the search.
class TalveroResources {
 public:
  static void registerBundle(const std::string& directory);

  // The path of a resource that must exist; the process stops when none has it.
  static std::string url(const std::string& name, const std::string& extension);
  // The bytes of a resource that may exist: null when no bundle has it, or when reading the
  // first bundle's file fails.
  static Bytes localAsset(const std::string& path);

  // "TalveroSDKResources.bundle" inside each base directory, then the bases themselves, each
  // directory once. The process's bases are the executable's directory and the installed
  // data directory; computed at first use.
  static std::vector<std::string> candidateBundles(const std::vector<std::string>& bases);
  static const std::vector<std::string>& candidateBundles();
  static std::vector<std::string> searchOrder();

  // "a/b.c" gives name "a/b" and extension "c"; with no extension, an empty one.
  static std::pair<std::string, std::string> splitExtension(const std::string& path);
};

}  // namespace talvero
