#include "services/user_agent.h"

#include <sys/utsname.h>

#include <cctype>
#include <vector>

namespace talvero {

std::string systemVersionOf(const std::string& kernelRelease) {
  std::vector<std::string> parts(1);
  for (const char c : kernelRelease) {
    if (std::isdigit(static_cast<unsigned char>(c))) {
      parts.back() += c;
    } else if (c == '.' && !parts.back().empty() && parts.size() < 3) {
      parts.emplace_back();
    } else {
      break;
    }
  }
  if (parts.back().empty()) parts.pop_back();
  if (parts.empty()) return kernelRelease;
  if (parts.size() == 3 && parts[2].find_first_not_of('0') == std::string::npos) parts.pop_back();
  std::string version = parts[0];
  for (size_t i = 1; i < parts.size(); ++i) version += "." + parts[i];
  return version;
}

const std::string& defaultUserAgent() {
  static const std::string agent = [] {
    utsname name{};
    const std::string version = ::uname(&name) == 0 ? systemVersionOf(name.release) : "unknown";
    return "Talvero/1.0.2 (Linux; " + version + ")";
  }();
  return agent;
}

}  // namespace talvero
