// The lock of start-up, between real processes.
#include <filesystem>

#include "tests/regserver/endpoint.h"

namespace kvtest {
namespace {

class Start_Up_Lock : public Endpoint {
 protected:
  // Who holds the first byte of the pid file; 0 for nobody.
  pid_t holder() const {
    const int descriptor = open(pid_file.c_str(), O_RDWR | O_CLOEXEC);
    struct flock asked {};
    asked.l_type = F_WRLCK;
    asked.l_whence = SEEK_SET;
    asked.l_len = 1;
    fcntl(descriptor, F_GETLK, &asked);
    close(descriptor);
    return asked.l_type == F_UNLCK ? 0 : asked.l_pid;
  }
  // Makes a file that nobody has open stand at the pid file's name.
  void replace_pid_file() {
    write_file(folder / "kv/new", "0");
    ASSERT_EQ(rename((folder / "kv/new").c_str(), pid_file.c_str()), 0);
  }
  std::string errors() const { return content_of(error_file); }

  const std::string error_file = folder / "errors";
};

TEST_F(Start_Up_Lock, IsAWriteLockOnTheFirstByte) {
  Peer server;
  ASSERT_EQ(server.ask('s'), 0);
  EXPECT_EQ(server.ask('l'), 0);
  const int descriptor = open(pid_file.c_str(), O_RDWR | O_CLOEXEC);
  struct flock asked {};
  asked.l_type = F_RDLCK;
  asked.l_whence = SEEK_SET;
  ASSERT_EQ(fcntl(descriptor, F_GETLK, &asked), 0);
  close(descriptor);
  EXPECT_EQ(asked.l_type, F_WRLCK);
  EXPECT_EQ(asked.l_start, 0);
  EXPECT_EQ(asked.l_len, 1);
  EXPECT_EQ(asked.l_pid, server.pid());
  EXPECT_EQ(server.ask('u'), 0);
  EXPECT_EQ(holder(), 0);
}

TEST_F(Start_Up_Lock, IsKeptWhileTheHolderAsksAndRegisters) {
  Peer server;
  ASSERT_EQ(server.ask('s'), 0);
  ASSERT_EQ(server.ask('l'), 0);
  EXPECT_EQ(server.ask('a'), 0);
  EXPECT_EQ(server.ask('r'), 0);
  EXPECT_EQ(server.ask('a'), 1);
  EXPECT_EQ(holder(), server.pid());
}

TEST_F(Start_Up_Lock, IsWaitedForUntilItsHolderReleasesIt) {
  Peer first, second;
  ASSERT_EQ(first.ask('s'), 0);
  ASSERT_EQ(second.ask('s'), 0);
  ASSERT_EQ(first.ask('l'), 0);
  second.send('l');
  second.wait_until_blocked();
  EXPECT_EQ(holder(), first.pid());
  EXPECT_EQ(first.ask('v'), 0);
  EXPECT_EQ(second.answer(), 0);
  EXPECT_EQ(holder(), second.pid());
}

TEST_F(Start_Up_Lock, IsFreeWhenItsHolderDies) {
  Peer second;
  ASSERT_EQ(second.ask('s'), 0);
  {
    Peer first;
    ASSERT_EQ(first.ask('s'), 0);
    ASSERT_EQ(first.ask('l'), 0);
    second.send('l');
    second.wait_until_blocked();
    kill(first.pid(), SIGKILL);
  }
  EXPECT_EQ(second.answer(), 0);
  EXPECT_EQ(holder(), second.pid());
}

TEST_F(Start_Up_Lock, OfAFileRemovedWhileWaitingIsTakenOnANewOne) {
  Peer first, second(error_file);
  ASSERT_EQ(first.ask('s'), 0);
  ASSERT_EQ(second.ask('s'), 0);
  ASSERT_EQ(first.ask('l'), 0);
  second.send('l');
  second.wait_until_blocked();
  ASSERT_EQ(first.ask('x'), 0);
  ASSERT_EQ(first.ask('u'), 0);
  EXPECT_EQ(second.answer(), 0);
  EXPECT_EQ(holder(), second.pid());
  EXPECT_EQ(mode_of(pid_file), 0644u);
  EXPECT_EQ(errors(), "");
}

TEST_F(Start_Up_Lock, OfAFileReplacedWhileWaitingIsTakenOnTheNewOne) {
  Peer first, second(error_file);
  ASSERT_EQ(first.ask('s'), 0);
  ASSERT_EQ(second.ask('s'), 0);
  ASSERT_EQ(first.ask('l'), 0);
  second.send('l');
  second.wait_until_blocked();
  replace_pid_file();
  ASSERT_EQ(first.ask('u'), 0);
  EXPECT_EQ(second.answer(), 0);
  EXPECT_EQ(holder(), second.pid());
  EXPECT_EQ(content_of(pid_file), "0");
  EXPECT_EQ(errors(), "");
}

TEST_F(Start_Up_Lock, IsTriedAgainAsOftenAsTheFileGoes) {
  Peer first, second, third;
  ASSERT_EQ(first.ask('s'), 0);
  ASSERT_EQ(third.ask('s'), 0);
  ASSERT_EQ(first.ask('l'), 0);
  third.send('l');
  third.wait_until_blocked();
  // The second one holds the new file before the third gets at it, and removes that as well.
  ASSERT_EQ(first.ask('x'), 0);
  ASSERT_EQ(second.ask('s'), 0);
  ASSERT_EQ(second.ask('l'), 0);
  ASSERT_EQ(first.ask('u'), 0);
  third.wait_until_blocked();
  ASSERT_EQ(second.ask('x'), 0);
  ASSERT_EQ(second.ask('u'), 0);
  EXPECT_EQ(third.answer(), 0);
  EXPECT_EQ(holder(), third.pid());
}

TEST_F(Start_Up_Lock, OfAFileThatCannotBeMadeAgainIsTold) {
  Peer first, second(error_file);
  ASSERT_EQ(first.ask('s'), 0);
  ASSERT_EQ(second.ask('s'), 0);
  ASSERT_EQ(first.ask('l'), 0);
  second.send('l');
  second.wait_until_blocked();
  ASSERT_EQ(first.ask('x'), 0);
  ASSERT_EQ(mkdir(pid_file.c_str(), 0755), 0);
  ASSERT_EQ(first.ask('u'), 0);
  EXPECT_EQ(second.answer(), -1);
  EXPECT_EQ(errors(), "Can't open " + pid_file + ".\n");
  ASSERT_EQ(rmdir(pid_file.c_str()), 0);
}

TEST_F(Start_Up_Lock, EndsWaitingAtASignalWithItsText) {
  struct sigaction action {
  }, before{};
  action.sa_handler = [](int) {};
  sigaction(SIGUSR1, &action, &before);
  Peer first, second(error_file);
  sigaction(SIGUSR1, &before, nullptr);
  ASSERT_EQ(first.ask('s'), 0);
  ASSERT_EQ(second.ask('s'), 0);
  ASSERT_EQ(first.ask('l'), 0);
  second.send('l');
  second.wait_until_blocked();
  kill(second.pid(), SIGUSR1);
  EXPECT_EQ(second.answer(), -1);
  EXPECT_EQ(errors(), "Failed locking file " + pid_file + " pid " + std::to_string(second.pid()) + "\n");
}

// QUIRK client-lock-refused
TEST_F(Start_Up_Lock, IsRefusedToAClientThatFoundAPidFile) {
  make_pid_file("0");
  Peer client(error_file);
  ASSERT_EQ(client.ask('c'), 0);
  EXPECT_EQ(client.ask('l'), -1);
  EXPECT_EQ(errors(), "Failed locking file " + pid_file + " pid " + std::to_string(client.pid()) + "\n");
  EXPECT_EQ(client.ask('u'), 0);
}

TEST_F(Start_Up_Lock, OfAClientThatFoundNoPidFileMakesOne) {
  const mode_t mask = umask(077);
  Peer client(error_file);
  umask(mask);
  ASSERT_EQ(client.ask('c'), 0);
  EXPECT_EQ(client.ask('l'), 0);
  EXPECT_EQ(holder(), client.pid());
  EXPECT_EQ(mode_of(pid_file), 0644u);
  EXPECT_EQ(errors(), "");
}

TEST_F(Start_Up_Lock, OfAProfessionalClientIsTaken) {
  use_mode("1");
  Peer client(error_file), second;
  ASSERT_EQ(client.ask('c'), 0);
  ASSERT_EQ(second.ask('c'), 0);
  EXPECT_EQ(client.ask('l'), 0);
  second.send('l');
  second.wait_until_blocked();
  EXPECT_EQ(client.ask('v'), 0);
  EXPECT_EQ(second.answer(), 0);
  EXPECT_EQ(errors(), "");
}

TEST_F(Start_Up_Lock, IsNothingToAdministrationUtilities) {
  Peer server;
  ASSERT_EQ(server.ask('s'), 0);
  ASSERT_EQ(server.ask('l'), 0);
  setenv("KVADM_UTILITY", "1", 1);
  Peer utility;
  unsetenv("KVADM_UTILITY");
  ASSERT_EQ(utility.ask('s'), 0);
  EXPECT_EQ(utility.ask('l'), 0);
  EXPECT_EQ(utility.ask('v'), 0);
  EXPECT_EQ(holder(), server.pid());
}

TEST_F(Start_Up_Lock, OfAnAdministrationUtilityMakesNoFile) {
  setenv("KVADM_UTILITY", "yes", 1);
  Peer utility;
  ASSERT_EQ(utility.ask('c'), 0);
  EXPECT_EQ(utility.ask('l'), 0);
  EXPECT_EQ(utility.ask('u'), 0);
  EXPECT_TRUE(std::filesystem::is_empty(folder / "kv"));
}

class Release : public Start_Up_Lock {};

TEST_F(Release, WithoutAFileIsMinus1WithoutAText) {
  Peer client(error_file);
  ASSERT_EQ(client.ask('c'), 0);
  EXPECT_EQ(client.ask('u'), -1);
  EXPECT_EQ(errors(), "");
}

TEST_F(Release, WithoutVerificationDoesNotMindThatTheFileIsGone) {
  Peer server(error_file);
  ASSERT_EQ(server.ask('s'), 0);
  ASSERT_EQ(server.ask('l'), 0);
  ASSERT_EQ(server.ask('x'), 0);
  EXPECT_EQ(server.ask('u'), 0);
  EXPECT_EQ(errors(), "");
}

TEST_F(Release, WithVerificationTellsThatTheFileIsGone) {
  Peer server(error_file);
  ASSERT_EQ(server.ask('s'), 0);
  ASSERT_EQ(server.ask('l'), 0);
  ASSERT_EQ(server.ask('x'), 0);
  EXPECT_EQ(server.ask('v'), -1);
  EXPECT_EQ(errors(), "Cannot stat(2) file_lock " + pid_file + ".\n");
}

TEST_F(Release, WithVerificationClosesAFileThatWasReplaced) {
  Peer server(error_file);
  ASSERT_EQ(server.ask('s'), 0);
  ASSERT_EQ(server.ask('l'), 0);
  replace_pid_file();
  EXPECT_EQ(server.ask('v'), -1);
  EXPECT_EQ(server.ask('u'), -1);
  EXPECT_EQ(errors(), "");
  EXPECT_EQ(server.ask('l'), 0);
  EXPECT_EQ(holder(), server.pid());
}

// The descriptor that the endpoint has just opened, closed behind its back.
void close_its_descriptor(const std::string& file) {
  for (int descriptor = 3; descriptor < 256; ++descriptor) {
    std::error_code ignored;
    if (std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), ignored) == file)
      close(descriptor);
  }
}

// QUIRK lock-texts
TEST_F(Release, HasTextsThatDifferFromThoseOfTheLock) {
  const Child_Result child = run_child([this] {
    KvCreateRegConnectData(1);
    fstat_fails() = true;
    printf("%d ", KvLockRegServerFile());
    fstat_fails() = true;
    printf("%d ", KvUnlockRegServerFile(1));
    close_its_descriptor(pid_file);
    printf("%d ", KvLockRegServerFile());
    printf("%d %d", KvUnlockRegServerFile(1), getpid());
  });
  ASSERT_EQ(child.out.substr(0, 12), "-1 -1 -1 -1 ");
  const std::string pid = child.out.substr(12);
  EXPECT_EQ(child.err, "Cannot stat(1) fd of file_lock " + pid_file + "\nCannot stat(1) fd of file_lock " + pid_file +
                           ".\nFailed locking file " + pid_file + " pid " + pid + "\nFailed unlocking file " +
                           pid_file + " pid = " + pid + ".\n");
}

}  // namespace
}  // namespace kvtest
