// What a server leaves of an earlier one's files, and how it ends when it cannot register.
#include "tests/regserver/endpoint.h"

namespace kvtest {
namespace {

class Successor : public Endpoint {};

TEST_F(Successor, OverwritesALongerEndpointFileAndItsMode) {
  make_pid_file("");
  write_file(endpoint_file, std::string(500, 'p'));
  ASSERT_EQ(chmod(endpoint_file.c_str(), 0600), 0);
  const Child_Result child = run_child([] {
    KvCreateRegConnectData(1);
    printf("%s", text(getPortName()).c_str());
  });
  EXPECT_EQ(child.out, content_of(endpoint_file));
  EXPECT_EQ(child.out.find(folder / "kv/rgs"), 0u);
  EXPECT_LT(child.out.size(), 500u);
  EXPECT_EQ(mode_of(endpoint_file), 0644u);
}

TEST_F(Successor, KnowsItsPortWhateverTheFileSaysLater) {
  const Child_Result child = run_child([this] {
    KvCreateRegConnectData(1);
    const std::string written = content_of(endpoint_file);
    write_file(endpoint_file, "/another");
    printf("%d", text(getPortName()) == written);
  });
  EXPECT_EQ(child.out, "1");
}

TEST_F(Successor, IsAServerForEveryNumberButZero) {
  for (int is_server : {2, -1}) {
    const Child_Result child = run_child([is_server] {
      printf("%d ", KvCreateRegConnectData(is_server));
      printf("%d", getPortName() != nullptr);
      KvDestroyRegConnectData();
    });
    EXPECT_EQ(child.out, "0 1") << is_server;
  }
}

TEST_F(Successor, ThatCannotRegisterRunsNoHandlersOfTheProgram) {
  make_pid_file("0");
  const Child_Result child = run_child([] {
    atexit([] { dprintf(STDOUT_FILENO, "handler"); });
    KvCreateRegConnectData(0);
    KvRegisterRegss();
  });
  EXPECT_EQ(child.exit_status, 1);
  EXPECT_EQ(child.out, "");
}

TEST_F(Successor, ReleasesALockThatItNeverTook) {
  Peer server;
  ASSERT_EQ(server.ask('s'), 0);
  EXPECT_EQ(server.ask('u'), 0);
  EXPECT_EQ(server.ask('v'), 0);
}

TEST_F(Successor, RecordsItsNumberWithoutANewline) {
  const Child_Result child = run_child([] {
    KvCreateRegConnectData(1);
    KvRegisterRegss();
    printf("%d", getpid());
  });
  EXPECT_EQ(content_of(pid_file), child.out);
}

}  // namespace
}  // namespace kvtest
