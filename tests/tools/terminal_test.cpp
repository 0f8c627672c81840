// kvreg at a terminal: questions, watching, signals.
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>

#include "tests/tools/kvreg.h"

namespace {

// A kvreg with a terminal of its own.
class Session {
 public:
  Session(const std::vector<std::string>& arguments, const std::vector<std::string>& environment) {
    child_ = forkpty(&terminal_, nullptr, nullptr, nullptr);
    if (child_ != 0) return;
    kvtest::detail::change_environment(environment);
    std::vector<char*> argv = {const_cast<char*>(KVTEST_KVREG)};
    for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    execv(KVTEST_KVREG, argv.data());
    _exit(127);
  }
  ~Session() {
    if (child_ > 0) {
      kill(child_, SIGKILL);
      waitpid(child_, nullptr, 0);
    }
    close(terminal_);
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Reads until the text was seen, or the terminal closed; everything that was seen.
  const std::string& until(const std::string& text) {
    while (seen_.find(text) == std::string::npos && read_some()) {
    }
    return seen_;
  }
  void type(const std::string& text) { EXPECT_EQ(write(terminal_, text.data(), text.size()), ssize_t(text.size())); }
  void send(int signal) { kill(child_, signal); }

  // Reads to the end; the exit status, or minus the signal.
  int end() {
    while (read_some()) {
    }
    int status = 0;
    waitpid(child_, &status, 0);
    child_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }
  const std::string& seen() const { return seen_; }

 private:
  bool read_some() {
    constexpr int patience = 60'000;
    pollfd ready = {terminal_, POLLIN, 0};
    if (poll(&ready, 1, patience) <= 0) return false;
    char block[4096];
    const ssize_t got = read(terminal_, block, sizeof block);
    if (got > 0) seen_.append(block, static_cast<std::size_t>(got));
    return got > 0;
  }

  int terminal_ = -1;
  pid_t child_ = -1;
  std::string seen_;
};

TEST_F(Kvreg, AsksAtATerminalBeforeItDeletes) {
  add("HKCU\\S", "v", "1");
  Session no({"delete", "HKCU\\S"}, environment());
  no.until("Delete the key HKEY_CURRENT_USER\\S with all below it? (Yes/No) ");
  no.type("no\n");
  EXPECT_EQ(no.end(), 1);
  EXPECT_NE(no.seen().find("kvreg delete: nothing was changed"), std::string::npos) << no.seen();
  EXPECT_EQ(run({"query", "HKCU\\S"}).exit_status, 0);

  Session yes({"delete", "HKCU\\S"}, environment());
  yes.until("(Yes/No) ");
  yes.type("Y\n");
  EXPECT_EQ(yes.end(), 0) << yes.seen();
  EXPECT_EQ(run({"query", "HKCU\\S"}).exit_status, 1);
}

TEST_F(Kvreg, TakesTheEndOfInputForNo) {
  add("HKCU\\S", "v", "1");
  Session session({"delete", "HKCU\\S"}, environment());
  session.until("(Yes/No) ");
  session.type("\x04");
  EXPECT_EQ(session.end(), 1);
  EXPECT_EQ(run({"query", "HKCU\\S"}).exit_status, 0);
}

TEST_F(Kvreg, ChangesNothingWhenItIsInterruptedAtAQuestion) {
  add("HKCU\\S", "v", "1");
  Session session({"delete", "HKCU\\S"}, environment());
  session.until("(Yes/No) ");
  session.type("\x03");
  EXPECT_EQ(session.end(), 128 + SIGINT);
  EXPECT_EQ(run({"query", "HKCU\\S"}).exit_status, 0);
}

TEST_F(Kvreg, PrintsEachChangeUntilItIsInterrupted) {
  add("HKCU\\S", "v", "1");
  Session session({"watch", "HKCU\\S"}, environment());
  session.until("watching HKEY_CURRENT_USER\\S; Ctrl-C ends it");
  add("HKCU\\S\\New", "w", "2");
  session.until("+ HKEY_CURRENT_USER\\S\\New  w  REG_SZ  2");
  add("HKCU\\S", "v", "3");
  session.until("~ HKEY_CURRENT_USER\\S  v  REG_SZ  3");
  EXPECT_EQ(out({"delete", "HKCU\\S\\New", "/f"}), done);
  session.until("- HKEY_CURRENT_USER\\S\\New");
  session.type("\x03");
  EXPECT_EQ(session.end(), 0);
  EXPECT_NE(session.seen().find("+ HKEY_CURRENT_USER\\S\\New\r\n"), std::string::npos) << session.seen();
  EXPECT_NE(session.seen().find("~ HKEY_CURRENT_USER\\S  v  REG_SZ  3\r\n"), std::string::npos) << session.seen();
  EXPECT_NE(session.seen().find("- HKEY_CURRENT_USER\\S\\New\r\n"), std::string::npos) << session.seen();
}

TEST_F(Kvreg, PrintsChangesAsJson) {
  EXPECT_EQ(out({"add", "HKCU\\S"}), done);
  Session session({"watch", "HKCU\\S", "--json"}, environment());
  session.until("Ctrl-C ends it");
  add("HKCU\\S", "v", "1");
  session.until("\"}}");
  session.send(SIGTERM);
  EXPECT_EQ(session.end(), 0);
  EXPECT_NE(
      session.seen().find("{\"change\":\"+\",\"key\":\"HKEY_CURRENT_USER\\\\S\",\"value\":{\"data\":\"1\",\"name\":"
                          "\"v\",\"type\":\"REG_SZ\"}}"),
      std::string::npos)
      << session.seen();
}

TEST_F(Kvreg, EndsTheWatchOfAKeyThatIsDeleted) {
  EXPECT_EQ(out({"add", "HKCU\\S"}), done);
  Session session({"watch", "HKCU\\S"}, environment());
  session.until("Ctrl-C ends it");
  EXPECT_EQ(out({"delete", "HKCU\\S", "/f"}), done);
  EXPECT_EQ(session.end(), 1);
  EXPECT_NE(
      session.seen().find("kvreg watch: HKEY_CURRENT_USER\\S: the key was deleted meanwhile (ERROR_KEY_DELETED, 1018)"),
      std::string::npos)
      << session.seen();
}

}  // namespace
