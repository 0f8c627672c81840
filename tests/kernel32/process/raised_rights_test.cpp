// A program whose file gives it another user's rights does not let its caller's environment choose places.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/child.h"
#include "tests/support/ordinary_user.h"

namespace kvtest {
namespace {

namespace fs = std::filesystem;

// A copy of the program of its own, which every user can reach.
class Raised_Rights : public testing::Test {
 protected:
  Raised_Rights() {
    if (mkdtemp(folder_) == nullptr) throw std::runtime_error("mkdtemp");
    fs::permissions(folder_, fs::perms(0755));
    fs::copy_file(KVTEST_SHOW_PLACES, program());
  }
  ~Raised_Rights() override { fs::remove_all(folder_); }

  std::string program() const { return folder_ + std::string("/show_places"); }
  Child_Result run() const {
    return run_program({program()}, {"TMPDIR=/var/tmp", "KVMODULE_PATH=" KVTEST_FIRST_FOLDER});
  }

 private:
  char folder_[30] = "/tmp/kvtest.XXXXXX";
};

TEST_F(Raised_Rights, AreNotNeededToChooseTheTemporaryDirectoryAndTheModules) {
  EXPECT_EQ(run().out, "0 /var/tmp 1\n");
}

TEST_F(Raised_Rights, LeaveTheTemporaryDirectoryAndTheModulesToTheInstallation) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give a program the rights of another user";
  ASSERT_EQ(chown(program().c_str(), ordinary_id, ordinary_id), 0);
  ASSERT_EQ(chmod(program().c_str(), 04755), 0);
  const Child_Result child = run();
  if (child.exit_status == 127) GTEST_SKIP() << "the build tree is closed to another user: " << child.err;
  if (child.out.substr(0, 2) == "0 ") GTEST_SKIP() << "/tmp gives no program the rights of another user";
  EXPECT_EQ(child.out, "1 /tmp 0\n") << child.err;
}

}  // namespace
}  // namespace kvtest
