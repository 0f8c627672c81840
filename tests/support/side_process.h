// A second process that does its part of a test step by step: the two talk in single characters. Its function runs in a
// forked child, which ends by _exit with the function's result.
//
// An EXPECT inside the child is lost: let the child answer.
#ifndef KELVANE_TESTS_SUPPORT_SIDE_PROCESS_H
#define KELVANE_TESTS_SUPPORT_SIDE_PROCESS_H

#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <functional>
#include <stdexcept>

namespace kvtest {

// One end of the talk.
class Talk {
 public:
  explicit Talk(int fd) : fd_(fd) {}

  void say(char word) const {
    if (send(fd_, &word, 1, MSG_NOSIGNAL) != 1) fprintf(stderr, "nobody hears '%c'\n", word);
  }
  // The next character; 0 when the other side has ended.
  char hear() const {
    char word = 0;
    ssize_t got = 0;
    do {
      got = recv(fd_, &word, 1, 0);
    } while (got < 0 && errno == EINTR);
    return got == 1 ? word : '\0';
  }
  // Whether a character waits to be heard.
  bool has_word() const {
    char word = 0;
    return recv(fd_, &word, 1, MSG_PEEK | MSG_DONTWAIT) == 1;
  }
  int descriptor() const { return fd_; }

 private:
  int fd_;
};

class Side_Process {
 public:
  explicit Side_Process(const std::function<int(const Talk&)>& function) : talk_(-1) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) throw std::runtime_error("socketpair");
    fflush(nullptr);
    pid_ = fork();
    if (pid_ < 0) throw std::runtime_error("fork");
    if (pid_ == 0) {
      close(ends[0]);
      const int result = function(Talk(ends[1]));
      fflush(nullptr);
      _exit(result);
    }
    close(ends[1]);
    talk_ = Talk(ends[0]);
  }
  ~Side_Process() {
    end_by(SIGKILL);
    close(talk_.descriptor());
  }
  Side_Process(const Side_Process&) = delete;
  Side_Process& operator=(const Side_Process&) = delete;

  pid_t pid() const { return pid_; }
  void say(char word) const { talk_.say(word); }
  char hear() const { return talk_.hear(); }
  const Talk& talk() const { return talk_; }

  // Waits for its end: its exit status, or -1 when a signal ended it.
  int status() {
    if (!ended_) {
      while (waitpid(pid_, &status_, 0) < 0 && errno == EINTR) {
      }
      ended_ = true;
    }
    return WIFEXITED(status_) ? WEXITSTATUS(status_) : -1;
  }
  void end_by(int signal) {
    if (!ended_) ::kill(pid_, signal);
    status();
  }

 private:
  pid_t pid_ = -1;
  Talk talk_;
  int status_ = 0;
  bool ended_ = false;
};

}  // namespace kvtest

#endif
