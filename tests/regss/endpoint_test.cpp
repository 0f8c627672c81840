// What a server finds of earlier ones, what it leaves for its clients, and what it takes away.
#include <fcntl.h>

#include "tests/regss/running.h"

namespace kvtest {
namespace {

class Serving : public Regss {
 protected:
  // A machine-wide server that meets these files of an earlier one.
  std::unique_ptr<Running> serve_after(const std::string& pid, const std::string& port) {
    make_kv_folder();
    write_file(pid_file, pid);
    write_file(endpoint_file, port);
    return serve(machine());
  }
  void expect_reached(const Running& server) const {
    EXPECT_EQ(content_of(pid_file), server.number());
    EXPECT_EQ(server_of(endpoint_file), server.number());
  }
  // A port where nobody listens any more.
  std::string stale_port() const {
    const std::string port = folder / "tmp/kv/rgs1.0";
    impl::listen_at_port(port, true);
    return port;
  }
};

TEST_F(Serving, NamesItsPortAndItsProcess) {
  const auto server = serve(machine());
  ASSERT_NE(server, nullptr);
  expect_reached(*server);
  EXPECT_EQ(mode_of(endpoint_file), 0644u);
  EXPECT_EQ(mode_of(pid_file), 0644u);
  EXPECT_EQ(mode_of(folder / "tmp/kv"), 0755u);
  EXPECT_EQ(mode_of(content_of(endpoint_file)), 0666u);
}

TEST_F(Serving, OfAUserTakesNobodyElse) {
  const auto server = serve(user());
  ASSERT_NE(server, nullptr);
  EXPECT_EQ(content_of(user_pid_file()), server->number());
  EXPECT_EQ(server_of(user_endpoint_file()), server->number());
  EXPECT_EQ(mode_of(content_of(user_endpoint_file())), 0600u);
  EXPECT_FALSE(exists(folder / "tmp/kv"));
}

TEST_F(Serving, HasModesOfItsOwnWhateverTheCreationMaskIs) {
  const mode_t before = umask(0077);
  const auto server = serve(machine());
  umask(before);
  ASSERT_NE(server, nullptr);
  EXPECT_EQ(mode_of(folder / "tmp/kv"), 0755u);
  EXPECT_EQ(mode_of(endpoint_file), 0644u);
  EXPECT_EQ(mode_of(pid_file), 0644u);
  EXPECT_EQ(mode_of(content_of(endpoint_file)), 0666u);
}

TEST_F(Serving, BeginsAfterOneThatLeftEverything) {
  make_kv_folder();
  const std::string port = stale_port();
  const auto server = serve_after("2147483646", port);
  ASSERT_NE(server, nullptr);
  expect_reached(*server);
  EXPECT_FALSE(exists(port));
}

TEST_F(Serving, RemovesNoPortFromElsewhere) {
  make_kv_folder();
  for (const std::string& port : {folder / "rgs1.0", folder / "tmp/kv/other", folder / "tmp/kv/rgs/../../rgs2.0"}) {
    mkdir((folder / "tmp/kv/rgs").c_str(), 0755);
    impl::listen_at_port(port, true);
    const auto server = serve_after("", port);
    ASSERT_NE(server, nullptr);
    EXPECT_TRUE(exists(port)) << port;
    server->send(SIGTERM);
    EXPECT_EQ(server->status(), 0);
  }
}

TEST_F(Serving, RemovesNoFileThatIsNoPort) {
  make_kv_folder();
  write_file(folder / "tmp/kv/rgs1.0", "mine");
  const auto server = serve_after("", folder / "tmp/kv/rgs1.0");
  ASSERT_NE(server, nullptr);
  EXPECT_EQ(content_of(folder / "tmp/kv/rgs1.0"), "mine");
}

// The number of a process alone would read as a living server in each of these.
TEST_F(Serving, BeginsWhateverThePidFileSays) {
  for (const std::string& pid : {std::string("0"), std::string("garbage"), std::string("-1"), std::string(1, '\0'),
                                 std::to_string(getpid()), std::string("1"), std::string(4096, '7')}) {
    const auto server = serve_after(pid, folder / "tmp/kv/rgs1.0");
    ASSERT_NE(server, nullptr) << pid;
    expect_reached(*server);
    server->send(SIGTERM);
    EXPECT_EQ(server->status(), 0);
  }
}

TEST_F(Serving, BeginsWhateverTheEndpointFileSays) {
  for (const std::string& port : {std::string(), std::string("\n"), std::string(1, '\0'), std::string(8192, 'x'),
                                  std::string("relative"), folder.path(), std::string("/etc/passwd")}) {
    const auto server = serve_after("", port);
    ASSERT_NE(server, nullptr) << port;
    expect_reached(*server);
    server->send(SIGTERM);
    EXPECT_EQ(server->status(), 0);
  }
}

TEST_F(Serving, EndsTheSecondServerOfOneEndpoint) {
  const auto first = serve(machine());
  ASSERT_NE(first, nullptr);
  const Child_Result second = run(machine());
  EXPECT_EQ(second.exit_status, 3);
  EXPECT_EQ(second.err, "regss: a server serves this registry already, at " + content_of(endpoint_file) + "\n");
  expect_reached(*first);
}

TEST_F(Serving, EndsTheSecondServerEvenWhenThePidFileNamesNobody) {
  const auto first = serve(machine());
  ASSERT_NE(first, nullptr);
  write_file(pid_file, "2147483646");
  EXPECT_EQ(run(machine()).exit_status, 3);
  EXPECT_EQ(server_of(endpoint_file), first->number());
}

TEST_F(Serving, OfTwoUsersDirectoriesIsTwoServers) {
  const auto one = serve(user());
  const auto other = serve(user(), {"KVCORE_PRIVATE_DATA=" + folder / "core"});
  ASSERT_TRUE(one != nullptr && other != nullptr);
  EXPECT_EQ(server_of(user_endpoint_file()), one->number());
}

TEST_F(Serving, TakesEverythingAwayAtItsEnd) {
  const auto server = serve(machine());
  ASSERT_NE(server, nullptr);
  const std::string port = content_of(endpoint_file);
  server->send(SIGTERM);
  EXPECT_EQ(server->status(), 0);
  for (const std::string& file : {port, endpoint_file, pid_file}) EXPECT_FALSE(exists(file)) << file;
  EXPECT_TRUE(exists(folder / "tmp/kv"));
}

TEST_F(Serving, LeavesTheFilesOfASuccessorAlone) {
  const auto first = serve(machine());
  ASSERT_NE(first, nullptr);
  const std::string port = content_of(endpoint_file);
  // As somebody does who clears the temporary directory.
  unlink(pid_file.c_str());
  unlink(endpoint_file.c_str());
  const auto second = serve(machine());
  ASSERT_NE(second, nullptr);
  first->send(SIGTERM);
  EXPECT_EQ(first->status(), 0);
  EXPECT_FALSE(exists(port));
  expect_reached(*second);
}

TEST_F(Serving, LeavesTheFilesOfThePredecessorAloneWhenItEndsBeforeItServes) {
  const auto first = serve(machine());
  ASSERT_NE(first, nullptr);
  ASSERT_EQ(run(machine()).exit_status, 3);
  expect_reached(*first);
}

TEST_F(Serving, ReachesFarFolders) {
  std::string far = folder / "tmp";
  while (far.size() < 200) {
    far += "/" + std::string(40, 'f');
    mkdir(far.c_str(), 0700);
  }
  const Words there = {"TMPDIR=" + far};
  const auto server = serve(machine(), there);
  ASSERT_NE(server, nullptr);
  const std::string port = content_of(far + "/kv/regss");
  EXPECT_GT(port.size(), 107u);
  EXPECT_EQ(server_of(far + "/kv/regss"), server->number());
  EXPECT_EQ(run(machine(), there).exit_status, 3);
  server->send(SIGTERM);
  EXPECT_EQ(server->status(), 0);
  EXPECT_FALSE(exists(port));
}

TEST_F(Serving, ReachesFoldersThatAreNamedFromWhereItStarts) {
  const Child_Result result = run_child([this] {
    if (chdir(folder.path().c_str()) != 0) _exit(9);
    const Words words = {KVTEST_REGSS, "--user", "--background"};
    const Child_Result started = run_program(words, environment({"TMPDIR=tmp", "HOME=home", "KVREGISTRY=home/h.bin"}));
    if (started.exit_status != 0) _exit(8);
    const Client client(content_of(user_endpoint_file()));
    if (client.server().empty()) _exit(7);
    client.ask_for_the_end();
  });
  EXPECT_EQ(result.exit_status, 0) << result.err;
}

}  // namespace
}  // namespace kvtest
