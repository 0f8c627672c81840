#include "tools/kvreg/terminal.h"

#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/output.h"
#include "tools/kvreg/reg_text/units.h"

namespace kvreg {
namespace {

volatile sig_atomic_t noted = 0;

void note(int signal) { noted = signal; }

constexpr int noted_signals[] = {SIGINT, SIGTERM, SIGHUP};

// While it lives the signals that are noted come only where somebody waits for them.
class Held_Signals {
 public:
  Held_Signals() {
    sigset_t held;
    sigemptyset(&held);
    for (const int each : noted_signals) sigaddset(&held, each);
    sigprocmask(SIG_BLOCK, &held, &before_);
  }
  ~Held_Signals() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
  Held_Signals(const Held_Signals&) = delete;
  Held_Signals& operator=(const Held_Signals&) = delete;

  // Until there is input; a signal that came before or comes now is noticed.
  void wait_for_input() const {
    pollfd input = {STDIN_FILENO, POLLIN, 0};
    do {
      stop_if_interrupted();
    } while (ppoll(&input, 1, nullptr, &before_) < 0 && errno == EINTR);
  }

 private:
  sigset_t before_;
};

// A line of standard input without its end; what is there at the end of the file.
std::string read_line() {
  const Held_Signals held;
  std::string line;
  for (char each = 0;;) {
    held.wait_for_input();
    const ssize_t got = read(STDIN_FILENO, &each, 1);
    if (got <= 0 || each == '\n') return line;
    line.push_back(each);
  }
}

}  // namespace

bool ask(const std::string& question, const char* without_asking) {
  if (isatty(STDIN_FILENO) == 0)
    throw Complaint(question + " Nobody can answer here; " + without_asking + " does it without asking.");
  flush_output();
  std::fprintf(stderr, "%s (Yes/No) ", question.c_str());
  const std::string answer = lower_case(read_line());
  return answer == "y" || answer == "yes";
}

void must_agree(const std::string& question, bool is_forced, const char* without_asking) {
  if (!is_forced && !ask(question, without_asking)) throw Complaint("nothing was changed");
}

void note_signals() {
  struct sigaction action {};
  action.sa_handler = note;
  for (const int each : noted_signals) sigaction(each, &action, nullptr);
  signal(SIGPIPE, SIG_IGN);
}

int noted_signal() { return noted; }

void stop_if_interrupted() {
  if (noted != 0) throw Interrupted{noted};
}

}  // namespace kvreg
