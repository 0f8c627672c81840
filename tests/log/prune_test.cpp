// Logs beyond their size.
#include "log/prune.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "log/log_path.h"
#include "log/registry_log_impl.h"
#include "tests/log/log_test.h"

namespace kvtest {
namespace {

// A log in a child with these sizes in kilobytes, to which fifty records are added.
std::string content_after(const std::string& file, DWORD max_size, DWORD base_size) {
  const Child_Result child = run_child([&] {
    Settings_Double settings;
    settings.set(u"MaxSize", max_size);
    settings.set(u"BaseSize", base_size);
    RegistryLogImpl log(HKEY_LOCAL_MACHINE, L"s", file.c_str());
    for (int i = 0; i < 50; ++i) log.Output(0, "%s", std::string(100, 'm').c_str());
    fflush(stdout);
    _exit(0);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  return content_of(file);
}

std::string fifty_records() {
  std::string text;
  for (int i = 1; i <= 50; ++i) text += record(i, std::string(100, 'm'));
  return text;
}

// QUIRK log-prune-never
TEST(LogBeyondItsSize, StaysWholeAndTheNextRecordIsAppendedWhole) {
  for (const DWORD base_size : {0u, 1u, 2u, 1024u, 2097152u, 4194303u, 4194304u}) {
    for (const DWORD max_size : {0u, 1u}) {
      Temp_Folder folder;
      write_file(folder / "test.log", record(9, "old"));
      EXPECT_EQ(content_after(folder / "test.log", max_size, base_size), record(9, "old") + fifty_records())
          << base_size;
      EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
    }
  }
}

TEST(LogBeyondItsSize, AsksForTheBaseSizeOnlyThen) {
  Temp_Folder folder;
  const Child_Result child = run_child([&] {
    Settings_Double settings;
    settings.set(u"MaxSize", 1);
    RegistryLogImpl log(HKEY_LOCAL_MACHINE, L"s", (folder / "test.log").c_str());
    log.Output(0, "%s", std::string(1024 - record(1, "").size(), 'm').c_str());
    printf("%s\n", settings.calls().c_str());
    log.Output(0, "beyond");
    printf("%s\n", settings.calls().c_str());
    fflush(stdout);
    _exit(0);
  });
  EXPECT_EQ(child.out, "create;query LogLevel;query MaxSize;\nquery LogLevel;query MaxSize;query BaseSize;\n");
}

TEST(LogBeyondItsSize, IsLeftAloneOnStandardOutput) {
  const Child_Result child = run_child([] {
    Settings_Double settings;
    settings.set(u"MaxSize", 0);
    RegistryLogImpl log(HKEY_LOCAL_MACHINE, L"s", nullptr);
    log.Output(0, "message");
    printf("%s\n", settings.calls().c_str());
    fflush(stdout);
    _exit(0);
  });
  EXPECT_EQ(child.out, record(1, "message") + "create;query LogLevel;\n");
}

// A log that is pruned from a place before its end; what is then added to it.
class Pruned_Log {
 public:
  explicit Pruned_Log(const std::string& content) {
    write_file(path_, content);
    log_ = fopen(path_.c_str(), log_open_mode);
    setbuf(log_, nullptr);
  }
  ~Pruned_Log() { fclose(log_); }

  bool prune(off_t from_end) {
    FILE* const pruned = prune_log(log_, path_.c_str(), from_end);
    if (pruned != nullptr) log_ = pruned;
    return pruned != nullptr;
  }
  std::string content_with(const char* next) {
    fputs(next, log_);
    fflush(log_);
    return content_of(path_);
  }
  size_t files() const {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(folder_.path()), {}));
  }
  const std::string& folder() const { return folder_.path(); }

 private:
  Temp_Folder folder_;
  std::string path_ = folder_ / "test.log";
  FILE* log_ = nullptr;
};

const std::string three = record(1, "first") + record(2, "second\nline") + record(3, "third");

TEST(PruneLog, KeepsWholeRecordsBehindTheCut) {
  const auto second = static_cast<off_t>((record(2, "second\nline") + record(3, "third")).size());
  Pruned_Log at_header(three);
  EXPECT_TRUE(at_header.prune(-second));
  EXPECT_EQ(at_header.content_with("next\n"), record(2, "second\nline") + record(3, "third") + "next\n");
  Pruned_Log inside(three);
  EXPECT_TRUE(inside.prune(-second + 1));
  EXPECT_EQ(inside.content_with("next\n"), record(3, "third") + "next\n");
  EXPECT_EQ(inside.files(), 1u);
}

TEST(PruneLog, KeepsRecordsLongerThanItsBlocks) {
  const std::string long_record = record(2, std::string(5000, 'm'));
  Pruned_Log log(record(1, "first") + long_record + long_record);
  EXPECT_TRUE(log.prune(-static_cast<off_t>(long_record.size() * 2)));
  EXPECT_EQ(log.content_with(""), long_record + long_record);
}

TEST(PruneLog, PassesOverALineLongerThanItsBlocks) {
  const std::string last = record(2, "last");
  Pruned_Log log(record(1, std::string(5000, 'm')) + last);
  EXPECT_TRUE(log.prune(-static_cast<off_t>(last.size() + 3000)));
  EXPECT_EQ(log.content_with(""), last);
}

TEST(PruneLog, LeavesALogWithoutAHeaderBehindTheCut) {
  for (const off_t from_end : {off_t(-5), off_t(0), off_t(4293918720)}) {
    Pruned_Log log(three);
    EXPECT_FALSE(log.prune(from_end));
    EXPECT_EQ(log.content_with("next\n"), three + "next\n");
    EXPECT_EQ(log.files(), 1u);
  }
}

TEST(PruneLog, LeavesALogThatIsShorterThanItsTail) {
  Pruned_Log log(three);
  EXPECT_FALSE(log.prune(-1000));
  EXPECT_EQ(log.content_with("next\n"), three + "next\n");
}

TEST(PruneLog, LeavesTheLogWhenNoOtherFileCanBeMade) {
  Temp_Folder folder;
  write_file(folder / "test.log", three);
  FILE* log = fopen((folder / "test.log").c_str(), log_open_mode);
  EXPECT_EQ(prune_log(log, (folder / "missing/test.log").c_str(), -static_cast<off_t>(three.size())), nullptr);
  fputs("next\n", log);
  fclose(log);
  EXPECT_EQ(content_of(folder / "test.log"), three + "next\n");
}

// The tail of the short one is refused when its file is closed, that of the long one while it is copied.
TEST(PruneLog, LeavesTheLogWhenItsTailCannotBeWritten) {
  for (const size_t length : {size_t{10}, size_t{100000}}) {
    const std::string content = record(1, "first") + record(2, std::string(length, 'm'));
    const Child_Result child = run_child([&] {
      Pruned_Log log(content);
      signal(SIGXFSZ, SIG_IGN);
      rlimit limit;
      getrlimit(RLIMIT_FSIZE, &limit);
      const rlimit eight_bytes = {8, limit.rlim_max};
      setrlimit(RLIMIT_FSIZE, &eight_bytes);
      const bool is_pruned = log.prune(-static_cast<off_t>(content.size()));
      setrlimit(RLIMIT_FSIZE, &limit);
      const bool is_whole = log.content_with("next\n") == content + "next\n";
      printf("%s %s %zu", is_pruned ? "pruned" : "left", is_whole ? "whole" : "damaged", log.files());
    });
    EXPECT_EQ(child.exit_status, 0) << child.err;
    EXPECT_EQ(child.out, "left whole 1");
  }
}

}  // namespace
}  // namespace kvtest
