// What start-up and shutdown do with the profile "com.pro" of the working folder and of HOME.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/bootstrap/in_child.h"
#include "tests/bootstrap/malloc_double.h"
#include "tests/support/ordinary_user.h"

namespace kvtest {
namespace {

// A working folder and a HOME.
class ProfileAtStartUp : public testing::Test {
 protected:
  ProfileAtStartUp() { std::filesystem::create_directory(home()); }

  std::string here() const { return folder_.path(); }
  std::string home() const { return folder_ / "home"; }
  std::string file(const char* name) const { return folder_ / name; }

  void put_here(const std::string& settings) const { write_file(file("com.pro"), "(com " + settings + ")\n"); }
  void put_home(const std::string& settings) const { write_file(home() + "/com.pro", "(user " + settings + ")\n"); }

  // A child in the folder, with the library started; the blocks of 1,000,000 bytes and more are told.
  Child_Result start(const std::function<void()>& then = [] {}) const {
    return run_child([&] {
      if (chdir(here().c_str()) != 0) _exit(3);
      setenv("HOME", home().c_str(), 1);
      choose_witness("1");
      tell_blocks(1'000'000, static_cast<std::size_t>(-1));
      init_advapi32();
      then();
    });
  }

  Temp_Folder folder_;
};

TEST_F(ProfileAtStartUp, WarmsTheHeapWithEachSizeSoManyTimes) {
  put_here("(number-of-allocs 3) (alloc-sizes 1000010 1000020)");
  EXPECT_EQ(start().out,
            "malloc 1000010\nmalloc 1000010\nmalloc 1000010\nmalloc 1000020\nmalloc 1000020\nmalloc 1000020\n");
}

TEST_F(ProfileAtStartUp, CutsRealSizes) {
  put_here("(number-of-allocs 1) (alloc-sizes (1000010.9 1.5e6))");
  EXPECT_EQ(start().out, "malloc 1000010\nmalloc 1500000\n");
}

TEST_F(ProfileAtStartUp, TakesALoneSizeForAListOfOne) {
  put_here("(number-of-allocs 2) (alloc-sizes 1000010)");
  EXPECT_EQ(start().out, "malloc 1000010\nmalloc 1000010\n");
}

TEST_F(ProfileAtStartUp, WarmsNothingWithoutBothSettings) {
  for (const char* settings :
       {"(number-of-allocs 3)", "(alloc-sizes 1000010 1000020)", "(number-of-allocs 3) (alloc-sizes ())"}) {
    put_here(settings);
    const Child_Result child = start();
    EXPECT_EQ(child.exit_status, 0) << settings;
    EXPECT_EQ(child.out, "") << settings;
  }
}

TEST_F(ProfileAtStartUp, WarmsNothingForACountOfZeroOrLess) {
  for (const char* count : {"0", "-1", "-2147483648", "0.9"}) {
    put_here(std::string("(number-of-allocs ") + count + ") (alloc-sizes 1000010 1000020)");
    EXPECT_EQ(start().out, "") << count;
  }
}

TEST_F(ProfileAtStartUp, LeavesOutSizesThatAreNone) {
  put_here("(number-of-allocs 1) (alloc-sizes x \"1000010\" -1000010 1.0e300 (1000010) 1000020)");
  const Child_Result child = start();
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "malloc 1000020\n");
}

TEST_F(ProfileAtStartUp, TakesBlocksOfNoBytesForASizeThatNoBlockHas) {
  std::string blocks;
  for (int i = 0; i < 1000; ++i) blocks += "malloc 0\n";
  for (const char* size : {"-1000010", "1.0e300", "0"}) {
    put_here("(number-of-allocs 1000) (alloc-sizes " + std::string(size) + ")");
    const Child_Result child = run_child([&] {
      if (chdir(here().c_str()) != 0) _exit(3);
      choose_witness("1");
      tell_blocks(0, 0);
      init_advapi32();
    });
    EXPECT_EQ(child.exit_status, 0) << child.err;
    EXPECT_EQ(child.out.substr(0, blocks.size()), blocks) << size;
  }
}

TEST_F(ProfileAtStartUp, SurvivesSettingsOfTheWrongType) {
  put_here("(calls-log-file 5) (profile-defaults-file (1 2)) (number-of-allocs x) (alloc-sizes [a (b 1)])");
  const Child_Result child = start();
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "");
}

TEST_F(ProfileAtStartUp, WarmsTheHeapBeforeItReservesItsThreadSlotAndBehindAllElse) {
  put_here("(number-of-allocs 1) (alloc-sizes 1000010 1000020)");
  const Child_Result child = run_child([&] {
    if (chdir(here().c_str()) != 0) _exit(3);
    choose_witness("1");
    use_thread_index(7);
    tell_blocks(1'000'000, 2'000'000);
    tell_steps();
    init_advapi32();
  });
  EXPECT_EQ(child.out,
            "global_init 1\n"
            "library globals\n"
            "load advapi32impl.dll\n"
            "section\n"
            "handler 0\n"
            "malloc 1000010\n"
            "malloc 1000020\n"
            "TlsAlloc\n"
            "TlsSetValue 7 null\n");
}

TEST_F(ProfileAtStartUp, OfTheWorkingFolderWinsOverTheUsers) {
  put_here("(number-of-allocs 1)");
  put_home("(number-of-allocs 2) (alloc-sizes 1000010 1000020)");
  EXPECT_EQ(start().out, "malloc 1000010\nmalloc 1000020\n");
}

TEST_F(ProfileAtStartUp, OfTheUserCountsAlone) {
  put_home("(number-of-allocs 1) (alloc-sizes 1000010 1000020)");
  EXPECT_EQ(start().out, "malloc 1000010\nmalloc 1000020\n");
}

TEST_F(ProfileAtStartUp, OpensTheCallLog) {
  put_here("(calls-log-file \"calls.log\")");
  write_file(file("calls.log"), "of an earlier run");
  const Child_Result child = start();
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_TRUE(std::filesystem::exists(file("calls.log")));
  EXPECT_EQ(content_of(file("calls.log")), "");
}

TEST_F(ProfileAtStartUp, RecordsItsQuestionsUntilShutdown) {
  put_here("(profile-defaults-file \"defaults\") (number-of-allocs 0)");
  const std::string questions =
      "(com\n"
      "  (calls-log-file \"/dev/null\")\n"
      "  (number-of-allocs 0)\n"
      ";  (alloc-sizes nil)\t\tno list\n";
  start();
  EXPECT_EQ(content_of(file("defaults")), questions);
  start([] { KvDestroyAdvapi32(); });
  EXPECT_EQ(content_of(file("defaults")), questions + ")\n");
}

TEST_F(ProfileAtStartUp, HasClosedItsDefaultsAtANormalEndOfAProgram) {
  put_here("(profile-defaults-file \"defaults\") (calls-log-file \"-\")");
  put_home("(alloc-sizes 10 20)");
  const Child_Result child =
      run_program({"/usr/bin/env", "-C", here(), KVTEST_PROFILED_PROGRAM},
                  {"HOME=" + home(), "KVREGISTRY_MODE=1", "KVMODULE_PATH=" KVTEST_WITNESS_FOLDER "/whole"});
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "started\n");
  EXPECT_EQ(child.err, "");
  EXPECT_EQ(content_of(file("defaults")),
            "(user\n"
            "  (calls-log-file \"/dev/null\")\n"
            "  (number-of-allocs 0)\n"
            ";  (alloc-sizes nil)\t\tno list\n"
            ")\n");
}

// Runs the program for an ordinary user with the rights of its owner, root, when it has its set-user-id bit.
Child_Result run_for_ordinary_user(const std::string& program, const std::string& folder) {
  return run_child([&] {
    const int fd = open(program.c_str(), O_RDONLY);
    char name[] = "program";
    char* argv[] = {name, nullptr};
    setenv("KVREGISTRY_MODE", "7", 1);
    unsetenv("HOME");
    if (chdir(folder.c_str()) != 0 || !become_ordinary_user()) _exit(3);
    fexecve(fd, argv, environ);
    _exit(4);
  });
}

TEST_F(ProfileAtStartUp, IsNotReadByAProgramWithRaisedRights) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give a program raised rights for another user";
  put_here("(profile-defaults-file \"-\")");
  const std::string program = file("program");
  std::filesystem::copy_file(KVTEST_PROFILED_PROGRAM, program);
  ASSERT_EQ(chmod(here().c_str(), 0755), 0);

  ASSERT_EQ(chmod(program.c_str(), 0755), 0);
  EXPECT_EQ(run_for_ordinary_user(program, here()).out.substr(0, 5), "(com\n");

  ASSERT_EQ(chmod(program.c_str(), 04755), 0);
  const Child_Result raised = run_for_ordinary_user(program, here());
  if (raised.out.find("raised rights") == std::string::npos) GTEST_SKIP() << "the system gives no raised rights here";
  EXPECT_EQ(raised.exit_status, 0) << raised.err;
  EXPECT_EQ(raised.out, "started with raised rights\n");
}

TEST_F(ProfileAtStartUp, ThatIsNoFrameDoesNotKeepAProgramFromStarting) {
  write_file(file("com.pro"), "(com (a))" + std::string(9000, '\n'));
  const Child_Result child =
      run_program({"/usr/bin/env", "-C", here(), KVTEST_PROFILED_PROGRAM},
                  {"HOME=" + home(), "KVREGISTRY_MODE=1", "KVMODULE_PATH=" KVTEST_WITNESS_FOLDER "/whole"});
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out,
            "Parselib : line 1 - parse error\n"
            "Parselib Error: read_frame failed.\n"
            "Please confirm that your env variable KVREGISTRY points to a correct registry file.\n"
            "started\n");
}

}  // namespace
}  // namespace kvtest
