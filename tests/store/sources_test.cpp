// Programs whose source knows nothing of this host: compiled as C11 with GNU extensions and as C++17.
#include "tests/store/act.h"

namespace kvtest {
namespace {

TEST(Sources, InCRunUnchanged) { EXPECT_TRUE(answered(run_program({KVTEST_C_PROGRAM}), "user 1 5\nmachine 1 8\n")); }

TEST(Sources, InCpp17RunUnchanged) { EXPECT_TRUE(answered(run_program({KVTEST_CPP17_PROGRAM}), "17\n")); }

}  // namespace
}  // namespace kvtest
