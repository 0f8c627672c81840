// The server and the exported functions of the endpoint mean the same files and exclude each other.
#include <kelvane/registry_server.h>

#include "tests/regss/running.h"
#include "tests/support/side_process.h"

namespace kvtest {
namespace {

class Interplay : public Regss {
 protected:
  // Runs in a process of this mode of the test's host.
  std::string in_process(const char* mode, const std::function<void()>& function) const {
    return run_child([&] {
             detail::change_environment(environment({std::string("KVREGISTRY_MODE=") + mode}));
             function();
           })
        .out;
  }
};

void print_what_a_client_finds() {
  const int made = KvCreateRegConnectData(0);
  const char* const port = getPortName();
  printf("%d %d %s", made, KvIsRegssAlive(), port != nullptr ? port : "none");
}

TEST_F(Interplay, AClientOfTheMachineFindsTheServer) {
  const auto server = serve(machine());
  ASSERT_NE(server, nullptr);
  EXPECT_EQ(in_process("0", print_what_a_client_finds), "0 1 " + content_of(endpoint_file));
  EXPECT_EQ(Client(content_of(endpoint_file)).server(), server->number());
}

TEST_F(Interplay, AClientOfTheUserFindsTheServer) {
  const auto server = serve(user());
  ASSERT_NE(server, nullptr);
  EXPECT_EQ(in_process("3", print_what_a_client_finds), "0 1 " + content_of(user_endpoint_file()));
  EXPECT_EQ(in_process("1", print_what_a_client_finds), "0 1 " + content_of(user_endpoint_file()));
}

TEST_F(Interplay, AClientFindsNobodyAfterTheEnd) {
  const auto server = serve(machine());
  ASSERT_NE(server, nullptr);
  server->send(SIGTERM);
  ASSERT_EQ(server->status(), 0);
  EXPECT_EQ(in_process("0", print_what_a_client_finds), "0 0 none");
}

// Another process has the lock: the server begins when it is given up.
TEST_F(Interplay, TheExportedLockKeepsTheServerFromBeginning) {
  Side_Process holder([this](const Talk& talk) {
    detail::change_environment(environment({"KVREGISTRY_MODE=0"}));
    if (KvCreateRegConnectData(1) != 0 || KvLockRegServerFile() != 0) return 1;
    talk.say('l');
    talk.hear();
    return KvUnlockRegServerFile(1) == 0 ? 0 : 2;
  });
  ASSERT_EQ(holder.hear(), 'l');
  const auto server = begin(machine());
  // It has opened the pid file and waits: none of the endpoint is its own yet.
  const std::string opened = "/proc/" + server->number() + "/fd";
  for (bool waits = false; !waits && !server->has_ended();) {
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(opened, ignored))
      waits = waits || std::filesystem::read_symlink(entry.path(), ignored) == pid_file;
    sched_yield();
  }
  EXPECT_EQ(content_of(pid_file), "");
  holder.say('u');
  EXPECT_EQ(holder.status(), 0);
  EXPECT_TRUE(has_become_ready(*server, manager()));
  EXPECT_EQ(server_of(endpoint_file), server->number());
}

// A server that serves keeps nobody from the lock.
TEST_F(Interplay, TheExportedLockIsFreeWhileAServerServes) {
  const auto server = serve(user());
  ASSERT_NE(server, nullptr);
  EXPECT_EQ(in_process("3",
                       [] {
                         printf("%d", KvCreateRegConnectData(0));
                         printf(" %d %d", KvLockRegServerFile(), KvUnlockRegServerFile(1));
                       }),
            "0 0 0");
}

}  // namespace
}  // namespace kvtest
