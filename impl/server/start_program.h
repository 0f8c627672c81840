// The program of the server, started by a process that goes on without it.
#pragma once

#include <chrono>
#include <string>

namespace impl {

// The file of regss: what KVREGSS_PATH names (not in a program with raised rights), else bin/regss of the installation
// that this library belongs to; "" when there is none.
std::string regss_file();

// Runs `regss --user --background`, which answers questions when this comes back with "". Otherwise the reason: what it
// wrote on standard error, or why it could not be run. A lock of start-up is handed over unless lock is -1.
//
// The program is in a session of its own, has none of this process's descriptors, and is nothing that this process
// waits for: no SIGCHLD is sent, and no wait of the program's meets it.
std::string run_regss(int lock, std::chrono::milliseconds limit);

}  // namespace impl
