// Sockets of a service manager: handed over by a real one's tool, and by the test itself.
#include <sys/mman.h>

#include "tests/regss/running.h"

namespace kvtest {
namespace {

class Activation : public Regss {
 protected:
  Activation() { make_kv_folder(); }

  // The words that make the first socket descriptor 3 of the program, as a service manager does.
  std::unique_ptr<Running> serve_at(int socket, const Words& words) {
    const Words all = {
        "/bin/sh", "-c",
        "exec 3<&" + std::to_string(socket) + "; LISTEN_PID=$$ LISTEN_FDS=1; export LISTEN_PID LISTEN_FDS; exec \"$@\"",
        "sh"};
    Words command = all;
    command.insert(command.end(), words.begin(), words.end());
    const int flags = fcntl(socket, F_GETFD);
    fcntl(socket, F_SETFD, 0);
    auto server = begin(command);
    fcntl(socket, F_SETFD, flags);
    return server;
  }
  // A descriptor that a shell can name: one digit.
  static impl::Descriptor with_one_digit(impl::Descriptor socket) {
    return impl::Descriptor(dup2(socket.number(), 9) == 9 ? 9 : -1);
  }
  impl::Descriptor listen_at(const std::string& path) const { return with_one_digit(impl::listen_at_port(path, true)); }

  const std::string socket_file = folder / "tmp/kv/rgs.socket";
};

TEST_F(Activation, ServesAtTheSocketThatIsHandedOver) {
  const impl::Descriptor socket = listen_at(socket_file);
  const auto server = serve_at(socket.number(), machine());
  ASSERT_TRUE(has_become_ready(*server, manager())) << server->said();
  EXPECT_EQ(content_of(endpoint_file), socket_file);
  EXPECT_EQ(content_of(pid_file), server->number());
  EXPECT_EQ(server_of(endpoint_file), server->number());
}

// The next connection starts the next server: what clients need for it stays.
TEST_F(Activation, LeavesSocketAndEndpointFileAtTheEnd) {
  const impl::Descriptor socket = listen_at(socket_file);
  for (int i = 0; i < 2; ++i) {
    const auto server = serve_at(socket.number(), machine());
    ASSERT_TRUE(has_become_ready(*server, manager())) << server->said();
    EXPECT_EQ(server_of(endpoint_file), server->number());
    server->send(SIGTERM);
    EXPECT_EQ(server->status(), 0);
    EXPECT_EQ(content_of(endpoint_file), socket_file);
    EXPECT_EQ(content_of(pid_file), "");
    EXPECT_TRUE(exists(socket_file));
  }
}

TEST_F(Activation, GivesWayToAServerThatServesAlready) {
  const auto first = serve(machine());
  ASSERT_NE(first, nullptr);
  const impl::Descriptor socket = listen_at(socket_file);
  const auto second = serve_at(socket.number(), machine());
  EXPECT_EQ(second->status(), 3);
  EXPECT_EQ(server_of(endpoint_file), first->number());
}

TEST_F(Activation, RefusesWhatIsNoListeningSocket) {
  const std::string reason =
      "regss: the service manager's descriptor 3 is no listening Unix stream socket in the file "
      "system\n";
  const impl::Descriptor file = with_one_digit(impl::Descriptor(memfd_create("no socket", MFD_CLOEXEC)));
  const auto with_file = serve_at(file.number(), machine());
  EXPECT_EQ(with_file->status(), 1);
  EXPECT_EQ(with_file->said(), reason);

  const impl::Descriptor abstract = with_one_digit(impl::Descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)));
  const sockaddr_un any{AF_UNIX, {}};
  ASSERT_EQ(bind(abstract.number(), reinterpret_cast<const sockaddr*>(&any), sizeof any.sun_family), 0);
  ASSERT_EQ(listen(abstract.number(), 1), 0);
  const auto without_file = serve_at(abstract.number(), machine());
  EXPECT_EQ(without_file->status(), 1);
  EXPECT_EQ(without_file->said(), reason);
}

TEST_F(Activation, ByTheServiceManagersTool) {
  const std::string tool = "/usr/bin/systemd-socket-activate";
  if (access(tool.c_str(), X_OK) != 0) GTEST_SKIP() << tool << " is not installed";
  Words words = {tool, "--listen=" + socket_file};
  // The tool hands its environment on by name only.
  for (const std::string& variable : environment()) {
    const size_t equals = variable.find('=');
    if (equals != variable.npos) words.push_back("--setenv=" + variable.substr(0, equals));
  }
  words.push_back("--setenv=NOTIFY_SOCKET");
  words.push_back("--setenv=ASAN_OPTIONS");
  for (const std::string& word : machine()) words.push_back(word);
  const auto server = begin(words);
  // The tool listens some time after it was started.
  impl::Descriptor client;
  while (!(client = impl::connect_to_port(socket_file)) && !server->has_ended()) sched_yield();
  ASSERT_TRUE(has_become_ready(*server, manager())) << server->said();
  EXPECT_EQ(content_of(endpoint_file), socket_file);
  EXPECT_EQ(server_of(endpoint_file), server->number());
}

TEST_F(Activation, IsAnnouncedWithoutAServer) {
  const impl::Descriptor socket = listen_at(socket_file);
  const Child_Result announced = run(machine({"--write-endpoint", socket_file}));
  EXPECT_EQ(announced.exit_status, 0) << announced.err;
  EXPECT_EQ(content_of(endpoint_file), socket_file);
  EXPECT_EQ(mode_of(endpoint_file), 0644u);
  EXPECT_EQ(content_of(pid_file), "");
  // Again, and after a server that was killed.
  write_file(endpoint_file, folder / "tmp/kv/rgs1.0");
  EXPECT_EQ(run(machine({"--write-endpoint", socket_file})).exit_status, 0);
  EXPECT_EQ(content_of(endpoint_file), socket_file);
}

TEST_F(Activation, IsNotAnnouncedOverAServerThatServes) {
  const auto server = serve(machine());
  ASSERT_NE(server, nullptr);
  const std::string port = content_of(endpoint_file);
  const Child_Result announced = run(machine({"--write-endpoint", socket_file}));
  EXPECT_EQ(announced.exit_status, 3);
  EXPECT_EQ(announced.err, "regss: a server serves this registry already, at " + port + "\n");
  EXPECT_EQ(content_of(endpoint_file), port);
}

TEST_F(Activation, OfAUserIsAnnouncedToo) {
  const impl::Descriptor socket = listen_at(socket_file);
  EXPECT_EQ(run(user({"--write-endpoint", socket_file})).exit_status, 0);
  EXPECT_EQ(content_of(user_endpoint_file()), socket_file);
}

}  // namespace
}  // namespace kvtest
