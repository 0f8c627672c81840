/*
 * What an implementation library may do with the registry beside the table: batches, renaming, unloading, checking.
 * Each function looks its entry up by name in the library of the registry mode and answers
 * ERROR_CALL_NOT_IMPLEMENTED (120) where that library has none.
 *
 * Everything here stands in this header: there is nothing to link but libadvapi32 and libkernel32. Functions answer 0
 * or a Win32 error code and leave the last error alone; any thread may call them. They do not pass the gate of the
 * published functions: once the registry of the process is closed they must not be called. Beside the codes named here
 * every function may answer those of winreg.h: 6 an unknown handle, 5 no right, 8 no memory, 170 another process or
 * thread had the hive for five seconds, 112 a full disk, 1009, 1016, 1017 a hive that cannot be used.
 *
 * Text is wide, with a terminator; of each character the low 16 bits are the unit that is stored.
 */
#ifndef KELVANE_OPTIONAL_H
#define KELVANE_OPTIONAL_H

#include <kelvane/process.h>
#include <stdlib.h>

#include "../winbase.h"
#include "../windef.h"
#include "../winerror.h"
#include "../winreg.h"
#include "registry_table.h"

KV_BEGIN_C

/* ---- Batches: many changes as one transaction of each hive that they touch ---------------------------------- */

/*
 * How a batch ended in one hive. root is HKEY_LOCAL_MACHINE for the machine's hive, HKEY_CURRENT_USER for the user's,
 * and HKEY_USERS for that of all users which a machine's server has; file is its path, "" for a hive without file, and
 * good for the time of the call only. code is 0 when all of the batch is in the hive, and else says why nothing of it
 * is: ERROR_OPERATION_ABORTED (995) when it was not tried any more since an earlier one had failed.
 */
typedef struct KvBatchHive {
  HKEY root;
  const char* file;
  DWORD code;
} KvBatchHive;

typedef void (*KvBatchHiveCallback)(void* context, const KvBatchHive* hive);

/* ---- Checking ------------------------------------------------------------------------------------------------ */

/* What can be wrong. */
typedef enum KvFaultKind {
  KV_FAULT_STRUCTURE = 0,   /* pages, rows and indexes of the file */
  KV_FAULT_META = 1,        /* a fact about the hive as a whole is missing or none */
  KV_FAULT_NUMBER = 2,      /* a number of a key or of a state that was not given out */
  KV_FAULT_ROOT = 3,        /* a root is missing, or there is one too many */
  KV_FAULT_PARENT = 4,      /* the key above is missing */
  KV_FAULT_CYCLE = 5,       /* a key that no root leads to */
  KV_FAULT_DEPTH = 6,       /* deeper than a hive may be */
  KV_FAULT_VOLATILITY = 7,  /* a lasting key below a volatile one */
  KV_FAULT_COUNTS = 8,      /* a key's numbers of sub-keys and values */
  KV_FAULT_MAXIMA = 9,      /* a key's longest lengths */
  KV_FAULT_NAME = 10,       /* a name, a class or a folded name */
  KV_FAULT_LOST_VALUE = 11, /* a value of no key */
  KV_FAULT_DATA = 12,       /* a value's data: missing, of another size, or shared */
  KV_FAULT_UNUSED_DATA = 13 /* data of no value */
} KvFaultKind;

/*
 * One fault. key is the path of the key from the root of its hive, "" for the root itself; null when the fault is of
 * no key, or of one that no root leads to. value is the name of the value, "" for the default one; null when the fault
 * is not of one value. text says what is wrong in one line of English. All are good for the time of the call only.
 */
typedef struct KvHiveFault {
  KvFaultKind kind;
  const wchar_t* key;
  const wchar_t* value;
  const char* text;
} KvHiveFault;

/* Called for each fault; FALSE when no more are to be told. */
typedef BOOL (*KvHiveFaultCallback)(void* context, const KvHiveFault* fault);

/* What a hive holds, roots counted among the keys. Sizes are in bytes. All are 0 where the structure is damaged. */
typedef struct KvHiveCounts {
  unsigned long long keys;
  unsigned long long volatile_keys; /* of them */
  unsigned long long values;
  unsigned long long data_size;
  unsigned long long faults; /* that were found: at most 1,000 are looked for */
} KvHiveCounts;

/* ---- How entries are found ------------------------------------------------------------------------------------- */

/* Is cast to the entry's own type before it is called. */
typedef void (*KvOptionalFunction)(void);

/* The library that serves the registry in this process: in modes 1 and 2 the process itself, in 0 and 3 a server. */
static inline const char* KvOptionalLibrary(void) {
  static const char* const libraries[] = {"advapi32client.dll", "advapi32impl.dll", "advapi32impl.dll",
                                          "advapi32client.dll"};
  const unsigned mode = KvGetRegistryMode();
  return mode < sizeof libraries / sizeof libraries[0] ? libraries[mode] : NULL;
}

/* The entry of this name there; null when it has none. */
static inline KvOptionalFunction KvOptionalEntry(const char* name) {
  const DWORD last_error = GetLastError();
  const char* file = KvOptionalLibrary();
  HMODULE library = file != NULL ? LoadLibraryA(file) : NULL;
  KvOptionalFunction entry = library != NULL ? (KvOptionalFunction)GetProcAddress(library, name) : NULL;
  SetLastError(last_error);
  return entry;
}

/* A copy of a text as it crosses to the library, to be given to free. Null for a null text, or without memory. */
static inline WinChar* KvOptionalText(const wchar_t* text) {
  size_t length = 0;
  WinChar* units = NULL;
  if (text == NULL) return NULL;
  while (text[length] != 0) ++length;
  units = (WinChar*)malloc((length + 1) * sizeof(WinChar));
  for (size_t i = 0; units != NULL && i <= length; ++i) {
    units[i].high = (unsigned char)((unsigned)text[i] >> 8);
    units[i].low = (unsigned char)(unsigned)text[i];
  }
  return units;
}

/* ---- Batches --------------------------------------------------------------------------------------------------- */

/*
 * Begins the calling thread's batch. From now on everything that this thread changes through the registry is one
 * transaction of each hive that it touches, which begins with the first change there, until KvCommitBatch or
 * KvAbandonBatch. The thread's own reads see what it has changed; other threads and processes see nothing of it before
 * the commit and go on reading; who wants to change the same hive waits as for any writer, up to five seconds, and then
 * gets 170. A call that fails leaves nothing of itself, and the batch goes on; where the store itself fails (a full
 * disk, a damaged hive) the whole batch is abandoned with that call.
 *
 * A batch may hold a hive for 30 seconds, counted from its first change there. Then it is abandoned, by a thread of the
 * store's own that lives while batches are about. It is also abandoned when the file of a hive is replaced or its
 * descriptors are closed, when its thread ends, and when the process forks; where a server has the registry, not by a
 * fork, but when the connection to the server breaks or the process gets other rights. From then on every change by the
 * thread, and the commit, answer ERROR_TRANSACTION_ALREADY_ABORTED (6704), until the commit or KvAbandonBatch was
 * called; reads go on as if there were no batch. Handles of keys that only an abandoned batch has made answer 1018. A
 * forked child has no batch.
 *
 * Within a batch the thread cannot watch keys or ask for the image of the user's hive:
 * ERROR_TRANSACTION_REQUEST_NOT_VALID (6702). Backups and RegFlushKey are of what was committed.
 *
 * Where a server has the registry each batch takes a connection and a thread of it: 1450 when the user has 16 open.
 * What the thread does as another user than who began the batch answers 6702 where rights of that user would count.
 *
 * 6702: the thread has a batch already; 120: the implementation library has no batches.
 */
static inline LSTATUS KvBeginBatch(void) {
  typedef DWORD (*Entry)(void*);
  const KvOptionalFunction entry = KvOptionalEntry("KvIRegBeginBatch");
  if (entry == NULL) return ERROR_CALL_NOT_IMPLEMENTED;
  return (LSTATUS)((Entry)entry)(NULL);
}

/*
 * Ends the batch and keeps its changes: hive after hive, each whole or not at all. The callback, which may be null, is
 * told of each hive that was touched, in the order of their first changes, after all is done and in this thread. The
 * result is 0 or the code of the first hive that failed; what was committed before it stays, which the callback tells.
 * Watchers are told once for each hive.
 *
 * ERROR_TRANSACTION_NOT_ACTIVE (6701): the thread has no batch; 6704: it was abandoned, nothing is kept;
 * RPC_S_SERVER_UNAVAILABLE (1722): the server went away while it was asked, and nobody knows whether it was kept.
 */
static inline LSTATUS KvCommitBatch(KvBatchHiveCallback callback, void* context) {
  typedef DWORD (*Entry)(KvBatchHiveCallback, void*, void*);
  const KvOptionalFunction entry = KvOptionalEntry("KvIRegCommitBatch");
  if (entry == NULL) return ERROR_CALL_NOT_IMPLEMENTED;
  return (LSTATUS)((Entry)entry)(callback, context, NULL);
}

/* Ends the batch; nothing of it stays. 6701: the thread has no batch. 0 also when it was abandoned before. */
static inline LSTATUS KvAbandonBatch(void) {
  typedef DWORD (*Entry)(void*);
  const KvOptionalFunction entry = KvOptionalEntry("KvIRegAbandonBatch");
  if (entry == NULL) return ERROR_CALL_NOT_IMPLEMENTED;
  return (LSTATUS)((Entry)entry)(NULL);
}

/* ---- Keys ------------------------------------------------------------------------------------------------------ */

/*
 * Removes the key at sub_key that loading a hive file has made, with all below it: what the slot KvIRegLoadKey does for
 * a key that was missing. Loading copies, so nothing is written back to the file; save the key first to keep changes.
 * Handles to the key and below it answer 1018 afterwards. key needs KEY_SET_VALUE and KEY_CREATE_SUB_KEY.
 *
 * 2: no such key; ERROR_INVALID_PARAMETER (87): the key was not made by loading; 5: a root, or with a server others
 * than root and the server's own user.
 */
static inline LSTATUS KvUnLoadKey(HKEY key, const wchar_t* sub_key) {
  typedef DWORD (*Entry)(HKEY, const WinChar*, void*);
  const KvOptionalFunction entry = KvOptionalEntry("KvIRegUnLoadKey");
  WinChar* path = NULL;
  DWORD code = ERROR_NOT_ENOUGH_MEMORY;
  if (entry == NULL) return ERROR_CALL_NOT_IMPLEMENTED;
  path = KvOptionalText(sub_key);
  if (path != NULL || sub_key == NULL) code = ((Entry)entry)(key, path, NULL);
  free(path);
  return (LSTATUS)code;
}

/*
 * Gives the key at sub_key (null or empty: key itself) another name, in place: it keeps all that it has and its
 * handles. A name that differs from its own in case only is a new name too. key needs KEY_SET_VALUE and
 * KEY_CREATE_SUB_KEY. RegRenameKey is the same.
 *
 * 2: no such key; ERROR_ALREADY_EXISTS (183): the parent has another key of this name; ERROR_INVALID_PARAMETER (87): a
 * null or empty name, one with a backslash, or one of more than 256 units; 5: a root, or a name directly below
 * HKEY_USERS.
 */
static inline LSTATUS KvRenameKey(HKEY key, const wchar_t* sub_key, const wchar_t* new_name) {
  typedef DWORD (*Entry)(HKEY, const WinChar*, const WinChar*, void*);
  const KvOptionalFunction entry = KvOptionalEntry("KvIRegRenameKey");
  WinChar* path = NULL;
  WinChar* name = NULL;
  DWORD code = ERROR_NOT_ENOUGH_MEMORY;
  if (entry == NULL) return ERROR_CALL_NOT_IMPLEMENTED;
  path = KvOptionalText(sub_key);
  name = KvOptionalText(new_name);
  if ((path != NULL || sub_key == NULL) && (name != NULL || new_name == NULL)) {
    code = ((Entry)entry)(key, path, name, NULL);
  }
  free(path);
  free(name);
  return (LSTATUS)code;
}

/* ---- Checking -------------------------------------------------------------------------------------------------- */

/*
 * Looks through the whole hive that the key lies in, while programs go on using it; nothing is changed. out_counts and
 * callback may be null. The callback is told of each fault, in this thread, when the looking is over. The result is 0
 * when the hive could be looked through, faults or not; 1009 when its structure is damaged, which is then told as a
 * fault too. With a server only root and the server's own user may ask (5), and no more faults are told than together
 * have 4 MiB.
 */
static inline LSTATUS KvCheckKey(HKEY key, KvHiveCounts* out_counts, KvHiveFaultCallback callback, void* context) {
  typedef DWORD (*Entry)(HKEY, KvHiveCounts*, KvHiveFaultCallback, void*, void*);
  const KvOptionalFunction entry = KvOptionalEntry("KvIRegCheck");
  if (entry == NULL) return ERROR_CALL_NOT_IMPLEMENTED;
  return (LSTATUS)((Entry)entry)(key, out_counts, callback, context, NULL);
}

/*
 * The same for a hive file that the registry does not use, such as a saved key or a backup, named in the code page.
 * Neither the file nor what lies beside it is changed.
 *
 * 2: no such file; 170: the registry uses it, or with a server a log stands beside it; 1017: it is no hive, or one of a
 * newer version; 5: with a server others than root and the server's own user.
 */
static inline LSTATUS KvCheckHiveFile(const char* file, KvHiveCounts* out_counts, KvHiveFaultCallback callback,
                                      void* context) {
  typedef DWORD (*Entry)(const char*, KvHiveCounts*, KvHiveFaultCallback, void*, void*);
  const KvOptionalFunction entry = KvOptionalEntry("KvIRegCheckFile");
  if (entry == NULL) return ERROR_CALL_NOT_IMPLEMENTED;
  return (LSTATUS)((Entry)entry)(file, out_counts, callback, context, NULL);
}

KV_END_C

#endif
