// Who the pid file says the server is, and how a server says it.
#include <filesystem>

#include "tests/regserver/endpoint.h"
#include "tests/support/ordinary_user.h"

namespace kvtest {
namespace {

class Liveness : public Endpoint {
 protected:
  // What a client makes of a pid file.
  std::string alive(const std::string& content) {
    make_pid_file(content);
    return run_child([] {
             KvCreateRegConnectData(0);
             printf("%d", KvIsRegssAlive());
           })
        .out;
  }
};

TEST_F(Liveness, OfAProcessThatIsThereIs1) { EXPECT_EQ(alive(std::to_string(getpid())), "1"); }

TEST_F(Liveness, OfAProcessThatHasEndedIs0) {
  const pid_t ended = fork();
  if (ended == 0) _exit(0);
  ASSERT_EQ(waitpid(ended, nullptr, 0), ended);
  EXPECT_EQ(alive(std::to_string(ended)), "0");
}

TEST_F(Liveness, OfAnEmptyFileIs0) { EXPECT_EQ(alive(""), "0"); }

// QUIRK pid-zero-alive
TEST_F(Liveness, OfZeroAndOfGarbageIs1) {
  for (const char* content : {"0", "garbage", "\n", "-1", "\xff\xff"}) EXPECT_EQ(alive(content), "1") << content;
}

TEST_F(Liveness, ReadsTenBytes) {
  // Behind leading zeros the pid ends with the tenth byte.
  const std::string own = std::to_string(getpid());
  EXPECT_EQ(alive(std::string(10 - own.size(), '0') + own + "99999"), "1");
  EXPECT_EQ(alive("2147483646" + own), "0");
}

TEST_F(Liveness, OfAProcessOfAnotherUserIs1) {
  make_pid_file(std::to_string(geteuid() == 0 ? getpid() : 1));
  ASSERT_EQ(mode_of(pid_file) & 0444, 0444u);
  const Child_Result child = run_child([] {
    KvCreateRegConnectData(0);
    if (!become_ordinary_user()) _exit(1);
    printf("%d", KvIsRegssAlive());
  });
  EXPECT_EQ(child.out, "1");
}

TEST_F(Liveness, IsAskedByAClientOfAnotherUserWhoCannotRemoveTheFiles) {
  make_pid_file(std::to_string(geteuid() == 0 ? getpid() : 1));
  write_file(endpoint_file, "/the/port");
  ASSERT_EQ(chmod((folder / "kv").c_str(), 0555), 0);
  ASSERT_EQ(chmod(folder.path().c_str(), 0755), 0);
  const Child_Result child = run_child([this] {
    // The test's folder has no way to it for that user but the working directory.
    setenv("TMPDIR", ".", 1);
    if (chdir(folder.path().c_str()) != 0 || !become_ordinary_user()) _exit(1);
    printf("%d ", KvCreateRegConnectData(0));
    printf("%d ", KvIsRegssAlive());
    printf("%s", text(getPortName()).c_str());
    KvDestroyRegConnectData();
  });
  EXPECT_EQ(child.out, "0 1 /the/port");
  EXPECT_EQ(child.err, "");
  EXPECT_TRUE(exists(pid_file) && exists(endpoint_file));
  chmod((folder / "kv").c_str(), 0755);
}

TEST_F(Liveness, OfAServerThatAnotherUserRecordedLeavesItsFileAlone) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can become another user, to whom the pid file is closed";
  make_pid_file(std::to_string(getpid()));
  ASSERT_EQ(chmod(folder.path().c_str(), 0755), 0);
  const Child_Result child = run_child([this] {
    setenv("TMPDIR", ".", 1);
    if (chdir(folder.path().c_str()) != 0 || !become_ordinary_user()) _exit(1);
    printf("%d", KvCreateRegConnectData(1));
  });
  EXPECT_EQ(child.out, "1");
  EXPECT_EQ(child.err, "Can't open ./kv/regss.pid.\n");
  EXPECT_EQ(content_of(pid_file), std::to_string(getpid()));
}

TEST_F(Liveness, IsReadAfreshAtEveryCall) {
  make_pid_file("");
  const Child_Result child = run_child([this] {
    KvCreateRegConnectData(0);
    printf("%d", KvIsRegssAlive());
    write_file(pid_file, std::to_string(getpid()));
    printf("%d", KvIsRegssAlive());
  });
  EXPECT_EQ(child.out, "01");
}

TEST_F(Liveness, OfARealServerIsSeenByItsClientsUntilItEnds) {
  Peer client;
  {
    Peer server;
    ASSERT_EQ(server.ask('s'), 0);
    ASSERT_EQ(client.ask('c'), 0);
    EXPECT_EQ(client.ask('a'), 0);
    ASSERT_EQ(server.ask('r'), 0);
    EXPECT_EQ(content_of(pid_file), std::to_string(server.pid()));
    EXPECT_EQ(client.ask('a'), 1);
  }
  EXPECT_EQ(client.ask('a'), 0);
}

class Registering : public Endpoint {};

TEST_F(Registering, ReplacesTheRecordOfAnEarlierServer) {
  make_pid_file("99999999999999999999");
  const Child_Result child = run_child([] {
    KvCreateRegConnectData(1);
    printf("%d %d", KvRegisterRegss(), getpid());
  });
  EXPECT_EQ(child.out, "0 " + content_of(pid_file));
}

TEST_F(Registering, RemovesAStalePort) {
  make_pid_file("0");
  write_file(folder / "stale", "");
  write_file(endpoint_file, folder / "stale");
  EXPECT_EQ(run_child([] {
              KvCreateRegConnectData(1);
              _exit(KvRegisterRegss());
            }).exit_status,
            0);
  EXPECT_FALSE(exists(folder / "stale"));
}

TEST_F(Registering, WithoutAPortNameRegistersAllTheSame) {
  make_pid_file("0");
  const Child_Result child = run_child([] {
    KvCreateRegConnectData(1);
    printf("%s %d", text(getPortName()).c_str(), KvRegisterRegss());
  });
  EXPECT_EQ(child.out, "none 0");
}

TEST_F(Registering, OnAFileThatCannotBeWrittenEndsTheProcessWith1) {
  make_pid_file("0");
  const Child_Result child = run_child([] {
    KvCreateRegConnectData(0);
    KvRegisterRegss();
    _exit(0);
  });
  EXPECT_EQ(child.exit_status, 1);
  EXPECT_EQ(child.err, "RegisterServer failed: cannot write file: " + pid_file + "\n");
  EXPECT_EQ(content_of(pid_file), "0");
}

TEST_F(Registering, WithoutAPidFileEndsTheProcessWith1) {
  const Child_Result child = run_child([] {
    KvCreateRegConnectData(0);
    KvRegisterRegss();
    _exit(0);
  });
  EXPECT_EQ(child.exit_status, 1);
  EXPECT_EQ(child.err, "RegisterServer failed: cannot write file: " + pid_file + "\n");
}

}  // namespace
}  // namespace kvtest
