// Where a server refuses to begin: folders and files that others have a hand in, and a full temporary directory.
#include "tests/regss/running.h"
#include "tests/support/ordinary_user.h"
#include "tests/support/own_mounts.h"

namespace kvtest {
namespace {

class Refusing : public Regss {
 protected:
  void expect_refused(const Words& words, const std::string& reason, const Words& more = {}) {
    const auto server = begin(words, more);
    EXPECT_EQ(server->status(), 1);
    EXPECT_EQ(server->said(), "regss: " + reason + "\n");
  }
};

TEST_F(Refusing, AFolderThatIsALink) {
  mkdir((folder / "elsewhere").c_str(), 0755);
  ASSERT_EQ(symlink((folder / "elsewhere").c_str(), (folder / "tmp/kv").c_str()), 0);
  expect_refused(machine(), folder / "tmp/kv is no folder");
  EXPECT_TRUE(std::filesystem::is_empty(folder / "elsewhere"));
}

TEST_F(Refusing, AFolderThatIsAFile) {
  write_file(folder / "tmp/kv", "mine");
  expect_refused(machine(), folder / "tmp/kv is no folder");
  EXPECT_EQ(content_of(folder / "tmp/kv"), "mine");
}

TEST_F(Refusing, AFolderThatOthersMayWrite) {
  make_kv_folder();
  for (const mode_t mode : {0775, 0757, 01777}) {
    chmod((folder / "tmp/kv").c_str(), mode);
    expect_refused(machine(), folder / "tmp/kv can be written by other users");
  }
}

TEST_F(Refusing, AFolderOfAnotherUser) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give a folder away";
  make_kv_folder();
  ASSERT_EQ(chown((folder / "tmp/kv").c_str(), ordinary_id, ordinary_id), 0);
  expect_refused(machine(), folder / "tmp/kv belongs to user 65534");
}

TEST_F(Refusing, ATemporaryDirectoryWhereOthersMayRemoveFiles) {
  chmod((folder / "tmp").c_str(), 0777);
  expect_refused(user(), folder / "tmp can be written by other users");
}

TEST_F(Refusing, ATemporaryDirectoryOfAnotherUser) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give a folder away";
  ASSERT_EQ(chown((folder / "tmp").c_str(), ordinary_id, ordinary_id), 0);
  expect_refused(user(), folder / "tmp belongs to user 65534");
}

TEST_F(Refusing, ATemporaryDirectoryThatIsNotThere) {
  const Words there = {"TMPDIR=" + folder / "none"};
  expect_refused(user(), folder / "none: No such file or directory", there);
  expect_refused(machine(), folder / "none/kv cannot be made: No such file or directory", there);
}

TEST_F(Refusing, ALinkInPlaceOfThePidFile) {
  write_file(folder / "precious", "mine");
  ASSERT_EQ(symlink((folder / "precious").c_str(), user_pid_file().c_str()), 0);
  expect_refused(user(), user_pid_file() + " cannot be opened: Too many levels of symbolic links");
  EXPECT_EQ(content_of(folder / "precious"), "mine");
}

TEST_F(Refusing, ASecondNameInPlaceOfThePidFile) {
  write_file(folder / "precious", "mine");
  ASSERT_EQ(link((folder / "precious").c_str(), user_pid_file().c_str()), 0);
  expect_refused(user(), user_pid_file() + " has a second name");
  EXPECT_EQ(content_of(folder / "precious"), "mine");
}

TEST_F(Refusing, APidFileThatIsAPipeOrAFolder) {
  ASSERT_EQ(mkfifo(user_pid_file().c_str(), 0600), 0);
  expect_refused(user(), user_pid_file() + " is no regular file");
  unlink(user_pid_file().c_str());
  mkdir(user_pid_file().c_str(), 0700);
  expect_refused(user(), user_pid_file() + " cannot be opened: Is a directory");
}

TEST_F(Refusing, APidFileOfAnotherUser) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give a file away";
  write_file(user_pid_file(), "1");
  ASSERT_EQ(chown(user_pid_file().c_str(), ordinary_id, ordinary_id), 0);
  chmod((folder / "tmp").c_str(), 0700);  // else the system may refuse it first
  expect_refused(user(), user_pid_file() + " belongs to user 65534");
  EXPECT_EQ(content_of(user_pid_file()), "1");
}

TEST_F(Refusing, AFolderInPlaceOfTheEndpointFile) {
  mkdir(user_endpoint_file().c_str(), 0700);
  expect_refused(user(), user_endpoint_file() + " cannot be written: Is a directory");
  // Nothing of the attempt is left.
  for (const auto& entry : std::filesystem::directory_iterator(folder / "tmp"))
    EXPECT_TRUE(entry.path() == user_endpoint_file() || entry.path() == user_pid_file()) << entry.path();
}

// The file that a link leads to is not touched; the link itself gives way.
TEST_F(Refusing, NothingForALinkInPlaceOfTheEndpointFile) {
  write_file(folder / "precious", "mine");
  ASSERT_EQ(symlink((folder / "precious").c_str(), user_endpoint_file().c_str()), 0);
  const auto server = serve(user());
  ASSERT_NE(server, nullptr);
  EXPECT_EQ(content_of(folder / "precious"), "mine");
  EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::symlink_status(user_endpoint_file())));
  EXPECT_EQ(server_of(user_endpoint_file()), server->number());
}

// A server of another user is none of ours, whatever a file says.
TEST_F(Refusing, NothingForAPortOfAnotherUser) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can listen as another user";
  int told[2];
  ASSERT_EQ(pipe2(told, O_CLOEXEC), 0);
  mkdir((folder / "foreign").c_str(), 0777);
  chmod((folder / "foreign").c_str(), 0777);
  const pid_t foreign = fork();
  if (foreign == 0) {
    // The test's folder has no way to it for that user but the working directory.
    if (chdir((folder / "foreign").c_str()) != 0 || !become_ordinary_user()) _exit(1);
    const impl::Descriptor own = impl::listen_at_port("./port", true);
    const char word = own ? '+' : '-';
    if (write(told[1], &word, 1) != 1) _exit(1);
    for (;;) pause();
  }
  char word = 0;
  ASSERT_EQ(read(told[0], &word, 1), 1);
  EXPECT_EQ(word, '+');
  write_file(user_endpoint_file(), folder / "foreign/port");
  const auto server = serve(user());
  kill(foreign, SIGKILL);
  waitpid(foreign, nullptr, 0);
  close(told[0]);
  close(told[1]);
  ASSERT_NE(server, nullptr);
  EXPECT_EQ(server_of(user_endpoint_file()), server->number());
}

TEST_F(Refusing, ALockThatIsOfAnotherFile) {
  Words words = {"/bin/sh", "-c", "exec 3>>\"$0\"; exec \"$@\"", folder / "other"};
  for (const std::string& word : machine({"--lock-descriptor", "3"})) words.push_back(word);
  const Child_Result result = run(words);
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.err, "regss: " + pid_file + " is not the file whose lock was handed over\n");
}

TEST_F(Refusing, ALibraryThatIsNoServer) {
  const auto modules = std::filesystem::path(KVTEST_SERVER_LIBRARY).parent_path();
  mkdir((folder / "modules").c_str(), 0700);
  std::filesystem::create_symlink(modules / "advapi32impl.dll", folder / "modules/advapi32server.dll");
  const Child_Result result = run(machine(), {"KVMODULE_PATH=" + folder / "modules"});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.err, "regss: advapi32server.dll has no entry KvRegssRun\n");
  EXPECT_FALSE(exists(endpoint_file));
}

TEST_F(Refusing, SettingsThatCannotBeRead) {
  const std::string round = folder / "round";
  ASSERT_EQ(symlink("round", round.c_str()), 0);
  const Child_Result result = run({KVTEST_REGSS, "--machine", "--settings", round});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.err, "regss: " + round + " cannot be read: Too many levels of symbolic links\n");
}

TEST_F(Refusing, AnUninstalledLibrary) {
  // Beside the program's own library folder nothing is looked for but what KVMODULE_PATH names.
  const Child_Result result = run_child([this] {
    begin_own_mounts();
    const std::string modules = std::filesystem::path(KVTEST_REGSS).parent_path().parent_path() / "lib/kelvane";
    if (mount("none", modules.c_str(), "tmpfs", 0, nullptr) != 0) give_up_on_mounts("tmpfs");
    const Child_Result regss = run(machine());
    fprintf(stderr, "%s", regss.err.c_str());
    fflush(stderr);
    _exit(regss.exit_status);
  });
  if (result.exit_status == no_own_mounts) GTEST_SKIP() << result.err;
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.err, "regss: advapi32impl.dll is not installed\n");
}

// Room for no more files at all, and for files without content.
TEST_F(Refusing, AFullTemporaryDirectory) {
  for (const char* limit : {"nr_inodes=2,size=64k", "nr_inodes=100,size=4k"}) {
    const Child_Result result = run_child([this, limit] {
      begin_own_mounts();
      const std::string tmp = folder / "tmp";
      if (mount("none", tmp.c_str(), "tmpfs", 0, limit) != 0) give_up_on_mounts("tmpfs");
      mkdir((tmp + "/kv").c_str(), 0755);
      write_file(tmp + "/filler", std::string(65536, 'f'));
      const Child_Result regss = run(machine());
      fprintf(stderr, "%s", regss.err.c_str());
      if (exists(endpoint_file)) fprintf(stderr, "endpoint file\n");
      fflush(stderr);
      _exit(regss.exit_status);
    });
    if (result.exit_status == no_own_mounts) GTEST_SKIP() << result.err;
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_NE(result.err.find(": No space left on device\n"), std::string::npos) << result.err;
    EXPECT_EQ(result.err.find("endpoint file"), std::string::npos);
  }
}

}  // namespace
}  // namespace kvtest
