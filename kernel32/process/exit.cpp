// The two ends of a process.
#include <kelvane/process.h>
#include <stdlib.h>
#include <unistd.h>

void KvExit(int status) { exit(status); }

void Kv_Exit(int status) { _exit(status); }
