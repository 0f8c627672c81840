// Clients in processes that fork, execute programs, change their user, close what is not theirs, or get signals.
#include <fcntl.h>
#include <grp.h>
#include <kelvane/impersonation.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <set>
#include <thread>

#include "tests/client/served.h"
#include "tests/support/ordinary_user.h"
#include "tests/support/side_process.h"

namespace {

using namespace kvtest;

class Processes : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(server.start()); }
  impl::client::Client_Service& new_client() { return new_service(settings_for(server.endpoint())); }
  // Everybody may come to the server who goes to its folder as root first: those above it are closed.
  void open_to_everybody() {
    ASSERT_EQ(chmod(folder.path().c_str(), 0755), 0);
    ASSERT_EQ(chmod((folder / "port").c_str(), 0777), 0);
    std::ofstream(server.endpoint()) << "./port";
  }
  impl::client::Client_Service& new_client_here() {
    if (chdir(folder.path().c_str()) != 0) _exit(69);
    return new_service(settings_for("./regss"));
  }

  Temp_Folder folder;
  Test_Server server{folder.path(), true};
};

int status_of_child(const std::function<void()>& function) {
  const pid_t child = fork();
  if (child == 0) {
    function();
    _exit(99);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

TEST_F(Processes, HandlesStayGoodInAForkedChildAndInItsParent) {
  const auto result = run_child([&] {
    impl::client::Client_Service& service = new_client();
    const Client client{service};
    const HKEY key = client.made(HKEY_LOCAL_MACHINE, u"k");
    client.set(key, u"v", REG_BINARY, "parent");
    const int child = status_of_child([&] {
      const bool read = client.get(key, u"v").data == "parent";
      const bool written = client.set(key, u"v", REG_BINARY, "child") == 0;
      const int grandchild = status_of_child([&] { _exit(client.get(key, u"v").data == "child" ? 0 : 1); });
      _exit(read && written && grandchild == 0 && service.close_key(key) == 0 ? 0 : 1);
    });
    _exit(child == 0 && client.get(key, u"v").data == "child" && service.close_key(key) == 0 ? 0 : 1);
  });
  EXPECT_EQ(result.exit_status, 0) << result.err;
}

TEST_F(Processes, AForkedChildHoldsNoConnectionOfItsParent) {
  const auto open_sockets = [] {
    std::set<int> sockets;
    for (int fd = 3; fd < 256; ++fd) {
      struct stat found;
      if (fstat(fd, &found) == 0 && S_ISSOCK(found.st_mode)) sockets.insert(fd);
    }
    return sockets;
  };
  const auto result = run_child([&] {
    const std::set<int> of_others = open_sockets();
    const Client client{new_client()};
    client.set(HKEY_LOCAL_MACHINE, u"v", REG_BINARY, "x");
    _exit(open_sockets() == of_others ? 2 : status_of_child([&] { _exit(open_sockets() == of_others ? 0 : 1); }));
  });
  EXPECT_EQ(result.exit_status, 0) << result.err;
}

TEST_F(Processes, ForksWhileThreadsUseTheRegistry) {
  if (const char* reason = why_not_fork_beside_threads()) GTEST_SKIP() << reason;
  const auto result = run_child([&] {
    const Client client{new_client()};
    const HKEY key = client.made(HKEY_LOCAL_MACHINE, u"k");
    client.set(key, u"v", REG_BINARY, "x");
    std::atomic<bool> stop = false;
    const auto work = [&] {
      while (!stop) client.get(key, u"v");
    };
    std::thread first(work), second(work);
    int good = 0;
    for (int i = 0; i < 20; ++i) {
      good += status_of_child([&] { _exit(client.get(key, u"v").data == "x" ? 0 : 1); }) == 0 ? 1 : 0;
    }
    stop = true;
    first.join();
    second.join();
    _exit(good == 20 ? 0 : 1);
  });
  EXPECT_EQ(result.exit_status, 0) << result.err;
}

TEST_F(Processes, AnExecutedProgramInheritsNoConnection) {
  const auto result = run_child([&] {
    const Client client{new_client()};
    client.set(HKEY_LOCAL_MACHINE, u"v", REG_BINARY, "x");
    execl("/bin/sh", "sh", "-c", "for f in /proc/self/fd/*; do readlink $f; done | grep -c socket:", nullptr);
  });
  EXPECT_EQ(result.out, "0\n") << result.err;
}

TEST_F(Processes, ThatCloseEveryDescriptorGoOnAndTouchNoFileOfTheirOwn) {
  const auto result = run_child([&] {
    impl::client::Client_Service& service = new_client();
    const Client client{service};
    const HKEY key = client.made(HKEY_LOCAL_MACHINE, u"k");
    client.set(key, u"v", REG_BINARY, "before");
    for (int descriptor = 3; descriptor < 256; ++descriptor) close(descriptor);
    std::vector<int> own;
    for (int i = 0; i < 16; ++i) {
      own.push_back(open((folder / ("own" + std::to_string(i))).c_str(), O_RDWR | O_CREAT, 0600));
    }
    const bool written = client.set(key, u"v", REG_BINARY, "after") == 0 && client.get(key, u"v").data == "after";
    bool all_open = true;
    for (const int each : own) all_open &= close(each) == 0;
    _exit(written && all_open ? 0 : 1);
  });
  EXPECT_EQ(result.exit_status, 0) << result.err;
  for (int i = 0; i < 16; ++i) {
    EXPECT_EQ(std::filesystem::file_size(folder / ("own" + std::to_string(i))), 0u) << i;
  }
}

TEST_F(Processes, ThatDropTheirRightsLoseThoseOfTheirHandles) {
  if (geteuid() != 0) GTEST_SKIP() << "only root has rights to drop";
  open_to_everybody();
  const auto result = run_child([&] {
    impl::client::Client_Service& service = new_client_here();
    const Client client{service};
    const HKEY closed = client.made(HKEY_LOCAL_MACHINE, u"closed");
    const HKEY open = client.made(HKEY_LOCAL_MACHINE, u"open");
    const DWORD nobody_else = 0700, everybody = 0777;
    service.change_rights(closed, u"", {.mode = &nobody_else});
    service.change_rights(open, u"", {.mode = &everybody});
    client.set(closed, u"v", REG_BINARY, "secret");
    client.set(open, u"v", REG_BINARY, "known");
    if (!become_ordinary_user()) _exit(70);
    const DWORD code = client.get(closed, u"v").code;
    if (code != 5) _exit(71);
    if (client.get(open, u"v").data != "known") _exit(72);
    if (client.set(open, u"v", REG_BINARY, "mine") != 0) _exit(73);
    HKEY again = nullptr;
    if (service.open_key(HKEY_LOCAL_MACHINE, u"closed", KEY_READ, &again) != 5) _exit(74);
    DWORD count = 16;
    std::vector<RegistryConnection> list(count);
    if (service.list_connected(list.data(), &count) != 0) _exit(75);
    for (DWORD i = 0; i < count; ++i) {
      if (list[i].process == static_cast<DWORD>(getpid()) && list[i].user == 0) _exit(76);  // root's is still there
    }
    _exit(0);
  });
  EXPECT_EQ(result.exit_status, 0) << result.err;
}

// A handle keeps what it was given for as long as its server lives; the next one is asked for it again.
TEST_F(Processes, ThatHaveNoRightsAnyMoreAreRefusedByTheNextServer) {
  if (geteuid() != 0) GTEST_SKIP() << "only root has two users";
  const Client root{new_client()};
  const HKEY key = root.made(HKEY_LOCAL_MACHINE, u"shown");
  ASSERT_EQ(root.set(key, u"v", REG_BINARY, "seen"), 0u);
  open_to_everybody();
  Side_Process reader([&](const Talk& talk) {
    impl::client::Client_Service& service = new_client_here();
    HKEY shown = nullptr;
    if (!become_ordinary_user() || service.open_key(HKEY_LOCAL_MACHINE, u"shown", KEY_READ, &shown) != 0) return 71;
    for (const char* expected : {"seen", "seen", ""}) {
      const Value value = Client{service}.get(shown, u"v");
      if (value.data != expected || (value.code == 5) != value.data.empty()) return 72;
      talk.say('y');
      talk.hear();
    }
    return 0;
  });
  ASSERT_EQ(reader.hear(), 'y');
  const DWORD nobody_else = 0700;
  ASSERT_EQ(root.service.change_rights(key, u"", {.mode = &nobody_else}), 0u);
  reader.say('2');
  ASSERT_EQ(reader.hear(), 'y');
  server.end_by(SIGTERM);
  ASSERT_TRUE(server.start());
  open_to_everybody();
  reader.say('3');
  EXPECT_EQ(reader.hear(), 'y');
  reader.say('e');
  EXPECT_EQ(reader.status(), 0);
}

TEST_F(Processes, AThreadThatImpersonatesOpensKeysWithThatUsersRights) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may act for others";
  open_to_everybody();
  const auto result = run_child([&] {
    impl::client::Client_Service& service = new_client_here();
    const Client client{service};
    const HKEY key = client.made(HKEY_LOCAL_MACHINE, u"closed");
    const DWORD nobody_else = 0700;
    service.change_rights(key, u"", {.mode = &nobody_else});
    client.set(key, u"v", REG_BINARY, "x");
    KvTTSetUid(ordinary_id + 1);
    HKEY again = nullptr;
    if (service.open_key(HKEY_LOCAL_MACHINE, u"closed", KEY_READ, &again) != 5) _exit(71);
    if (client.get(key, u"v").code != 0) _exit(72);  // the handle keeps what it was given
    if (service.open_key(key, u"", KEY_READ, &again) != 5) _exit(73);
    if (geteuid() != 0) _exit(74);
    KvTTSetUid(0);
    if (service.open_key(HKEY_LOCAL_MACHINE, u"closed", KEY_READ, &again) != 0) _exit(75);
    _exit(0);
  });
  EXPECT_EQ(result.exit_status, 0) << result.err;
}

void ignore_signal(int) {}

TEST_F(Processes, WithSignalsAgainAndAgainAreAnsweredAllTheSame) {
  const auto result = run_child([&] {
    struct sigaction action {};
    action.sa_handler = ignore_signal;  // without SA_RESTART: calls are interrupted
    sigaction(SIGALRM, &action, nullptr);
    const Client client{new_client()};
    const HKEY key = client.made(HKEY_LOCAL_MACHINE, u"k");
    const itimerval often{{0, 300}, {0, 300}};
    setitimer(ITIMER_REAL, &often, nullptr);
    int good = 0;
    for (int i = 0; i < 300; ++i) {
      const std::string data = std::to_string(i);
      good += client.set(key, u"v", REG_BINARY, data) == 0 && client.get(key, u"v").data == data ? 1 : 0;
    }
    _exit(good == 300 ? 0 : 1);
  });
  EXPECT_EQ(result.exit_status, 0) << result.err;
}

TEST_F(Processes, MayEndWhileThreadsUseTheRegistry) {
  const auto result = run_child([&] {
    const Client client{new_client()};
    const HKEY key = client.made(HKEY_LOCAL_MACHINE, u"k");
    for (int i = 0; i < 3; ++i) {
      std::thread([&client, key] {
        for (;;) client.set(key, u"v", REG_BINARY, "x");
      }).detach();
    }
    for (int i = 0; i < 50; ++i) client.get(key, u"v");
    exit(0);
  });
  EXPECT_EQ(result.exit_status, 0) << result.err;
}

}  // namespace
