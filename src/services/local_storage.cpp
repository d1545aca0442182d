#include "services/local_storage.h"

#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <system_error>
#include <utility>

#include "runtime/log.h"

namespace talvero {
namespace {

namespace fs = std::filesystem;

std::string errorText(int error) {
  return std::generic_category().message(error);
}

// The whole file, or the errno of the failure.
int readWholeFile(const fs::path& file, std::string& out) {
  const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return errno;
  char chunk[65536];
  for (;;) {
    const ssize_t count = ::read(fd, chunk, sizeof chunk);
    if (count == 0) break;
    if (count < 0) {
      if (errno == EINTR) continue;
      const int error = errno;
      ::close(fd);
      return error;
    }
    out.append(chunk, static_cast<size_t>(count));
  }
  ::close(fd);
  return 0;
}

bool writeAll(int fd, const std::string& content) {
  size_t written = 0;
  while (written < content.size()) {
    const ssize_t count = ::write(fd, content.data() + written, content.size() - written);
    if (count < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    written += static_cast<size_t>(count);
  }
  return true;
}

// Replaces `file` whole: a reader, or the file after a crash or power loss, holds either the
// old content or the new, never a mix or a cut. The result says which step failed, if any.
std::string replaceFile(const fs::path& file, const std::string& content) {
  const fs::path folder = file.parent_path();
  std::string temporary = (folder / ("." + file.filename().string() + ".XXXXXX")).string();
  const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
  if (fd < 0)
    return "cannot create a temporary file in " + folder.string() + ": " + errorText(errno);
  std::string error;
  if (!writeAll(fd, content)) {
    error = "cannot write " + temporary + ": " + errorText(errno);
  } else if (::fsync(fd) != 0) {
    error = "cannot flush " + temporary + ": " + errorText(errno);
  }
  if (::close(fd) != 0 && error.empty())
    error = "cannot close " + temporary + ": " + errorText(errno);
  if (error.empty() && ::rename(temporary.c_str(), file.c_str()) != 0)
    error = "cannot rename " + temporary + " to " + file.string() + ": " + errorText(errno);
  if (!error.empty()) {
    ::unlink(temporary.c_str());
    return error;
  }
  // The rename itself lasts through a power loss only once the folder is flushed.
  const int folderFd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folderFd < 0 || ::fsync(folderFd) != 0)
    error = "cannot flush the folder " + folder.string() + ": " + errorText(errno);
  if (folderFd >= 0) ::close(folderFd);
  return error;
}

// The errno of a failure, EEXIST when `to` exists already.
int renameWithoutReplacing(const fs::path& from, const fs::path& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  // A file system without the flag: the small race left here needs two loaders at once.
  std::error_code ignored;
  if (fs::exists(to, ignored)) return EEXIST;
  return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

std::string utcStamp() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  ::gmtime_r(&now, &parts);
  char text[32];
  std::strftime(text, sizeof text, "%Y%m%dT%H%M%SZ", &parts);
  return text;
}

// Keeps a file we cannot use beside its place, so that the next save does not destroy what a
// person may still want to recover.
void moveAside(const fs::path& file, const std::string& problem, const std::string& projectId) {
  const std::string stem = file.string() + ".corrupt-" + utcStamp();
  std::string target = stem;
  int error = 0;
  for (int attempt = 2; (error = renameWithoutReplacing(file, target)) == EEXIST; ++attempt)
    target = stem + "-" + std::to_string(attempt);
  if (error == 0) {
    logLine("[WARN] LocalStorage: " + file.string() + " " + problem + "; moved it aside to " +
            target + ", project " + projectId + " starts empty");
  } else {
    logLine("[WARN] LocalStorage: " + file.string() + " " + problem +
            " and could not be moved aside to " + target + " (" + errorText(error) + "); project " +
            projectId + " starts empty and its next save replaces the file");
  }
}

StringTable loadTable(const fs::path& file, const std::string& projectId) {
  std::string text;
  const int error = readWholeFile(file, text);
  if (error == ENOENT || error == ENOTDIR) return {};
  std::string problem;
  if (error != 0) {
    problem = "cannot be read (" + errorText(error) + ")";
  } else {
    StringTableReading reading = readStringTableJson(text);
    if (reading.kind == StringTableJsonKind::table) return std::move(reading.table);
    problem = reading.kind == StringTableJsonKind::notJson
                  ? "is not valid JSON (" + reading.error + ")"
                  : "holds JSON that is not an object of strings";
  }
  moveAside(file, problem, projectId);
  return {};
}

// The error of the save, empty when the table reached the disk.
std::string saveTable(const fs::path& file, const StringTable& data) {
  std::error_code folderError;
  fs::create_directories(file.parent_path(), folderError);
  if (folderError)
    return "cannot create the folder " + file.parent_path().string() + ": " + folderError.message();
  return replaceFile(file, writeStringTableJson(data));
}

}  // namespace

fs::path defaultLocalStorageFolder() {
  fs::path base;
  const char* dataHome = std::getenv("XDG_DATA_HOME");
  if (dataHome && *dataHome && fs::path(dataHome).is_absolute()) {
    base = dataHome;
  } else {
    const char* home = std::getenv("HOME");
    if (!home || !*home) {
      const passwd* entry = ::getpwuid(::getuid());
      home = entry ? entry->pw_dir : ".";
    }
    base = fs::path(home) / ".local" / "share";
  }
  return base / "Talvero" / "storage";
}

LocalStorage::LocalStorage(fs::path folder) : folder_(std::move(folder)) {
  saver_ = std::thread([this] { runSaves(); });
}

LocalStorage::~LocalStorage() {
  {
    std::lock_guard guard(lock_);
    stopping_ = true;
  }
  saveChanged_.notify_all();
  saver_.join();
}

fs::path LocalStorage::fileOf(const std::string& projectId) const {
  return folder_ / ("project_" + projectId + ".json");
}

void LocalStorage::setProject(const std::string& id) {
  std::lock_guard guard(lock_);
  if (id == projectId_) return;
  saveWorkItem_.reset();
  projectId_ = id;
  data_.clear();
  isLoaded_ = false;
}

std::optional<std::string> LocalStorage::get(const std::string& key) {
  std::unique_lock guard(lock_);
  ensureLoaded(guard);
  const auto found = data_.find(key);
  if (found == data_.end()) return std::nullopt;
  return found->second;
}

void LocalStorage::set(const std::string& key, const std::string& value) {
  std::unique_lock guard(lock_);
  ensureLoaded(guard);
  data_[key] = value;
  scheduleSave();
}

void LocalStorage::remove(const std::string& key) {
  std::unique_lock guard(lock_);
  ensureLoaded(guard);
  data_.erase(key);
  scheduleSave();
}

void LocalStorage::ensureLoaded(std::unique_lock<std::mutex>& guard) {
  while (!isLoaded_) {
    const fs::path file = fileOf(projectId_);
    if (fileBeingSaved_ == file) {
      saveChanged_.wait(guard);
      continue;
    }
    data_ = loadTable(file, projectId_);
    isLoaded_ = true;
  }
}

void LocalStorage::scheduleSave() {
  saveWorkItem_ = SaveWorkItem{projectId_, fileOf(projectId_), data_, Clock::now() + kSaveDelay};
  saveChanged_.notify_all();
}

void LocalStorage::runSaves() {
  std::unique_lock guard(lock_);
  for (;;) {
    if (!saveWorkItem_) {
      if (stopping_) return;
      saveChanged_.wait(guard);
      continue;
    }
    const Clock::time_point due = saveWorkItem_->due;
    if (!stopping_ && Clock::now() < due) {
      saveChanged_.wait_until(guard, due);
      continue;
    }
    // From here on the save cannot be cancelled; it runs without the lock, over its own copy.
    const SaveWorkItem item = std::move(*saveWorkItem_);
    saveWorkItem_.reset();
    fileBeingSaved_ = item.file;
    guard.unlock();
    const std::string error = saveTable(item.file, item.data);
    if (!error.empty())
      logLine("LocalStorage save error for project " + item.projectId + ": " + error);
    guard.lock();
    fileBeingSaved_.reset();
    saveChanged_.notify_all();
  }
}

}  // namespace talvero
