// The profile among the steps of start-up and of shutdown, with its lines on standard output.
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/bootstrap/in_child.h"

namespace kvtest {
namespace {

// A child in a folder of its own whose profile tells its lines.
std::string told(const std::function<void()>& body) {
  Temp_Folder folder;
  write_file(folder / "com.pro", "(com (profile-defaults-file \"-\"))\n");
  const Child_Result child = run_child([&] {
    if (chdir(folder.path().c_str()) != 0) _exit(3);
    setenv("HOME", (folder / "home").c_str(), 1);
    choose_witness("1");
    use_thread_index(7);
    body();
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  return child.out;
}

TEST(ProfileOfTheStart, IsOpenedBehindTheObjectModelAndAskedAboutTheHeapBehindTheBinding) {
  EXPECT_EQ(told([] {
              tell_steps();
              init_advapi32();
            }),
            "global_init 1\n"
            "library globals\n"
            "(com\n"
            "  (calls-log-file \"/dev/null\")\n"
            "load advapi32impl.dll\n"
            "section\n"
            "handler 0\n"
            "  (number-of-allocs 0)\n"
            ";  (alloc-sizes nil)\t\tno list\n"
            "TlsAlloc\n"
            "TlsSetValue 7 null\n");
}

TEST(ProfileOfTheStart, IsClosedBeforeTheObjectModelEnds) {
  const std::string out = told([] {
    init_advapi32();
    tell_steps();
    say("shutdown\n");
    KvDestroyAdvapi32();
  });
  EXPECT_EQ(out.substr(out.find("shutdown\n")), "shutdown\n)\nno library globals\nglobal_init 0\n");
}

}  // namespace
}  // namespace kvtest
