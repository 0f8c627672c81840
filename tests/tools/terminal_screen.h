// A terminal of 80 columns and 24 rows with a program in it, made by tmux on a socket of the test's own: keys go in,
// and its screen is looked at until it shows what is expected.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/child.h"

class Terminal_Screen {
 public:
  // The command is one of the shell's. Behind its end the screen shows "ended STATUS" and what is typed.
  Terminal_Screen(const std::string& command, std::vector<std::string> environment)
      : environment_(std::move(environment)) {
    for (const char* each : {"LC_ALL=C.UTF-8", "TERM=xterm-256color", "TMUX", "TMUX_PANE"})
      environment_.push_back(each);
    environment_.push_back("TMUX_TMPDIR=" + folder_.path());
    const std::string whole = command + "; echo \"ended $?\"; exec cat";
    tmux({"-f", "/dev/null", "new-session", "-d", "-x", "80", "-y", "24", whole});
  }
  ~Terminal_Screen() { close(); }
  Terminal_Screen(const Terminal_Screen&) = delete;
  Terminal_Screen& operator=(const Terminal_Screen&) = delete;

  static bool is_installed() { return kvtest::run_program({"/bin/sh", "-c", "command -v tmux"}).exit_status == 0; }

  // Names of keys, such as Down, C-u, F2.
  void keys(const std::vector<std::string>& names) {
    std::vector<std::string> arguments = {"send-keys"};
    arguments.insert(arguments.end(), names.begin(), names.end());
    tmux(arguments);
  }
  void type(const std::string& text) { tmux({"send-keys", "-l", text}); }
  // The line of an editor anew, and Enter.
  void answer(const std::string& text) {
    keys({"C-u"});
    type(text);
    keys({"Enter"});
  }
  void resize(int columns, int rows) {
    tmux({"resize-window", "-x", std::to_string(columns), "-y", std::to_string(rows)});
  }
  void close() {
    if (!is_closed_) kvtest::run_program({"/usr/bin/env", "tmux", "-L", "browse", "kill-server"}, environment_);
    is_closed_ = true;
  }

  // Without blanks at the ends of lines.
  std::vector<std::string> rows() {
    std::istringstream screen(tmux({"capture-pane", "-p"}));
    std::vector<std::string> rows;
    for (std::string row; std::getline(screen, row);) rows.push_back(row);
    return rows;
  }

  // Looks until all of the texts are on the screen.
  testing::AssertionResult shows(const std::vector<std::string>& texts) {
    return looks([&](const std::string& screen) {
      for (const std::string& each : texts)
        if (screen.find(each) == screen.npos) return "missing: " + each;
      return std::string();
    });
  }
  // Looks until these rows are the screen's first ones.
  testing::AssertionResult begins(const std::vector<std::string>& wanted) {
    std::string all;
    for (const std::string& each : wanted) all += each + "\n";
    return looks([&](const std::string& screen) { return screen.starts_with(all) ? "" : "wanted:\n" + all; });
  }

 private:
  template <class Complaint_Of>
  testing::AssertionResult looks(Complaint_Of complaint_of) {
    constexpr auto patience = std::chrono::seconds(60);
    constexpr unsigned between_looks = 20'000;  // microseconds
    const auto end = std::chrono::steady_clock::now() + patience;
    for (;;) {
      std::string screen;
      for (const std::string& each : rows()) screen += each + "\n";
      const std::string complaint = complaint_of(screen);
      if (complaint.empty()) return testing::AssertionSuccess();
      if (std::chrono::steady_clock::now() > end)
        return testing::AssertionFailure() << complaint << "\nscreen:\n" << screen;
      usleep(between_looks);
    }
  }

  std::string tmux(const std::vector<std::string>& arguments) {
    std::vector<std::string> argv = {"/usr/bin/env", "tmux", "-L", "browse"};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    const kvtest::Child_Result result = kvtest::run_program(argv, environment_);
    EXPECT_EQ(result.exit_status, 0) << result.err;
    return result.out;
  }

  kvtest::Temp_Folder folder_;
  std::vector<std::string> environment_;
  bool is_closed_ = false;
};
