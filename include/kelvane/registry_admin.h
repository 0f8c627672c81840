/*
 * What administration tools do with the registry beyond the published functions: the Unix rights of keys,
 * backups, the image of the user's hive, the server and its clients. All have C linkage; any thread may call.
 *
 * Those that return LSTATUS answer 0 or a Win32 error code and leave the last error alone. Besides the codes of
 * winreg.h the implementation may answer ERROR_CALL_NOT_IMPLEMENTED (120) where it has no server. Once the
 * registry of this process is closed they do not return, except RegUxDescribeKey, RegUxGetLogSettings,
 * RegBackup, RegListConnected, KvSetServiceData and KvGetServiceData.
 */
#ifndef KELVANE_REGISTRY_ADMIN_H
#define KELVANE_REGISTRY_ADMIN_H

#include "../winreg.h"
#include "registry_table.h"

KV_BEGIN_C

/*
 * Changes the Unix permission bits (at most 07777, else ERROR_INVALID_PARAMETER), the owner or the group of
 * the key at sub_key below key; a null or empty sub_key is the key itself.
 */
KV_EXPORT LSTATUS RegUxChmod(HKEY key, const char* sub_key, unsigned mode);
KV_EXPORT LSTATUS RegUxChown(HKEY key, const char* sub_key, unsigned owner);
KV_EXPORT LSTATUS RegUxChgrp(HKEY key, const char* sub_key, unsigned group);

/*
 * The same for the key and everything below it: the key first, then each key before its own sub-keys, in the
 * order in which they are enumerated. The keys must be open to reading (KEY_READ). The first code other than 0
 * ends the walk and is the result; what was changed until then stays changed. How many sub-keys a key has is
 * asked once, before its sub-keys are visited: when one goes meanwhile the walk ends with
 * ERROR_NO_MORE_ITEMS, and one that is added may be left out.
 */
KV_EXPORT LSTATUS RegUxChmodRec(HKEY key, const char* sub_key, unsigned mode);
KV_EXPORT LSTATUS RegUxChownRec(HKEY key, const char* sub_key, unsigned owner);
KV_EXPORT LSTATUS RegUxChgrpRec(HKEY key, const char* sub_key, unsigned group);

/*
 * Describes the key at sub_key below key; a, b and c go to the implementation unchanged. The in-process one
 * takes three pointers to unsigned numbers of 32 bits, for mode, owner and group, each of which may be null.
 */
KV_EXPORT LSTATUS RegUxDescribeKey(HKEY key, const char* sub_key, void* a, void* b, void* c);

/*
 * The settings of the registry's log. The arguments, of which the implementation takes as many as it knows, and
 * its result pass unchanged.
 */
KV_EXPORT INT_PTR RegUxGetLogSettings(void* a, void* b, void* c, void* d, void* e, void* f);

/* Asks the registry's server to end. Closes nothing in this process. */
KV_EXPORT LSTATUS RegShutDown(void);

/*
 * Backs the registry up while programs go on using it: path names the folder that takes the copies, in the
 * code page. The second argument is handed on unchanged; the in-process implementation ignores it. The result
 * is the implementation's, unchanged: a Win32 error code.
 */
KV_EXPORT INT_PTR RegBackup(const char* path, void* second);

/*
 * The image of the user's hive. *size is the room in bytes on entry and the size of the image on return, also
 * with ERROR_MORE_DATA (234) when the room is too small. A null buffer asks for the size only.
 */
KV_EXPORT LSTATUS RegGetHKCU(unsigned char* buffer, unsigned* size);

/*
 * The clients of the registry's server, in an array of *count records; *count becomes their number. A null array asks
 * for the number only; ERROR_MORE_DATA (234) when there is less room, and nothing is written. The in-process
 * implementation has no clients.
 */
KV_EXPORT LSTATUS RegListConnected(RegistryConnection* list, unsigned* count);

/*
 * Writes the image of the user's hive to path, or with a null path to the per-user file that KVREGISTRY or the
 * default names. The file is replaced whole; on an error the one that stood is as it was.
 * ERROR_INTERNAL_ERROR (1359) when the image cannot be had, for whatever reason; ERROR_DISK_FULL (112) and
 * ERROR_ACCESS_DENIED (5) as for KvWriteHKCUFile. Without a path it may end the process with status 255, as
 * KvGetRegistryFileNames does.
 */
KV_EXPORT LSTATUS RegSaveHKCU(const char* path);

/* Data that services keep with the registry's server: arguments and result pass unchanged. */
KV_EXPORT INT_PTR KvSetServiceData(void* a, void* b, void* c, void* d, void* e, void* f);
KV_EXPORT INT_PTR KvGetServiceData(void* a, void* b, void* c, void* d, void* e, void* f);

KV_END_C

#endif
