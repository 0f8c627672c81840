// Inside a program that knows nothing of the registry and loads a plug-in that uses it: loaded, unloaded and
// loaded again, beside the host's own SIGSEGV handler, and in threads the library did not start.
#include <gtest/gtest.h>

#include "tests/support/child.h"

namespace kvtest {
namespace {

class Foreign_Host : public testing::Test {
 protected:
  // With a HOME of its own and nothing configured; nothing but the host's own line is written.
  void expect_works(const std::vector<std::string>& what) {
    std::vector<std::string> arguments = {KVTEST_HOST, KVTEST_PLUG_IN};
    arguments.insert(arguments.end(), what.begin(), what.end());
    Child_Result result = run_program(arguments, {"HOME=" + home_.path(), "KVREGISTRY"});
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.signal, 0);
    EXPECT_EQ(result.out, "host ends\n");
    EXPECT_EQ(result.err, "");
  }

 private:
  Temp_Folder home_;
};

TEST_F(Foreign_Host, LoadsUsesUnloadsAndLoadsAgain) { expect_works({"reload"}); }

TEST_F(Foreign_Host, FindsInItsNextRunWhatItLeft) {
  expect_works({"reload"});
  expect_works({"reload"});
}

TEST_F(Foreign_Host, KeepsItsFaultHandlerOfBefore) { expect_works({"fault-first"}); }

TEST_F(Foreign_Host, MaySetItsFaultHandlerAfterTheRegistryWasUsed) { expect_works({"fault-later"}); }

// What a call needs of a thread's stack. Sanitizers make every frame larger and need more of it.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr const char* small_stack = "524288";
#else
constexpr const char* small_stack = "65536";
#endif

TEST_F(Foreign_Host, UsesItFromThreadsOfItsOwnWithSmallStacks) { expect_works({"thread", small_stack}); }

}  // namespace
}  // namespace kvtest
