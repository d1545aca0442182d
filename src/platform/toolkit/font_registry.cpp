#include "platform/toolkit/font_registry.h"

#include <fontconfig/fontconfig.h>
#include <glib.h>
#include <pango/pangocairo.h>
#include <pango/pangofc-fontmap.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <set>

namespace talvero::toolkit {

namespace {

// Faces seen so far, as family|style|content hash.
std::set<std::string>& knownFaces() {
  static std::set<std::string> faces;
  return faces;
}

// Files written for fonts given as bytes: fontconfig and FreeType read them by path for as long
// as the process lives, and they go when it ends.
struct OwnedFiles {
  std::vector<std::string> paths;
  ~OwnedFiles() {
    for (const std::string& path : paths) unlink(path.c_str());
  }
};

OwnedFiles& ownedFiles() {
  static OwnedFiles files;
  return files;
}

std::string contentHash(const std::vector<uint8_t>& bytes) {
  char* digest = g_compute_checksum_for_data(G_CHECKSUM_SHA256, bytes.data(), bytes.size());
  std::string hash = digest;
  g_free(digest);
  return hash;
}

struct Face {
  std::vector<std::string> families;  // the name that text asks for first
  int weight = 400;
  bool italic = false;
  std::string key;
};

// The faces that fontconfig finds in the file; empty when it holds no font it can read.
std::vector<Face> facesOf(const std::string& path, const std::string& hash) {
  std::vector<Face> faces;
  FcFontSet* set = FcFontSetCreate();
  FcFreeTypeQueryAll(reinterpret_cast<const FcChar8*>(path.c_str()), -1, nullptr, nullptr, set);
  for (int i = 0; i < set->nfont; ++i) {
    Face face;
    FcChar8* family = nullptr;
    for (int n = 0; FcPatternGetString(set->fonts[i], FC_FAMILY, n, &family) == FcResultMatch; ++n)
      face.families.emplace_back(reinterpret_cast<const char*>(family));
    if (face.families.empty()) continue;
    int weight = FC_WEIGHT_REGULAR;
    if (FcPatternGetInteger(set->fonts[i], FC_WEIGHT, 0, &weight) == FcResultMatch)
      face.weight = std::clamp(FcWeightToOpenType(weight), 100, 900);
    int slant = FC_SLANT_ROMAN;
    FcPatternGetInteger(set->fonts[i], FC_SLANT, 0, &slant);
    face.italic = slant != FC_SLANT_ROMAN;
    FcChar8* style = nullptr;
    FcPatternGetString(set->fonts[i], FC_STYLE, 0, &style);
    face.key = face.families.front() + "|" + (style ? reinterpret_cast<const char*>(style) : "") +
               "|" + hash;
    faces.push_back(std::move(face));
  }
  FcFontSetDestroy(set);
  return faces;
}

FontRegistration failure(std::string reason) {
  FontRegistration result;
  result.reason = std::move(reason);
  return result;
}

// `path` holds `bytes`; `owned` says whether the file is ours to delete when it is not used.
FontRegistration registerFaces(const std::string& path, const std::vector<uint8_t>& bytes,
                               bool owned) {
  auto discard = [&] {
    if (owned) unlink(path.c_str());
  };
  const std::vector<Face> faces = facesOf(path, contentHash(bytes));
  if (faces.empty()) {
    discard();
    return failure("no font face could be read");
  }
  FontRegistration result;
  bool allKnown = true;
  for (const Face& face : faces) {
    if (!knownFaces().contains(face.key)) allKnown = false;
    result.faces.push_back(RegisteredFace{face.families.front(), face.weight, face.italic});
    for (const std::string& family : face.families) {
      if (std::find(result.families.begin(), result.families.end(), family) ==
          result.families.end())
        result.families.push_back(family);
    }
  }
  if (allKnown) {
    discard();
    result.status = FontRegistration::Status::AlreadyRegistered;
    return result;
  }
  if (!FcConfigAppFontAddFile(FcConfigGetCurrent(),
                              reinterpret_cast<const FcChar8*>(path.c_str()))) {
    discard();
    return failure("the font could not be added to the font configuration");
  }
  for (const Face& face : faces) knownFaces().insert(face.key);
  if (owned) ownedFiles().paths.push_back(path);
  // Pango keeps its own list of families: make it read the configuration again.
  PangoFontMap* map = pango_cairo_font_map_get_default();
  if (PANGO_IS_FC_FONT_MAP(map)) pango_fc_font_map_config_changed(PANGO_FC_FONT_MAP(map));
  result.status = FontRegistration::Status::Registered;
  return result;
}

}  // namespace

FontRegistration registerFontFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return failure("cannot read " + path);
  const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(file),
                                   std::istreambuf_iterator<char>()};
  return registerFaces(path, bytes, false);
}

FontRegistration registerFontData(const std::vector<uint8_t>& bytes) {
  if (bytes.empty()) return failure("no font data");
  // fontconfig reads fonts from files only.
  char* path = nullptr;
  GError* error = nullptr;
  const int fd = g_file_open_tmp("talvero-font-XXXXXX", &path, &error);
  if (fd < 0) {
    FontRegistration result = failure(std::string("cannot write the font: ") + error->message);
    g_error_free(error);
    return result;
  }
  size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t n = write(fd, bytes.data() + written, bytes.size() - written);
    if (n <= 0) break;
    written += static_cast<size_t>(n);
  }
  close(fd);
  const std::string file = path;
  g_free(path);
  if (written < bytes.size()) {
    unlink(file.c_str());
    return failure("cannot write the font to " + file);
  }
  return registerFaces(file, bytes, true);
}

}  // namespace talvero::toolkit
