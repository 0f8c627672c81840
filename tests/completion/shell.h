// A shell at a terminal of its own, in which kvreg is completed.
#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/support/child.h"

class Shell {
 public:
  Shell(const std::vector<std::string>& argv, const std::vector<std::string>& environment) {
    winsize wide = {50, 500, 0, 0};
    child_ = forkpty(&terminal_, nullptr, nullptr, &wide);
    if (child_ != 0) return;
    kvtest::detail::change_environment(environment);
    std::vector<char*> words;
    for (const std::string& word : argv) words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    execvp(words[0], words.data());
    _exit(127);
  }
  ~Shell() {
    kill(child_, SIGKILL);
    waitpid(child_, nullptr, 0);
    close(terminal_);
  }
  Shell(const Shell&) = delete;
  Shell& operator=(const Shell&) = delete;

  void type(const std::string& keys) {
    ASSERT_EQ(write(terminal_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
  }
  // Reads until the text was seen, or nothing more comes; everything that was seen.
  const std::string& until(const std::string& text) {
    while (seen_.find(text) == seen_.npos && read_some()) {
    }
    return seen_;
  }

 private:
  bool read_some() {
    constexpr int patience = 60'000;  // milliseconds
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
