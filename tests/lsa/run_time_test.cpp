// Entry points that only tell the call log that they were called.
#include <gtest/gtest.h>
#include <kelvane/truth.h>
#include <process.h>
#include <winbase.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "bootstrap/call_log.h"
#include "tests/support/child.h"

namespace {

// The call log in a file of the test's own.
class Call_Log {
 public:
  Call_Log() : stream_(new kvofstream((folder_ / "calls").c_str())) { Log_Call = stream_.get(); }
  ~Call_Log() { Log_Call = nullptr; }

  std::string text() const {
    std::ifstream file(folder_ / "calls");
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  kvtest::Temp_Folder folder_;
  std::unique_ptr<kvofstream> stream_;
};

TEST(RunTime, EntryPointsWriteTheirNamesToTheCallLogAtOnce) {
  const Call_Log log;
  EXPECT_EQ(DeregisterEventSource(nullptr), 0);
  EXPECT_EQ(log.text(), "Called DeregisterEventSource\n");
  EXPECT_EQ(_CRT_INIT(nullptr, 1, nullptr), True);
  _cexit();
  EXPECT_EQ(log.text(), "Called DeregisterEventSource\nCalled _CRT_INIT\nCalled _cexit\n");
}

TEST(RunTime, EntryPointsAreSilentWithoutACallLog) {
  const auto child = kvtest::run_child([] {
    const int sum = DeregisterEventSource(nullptr) + _CRT_INIT(nullptr, 0, nullptr);
    _cexit();
    _exit(sum);
  });
  EXPECT_EQ(child.exit_status, 1);
  EXPECT_EQ(child.out + child.err, "");
}

TEST(RunTime, TrueIsOne) { EXPECT_EQ(True, 1); }

}  // namespace
