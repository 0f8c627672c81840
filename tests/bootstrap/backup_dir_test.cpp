// The folder of backups, the base name of a backup, the mask of registry files, and the mark of an
// administration utility.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>

#include "tests/bootstrap/in_child.h"

namespace kvtest {
namespace {

constexpr int no_size = INT_MIN;

// What KvGetRegistryBackupDir gives in a child: result, size, and the length and the text of a short path.
// Without a size the null pointer is passed.
Child_Result backup_folder(const std::vector<std::string>& variables, int size = 8192, bool with_buffer = true) {
  return run_child([&] {
    unsetenv("KVREG_BACKUP_DIR");
    unsetenv("KVUSER_DIRECTORY");
    setenv("KVREGISTRY_MODE", "1", 1);
    for (const std::string& variable : variables) {
      const size_t equals = variable.find('=');
      setenv(variable.substr(0, equals).c_str(), variable.c_str() + equals + 1, 1);
    }
    static char buffer[8192] = "untouched";
    const int result = KvGetRegistryBackupDir(with_buffer ? buffer : nullptr, size == no_size ? nullptr : &size);
    say("%d", result);
    if (size != no_size) say(" %d", size);
    say(" %zu %.40s\n", strlen(buffer), buffer);
  });
}

// In a child: a registry whose log shows what has level 0 only.
void choose_lowest_log_level() {
  kvrecording::Control& recording = choose_recording();
  init_advapi32();
  recording.script("KvIRegCreateKeyEx", [](const kvrecording::Call& call) {
    call.store("out_key", reinterpret_cast<HKEY>(uintptr_t{0x5151}));
    return 0;
  });
  recording.script("KvIRegQueryValueEx", [](const kvrecording::Call& call) {
    call.store("out_type", DWORD{REG_DWORD});
    call.store("data_size", DWORD{4});
    call.write("data", std::string(4, '\0'));
    return 0;
  });
}

std::string path_of(size_t length) { return std::string("/").append(length - 1, 'p'); }

TEST(BackupFolder, IsTheOneThatIsSet) {
  EXPECT_EQ(backup_folder({"KVREG_BACKUP_DIR=/my/backups", "KVUSER_DIRECTORY=/u"}).out, "1 12 11 /my/backups\n");
}

TEST(BackupFolder, LiesInTheUsersFolderOtherwise) {
  EXPECT_EQ(backup_folder({"KVUSER_DIRECTORY=/home/u"}).out, "1 24 23 /home/u/registry_backup\n");
}

TEST(BackupFolder, LiesInTheTemporaryFolderWithoutBoth) {
  EXPECT_EQ(backup_folder({"TMPDIR=/var/tmp"}).out, "1 25 24 /var/tmp/registry_backup\n");
}

TEST(BackupFolder, AsksForTheTemporaryFolderWithZero) {
  const Child_Result child = run_child([] {
    unsetenv("KVREG_BACKUP_DIR");
    unsetenv("KVUSER_DIRECTORY");
    tell_questions_for_names();
    int size = 0;
    KvGetRegistryBackupDir(nullptr, &size);
  });
  EXPECT_EQ(child.out, "temporary directory 0\n");
}

TEST(BackupFolder, AVariableThatIsSetAndEmptyCounts) {
  EXPECT_EQ(backup_folder({"KVREG_BACKUP_DIR=", "KVUSER_DIRECTORY=/u"}).out, "1 1 0 \n");
  EXPECT_EQ(backup_folder({"KVUSER_DIRECTORY="}).out, "1 17 16 /registry_backup\n");
}

TEST(BackupFolder, TellsTheSizeWithoutABuffer) {
  EXPECT_EQ(backup_folder({"KVREG_BACKUP_DIR=/b"}, 0, false).out, "1 3 9 untouched\n");
  EXPECT_EQ(backup_folder({"KVREG_BACKUP_DIR=/b"}, -1, false).out, "1 3 9 untouched\n");
}

TEST(BackupFolder, GivesNothingWithoutASize) {
  EXPECT_EQ(backup_folder({"KVREG_BACKUP_DIR=/b"}, no_size).out, "0 9 untouched\n");
  EXPECT_EQ(backup_folder({"KVREG_BACKUP_DIR=/b"}, no_size, false).out, "0 9 untouched\n");
}

TEST(BackupFolder, LooksAtNoPathWithoutASize) {
  const Child_Result child = backup_folder({"KVUSER_DIRECTORY=" + path_of(5000)}, no_size);
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.out, "0 9 untouched\n");
}

TEST(BackupFolder, NeedsRoomForTheTerminator) {
  EXPECT_EQ(backup_folder({"KVREG_BACKUP_DIR=/bb"}, 4).out, "1 4 3 /bb\n");
  EXPECT_EQ(backup_folder({"KVREG_BACKUP_DIR=/bb"}, 3).out, "0 4 9 untouched\n");
  EXPECT_EQ(backup_folder({"KVREG_BACKUP_DIR=/bb"}, 0).out, "0 4 9 untouched\n");
  EXPECT_EQ(backup_folder({"KVREG_BACKUP_DIR=/bb"}, -1).out, "0 4 9 untouched\n");
}

TEST(BackupFolder, ASetPathIsCutToWhatHasRoomForATerminator) {
  const std::string pppp = std::string("/").append(39, 'p') + "\n";
  EXPECT_EQ(backup_folder({"KVREG_BACKUP_DIR=" + path_of(4095)}).out, "1 4096 4095 " + pppp);
  EXPECT_EQ(backup_folder({"KVREG_BACKUP_DIR=" + path_of(4096)}).out, "1 4096 4095 " + pppp);
  EXPECT_EQ(backup_folder({"KVREG_BACKUP_DIR=" + path_of(6000)}).out, "1 4096 4095 " + pppp);
}

// QUIRK backup-dir-bound
TEST(BackupFolder, ADefaultPathOf4096CharactersLosesItsLastOne) {
  const std::string pppp = std::string("/").append(39, 'p') + "\n";
  EXPECT_EQ(backup_folder({"KVUSER_DIRECTORY=" + path_of(4079)}).out, "1 4096 4095 " + pppp);
  EXPECT_EQ(backup_folder({"KVUSER_DIRECTORY=" + path_of(4080)}).out, "1 4096 4095 " + pppp);
}

TEST(BackupFolder, ADefaultPathOf4097CharactersEndsTheProcess) {
  const Child_Result child = backup_folder({"KVUSER_DIRECTORY=" + path_of(4081)});
  EXPECT_EQ(child.exit_status, 1);
  EXPECT_EQ(without_times(child.out),
            "TIME  [# 1] ->\n" + path_of(4081) + "/registry_backup path too long, set KVREG_BACKUP_DIR.\n");
  EXPECT_EQ(child.err, "");
}

TEST(BackupFolder, SaysThatItsPathIsTooLongAlsoToALogOfTheLowestLevel) {
  const Child_Result child = run_child([] {
    choose_lowest_log_level();
    make_exit_return();
    unsetenv("KVREG_BACKUP_DIR");
    setenv("KVUSER_DIRECTORY", path_of(4081).c_str(), 1);
    int size = 0;
    KvGetRegistryBackupDir(nullptr, &size);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(without_times(child.out), "TIME  [# 1] ->\n" + path_of(4081) +
                                          "/registry_backup path too long, set KVREG_BACKUP_DIR.\n"
                                          "KvExit 1\n");
}

TEST(BackupFolder, ASetPathIsTakenWhereTheDefaultWouldBeTooLong) {
  EXPECT_EQ(backup_folder({"KVREG_BACKUP_DIR=/b", "KVUSER_DIRECTORY=" + path_of(5000)}).out, "1 3 2 /b\n");
}

TEST(BackupName, IsAConstant) {
  EXPECT_STREQ(KvGetRegistryBackupBaseName(), "regss_backup.#");
  EXPECT_EQ(KvGetRegistryBackupBaseName(), KvGetRegistryBackupBaseName());
}

int mask_of(const char* value) {
  const Child_Result child = run_child([value] {
    setenv("KVREGUMASK", value, 1);
    say("%d", get_kv_umask());
  });
  return std::stoi(child.out);
}

TEST(RegistryMask, Is002WhenNothingIsSet) {
  const Child_Result child = run_child([] {
    unsetenv("KVREGUMASK");
    say("%d", get_kv_umask());
  });
  EXPECT_EQ(child.out, "2");
}

TEST(RegistryMask, IsReadAsOctal) {
  EXPECT_EQ(mask_of("027"), 23);
  EXPECT_EQ(mask_of("27"), 23);
  EXPECT_EQ(mask_of("0"), 0);
  EXPECT_EQ(mask_of("777"), 511);
  EXPECT_EQ(mask_of(" 22"), 18);
}

TEST(RegistryMask, EndsAtTheFirstCharacterThatIsNoOctalDigit) {
  EXPECT_EQ(mask_of("28"), 2);
  EXPECT_EQ(mask_of("7x"), 7);
}

TEST(RegistryMask, Is002WhenTheTextIsNoNumber) {
  EXPECT_EQ(mask_of("x"), 2);
  EXPECT_EQ(mask_of(""), 2);
  EXPECT_EQ(mask_of("9"), 2);
}

TEST(RegistryMask, IsReadAnewAtEachCall) {
  const Child_Result child = run_child([] {
    setenv("KVREGUMASK", "7", 1);
    say("%d", get_kv_umask());
    setenv("KVREGUMASK", "70", 1);
    say(" %d", get_kv_umask());
  });
  EXPECT_EQ(child.out, "7 56");
}

TEST(AdmUtility, IsWhatItsVariableSays) {
  const Child_Result child = run_child([] {
    unsetenv("KVADM_UTILITY");
    say("%d", KvIsAdmUtility() != 0);
    for (const char* value : {"1", "0", "", "yes"}) {
      setenv("KVADM_UTILITY", value, 1);
      say(" %d", KvIsAdmUtility() != 0);
    }
  });
  EXPECT_EQ(child.out, "0 1 0 0 1");
}

TEST(AdmUtility, IsUnsetByAZeroInTheEnvironment) {
  const Child_Result child = run_child([] {
    setenv("KVADM_UTILITY", "1", 1);
    const int result = KvUnsetAdmUtility();
    say("%d %s %d\n", result, getenv("KVADM_UTILITY"), KvIsAdmUtility());
    setenv("KVADM_UTILITY", "1", 1);
    KvUnsetAdmUtility();
    KvUnsetAdmUtility();
    say("%s %d\n", getenv("KVADM_UTILITY"), KvIsAdmUtility());
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "0 0 0\n0 0\n");
}

}  // namespace
}  // namespace kvtest
