#include "services/local_storage.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "scratch_dir.h"
#include "test_support.h"

namespace talvero {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

std::string readText(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

StringTableReading readFile(const fs::path& file) {
  return readStringTableJson(readText(file));
}

std::vector<fs::path> filesIn(const fs::path& folder) {
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(folder)) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

// Counts the changes of a folder's files that the kernel reports, of the kinds in `mask` and to
// the file `name` (any file when empty): an honest measure of what reached the disk and when.
class FolderEvents {
 public:
  FolderEvents(const fs::path& folder, uint32_t mask, std::string name = {})
      : name_(std::move(name)) {
    fs::create_directories(folder);
    fd_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    EXPECT_GE(fd_, 0);
    EXPECT_GE(inotify_add_watch(fd_, folder.c_str(), mask), 0);
  }
  ~FolderEvents() { close(fd_); }
  FolderEvents(const FolderEvents&) = delete;
  FolderEvents& operator=(const FolderEvents&) = delete;

  // True as soon as one more event came, false after `timeout` without one.
  bool waitForNext(Clock::duration timeout) {
    const int before = count_;
    collect(Clock::now() + timeout, before + 1);
    return count_ > before;
  }

  // All events so far, after watching for `window` more.
  int countAfter(Clock::duration window) {
    collect(Clock::now() + window, INT_MAX);
    return count_;
  }

 private:
  void collect(Clock::time_point until, int enough) {
    while (count_ < enough) {
      const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now());
      pollfd ready{fd_, POLLIN, 0};
      if (poll(&ready, 1, static_cast<int>(std::max<int64_t>(left.count(), 0))) <= 0) return;
      alignas(inotify_event) char buffer[4096];
      const ssize_t size = read(fd_, buffer, sizeof buffer);
      for (ssize_t at = 0; at < size;) {
        const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
        if (name_.empty() || (event->len > 0 && name_ == event->name)) ++count_;
        at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
      }
    }
  }

  std::string name_;
  int fd_ = -1;
  int count_ = 0;
};

// A save of a project's file shows as the rename of a whole file onto it.
FolderEvents savesOf(const fs::path& folder, const std::string& id) {
  return FolderEvents(folder, IN_MOVED_TO, "project_" + id + ".json");
}

// A save is due 0.2 s after the last write; this leaves room for a loaded machine.
constexpr auto kSaveTimeout = 3s;

class LocalStorageTest : public testing::ScratchDirTest {
 protected:
  fs::path folder() const { return root / "Talvero" / "storage"; }
  fs::path fileOf(const std::string& id) const { return folder() / ("project_" + id + ".json"); }
};

TEST_F(LocalStorageTest, ValuesOfAnyTextSurviveInANewStorageInProjectDefault) {
  const StringTable values{{"quote\"and\\back", "\\\"\\u0041\""},
                           {"\x01\x1F\n\t", std::string("nul\0inside", 10)},
                           {"Grüße 日本", "😀👍🏽"},
                           {"", "empty key"}};
  FolderEvents saves = savesOf(folder(), "default");
  {
    LocalStorage storage(folder());
    EXPECT_EQ(storage.get("a"), std::nullopt);
    for (const auto& [key, value] : values) storage.set(key, value);
    storage.remove("missing");
    ASSERT_TRUE(saves.waitForNext(kSaveTimeout));
    EXPECT_EQ(filesIn(folder()), std::vector<fs::path>{fileOf("default")});
  }
  LocalStorage again(folder());
  for (const auto& [key, value] : values) EXPECT_EQ(again.get(key), value) << key;
  EXPECT_EQ(again.get("missing"), std::nullopt);
}

TEST_F(LocalStorageTest, ABurstOfWritesReachesTheDiskOnceAfterTheLastWithItsState) {
  FolderEvents saves = savesOf(folder(), "default");
  LocalStorage storage(folder());
  const auto start = Clock::now();
  for (int i = 0; i < 50; ++i) storage.set("key" + std::to_string(i % 7), std::to_string(i));
  storage.remove("key0");
  // The new value is served from memory at once, before the disk has it.
  EXPECT_EQ(storage.get("key6"), "48");
  const auto lastWrite = Clock::now();
  // Unless the machine stalled this test for most of the delay, nothing is saved yet.
  if (lastWrite - start < 150ms) {
    EXPECT_FALSE(fs::exists(fileOf("default")));
  }

  ASSERT_TRUE(saves.waitForNext(kSaveTimeout));
  EXPECT_GE(Clock::now() - lastWrite, LocalStorage::kSaveDelay - 10ms);
  EXPECT_EQ(saves.countAfter(2 * LocalStorage::kSaveDelay), 1);
  const StringTableReading file = readFile(fileOf("default"));
  ASSERT_EQ(file.kind, StringTableJsonKind::table) << file.error;
  EXPECT_EQ(file.table, (StringTable{{"key1", "43"},
                                     {"key2", "44"},
                                     {"key3", "45"},
                                     {"key4", "46"},
                                     {"key5", "47"},
                                     {"key6", "48"}}));
}

TEST_F(LocalStorageTest, ChangingProjectDropsTheWaitingSaveButTheSameIdKeepsIt) {
  FolderEvents saves = savesOf(folder(), "a");
  LocalStorage storage(folder());
  storage.setProject("a");
  storage.set("x", "1");
  storage.setProject("a");
  ASSERT_TRUE(saves.waitForNext(kSaveTimeout));
  EXPECT_EQ(readFile(fileOf("a")).table, (StringTable{{"x", "1"}}));

  storage.set("x", "2");
  storage.setProject("b");
  EXPECT_EQ(storage.get("x"), std::nullopt);
  EXPECT_EQ(saves.countAfter(2 * LocalStorage::kSaveDelay), 1);
  EXPECT_FALSE(fs::exists(fileOf("b")));
  storage.setProject("a");
  EXPECT_EQ(storage.get("x"), "1");

  storage.remove("x");
  ASSERT_TRUE(saves.waitForNext(kSaveTimeout));
  EXPECT_EQ(readText(fileOf("a")), "{}");
}

// Writes `content` as the default project's file, then loads it in a new storage.
struct LoadOutcome {
  std::string output;
  std::optional<std::string> value;
  std::vector<fs::path> files;
};

class LocalStorageCorruptTest : public LocalStorageTest {
 protected:
  LoadOutcome load(const std::string& content) {
    write(fileOf("default").lexically_relative(root), content);
    LoadOutcome outcome;
    ::testing::internal::CaptureStdout();
    {
      LocalStorage storage(folder());
      outcome.value = storage.get("a");
      outcome.files = filesIn(folder());
      storage.set("a", "fresh");
    }  // the waiting save is written when the storage goes
    outcome.output = ::testing::internal::GetCapturedStdout();
    return outcome;
  }
};

TEST_F(LocalStorageCorruptTest, UnusableFilesAreMovedAsideAndTheNextWriteStartsAFreshOne) {
  for (const std::string content :
       {"{\"a\":\"b\"", "[\"a\",\"b\"]", "{\"a\":\"b\",\"n\":1}", "\xFF\xFEgarbage", ""}) {
    SCOPED_TRACE(content);
    fs::remove_all(folder());
    const LoadOutcome outcome = load(content);
    EXPECT_EQ(outcome.value, std::nullopt);
    ASSERT_EQ(outcome.files.size(), 1u);
    const fs::path aside = outcome.files[0];
    EXPECT_EQ(aside.filename().string().rfind("project_default.json.corrupt-", 0), 0u) << aside;
    EXPECT_EQ(readText(aside), content);
    EXPECT_EQ(outcome.output.rfind("[WARN] ", 0), 0u) << outcome.output;
    EXPECT_NE(outcome.output.find(fileOf("default").string() + " "), std::string::npos);
    EXPECT_NE(outcome.output.find(aside.string()), std::string::npos) << outcome.output;
    EXPECT_EQ(std::count(outcome.output.begin(), outcome.output.end(), '\n'), 1);
    EXPECT_EQ(readFile(fileOf("default")).table, (StringTable{{"a", "fresh"}}));
  }
}

TEST_F(LocalStorageCorruptTest, AFileMovedAsideNeverReplacesAnEarlierOne) {
  // Names the loader could choose in this second and the next are taken already.
  std::vector<fs::path> taken;
  for (std::time_t second = std::time(nullptr); taken.size() < 2; ++second) {
    std::tm parts{};
    gmtime_r(&second, &parts);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y%m%dT%H%M%SZ", &parts);
    taken.push_back(
        write("Talvero/storage/project_default.json.corrupt-" + std::string(stamp), "earlier"));
  }
  const LoadOutcome outcome = load("not json");
  EXPECT_EQ(outcome.files.size(), 3u);
  for (const fs::path& earlier : taken) EXPECT_EQ(readText(earlier), "earlier");
}

TEST_F(LocalStorageTest, ASaveErrorIsReportedAndTheValuesStayInMemory) {
  write("blocker", "a file where the storage folder should be");
  std::optional<std::string> afterFailure;
  ::testing::internal::CaptureStdout();
  {
    LocalStorage storage(root / "blocker" / "storage");
    storage.set("a", "1");
    std::this_thread::sleep_for(LocalStorage::kSaveDelay + 300ms);
    afterFailure = storage.get("a");
  }
  const std::string output = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(output.rfind("LocalStorage save error for project default: cannot create the folder " +
                             (root / "blocker" / "storage").string() + ": ",
                         0),
            0u)
      << output;
  EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 1) << output;
  EXPECT_EQ(afterFailure, "1");
}

TEST_F(LocalStorageTest, DestructionWritesAWaitingSaveAndLeavesNoThreadBehind) {
  for (int round = 0; round < 20; ++round) {
    {
      LocalStorage storage(folder());
      storage.set("round", std::to_string(round));
      if (round % 2) std::this_thread::sleep_for(LocalStorage::kSaveDelay / 20 * (round % 4));
    }
    EXPECT_EQ(readFile(fileOf("default")).table, (StringTable{{"round", std::to_string(round)}}));
  }
  // Destroyed while a save of its own is being written, as far as timing allows.
  for (int round = 0; round < 3; ++round) {
    LocalStorage storage(folder());
    storage.set("big", std::string(1 << 20, 'x'));
    std::this_thread::sleep_for(LocalStorage::kSaveDelay + 1ms);
  }
  EXPECT_EQ(readFile(fileOf("default")).table.at("big").size(), size_t{1} << 20);
}

// Keeps writing large values with pauses long enough for saves to start, so that saves of a few
// megabytes come often and overlap further writes. Never returns.
[[noreturn]] void writeUntilKilled(const fs::path& folder, unsigned seed) {
  LocalStorage storage(folder);
  std::mt19937 random(seed);
  for (int i = 0;; ++i) {
    const std::string key = "key" + std::to_string(random() % 40);
    storage.set(key, std::string(20000 + random() % 100000, static_cast<char>('a' + i % 26)));
    std::this_thread::sleep_for(random() % 4 == 0 ? LocalStorage::kSaveDelay + 5ms : 1ms);
  }
}

TEST_F(LocalStorageTest, AProcessKilledDuringSavesLeavesAFileThatReads) {
  std::mt19937 random(std::random_device{}());
  FolderEvents activity(folder(), IN_CREATE | IN_MODIFY);
  bool everSaved = false;
  for (int round = 0; round < 8; ++round) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) writeUntilKilled(folder(), static_cast<unsigned>(random()));
    // The kill lands while one of the first few saves is under way, at a random point of it.
    activity.countAfter(0ms);
    bool saving = true;
    for (int events = 1 + static_cast<int>(random() % 5); events > 0 && saving; --events)
      saving = activity.waitForNext(kSaveTimeout);
    EXPECT_TRUE(saving) << "round " << round << ": the child stopped saving";
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 2000));
    ASSERT_EQ(kill(child, SIGKILL), 0);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));

    if (!fs::exists(fileOf("default"))) {
      EXPECT_FALSE(everSaved) << "round " << round << ": a saved file disappeared";
      continue;  // killed before the first save was complete
    }
    everSaved = true;
    const StringTableReading file = readFile(fileOf("default"));
    ASSERT_EQ(file.kind, StringTableJsonKind::table) << "round " << round << ": " << file.error;
    ASSERT_FALSE(file.table.empty());
    for (const auto& [key, value] : file.table) {
      ASSERT_FALSE(value.empty());
      EXPECT_EQ(value.find_first_not_of(value[0]), std::string::npos) << key << " is torn";
    }
    for (const fs::path& leftover : filesIn(folder()))
      EXPECT_EQ(leftover.string().find(".corrupt-"), std::string::npos) << leftover;
  }
  EXPECT_TRUE(everSaved);
}

TEST(LocalStorageFolder, FollowsXdgDataHomeOnlyWhenItIsAnAbsolutePath) {
  const std::string home = std::getenv("HOME") ? std::getenv("HOME") : "";
  const char* dataHome = std::getenv("XDG_DATA_HOME");
  const std::optional<std::string> savedDataHome =
      dataHome ? std::optional<std::string>(dataHome) : std::nullopt;
  setenv("HOME", "/home/someone", 1);
  setenv("XDG_DATA_HOME", "/data/home", 1);
  EXPECT_EQ(defaultLocalStorageFolder(), fs::path("/data/home/Talvero/storage"));
  for (const char* ignored : {"relative/path", ""}) {
    setenv("XDG_DATA_HOME", ignored, 1);
    EXPECT_EQ(defaultLocalStorageFolder(), fs::path("/home/someone/.local/share/Talvero/storage"));
  }
  unsetenv("XDG_DATA_HOME");
  EXPECT_EQ(defaultLocalStorageFolder(), fs::path("/home/someone/.local/share/Talvero/storage"));
  setenv("HOME", home.c_str(), 1);
  if (savedDataHome) setenv("XDG_DATA_HOME", savedDataHome->c_str(), 1);
}

}  // namespace
}  // namespace talvero
