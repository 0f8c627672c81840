// What notifications leave in a process and on the disk, and what they bear.
#include <fcntl.h>
#include <sys/stat.h>

#include "tests/impl/notifying.h"

namespace {

using namespace kvtest;

std::size_t count_in(const char* folder) {
  const std::filesystem::directory_iterator all(folder);
  return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

TEST_F(Notifying, MakesNoFileAndNoThreadUntilSomebodyAsks) {
  Side_Process process(with_library([](const Talk&) {
    const std::size_t threads = count_in("/proc/self/task");  // the sanitizers may have one of their own
    for (int kind : {0, 1}) {
      if (report(kind, "data") != 1 || ask(getpid(), kind, 0) != 1) return 1;
    }
    if (entries().KvIAutoReportNotification(0, 0) != 1) return 2;
    return count_in("/proc/self/task") == threads ? 0 : 3;
  }));
  EXPECT_EQ(process.status(), 0);
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(Notifying, StartsOneThreadHoweverOftenAProcessAsks) {
  Side_Process process(with_library([](const Talk&) {
    ask(getpid(), 0);
    const std::size_t threads = count_in("/proc/self/task");
    const std::size_t descriptors = count_in("/proc/self/fd");
    for (int i = 0; i < 1000; ++i) ask(getppid(), i % 2);
    if (count_in("/proc/self/fd") != descriptors) _exit(1);
    _exit(count_in("/proc/self/task") == threads ? 0 : 2);
    return 0;
  }));
  EXPECT_EQ(process.status(), 0);
}

TEST_F(Notifying, LeavesNothingOfAProcessThatEnds) {
  Side_Process target(reporter());
  Side_Process other(asker(target.pid()));
  EXPECT_EQ(tell(other, "a"), '1');
  EXPECT_EQ(tell(other, "A"), '1');
  EXPECT_EQ(tell(target, "s"), '1');
  EXPECT_EQ(heard(other), "1.");
  EXPECT_EQ(board_files().size(), 5u);  // mailbox, bell, a request with its folder, the standing answer
  EXPECT_EQ(tell(target, "e"), '1');
  EXPECT_EQ(tell(other, "e"), '1');
  EXPECT_EQ(board_files(), std::set<std::string>());
}

TEST_F(Notifying, DoesNotMindAnAskerThatWasKilled) {
  Side_Process target(reporter());
  Side_Process killed(asker(target.pid())), other(asker(target.pid()));
  EXPECT_EQ(tell(killed, "a"), '1');
  EXPECT_EQ(tell(other, "a"), '1');
  killed.end_by(SIGKILL);
  EXPECT_EQ(tell(target, "r1"), '1');
  EXPECT_EQ(heard(other), "11");
  EXPECT_EQ(board_files().size(), 2u);  // the other's mailbox and bell
}

TEST_F(Notifying, SweepsAwayWhatKilledProcessesHaveLeft) {
  Side_Process target(reporter());
  Side_Process killed(asker(target.pid()));
  EXPECT_EQ(tell(killed, "a"), '1');
  EXPECT_EQ(tell(killed, "s"), '1');
  EXPECT_EQ(tell(target, "s"), '1');
  EXPECT_EQ(heard(killed), "1.");
  EXPECT_EQ(tell(killed, "A"), '1');
  killed.end_by(SIGKILL);
  target.end_by(SIGKILL);
  EXPECT_EQ(board_files().size(), 6u);
  Side_Process next(asker(getpid()));
  EXPECT_EQ(tell(next, "e"), '1');
  EXPECT_EQ(board_files().size(), 6u);
  Side_Process after(asker(getpid()));
  EXPECT_EQ(tell(after, "a"), '1');
  EXPECT_EQ(board_files().size(), 4u);  // its own mailbox, bell and request
}

TEST_F(Notifying, KnowsAForkedChildAsAProcessOfItsOwn) {
#ifdef __SANITIZE_THREAD__
  GTEST_SKIP() << "the thread sanitizer starts no thread in a child of a process with threads";
#endif
  Side_Process target(reporter());
  Side_Process parent(with_library([pid = target.pid()](const Talk& talk) {
    Saying_Handler handler(talk);
    KvRegisterNotificationHandler(1, &handler);
    ask(pid, 1);
    const pid_t child = fork();
    if (child == 0) {
      const bool asked = ask(pid, 1) == 1;
      talk.say(asked ? 'c' : '?');
      for (;;) pause();
    }
    talk.hear();
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    talk.say('k');
    talk.hear();
    _exit(0);
    return 0;
  }));
  EXPECT_EQ(parent.hear(), 'c');
  EXPECT_EQ(tell(target, "r1"), '1');
  EXPECT_EQ(heard(parent) + heard(parent), "1111");
  EXPECT_EQ(tell(parent, "n"), 'k');
}

// A daemon's closing of all descriptors takes the bell away, and files of its own get the number.
TEST_F(Notifying, BearsThatAProcessClosesEveryDescriptor) {
  Side_Process target(reporter());
  Side_Process daemon(with_library([this, pid = target.pid()](const Talk& talk) {
    Saying_Handler handler(talk);
    KvRegisterNotificationHandler(1, &handler);
    ask(pid, 1);
    for (int fd = 3; fd < 256; ++fd) {
      if (fd != talk.descriptor()) close(fd);
    }
    for (int i = 0; i < 16; ++i) open((folder / "own").c_str(), O_RDWR | O_CREAT, 0600);
    talk.say('c');
    talk.hear();
    talk.say(static_cast<char>('0' + ask(pid, 1)));
    talk.hear();
    _exit(0);
    return 0;
  }));
  EXPECT_EQ(daemon.hear(), 'c');
  EXPECT_EQ(tell(target, "r1"), '1');
  EXPECT_EQ(heard(daemon), "11");
  EXPECT_EQ(tell(daemon, "n"), '1');
  EXPECT_EQ(tell(target, "r2"), '1');
  EXPECT_EQ(heard(daemon), "12");
  EXPECT_EQ(std::filesystem::file_size(folder / "own"), 0u);
}

TEST_F(Notifying, HandsAWordToAndFroWithoutALeak) {
  constexpr int rounds = 2000;
  Side_Process target(with_library([](const Talk& talk) {
    report(1, "x");
    const std::size_t before = count_in("/proc/self/fd");
    int failed = 0;
    for (int i = 0; i < rounds; ++i) failed += talk.hear() == 'n' && report(1, "y") == 1 ? 0 : 1;
    return failed != 0 ? 1 : count_in("/proc/self/fd") == before ? 0 : 2;
  }));
  Side_Process other(asker(target.pid()));
  int failed = 0;
  for (int i = 0; i < rounds; ++i) {
    failed += tell(other, "a") == '1' ? 0 : 1;
    target.say('n');
    failed += heard(other) == "1y" ? 0 : 1;
  }
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(target.status(), 0);
  EXPECT_EQ(board_files().size(), 2u);
}

TEST_F(Notifying, IsForTheUserAlone) {
  Side_Process other(asker(getpid()));
  EXPECT_EQ(tell(other, "a"), '1');
  struct stat status;
  ASSERT_EQ(stat(notifications_folder().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0700u);
  chmod(notifications_folder().c_str(), 0755);
  Side_Process refused(asker(getpid()));
  EXPECT_EQ(tell(refused, "a"), '0');
}

TEST_F(Notifying, WithoutACoreDataDirectoryRefusesRequestsAndSaysNothing) {
  const auto child = run_child([&] {
    put_hives_into(folder.path());
    unsetenv("KVCORE_PRIVATE_DATA");
    unsetenv("HOME");
    const bool asked = ask(getpid(), 0) != 0;
    const bool reported = report(0, "d") == 1;
    _exit(!asked && reported ? 0 : 1);
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.out + child.err, "");
}

}  // namespace
