// The person at the terminal: questions and signals.
#pragma once

#include <string>

namespace kvreg {

// Asks on standard error and reads a line: true for y or yes. Without a terminal at standard input nobody can answer:
// throws Complaint, which says that /f does it without asking.
bool ask(const std::string& question);
// The same, where /f is given or not.
void must_agree(const std::string& question, bool is_forced);

// From now on SIGINT, SIGTERM and SIGHUP are noted and end nothing by themselves.
void note_signals();
// The signal that was noted, else 0.
int noted_signal();
// Throws Interrupted when a signal was noted. What takes long calls it again and again.
void stop_if_interrupted();

}  // namespace kvreg
