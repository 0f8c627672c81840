// The user's hive saved and read back, backups of a registry in use, and what needs a server.
#include <kelvane/registry_admin.h>
#include <kelvane/user_hive_file.h>
#include <signal.h>
#include <windows.h>

#include "tests/registry_store/act.h"

namespace kvtest {
namespace {

class Whole_Registry : public testing::Test {
 protected:
  Temp_Folder folder;
  Temp_Folder other;
};

TEST_F(Whole_Registry, ASavedUserHiveIsReadBackInAnotherPlace) {
  const std::string saved = folder / "saved.bin";
  ASSERT_EQ(act("set HKCU\\Software\\A kept , create HKCU\\B\\C , save " + saved, hives_in(folder.path())),
            "0\n0\n0\n");
  const std::vector<std::string> elsewhere = {"KVREGISTRY=" + other / "hklm.bin" + ":" + saved,
                                              "KVCORE_PRIVATE_DATA=" + other / "core"};
  EXPECT_EQ(act("show HKCU\\Software\\A , rights HKCU\\B\\D", elsewhere), "kept\n2\n");
}

TEST_F(Whole_Registry, SavingWithoutAPathWritesTheConfiguredFile) {
  EXPECT_EQ(act("set HKCU\\A kept , save", hives_in(folder.path())), "0\n0\n");
  std::string path = folder / "hkcu.bin";
  const HKCUDataReader reader(path.data());
  EXPECT_EQ(reader.error, 0u);
  EXPECT_GT(reader.size, 100u);
}

TEST_F(Whole_Registry, SavingIntoAMissingFolderIs5) {
  EXPECT_EQ(act("set HKCU\\A kept , save " + folder / "missing/saved", hives_in(folder.path())), "0\n5\n");
}

TEST_F(Whole_Registry, TheSavedFileIsTheImageThatGetHkcuGives) {
  ASSERT_EQ(RegSetValue(HKEY_CURRENT_USER, "Image", REG_SZ, "text", 0), 0);
  unsigned size = 0;
  ASSERT_EQ(RegGetHKCU(nullptr, &size), 0);
  std::vector<unsigned char> image(size);
  ASSERT_EQ(RegGetHKCU(image.data(), &size), 0);
  std::string path = folder / "saved";
  ASSERT_EQ(RegSaveHKCU(path.c_str()), 0);
  const HKCUDataReader reader(path.data());
  ASSERT_EQ(reader.error, 0u);
  EXPECT_EQ(reader.size, size);
}

TEST_F(Whole_Registry, GetHkcuTellsTheSizeWhenTheRoomIsTooSmall) {
  ASSERT_EQ(RegSetValue(HKEY_CURRENT_USER, "Small", REG_SZ, "text", 0), 0);
  unsigned char byte = '#';
  unsigned size = 1;
  EXPECT_EQ(RegGetHKCU(&byte, &size), 234);
  EXPECT_EQ(byte, '#');
  EXPECT_GT(size, 100u);
}

// A program that goes on writing until the object ends; the object is made when it has begun.
class Writer {
 public:
  explicit Writer(const std::vector<std::string>& environment) {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("pipe");
    child_ = fork();
    if (child_ == 0) {
      dup2(ends[1], STDOUT_FILENO);
      detail::change_environment(environment);
      execl(KVTEST_ACT, KVTEST_ACT, "pair", "HKLM\\Pairs", static_cast<char*>(nullptr));
      _exit(127);
    }
    close(ends[1]);
    has_begun_ = read(ends[0], &first_, 1) == 1 && first_ == '.';
    close(ends[0]);
  }
  ~Writer() {
    kill(child_, SIGKILL);
    waitpid(child_, nullptr, 0);
  }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  bool has_begun() const { return has_begun_; }
  bool is_running() const { return waitpid(child_, nullptr, WNOHANG) == 0; }

 private:
  pid_t child_ = -1;
  char first_ = 0;
  bool has_begun_ = false;
};

TEST_F(Whole_Registry, ABackupIsOneMomentOfARegistryThatIsWrittenTo) {
  const Writer writer({});
  ASSERT_TRUE(writer.has_begun());
  for (int i = 0; i < 5; ++i) {
    const std::string backup = folder / ("backup" + std::to_string(i));
    ASSERT_EQ(RegBackup(backup.c_str(), nullptr), 0);
    const std::vector<std::string> restored = {"KVREGISTRY=" + backup + "/machine.hive", "KVREGISTRY_MODE",
                                               "KVCORE_PRIVATE_DATA=" + other / "core"};
    const std::string difference = act("difference HKLM\\Pairs", restored);
    EXPECT_TRUE(difference == "0\n" || difference == "1\n") << difference;
  }
  EXPECT_TRUE(writer.is_running());
}

TEST_F(Whole_Registry, ABackupWithoutAPathIs87) {
  EXPECT_EQ(RegBackup(nullptr, nullptr), 87);
  EXPECT_EQ(RegBackup("", nullptr), 87);
}

TEST_F(Whole_Registry, ABackupOntoAFileIsRefusedAndLeavesIt) {
  const std::string file = folder / "file";
  ASSERT_EQ(RegSaveHKCU(file.c_str()), 0);
  EXPECT_EQ(RegBackup(file.c_str(), nullptr), 183);
  EXPECT_TRUE(std::filesystem::is_regular_file(file));
}

TEST_F(Whole_Registry, WithoutAServerThereAreNoClientsAndNothingToShutDown) {
  unsigned count = 7;
  EXPECT_EQ(RegListConnected(nullptr, &count), 0);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(RegShutDown(), 120);
  EXPECT_EQ(RegUxGetLogSettings(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 120);
  EXPECT_EQ(KvSetServiceData(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 120);
  EXPECT_EQ(KvGetServiceData(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 120);
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKey(HKEY_LOCAL_MACHINE, "", &key), 0);
  RegCloseKey(key);
}

}  // namespace
}  // namespace kvtest
