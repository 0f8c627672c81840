// The start object in programs and shared objects, over a library that says when it is started.
#include <gtest/gtest.h>

#include "tests/support/child.h"

namespace {

using kvtest::Child_Result;

TEST(StartObject, StartsTheLibraryBeforeEveryConstructorOfTheProgram) {
  Child_Result result = kvtest::run_program({KVTEST_PROGRAM});
  EXPECT_EQ(result.exit_status, 0) << result.err;
  EXPECT_EQ(result.out, "started\nconstructor\nmain\n");
}

TEST(StartObject, StartsTheLibraryOnceWhenASharedObjectCarriesItToo) {
  Child_Result result = kvtest::run_program({KVTEST_PROGRAM_WITH_PLUG_IN});
  EXPECT_EQ(result.exit_status, 0) << result.err;
  EXPECT_EQ(result.out, "started\nconstructor\nmain\n");
}

TEST(StartObject, StartsTheLibraryOnceWhenASharedObjectIsLoadedTwice) {
  Child_Result result = kvtest::run_program({KVTEST_HOST, KVTEST_PLUG_IN});
  EXPECT_EQ(result.exit_status, 0) << result.err;
  EXPECT_EQ(result.out, "main\nstarted\nloaded\nloaded\n");
}

}  // namespace
