/*
 * The implementation table: how libadvapi32 and the implementation libraries ("advapi32impl.dll",
 * "advapi32client.dll", "advapi32server.dll") meet.
 *
 * An implementation library exports the entries of registry_slots.def with C linkage; start-up binds them by
 * name into KvIRegFunctions, and every front calls through it. The table is written at start-up only.
 */
#ifndef KELVANE_REGISTRY_TABLE_H
#define KELVANE_REGISTRY_TABLE_H

#include "../winbase.h"
#include "../windef.h"
#include "../winnt.h"

KV_BEGIN_C

/* A 16-bit code unit as it crosses the table: high byte first on every host. */
typedef struct WinChar {
  unsigned char high;
  unsigned char low;
} WinChar;

/* One client of the registry's server, as KvIRegListConnected reports it. The texts are as the client tells them of
 * itself, in its code page, with a terminator and cut to the room here; the numbers are the system's. */
typedef struct RegistryConnection {
  DWORD process;            /* its id */
  DWORD user;               /* its user's number */
  unsigned long long since; /* when it came, in seconds since 1970 */
  char host[256];
  char program[256];
} RegistryConnection;

/* A row of the table: the entry's name and its address, null until it is bound. */
typedef struct KvIRegFunction {
  const char* name;
  void* entry;
} KvIRegFunction;

/* Number of entries that are bound; the row behind them, "LastFunc", ends the table. */
#define KV_SLOT_COUNT 42

extern KV_EXPORT KvIRegFunction KvIRegFunctions[KV_SLOT_COUNT + 1];

KV_END_C

#ifdef __cplusplus
static_assert(sizeof(WinChar) == 2 && alignof(WinChar) == 1, "a WinChar is two bytes");
static_assert(sizeof(KvIRegFunction) == 16, "a row is two pointers");
#endif

#endif
