// The loggers while the process ends.
#include <gtest/gtest.h>
#include <kelvane/log.h>

#include "tests/log/log_test.h"

namespace kvtest {
namespace {

// A child in mode 2 with this HOME, which ends by exit.
Child_Result ended(const std::string& home, const std::function<void(Settings_Double&)>& body) {
  return run_child([&] {
    setenv("HOME", home.c_str(), 1);
    static Settings_Double settings("2");
    body(settings);
    exit(3);
  });
}

TEST(LogAtTheEndOfTheProcess, HasItsLastBannerAndItsKeyClosed) {
  Temp_Folder home;
  const Child_Result child = ended(home.path(), [](Settings_Double& settings) {
    atexit([] { write(STDOUT_FILENO, "handler\n", 8); });
    RegLog().Output(0, "message");
    settings.calls();
    settings.control().script("KvIRegCloseKey", [](const kvrecording::Call& call) {
      dprintf(STDOUT_FILENO, "close %zx\n", call.raw("key"));
      return 0;
    });
  });
  EXPECT_EQ(child.exit_status, 3) << child.err;
  EXPECT_EQ(child.out, "close 5151\nhandler\n");
  EXPECT_EQ(content_of(home / "logs/regss.log"), record(1, started) + record(2, "message") + record(3, ending));
}

TEST(LogAtTheEndOfTheProcess, GoesToStandardOutputBehindItsEnd) {
  Temp_Folder home;
  const Child_Result child = ended(home.path(), [](Settings_Double&) {
    static KvLog* log;
    atexit([] {
      log->Output(0, "%s", log->Name());
      RegLog().Output(1, "still here");
    });
    log = &RegLog();
  });
  EXPECT_EQ(child.exit_status, 3) << child.err;
  EXPECT_EQ(child.out, record(1, "stdout") + record(2, "still here"));
  EXPECT_EQ(content_of(home / "logs/regss.log"), record(1, started) + record(2, ending));
}

// The close asks for the user's hive; a handler that is called then stands for one that logs.
TEST(LogAtTheEndOfTheProcess, TakesRecordsOfTheRegistrysClose) {
  Temp_Folder home;
  const Child_Result child = ended(home.path(), [](Settings_Double& settings) {
    RegLog();
    settings.control().script("KvIRegProcessEnding", [](const kvrecording::Call&) {
      RegLog().Output(0, "at the close");
      return 1;
    });
  });
  EXPECT_EQ(child.exit_status, 3) << child.err;
  EXPECT_EQ(child.out, record(1, "at the close"));
}

TEST(LogAtTheEndOfTheProcess, MayBeUsedForTheFirstTimeInTheClose) {
  Temp_Folder home;
  const Child_Result child = ended(home.path(), [](Settings_Double& settings) {
    settings.control().script("KvIRegProcessEnding", [](const kvrecording::Call&) {
      RegLog().Output(0, "at the close");
      return 1;
    });
  });
  EXPECT_EQ(child.exit_status, 3) << child.err;
  EXPECT_EQ(child.out, "");
  const std::string content = content_of(home / "logs/regss.log");
  EXPECT_EQ(content.rfind(record(1, started) + record(2, "at the close"), 0), 0u) << content;
}

}  // namespace
}  // namespace kvtest
