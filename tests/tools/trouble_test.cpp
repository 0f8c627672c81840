// kvreg on hives and disks in trouble: what it says, and that everything stays whole.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "tests/support/ordinary_user.h"
#include "tests/support/own_mounts.h"
#include "tests/support/private_etc.h"
#include "tests/tools/kvreg.h"

namespace {

class Trouble : public Kvreg {
 protected:
  // A hive of its own that nobody uses, with one value.
  std::string saved_hive() const {
    add("HKLM\\M", "a", "1");
    EXPECT_EQ(out({"save", "HKLM\\M", file("saved.hive")}), done);
    return file("saved.hive");
  }
  // kvreg with the machine's hive in this file.
  kvtest::Child_Result run_with(const std::string& hive, std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), KVTEST_KVREG);
    std::vector<std::string> all = environment();
    all.push_back("KVREGISTRY=" + hive);
    return kvtest::run_program(arguments, all);
  }
  // A shell script whose folder is a disk of one megabyte that nobody else sees; $0 is kvreg.
  kvtest::Child_Result on_small_disk(const std::string& script) const {
    const std::string disk = file("disk");
    mkdir(disk.c_str(), 0700);
    return kvtest::run_child([&] {
      kvtest::begin_own_mounts();
      if (mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=1m") != 0) kvtest::give_up_on_mounts("no disk of our own");
      kvtest::detail::change_environment(environment());
      if (chdir(disk.c_str()) != 0) _exit(99);
      execl("/bin/sh", "sh", "-c", script.c_str(), KVTEST_KVREG, nullptr);
    });
  }
  // A .reg file with a megabyte of values below HKLM\Large.
  std::string large_file() const {
    std::string text = "Windows Registry Editor Version 5.00\n[HKEY_LOCAL_MACHINE\\Large]\n";
    for (int i = 0; i < 100; ++i) text += "\"v" + std::to_string(i) + "\"=\"" + std::string(10'000, 'x') + "\"\n";
    write(file("large.reg"), text);
    return file("large.reg");
  }
};

std::string refusal(const std::string& verb, const std::string& hive, const std::string& reason) {
  return "kvreg " + verb + ": HKEY_LOCAL_MACHINE\\M: " + hive + ": " + reason + "\n";
}

// The folders that the test was given for itself, so that another user comes to the test's own.
void open_way_for_others() {
  const std::filesystem::path temporary = std::filesystem::temp_directory_path(), above = temporary.parent_path();
  if (!above.filename().string().starts_with("kvtest.")) return;
  for (const std::filesystem::path& each : {temporary, above}) chmod(each.c_str(), 0711);
}

bool ends_with(const std::string& text, const std::string& end) { return text.ends_with(end); }

TEST_F(Trouble, AHiveThatMayOnlyBeReadIsNamed) {
  const std::string hive = saved_hive();
  ASSERT_EQ(chmod(hive.c_str(), 0444), 0);
  open_way_for_others();
  const auto as_ordinary_user = [&](const std::vector<const char*>& words) {
    return kvtest::run_child([&] {
      kvtest::detail::change_environment(environment());
      setenv("KVREGISTRY", hive.c_str(), 1);
      if (!kvtest::become_ordinary_user()) _exit(99);
      std::vector<char*> argv;
      for (const char* each : words) argv.push_back(const_cast<char*>(each));
      argv.push_back(nullptr);
      execv(KVTEST_KVREG, argv.data());
    });
  };
  const kvtest::Child_Result read = as_ordinary_user({KVTEST_KVREG, "query", "HKLM", "/v", "a"});
  EXPECT_EQ(read.out, "\nHKEY_LOCAL_MACHINE\n    a    REG_SZ    1\n") << read.err;
  const kvtest::Child_Result written = as_ordinary_user({KVTEST_KVREG, "add", "HKLM\\M"});
  EXPECT_EQ(written.exit_status, 1);
  EXPECT_TRUE(ends_with(
      written.err,
      refusal("add", hive,
              "access denied: the rights of the key or of the hive's file do not allow it (ERROR_ACCESS_DENIED, 5)")))
      << written.err;
}

TEST_F(Trouble, AHiveOfALaterVersionIsNamedAndLeftAlone) {
  const std::string hive = saved_hive();
  std::string later = content(hive);
  constexpr std::size_t user_version_at = 60;
  later[user_version_at + 3] = 99;
  write(hive, later);
  const kvtest::Child_Result result = run_with(hive, {"add", "HKLM\\M", "/v", "b", "/d", "2", "/f"});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_NE(result.err.find("a hive of a newer version"), std::string::npos) << result.err;
  EXPECT_TRUE(ends_with(result.err, refusal("add", hive,
                                            "the file is no hive, one of a later version, or has a second hard link "
                                            "(ERROR_NOT_REGISTRY_FILE, 1017)")))
      << result.err;
  EXPECT_TRUE(content(hive) == later);
}

TEST_F(Trouble, ADamagedHiveIsNamedAndLeftAlone) {
  const std::string hive = saved_hive();
  std::string damaged = content(hive);
  damaged.replace(4096, damaged.size() - 4096, damaged.size() - 4096, '\x55');
  write(hive, damaged);
  const kvtest::Child_Result result = run_with(hive, {"query", "HKLM\\M"});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_TRUE(ends_with(result.err, refusal("query", hive, "the hive is damaged (ERROR_BADDB, 1009)"))) << result.err;
  EXPECT_TRUE(content(hive).substr(4096) == damaged.substr(4096));
}

TEST_F(Trouble, AHiveThatAnotherProgramHoldsIsNamed) {
  const std::string hive = saved_hive();
  EXPECT_EQ(run_with(hive, {"add", "HKLM\\M"}).exit_status, 0);
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(hive.c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
  const kvtest::Child_Result result = run_with(hive, {"add", "HKLM\\M", "/v", "b", "/d", "2", "/f"});
  sqlite3_close(other);
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_NE(result.err.find(hive + ": "), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("(ERROR_BUSY, 170)\n"), std::string::npos) << result.err;
}

TEST_F(Trouble, AFullDiskLeavesTheTargetOfAnExportAndOfASaveWhole) {
  EXPECT_EQ(out({"import", large_file()}), done);
  const kvtest::Child_Result result = on_small_disk(
      "echo mine >a.reg; echo mine >a.hive; head -c 800000 /dev/zero >fill\n"
      "\"$0\" export HKLM\\\\Large a.reg /y; echo $?; \"$0\" save HKLM\\\\Large a.hive /y; echo $?\n"
      "\"$0\" export HKLM\\\\Large b.reg; echo $?; \"$0\" save HKLM\\\\Large b.hive; echo $?; cat a.reg a.hive; ls");
  if (result.exit_status == kvtest::no_own_mounts) GTEST_SKIP() << result.err;
  EXPECT_EQ(result.out, "1\n1\n1\n1\nmine\nmine\na.hive\na.reg\nfill\n") << result.err;
  EXPECT_NE(result.err.find("a.reg: No space left on device\n"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("(ERROR_DISK_FULL, 112)\n"), std::string::npos) << result.err;
}

TEST_F(Trouble, AFullDiskLeavesTheBackupBeforeWhole) {
  add("HKLM\\M", "a", "1");
  large_file();
  const kvtest::Child_Result result = on_small_disk(
      "\"$0\" backup bk >/dev/null; cp bk/machine.hive before; head -c 800000 /dev/zero >fill\n"
      "\"$0\" import ../large.reg; \"$0\" backup bk; echo $?; cmp bk/machine.hive before && ls bk");
  if (result.exit_status == kvtest::no_own_mounts) GTEST_SKIP() << result.err;
  EXPECT_EQ(result.out, std::string(done) + "1\nmachine.hive\n") << result.err;
  EXPECT_NE(result.err.find("/bk: the disk is full (ERROR_DISK_FULL, 112)\n"), std::string::npos) << result.err;
}

TEST_F(Trouble, AFullDiskLeavesNothingOfAnImport) {
  large_file();
  const kvtest::Child_Result result = on_small_disk(
      "KVREGISTRY=$PWD/m.hive; export KVREGISTRY; \"$0\" add HKLM\\\\Mine >/dev/null\n"
      "head -c 500000 /dev/zero >fill; \"$0\" import ../large.reg; echo $?; \"$0\" ls HKLM; rm fill; \"$0\" ls HKLM");
  if (result.exit_status == kvtest::no_own_mounts) GTEST_SKIP() << result.err;
  EXPECT_EQ(result.out, "1\nMine\\\nMine\\\n") << result.err;
  EXPECT_NE(result.err.find("(ERROR_DISK_FULL, 112)"), std::string::npos) << result.err;
}

// In the child: a server of the machine that an ordinary user runs, in the background; its exit status.
int start_server_of_ordinary_user() {
  const pid_t server = fork();
  if (server == 0) {
    if (!kvtest::become_ordinary_user()) _exit(99);
    execl(KVTEST_REGSS, KVTEST_REGSS, "--machine", "--background", nullptr);
    _exit(127);
  }
  int status = -1;
  waitpid(server, &status, 0);
  return status;
}

TEST_F(Trouble, AServerOfAUserOfItsOwnIsMetByOthers) {
  if (geteuid() != 0) GTEST_SKIP() << "only root makes processes of another user";
  open_way_for_others();
  const std::string core = file("core"), place = file("place");
  for (const std::string& each : {file("etc"), core, place}) ASSERT_EQ(mkdir(each.c_str(), 0755), 0);
  ASSERT_EQ(chmod(place.c_str(), 01777), 0);
  ASSERT_EQ(chown(core.c_str(), kvtest::ordinary_id, kvtest::ordinary_id), 0);
  write(file("etc/kelvane.conf"), "CORE_DATA=" + core + "\n");
  const kvtest::Child_Result result = kvtest::run_child([&] {
    const std::string why_not = kvtest::put_folder_over_etc(file("etc"));
    if (!why_not.empty()) {
      fprintf(stderr, "%s", why_not.c_str());
      fflush(stderr);
      _exit(kvtest::no_own_mounts);
    }
    kvtest::detail::change_environment({"HOME=" + core, "TMPDIR=" + place, "KVREGISTRY_MODE=0", "KVREGISTRY"});
    if (start_server_of_ordinary_user() != 0) _exit(98);
    setenv("HOME", file("").c_str(), 1);
    execl(KVTEST_KVREG, KVTEST_KVREG, "add", "HKLM\\S", nullptr);
  });
  pid_t server = 0;
  if (std::ifstream(place + "/kv/regss.pid") >> server) Test_Registry::end_server(server);
  if (result.exit_status == kvtest::no_own_mounts) GTEST_SKIP() << result.err;
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out, done);
}

// A kvreg whose standard input is a pipe that stays open.
class Reading {
 public:
  explicit Reading(const std::vector<std::string>& environment) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return;
    child_ = fork();
    if (child_ == 0) {
      dup2(ends[0], STDIN_FILENO);
      kvtest::detail::change_environment(environment);
      execl(KVTEST_KVREG, KVTEST_KVREG, "import", "-", nullptr);
      _exit(127);
    }
    close(ends[0]);
    input_ = ends[1];
  }
  ~Reading() { close(input_); }
  Reading(const Reading&) = delete;
  Reading& operator=(const Reading&) = delete;

  // More than a pipe holds: kvreg reads when this comes back.
  void write_much(std::string text) const {
    text.append(1 << 20, '\n');
    for (std::size_t at = 0; at < text.size();) {
      const ssize_t written = write(input_, text.data() + at, text.size() - at);
      if (written <= 0) return;
      at += static_cast<std::size_t>(written);
    }
  }
  // Until the signal has ended it, or minus that signal.
  int end_by(int signal) {
    int status = 0;
    // What comes between two reads is noticed at the next one.
    do {
      kill(child_, signal);
      poll(nullptr, 0, 10);
    } while (waitpid(child_, &status, WNOHANG) == 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

 private:
  int input_ = -1;
  pid_t child_ = -1;
};

TEST_F(Trouble, ASignalWhileAFileIsReadChangesNothing) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    Reading import(environment());
    import.write_much("Windows Registry Editor Version 5.00\n[HKEY_LOCAL_MACHINE\\S]\n\"a\"=\"1\"\n");
    EXPECT_EQ(import.end_by(signal), 128 + signal);
  }
  EXPECT_EQ(run({"query", "HKLM\\S"}).exit_status, 1);
}

}  // namespace
