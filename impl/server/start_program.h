// The program of the server, started by a process that goes on without it.
#pragma once

#include <chrono>
#include <string>

namespace impl {

// The file of regss: what KVREGSS_PATH names (not in a program with raised rights), else bin/regss of the installation
// that this library belongs to; "" when there is none.
std::string regss_file();

// Runs `regss --user --background` and comes back when questions are answered, or when it has ended without: which of
// both is to be seen at the endpoint. *out_text is what it has written on standard error. False with the reason there
// when it could not be run, or has not come so far in time; it goes on then. A lock of start-up is handed over unless
// lock is -1.
//
// The program is in a session of its own, has none of this process's descriptors, and is nothing that this process
// waits for: no SIGCHLD is sent, and no wait of the program's meets it.
bool run_regss(int lock, std::chrono::milliseconds limit, std::string* out_text);

}  // namespace impl
