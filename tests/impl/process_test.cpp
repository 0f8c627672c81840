// The library in processes that fork, use threads, or close what is not theirs.
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "tests/impl/module.h"
#include "tests/support/child.h"

namespace {

using namespace kvtest;

class Process : public testing::Test {
 protected:
  Child_Result in_process(const std::function<void()>& function) {
    return run_child([&] {
      put_hives_into(folder.path());
      function();
    });
  }
  Temp_Folder folder;
};

int status_of_child(const std::function<void()>& function) {
  const pid_t child = fork();
  if (child == 0) {
    function();
    _exit(99);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(Process, HandlesStayGoodInAForkedChildAndInItsParent) {
  const auto result = in_process([] {
    HKEY key = nullptr;
    create_key(HKEY_LOCAL_MACHINE, u"k", &key);
    set_value(key, u"v", REG_BINARY, "parent");
    const int child = status_of_child([&] {
      const bool read = value_of(key, u"v").data == "parent";
      const bool written = set_value(key, u"v", REG_BINARY, "child") == 0;
      _exit(read && written && close_key(key) == 0 ? 0 : 1);
    });
    _exit(child == 0 && value_of(key, u"v").data == "child" && close_key(key) == 0 ? 0 : 1);
  });
  EXPECT_EQ(result.exit_status, 0) << result.err;
}

TEST_F(Process, ForksWhileThreadsUseTheRegistry) {
  if (const char* reason = kvtest::why_not_fork_beside_threads()) GTEST_SKIP() << reason;
  const auto result = in_process([] {
    HKEY key = nullptr;
    create_key(HKEY_LOCAL_MACHINE, u"k", &key);
    set_value(key, u"v", REG_BINARY, "x");
    std::atomic<bool> stop = false;
    const auto work = [&] {
      while (!stop) {
        HKEY again = nullptr;
        if (open_key(key, u"", &again) == 0) close_key(again);
        value_of(HKEY_LOCAL_MACHINE, u"none");
      }
    };
    std::thread first(work), second(work);
    int good = 0;
    for (int i = 0; i < 20; ++i) {
      good += status_of_child([&] {
                HKEY again = nullptr;
                _exit(open_key(HKEY_LOCAL_MACHINE, u"k", &again) == 0 && value_of(again, u"v").data == "x" ? 0 : 1);
              }) == 0
                  ? 1
                  : 0;
    }
    stop = true;
    first.join();
    second.join();
    _exit(good == 20 ? 0 : 1);
  });
  EXPECT_EQ(result.exit_status, 0) << result.err;
}

TEST_F(Process, ThatClosesEveryDescriptorGoesOnAndWritesIntoNoFileOfItsOwn) {
  const auto result = in_process([&] {
    HKEY key = nullptr;
    create_key(HKEY_LOCAL_MACHINE, u"k", &key);
    set_value(key, u"v", REG_BINARY, "before");
    for (int descriptor = 3; descriptor < 256; ++descriptor) close(descriptor);
    std::vector<FILE*> own;
    for (int i = 0; i < 16; ++i) own.push_back(fopen((folder / ("own" + std::to_string(i))).c_str(), "w+"));
    const bool written = set_value(key, u"v", REG_BINARY, "after") == 0 && value_of(key, u"v").data == "after";
    for (FILE* each : own) fclose(each);
    _exit(written ? 0 : 1);
  });
  EXPECT_EQ(result.exit_status, 0) << result.err;
  for (int i = 0; i < 16; ++i) {
    EXPECT_EQ(std::filesystem::file_size(folder / ("own" + std::to_string(i))), 0u) << i;
  }
}

TEST_F(Process, ThatIsKilledKeepsWhatWasReportedDone) {
  const auto result = in_process([] {
    HKEY key = nullptr;
    create_key(HKEY_LOCAL_MACHINE, u"k", &key);
    if (set_value(key, u"v", REG_BINARY, "done") == 0) raise(SIGKILL);
  });
  ASSERT_EQ(result.signal, SIGKILL);
  const auto reader = in_process([] {
    HKEY key = nullptr;
    open_key(HKEY_LOCAL_MACHINE, u"k", &key);
    _exit(value_of(key, u"v").data == "done" ? 0 : 1);
  });
  EXPECT_EQ(reader.exit_status, 0) << reader.err;
}

TEST_F(Process, MayEndWhileThreadsUseTheRegistry) {
  const auto result = in_process([] {
    HKEY key = nullptr;
    create_key(HKEY_LOCAL_MACHINE, u"k", &key);
    for (int i = 0; i < 3; ++i) {
      std::thread([key] {
        for (;;) set_value(key, u"v", REG_BINARY, "x");
      }).detach();
    }
    for (int i = 0; i < 50; ++i) value_of(key, u"v");
    exit(0);
  });
  EXPECT_EQ(result.exit_status, 0) << result.err;
  EXPECT_EQ(result.signal, 0);
}

}  // namespace
