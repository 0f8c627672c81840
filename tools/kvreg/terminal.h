// The person at the terminal: questions and signals.
#pragma once

#include <string>

namespace kvreg {

// Asks on standard error and reads a line: true for y or yes. Without a terminal at standard input nobody can answer:
// throws Complaint, which names the switch that does it without asking.
bool ask(const std::string& question, const char* without_asking = "/f");
// Asks unless the switch was given; throws Complaint for any other answer.
void must_agree(const std::string& question, bool is_forced, const char* without_asking = "/f");

// From now on SIGINT, SIGTERM and SIGHUP are noted and end nothing by themselves.
void note_signals();
// The signal that was noted, else 0.
int noted_signal();
// Throws Interrupted when a signal was noted. What takes long calls it again and again.
void stop_if_interrupted();

}  // namespace kvreg
