/*
 * The object that every ported program and shared object carries: it starts the library before the first
 * constructor that a program can ask for (the lowest priority open to programs is 101). The first to run in a
 * process starts the library, the others do nothing.
 */
#include <kelvane/process.h>

extern void init_advapi32(void);

static void start_once(void) {
  if (KvClaimStart()) init_advapi32();
}

__attribute__((section(".init_array.00100"), used)) static void (*start_entry)(void) = start_once;
