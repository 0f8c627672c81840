// Many at once: servers that start together, clients that start one server together. Two rounds, fifty with
// KV_TEST_LONG.
#include "tests/regss/running.h"

namespace kvtest {
namespace {

constexpr int crowd = 20;

int rounds() { return getenv("KV_TEST_LONG") != nullptr ? 50 : 2; }

class Crowd : public Regss {
 protected:
  // The files as an earlier server may have left them.
  void leave_traces(int round) const {
    make_kv_folder();
    const char* const pids[] = {"0", "2147483646", "garbage"};
    write_file(pid_file, pids[round % 3]);
    if (round % 2 == 0) write_file(endpoint_file, folder / "tmp/kv/rgs1.0");
  }
  void serve_one_of_many(int round) {
    std::vector<std::unique_ptr<Running>> all;
    std::vector<Manager*> managers;
    leave_traces(round);
    for (int i = 0; i < crowd; ++i) {
      all.push_back(begin(machine()));
      managers.push_back(&manager());
    }
    int serving = 0;
    std::string winner;
    for (int i = 0; i < crowd; ++i) {
      if (has_become_ready(*all[i], *managers[i])) {
        ++serving;
        winner = all[i]->number();
      } else {
        EXPECT_EQ(all[i]->status(), 3) << all[i]->said();
      }
    }
    EXPECT_EQ(serving, 1);
    EXPECT_EQ(content_of(pid_file), winner);
    EXPECT_EQ(server_of(endpoint_file), winner);
  }
  // Starts them all and lets them go at once.
  std::vector<std::string> servers_of_many_callers() {
    int gate[2];
    EXPECT_EQ(pipe2(gate, O_CLOEXEC), 0);
    std::vector<pid_t> callers;
    for (int i = 0; i < crowd; ++i) callers.push_back(begin_caller(gate[0], folder / ("caller" + std::to_string(i))));
    close(gate[1]);
    close(gate[0]);
    std::vector<std::string> servers;
    for (int i = 0; i < crowd; ++i) {
      int status = -1;
      waitpid(callers[i], &status, 0);
      EXPECT_EQ(status, 0);
      servers.push_back(content_of(folder / ("caller" + std::to_string(i))));
    }
    return servers;
  }

  // A ported program of mode 0 that counts in a value of its own.
  std::unique_ptr<Running> begin_client(const std::string& value) const {
    const std::string output = folder / value;
    unlink(output.c_str());
    return std::make_unique<Running>(Words{KVTEST_PROGRAM, "machine"},
                                     environment({"KVREGISTRY_MODE=0", "KVMODULE_PATH", "KVTEST_VALUE=" + value}),
                                     output);
  }

 private:
  pid_t begin_caller(int gate, const std::string& output) const {
    fflush(nullptr);
    const pid_t pid = fork();
    if (pid != 0) return pid;
    dup2(gate, STDIN_FILENO);
    const int out = open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    dup2(out, STDOUT_FILENO);
    dup2(out, STDERR_FILENO);
    detail::change_environment(environment());
    execl(KVTEST_CALLER, KVTEST_CALLER, "wait", nullptr);
    _exit(127);
  }
};

// Over the real libraries: what each client writes is read again through the server that is left.
TEST_F(Crowd, OfServersAndClientsMeetsAtOneServer) {
  for (int round = 0; round < rounds(); ++round) {
    leave_traces(round);
    std::vector<std::unique_ptr<Running>> servers, clients;
    std::vector<Manager*> managers;
    for (int i = 0; i < crowd; ++i) {
      servers.push_back(begin(machine(), {"KVMODULE_PATH"}));
      managers.push_back(&manager());
      clients.push_back(begin_client("c" + std::to_string(i)));
    }
    for (const auto& client : clients) EXPECT_EQ(client->status(), 0) << client->said();
    int serving = 0;
    for (int i = 0; i < crowd; ++i) {
      if (has_become_ready(*servers[i], *managers[i])) {
        ++serving;
        EXPECT_EQ(content_of(pid_file), servers[i]->number());
      } else {
        EXPECT_EQ(servers[i]->status(), 3) << servers[i]->said();
      }
    }
    EXPECT_EQ(serving, 1);
    for (const auto& client : clients) {
      const std::string said = client->said();
      EXPECT_EQ(said.substr(said.rfind('\n', said.size() - 2) + 1), std::to_string(round + 1) + "\n") << said;
    }
  }
}

TEST_F(Crowd, OfServersLeavesOne) {
  for (int round = 0; round < rounds(); ++round) serve_one_of_many(round);
}

TEST_F(Crowd, OfCallersStartsOneServer) {
  for (int round = 0; round < rounds(); ++round) {
    const std::vector<std::string> servers = servers_of_many_callers();
    const Client client(content_of(user_endpoint_file()));
    const std::string server = client.server();
    for (const std::string& met : servers) EXPECT_EQ(met, server + "\n");
    const impl::Descriptor end(static_cast<int>(syscall(SYS_pidfd_open, std::stoi("0" + server), 0)));
    // Every other round meets what a killed server leaves.
    if (round % 2 == 0) {
      kill(std::stoi(server), SIGKILL);
    } else {
      client.ask_for_the_end();
    }
    ASSERT_TRUE(can_be_read(end.number()));
  }
}

}  // namespace
}  // namespace kvtest
