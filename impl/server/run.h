// The registry's server as a process runs it: the exported entry of "advapi32server.dll".
//
// The process has loaded "advapi32impl.dll", whose store is served; it owns the endpoint (pid, lock, endpoint file and
// port) and everything that is told to the service manager except the watchdog, which the server's loop answers by
// itself when WATCHDOG_USEC is set.
#pragma once

#include <stddef.h>

extern "C" {

typedef struct Regss_Options {
  // Unix stream sockets that are bound and listen; at least one. They stay the caller's, and become non-blocking.
  const int* sockets;
  size_t socket_count;
  // Non-zero: HKEY_CURRENT_USER of each peer is the key of its user in one hive "users" beside the machine's, and peers
  // may be anybody. Zero: it is the hive of the server's own user, and only that user and root are let in.
  int machine_wide;
  // The core data folder. Whole hives on their way to clients lie there for a moment, without a name.
  const char* data_folder;
  // The server ends this long after its last client has gone, or after its start when none came; 0: never.
  unsigned idle_seconds;
  // The server ends when this descriptor becomes readable (nothing is read from it), as for SIGTERM; -1: none.
  int stop;
  // Called once, when questions are answered from now on; may be null.
  void (*ready)(void* context);
  // One line without newline for the server's log; may be null.
  void (*say)(void* context, const char* line);
  void* context;
} Regss_Options;

// Serves until the stop descriptor, a client's ShutDown or idleness ends it: 0. What was reported done is in the hives.
// 1: it could not begin, and the reason was said. Called once in a process, from any thread, with no exception out.
__attribute__((visibility("default"))) int KvRegssRun(const Regss_Options* options);

}  // extern "C"
