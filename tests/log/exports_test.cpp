// The loggers as the built library gives them.
#include <gtest/gtest.h>
#include <kelvane/log.h>

#include <memory>

#include "tests/support/child.h"

namespace kvtest {
namespace {

// A logger of a program's own.
class Level_Log final : public KvLog {
 public:
  explicit Level_Log(std::string* out) : out_(out) {}
  ~Level_Log() override { *out_ += "gone"; }
  void OutputV(int level, const char*, va_list) override { *out_ += std::to_string(level); }
  const char* Name() const override { return "level"; }
  unsigned MaxSize() const override { return 1; }
  unsigned BaseSize() const override { return 2; }

 private:
  std::string* out_;
};

TEST(LogExports, AProgramDerivesALoggerOfItsOwn) {
  std::string out;
  const std::unique_ptr<KvLog> log = std::make_unique<Level_Log>(&out);
  log->Output(5, "text");
  EXPECT_EQ(log->Level(), 1);
  EXPECT_NE(dynamic_cast<Level_Log*>(log.get()), nullptr);
}

TEST(LogExports, APointerToALoggerDestroysIt) {
  std::string out;
  { const std::unique_ptr<KvLog> log = std::make_unique<Level_Log>(&out); }
  EXPECT_EQ(out, "gone");
}

TEST(LogExports, TheProcessHasThreeLoggers) {
  const Child_Result child = run_child([] {
    setenv("KVREGISTRY_MODE", "1", 1);
    for (KvLog* log : {&RegLog(), &RpcssLog(), &StdoutLog()}) {
      printf("%s %d %u %u\n", log->Name(), log->Level(), log->MaxSize(), log->BaseSize());
    }
  });
  EXPECT_EQ(child.out, "stdout 1 10485760 1048576\nstdout 1 10485760 1048576\nstdout 1 0 0\n");
}

TEST(LogExports, ALogInAFileHasBothBannersInAnOrdinaryProcess) {
  Temp_Folder folder;
  const std::string file = folder / "rpc.log";
  const Child_Result child = run_child([&] {
    setenv("KVREGISTRY_MODE", "1", 1);
    setenv("KVRPCSS_DEBUG_LOG", file.c_str(), 1);
    RpcssLog().Output(0, "message\n");
    exit(0);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  const Child_Result content = run_program({"/bin/sed", "/ ->$/d", file});
  EXPECT_EQ(content.out,
            "+++ log_exports_test logging started +++\nmessage\n--- log_exports_test logging ending ---\n");
}

}  // namespace
}  // namespace kvtest
