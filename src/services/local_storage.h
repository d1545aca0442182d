#pragma once

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "services/string_table_json.h"

namespace talvero {

// `$XDG_DATA_HOME/Talvero/storage`, or `~/.local/share/Talvero/storage` when that variable is
// unset, empty or relative.
std::filesystem::path defaultLocalStorageFolder();

// A persistent table of texts per project, one JSON file `project_<id>.json` per project.
// Reads and writes are served from memory; a write reaches the disk 0.2 s after the last write
// of a burst, from a thread of its own, with the table as it was at that last write. Every
// method may be called from any thread and returns when its work on the table is done.
class LocalStorage {
 public:
  static constexpr std::chrono::milliseconds kSaveDelay{200};

  explicit LocalStorage(std::filesystem::path folder = defaultLocalStorageFolder());
  // A save still waiting is written at once rather than dropped, and a save in progress is
  // finished: writes that were accepted are not lost because their owner went away.
  ~LocalStorage();
  LocalStorage(const LocalStorage&) = delete;
  LocalStorage& operator=(const LocalStorage&) = delete;

  // Switches to another project's table, loaded at its first use. A save still waiting for the
  // old project is dropped: its last writes never reach the file. The same id changes nothing.
  void setProject(const std::string& id);
  std::optional<std::string> get(const std::string& key);
  void set(const std::string& key, const std::string& value);
  // Schedules a save even when the key is missing.
  void remove(const std::string& key);

  std::filesystem::path fileOf(const std::string& projectId) const;

 private:
  using Clock = std::chrono::steady_clock;

  // A save over its own copy of the table, waiting for its time.
  struct SaveWorkItem {
    std::string projectId;
    std::filesystem::path file;
    StringTable data;
    Clock::time_point due;
  };

  void ensureLoaded(std::unique_lock<std::mutex>& guard);
  void scheduleSave();
  void runSaves();

  const std::filesystem::path folder_;
  std::string projectId_ = "default";
  StringTable data_;
  bool isLoaded_ = false;
  // Guards every field. Each method holds it for its whole work, so callers are served one at
  // a time, in turn, and wait for the file read of a first access.
  std::mutex lock_;
  std::optional<SaveWorkItem> saveWorkItem_;
  // The file a save is writing now: a load of it waits, so that it never reads the state from
  // before a save that has already begun.
  std::optional<std::filesystem::path> fileBeingSaved_;
  bool stopping_ = false;
  std::condition_variable saveChanged_;
  std::thread saver_;
};

}  // namespace talvero
