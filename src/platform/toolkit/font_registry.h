#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace talvero::toolkit {

// One face of a registered file, as a font asks for it: its first family name, its weight from
// 100 to 900 in the CSS scale (weights between the named steps, such as the 380 of a "Book"
// face, are kept) and whether it slants (italic or oblique).
struct RegisteredFace {
  std::string family;
  int weight = 400;
  bool italic = false;

  bool operator==(const RegisteredFace&) const = default;
};

struct FontRegistration {
  enum class Status { Registered, AlreadyRegistered, Failed };
  Status status = Status::Failed;
  // The families of the faces in the file, for the first two statuses; a face may give several
  // names ("DejaVu Serif" and "DejaVu Serif Condensed"), the one text asks for first.
  std::vector<std::string> families;
  // The faces of the file in its own order, for the first two statuses.
  std::vector<RegisteredFace> faces;
  // Why it failed, for a person to read.
  std::string reason;
};

// Makes the faces of a font file available to every font and text view of the process, for the
// life of the process. A face counts as the same when its family, style and file content match,
// wherever the file lies. Main thread.
FontRegistration registerFontFile(const std::string& path);
// The same for the bytes of a font file, kept in a private temporary file.
FontRegistration registerFontData(const std::vector<uint8_t>& bytes);

}  // namespace talvero::toolkit
