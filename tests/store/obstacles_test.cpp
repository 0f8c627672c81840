// Good hives with something in the way: rights, links, a full disk, another program's lock, missing standard
// descriptors. As with damage: a clear code, one line, nothing overwritten, and on once the way is free.
#include <fcntl.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/store/hive_files.h"
#include "tests/support/own_mounts.h"

namespace kvtest {
namespace {

TEST_F(Hive_Files, WithAnotherHardLinkAreRefusedAndUntouched) {
  write_file(hive(), good());
  fs::create_hard_link(hive(), folder_ / "link");
  Child_Result result = act({{"get", "HKLM\\Software\\K1", "n"},
                             {"set", "HKLM\\Software\\K1", "n", "new"},
                             {"remove", folder_ / "link"},
                             {"set", "HKLM\\Software\\K1", "n", "new"}},
                            environment());
  EXPECT_EQ(result.out, "1017\n1017\nremoved\n0\n");
  expect_one_line_naming(hive(), result);
  EXPECT_EQ(content_of(folder_ / "link"), "");
}

// A user who is not root, for files that he may not use; only root can become one.
constexpr uid_t nobody = 65534;

class Forbidden_Hives : public Hive_Files {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only root can run a program as another user";
    write_file(hive(), good());
    // The way to the hive is open to all, as far as it is the test's own.
    for (fs::path folder = folder_.path(); folder.string().find("/kvtest.") != std::string::npos;
         folder = folder.parent_path()) {
      fs::permissions(folder, fs::perms(0755));
    }
    fs::create_directory(home());
    ASSERT_EQ(chown(home().c_str(), nobody, nobody), 0);
  }
  std::string home() const { return folder_ / "home"; }

  Child_Result act_as_nobody(const std::vector<Step>& steps) {
    return act_as_nobody(steps, {"HOME=" + home(), "KVREGISTRY=" + hive()});
  }
  Child_Result act_as_nobody(const std::vector<Step>& steps, const std::vector<std::string>& environment) {
    std::vector<std::string> arguments = {"/usr/bin/env"};
    arguments.insert(arguments.end(), environment.begin(), environment.end());
    for (const std::string& word : act_arguments(steps)) arguments.push_back(word);
    return run_child([&] {
      if (setgid(nobody) != 0 || setuid(nobody) != 0) _exit(78);
      std::vector<char*> words;
      for (const std::string& word : arguments) words.push_back(const_cast<char*>(word.c_str()));
      words.push_back(nullptr);
      execv(words[0], words.data());
      _exit(127);
    });
  }
  // The tree that the program was built in may be closed to others.
  static bool may_run(const Child_Result& result) { return result.exit_status != 126 && result.exit_status != 127; }
};

TEST_F(Forbidden_Hives, ThatMayNotBeReadAre5) {
  fs::permissions(hive(), fs::perms(0600));
  Child_Result result = act_as_nobody(uses());
  if (!may_run(result)) GTEST_SKIP() << result.err;
  EXPECT_EQ(result.out, refused("5"));
  expect_one_line_naming(hive(), result);
  EXPECT_TRUE(content_of(hive()) == good());
}

TEST_F(Forbidden_Hives, ThatMayNotBeReadWorkAgainOncePutRight) {
  fs::permissions(hive(), fs::perms(0000));
  ASSERT_EQ(chown(hive().c_str(), nobody, nobody), 0);
  ASSERT_EQ(chown(folder_.path().c_str(), nobody, nobody), 0);
  Child_Result result = act_as_nobody({{"open", "HKLM\\Software\\K1"},
                                       {"chmod", "0600", hive()},
                                       {"get", "HKLM\\Software\\K1", "n"},
                                       {"set", "HKLM\\Software\\K1", "n", "new"}});
  if (!may_run(result)) GTEST_SKIP() << result.err;
  EXPECT_EQ(result.out, "5\n0\n0 " + std::string(100, 'v') + "\n0\n");
  expect_one_line_naming(hive(), result);
}

TEST_F(Forbidden_Hives, ThatMayOnlyBeReadAreReadAndRefuseToBeWritten) {
  fs::permissions(hive(), fs::perms(0644));
  Child_Result result = act_as_nobody(uses());
  if (!may_run(result)) GTEST_SKIP() << result.err;
  EXPECT_TRUE(answered(result, "0 " + std::string(100, 'v') + "\n0 1\n5\n5 0\n"));
  EXPECT_TRUE(content_of(hive()) == good());
}

// The log's lines, without the time.
std::string without_headers(std::string text) {
  for (std::size_t header; (header = text.find("] ->\n")) != text.npos;) {
    const std::size_t start = text.rfind('\n', header) + 1;
    text.erase(start, header + 5 - start);
  }
  return text;
}

TEST_F(Forbidden_Hives, ThatMayOnlyBeReadGiveTheLogsItsSettings) {
  const std::string settings = "HKLM\\Software\\Tressaly\\regss\\log";
  fs::permissions(hive(), fs::perms(0644));
  const std::vector<Step> steps = {{"log", "1", "one"}, {"log", "2", "two"}};
  Child_Result before = act_as_nobody(steps);
  if (!may_run(before)) GTEST_SKIP() << before.err;
  // The key is missing and cannot be made.
  EXPECT_EQ(without_headers(before.out), "one\nlogged\nlogged\n");
  EXPECT_EQ(before.err, "");
  ASSERT_TRUE(answered(act({{"number", settings, "LogLevel", "2"}}, environment()), "0\n"));
  Child_Result after = act_as_nobody(steps);
  EXPECT_EQ(without_headers(after.out), "one\nlogged\ntwo\nlogged\n");
  EXPECT_EQ(after.err, "");
}

TEST_F(Forbidden_Hives, ThatOthersWriteAreReadWithTheirLatestValues) {
  fs::permissions(hive(), fs::perms(0644));
  ASSERT_TRUE(answered(act({{"set", "HKLM\\Software\\K1", "n", "latest"}}, environment()), "0\n"));
  Child_Result result = act_as_nobody({{"get", "HKLM\\Software\\K1", "n"}});
  if (!may_run(result)) GTEST_SKIP() << result.err;
  EXPECT_TRUE(answered(result, "0 latest\n"));
}

TEST_F(Forbidden_Hives, InAFolderThatMayNotBeWrittenCannotBeMade) {
  fs::remove(hive());
  Child_Result result = act_as_nobody({{"set", "HKLM\\S", "n", "x"}});
  if (!may_run(result)) GTEST_SKIP() << result.err;
  EXPECT_EQ(result.out, "5\n");
  expect_one_line_naming(hive(), result);
  EXPECT_FALSE(fs::exists(hive()));
}

TEST_F(Forbidden_Hives, InAFolderThatMayNotBeWrittenAreReadWithoutALogAndWrittenWhileThereIsOne) {
  fs::permissions(hive(), fs::perms(0666));
  const std::vector<Step> steps = {{"get", "HKLM\\Software\\K1", "n"}, {"set", "HKLM\\Software\\K1", "n", "new"}};
  Child_Result result = act_as_nobody(steps);
  if (!may_run(result)) GTEST_SKIP() << result.err;
  EXPECT_TRUE(answered(result, "0 " + std::string(100, 'v') + "\n5\n"));
  EXPECT_TRUE(content_of(hive()) == good());
  EXPECT_FALSE(fs::exists(hive() + "-wal"));
  ASSERT_TRUE(answered(act({{"set", "HKLM\\Software\\K2", "n", "root's"}}, environment()), "0\n"));
  EXPECT_TRUE(answered(act_as_nobody(steps), "0 " + std::string(100, 'v') + "\n0\n"));
  EXPECT_TRUE(answered(act({{"get", "HKLM\\Software\\K1", "n"}}, environment()), "0 new\n"));
}

TEST_F(Forbidden_Hives, OfAnotherUserThatRootWritesStayThatUsers) {
  ASSERT_EQ(chown(hive().c_str(), nobody, nobody), 0);
  ASSERT_EQ(chown(folder_.path().c_str(), nobody, nobody), 0);
  fs::permissions(hive(), fs::perms(0640));
  ASSERT_TRUE(answered(act({{"set", "HKLM\\Software\\K1", "n", "root's"}}, environment()), "0\n"));
  for (const char* beside : {"", "-wal", "-shm", "-queue"}) {
    struct stat found;
    ASSERT_EQ(stat((hive() + beside).c_str(), &found), 0) << beside;
    EXPECT_EQ(found.st_uid, nobody) << beside;
    EXPECT_EQ(found.st_gid, nobody) << beside;
    EXPECT_EQ(found.st_mode & 0777, beside == std::string("-queue") ? 0600u : 0640u) << beside;
  }
  Child_Result result = act_as_nobody({{"get", "HKLM\\Software\\K1", "n"}, {"set", "HKLM\\Software\\K1", "n", "own"}});
  if (!may_run(result)) GTEST_SKIP() << result.err;
  EXPECT_TRUE(answered(result, "0 root's\n0\n"));
}

// Where the user's settings cannot be kept, they last as long as the process, and a line says so.
class Forbidden_Homes : public Forbidden_Hives {
 protected:
  const std::vector<Step> uses_of_the_users_ = {{"set", "HKCU\\S", "n", "x"}, {"get", "HKCU\\S", "n"}};
};

TEST_F(Forbidden_Homes, ThatMayNotBeWrittenGiveAPrivateUsersHiveAndNoMachineHive) {
  fs::permissions(home(), fs::perms(0555));
  ASSERT_EQ(chown(home().c_str(), 0, 0), 0);
  std::vector<Step> steps = uses_of_the_users_;
  steps.push_back({"set", "HKLM\\S", "n", "x"});
  Child_Result result = act_as_nobody(steps, {"-u", "KVREGISTRY", "HOME=" + home()});
  if (!may_run(result)) GTEST_SKIP() << result.err;
  EXPECT_EQ(result.out, "0\n0 x\n5\n");
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 2) << result.err;
  EXPECT_NE(result.err.find("HKEY_CURRENT_USER lasts only as long as this process"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("access is denied"), std::string::npos) << result.err;
  EXPECT_TRUE(fs::is_empty(home()));
}

TEST_F(Forbidden_Homes, WithACoreDataFolderThatMayNotBeWrittenGiveAPrivateUsersHive) {
  fs::create_directory(folder_ / "core");
  Child_Result result = act_as_nobody(
      uses_of_the_users_, {"HOME=" + home(), "KVREGISTRY=" + hive(), "KVCORE_PRIVATE_DATA=" + (folder_ / "core")});
  if (!may_run(result)) GTEST_SKIP() << result.err;
  EXPECT_EQ(result.out, "0\n0 x\n");
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
  EXPECT_NE(result.err.find(folder_ / "core"), std::string::npos) << result.err;
  EXPECT_TRUE(fs::is_empty(folder_ / "core"));
}

TEST_F(Forbidden_Homes, ThatBecomeReadOnlyKeepTheUsersHiveReadable) {
  const std::vector<std::string> environment = {"HOME=" + home(), "KVREGISTRY=" + hive()};
  Child_Result before = act_as_nobody({{"set", "HKCU\\S", "n", "x"}}, environment);
  if (!may_run(before)) GTEST_SKIP() << before.err;
  EXPECT_TRUE(answered(before, "0\n"));
  for (const auto& entry : fs::recursive_directory_iterator(home())) {
    fs::permissions(entry.path(), fs::perms(0222), fs::perm_options::remove);
  }
  EXPECT_TRUE(
      answered(act_as_nobody({{"get", "HKCU\\S", "n"}, {"set", "HKCU\\S", "n", "y"}}, environment), "0 x\n5\n"));
}

// Runs the body in a child where the folder is a small disk.
Child_Result on_small_disk(const std::string& folder, const std::function<void()>& body) {
  return run_child([&] {
    begin_own_mounts();
    if (mount("small", folder.c_str(), "tmpfs", 0, "size=1m") != 0) give_up_on_mounts("no disk of our own");
    body();
  });
}

void fill_disk(const std::string& file) {
  int fd = open(file.c_str(), O_WRONLY | O_CREAT, 0600);
  std::string block(4096, 'f');
  while (write(fd, block.data(), block.size()) > 0) {
  }
  close(fd);
}

void hand_on(const Child_Result& result) {
  fputs(result.out.c_str(), stdout);
  fputs(result.err.c_str(), stderr);
}

TEST_F(Hive_Files, OnAFullDiskAre112ToWriteAndCanBeReadAndWorkAgainWithRoom) {
  Temp_Folder disk;
  const std::string on_disk = disk / "machine.hive";
  Child_Result result = on_small_disk(disk.path(), [&] {
    const std::vector<std::string> environment = {"KVREGISTRY=" + on_disk};
    hand_on(act({{"set", "HKLM\\S", "n", "before"}}, environment));
    fill_disk(disk / "filler");
    hand_on(act({{"large", "HKLM\\S", "big", "400000"},
                 {"large", "HKLM\\S", "big", "300000"},
                 {"get", "HKLM\\S", "n"},
                 {"remove", disk / "filler"},
                 {"large", "HKLM\\S", "big", "200000"}},
                environment));
    hand_on(act({{"get", "HKLM\\S", "n"}, {"names", "HKLM\\S"}}, environment));
  });
  if (result.exit_status == no_own_mounts) GTEST_SKIP() << result.err;
  EXPECT_EQ(result.out, "0\n112\n112\n0 before\nremoved\n0\n0 before\n0 2\n");
  expect_one_line_naming(on_disk, result);
}

TEST_F(Hive_Files, OnAFullDiskCannotBeMade) {
  Temp_Folder disk;
  const std::string on_disk = disk / "machine.hive";
  Child_Result result = on_small_disk(disk.path(), [&] {
    fill_disk(disk / "filler");
    hand_on(act({{"set", "HKLM\\S", "n", "x"}, {"remove", disk / "filler"}, {"set", "HKLM\\S", "n", "x"}},
                {"KVREGISTRY=" + on_disk}));
  });
  if (result.exit_status == no_own_mounts) GTEST_SKIP() << result.err;
  EXPECT_EQ(result.out, "112\nremoved\n0\n");
  expect_one_line_naming(on_disk, result);
}

// Another program, which holds the hive while it lives.
class Holder {
 public:
  Holder(const std::string& file, const char* statements) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("pipe2");
    fflush(nullptr);
    pid_ = fork();
    if (pid_ == 0) {
      sqlite3* db = nullptr;
      bool held = sqlite3_open(file.c_str(), &db) == SQLITE_OK &&
                  sqlite3_exec(db, statements, nullptr, nullptr, nullptr) == SQLITE_OK;
      [[maybe_unused]] ssize_t written = write(ends[1], held ? "y" : "n", 1);
      for (;;) pause();
    }
    close(ends[1]);
    char answer = 'n';
    holds = read(ends[0], &answer, 1) == 1 && answer == 'y';
    close(ends[0]);
  }
  ~Holder() { let_go(); }
  void let_go() {
    if (pid_ < 0) return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
  }
  std::string process() const { return std::to_string(pid_); }
  bool holds = false;

 private:
  pid_t pid_ = -1;
};

TEST_F(Hive_Files, ThatAnotherProgramHoldsAloneAre170UntilItLetsGo) {
  put_hive(good());
  Holder holder(hive(), "PRAGMA locking_mode=EXCLUSIVE; BEGIN EXCLUSIVE; DELETE FROM meta WHERE 0");
  ASSERT_TRUE(holder.holds);
  std::vector<Step> steps = {{"open", "HKLM\\Software\\K1"},
                             {"kill", holder.process()},
                             {"set", "HKLM\\Software\\K1", "n", "x"},
                             {"get", "HKLM\\Software\\K1", "n"}};
  Child_Result result = act(steps, environment());
  EXPECT_EQ(result.out, "170\nkilled\n0\n0 x\n");
  expect_one_line_naming(hive(), result);
}

TEST_F(Hive_Files, ThatAnotherProgramWritesCanBeReadAndAre170ToWriteUntilItLetsGo) {
  put_hive(good());
  Holder holder(hive(), "BEGIN IMMEDIATE");
  ASSERT_TRUE(holder.holds);
  std::vector<Step> steps = {
      {"get", "HKLM\\Software\\K1", "n"}, {"make", "HKLM\\New"}, {"kill", holder.process()}, {"make", "HKLM\\New"}};
  Child_Result result = act(steps, environment());
  EXPECT_EQ(result.out, "0 " + std::string(100, 'v') + "\n170 0\nkilled\n0 1\n");
  expect_one_line_naming(hive(), result);
}

TEST_F(Hive_Files, WhoseQueueOfWritersIsHeldAreWrittenAllTheSame) {
  put_hive(good());
  ASSERT_TRUE(answered(act({{"set", "HKLM\\Software\\K1", "n", "1"}}, environment()), "0\n"));
  int queue = open((hive() + "-queue").c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_GE(queue, 0);
  struct flock every_place {};
  every_place.l_type = F_WRLCK;
  every_place.l_whence = SEEK_SET;
  every_place.l_start = 1 << 30;
  ASSERT_EQ(fcntl(queue, F_OFD_SETLK, &every_place), 0);
  EXPECT_TRUE(answered(
      act({{"set", "HKLM\\Software\\K1", "n", "2"}, {"get", "HKLM\\Software\\K1", "n"}}, environment()), "0\n0 2\n"));
  close(queue);
}

// A link in the place of the queue is not followed, also to a file that is not there; the hive does without.
TEST_F(Hive_Files, WhoseQueueOfWritersIsALinkAreWrittenAndTheLinkIsNotFollowed) {
  put_hive(good());
  for (const std::string& target : {folder_ / "secret", folder_ / "missing"}) {
    write_file(folder_ / "secret", "kept");
    fs::remove(hive() + "-queue");
    fs::create_symlink(target, hive() + "-queue");
    EXPECT_TRUE(answered(
        act({{"set", "HKLM\\Software\\K1", "n", "x"}, {"get", "HKLM\\Software\\K1", "n"}}, environment()), "0\n0 x\n"));
    EXPECT_EQ(content_of(folder_ / "secret"), "kept");
    EXPECT_FALSE(fs::exists(folder_ / "missing"));
    EXPECT_TRUE(fs::is_symlink(hive() + "-queue"));
  }
}

// Who may write the hive, and nobody else, may open the queue for both.
TEST_F(Hive_Files, HaveAQueueForTheirWritersWhateverTheMask) {
  for (const auto& [registry_mask, mode] : {std::pair("002", 0660), std::pair("022", 0600), std::pair("000", 0666)}) {
    const std::string hive_file = folder_ / (registry_mask + std::string(".hive"));
    ASSERT_TRUE(answered(act({{"umask", "077"}, {"set", "HKLM\\S", "n", "x"}},
                             {"KVREGISTRY=" + hive_file, std::string("KVREGUMASK=") + registry_mask}),
                         "masked\n0\n"));
    struct stat queue {};
    ASSERT_EQ(stat((hive_file + "-queue").c_str(), &queue), 0);
    EXPECT_EQ(queue.st_mode & 07777, static_cast<mode_t>(mode)) << registry_mask;
  }
}

TEST_F(Hive_Files, ReachedThroughASymbolicLinkAreTheSame) {
  put_hive(good());
  const std::string link = folder_ / "link.hive";
  fs::create_symlink(hive(), link);
  EXPECT_TRUE(answered(act({{"set", "HKLM\\Software\\K1", "n", "link"}}, {"KVREGISTRY=" + link}), "0\n"));
  EXPECT_TRUE(
      answered(act({{"get", "HKLM\\Software\\K1", "n"}, {"set", "HKLM\\Software\\K1", "n", "file"}}, environment()),
               "0 link\n0\n"));
  EXPECT_TRUE(answered(act({{"get", "HKLM\\Software\\K1", "n"}}, {"KVREGISTRY=" + link}), "0 file\n"));
  EXPECT_TRUE(fs::is_symlink(link));
  EXPECT_FALSE(fs::exists(link + "-wal"));
}

TEST_F(Hive_Files, AreNotHarmedByAProgramThatStartedWithoutStandardDescriptors) {
  put_hive(good());
  const std::string script = "exec \"$@\" <&- >&- 2>&-";
  std::vector<std::string> arguments = {"/bin/sh", "-c", script, "sh"};
  for (const std::string& word : act_arguments({{"set", "HKLM\\Software\\K1", "n", "quiet"},
                                                {"open", "HKLM\\Software\\Missing"},
                                                {"set", "HKLM\\Software\\K2", "n", "quiet"}})) {
    arguments.push_back(word);
  }
  EXPECT_EQ(run_program(arguments, environment()).exit_status, 0);
  EXPECT_TRUE(answered(act({{"get", "HKLM\\Software\\K1", "n"}, {"get", "HKLM\\Software\\K2", "n"}}, environment()),
                       "0 quiet\n0 quiet\n"));
  gather(hive());
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(hive().c_str(), &db), SQLITE_OK);
  auto is_ok = [](void* ok, int, char** columns, char**) {
    *static_cast<bool*>(ok) = std::string(columns[0]) == "ok";
    return 0;
  };
  bool ok = false;
  EXPECT_EQ(sqlite3_exec(db, "PRAGMA integrity_check", is_ok, &ok, nullptr), SQLITE_OK);
  EXPECT_TRUE(ok);
  sqlite3_close(db);
}

}  // namespace
}  // namespace kvtest
