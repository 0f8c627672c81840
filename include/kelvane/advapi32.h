/*
 * The layer's own functions of libadvapi32: start-up and close, the state of the registry, and where its
 * files lie. All have C linkage.
 */
#ifndef KELVANE_ADVAPI32_H
#define KELVANE_ADVAPI32_H

#include "../winreg.h"
#include "registry_table.h"

struct stat;

KV_BEGIN_C

/*
 * Starts the library in this process: heap, profile, registry implementation, thread-local slot. A program
 * linked with the start object does not call it. It has no guard of its own: a second call starts again. A
 * missing or incomplete implementation library ends the process with status 1.
 */
KV_EXPORT void init_advapi32(void);
KV_EXPORT void initialize_windows_stubs(void);
KV_EXPORT void InitAdvapi32(void);

/* Takes down what start-up made; runs by itself at the end of the process. */
KV_EXPORT void KvDestroyAdvapi32(void);

/* The handle value 0x85000000, published for users of the library. */
extern KV_EXPORT const HKEY HKEY_ROOT;

/*
 * The library's allocations: while KvDllUseMalloc is non-zero from the system's heap; after KvDllNoMoreMalloc
 * from the kernel heap, and nothing is released any more. The arguments go to KvKernelMallocInit unchanged,
 * whose result is returned.
 */
extern KV_EXPORT int KvDllUseMalloc;
KV_EXPORT uintptr_t KvDllNoMoreMalloc(uintptr_t first, uintptr_t second);
KV_EXPORT int KvSafeToUseMalloc(void);

/*
 * The name under which a module is registered: its full path, or, when the value "register-full-paths" of
 * HKEY_LOCAL_MACHINE is there and not "true", its file name alone (with the program name and ".dll" when the
 * file is not named after the program). size is the room in bytes. Returns the length of a full path without
 * the terminator, or the number of bytes of the file name copied, terminator included when it fits; 0 when
 * the module is unknown or size is not positive.
 */
KV_EXPORT int AdvGetModuleDLLName(HMODULE module, char* name, int size);

/* The wide form; size is in characters. Returns what the narrow form returned. */
KV_EXPORT int AdvGetModuleDLLNameW(HMODULE module, wchar_t* name, unsigned size);

/*
 * Compares at most count bytes, letters without case. Negative, 0 or positive as the first differing byte of
 * first is below or above that of second; 0 for a count of 0 or less.
 */
KV_EXPORT int lstrncmpiA(const char* first, const char* second, int count);

/* The state of the registry in this process; written at start-up and at the close only. */
extern KV_EXPORT unsigned char KvRegistryIsInitialized;
extern KV_EXPORT int KvRegistryClosed;

/* 1 while the registry is bound and not closed, else 0. */
KV_EXPORT int KvRegistryIsAlive(void);

/* Binds the implementation that the registry mode asks for. Called by start-up. */
KV_EXPORT void KelvaneInitializeRegistry(void);

/* Binds all entries of the table to one loaded library; ends the process with status 1 when one is missing. */
KV_EXPORT void KvRegInitializeWrappers(void* library, const char* library_name);

/*
 * Closes the registry of this process for good and writes the user's hive to its file. Afterwards every
 * thread that calls the registry is parked. The arguments go to KvDllNoMoreMalloc unchanged.
 */
KV_EXPORT void RegUxClose(uintptr_t first, uintptr_t second);

/*
 * The per-user and the machine hive's file names from KVREGISTRY ("machine-file" or
 * "machine-file:per-user-file"), each made with operator new[] and owned by the caller; the machine's is null
 * when KVREGISTRY is not set, which only mode 0 allows. Any other mode ends the process with status 255 when
 * KVREGISTRY is not set or names no machine file.
 */
KV_EXPORT void KvGetRegistryFileNames(char** out_per_user_file, char** out_machine_file);

/* 1 when the name is null, empty or white space only, else 0. */
KV_EXPORT int is_nil_file(const char* name);

/* The constant "regss_backup.#", the name that backups are numbered from. */
KV_EXPORT const char* KvGetRegistryBackupBaseName(void);

/*
 * The folder of backups: KVREG_BACKUP_DIR, else "registry_backup" in KVUSER_DIRECTORY or the temporary
 * directory. *size is the room in bytes on entry and the size needed, terminator included, on return. 1 when
 * it was copied or buffer is null; 0 when it does not fit or size is null. Ends the process with status 1
 * when the path is longer than 4096.
 */
KV_EXPORT int KvGetRegistryBackupDir(char* buffer, int* size);

/* The file-creation mask of registry files: KVREGUMASK in octal, else 002. */
KV_EXPORT int get_kv_umask(void);

/*
 * Makes a directory and its missing parents with the given mode. False with errno set; a path that ends in
 * "/" below a parent that was missing is made and still reported false (EEXIST). path is written to while the
 * call runs and is as it was afterwards.
 */
#ifdef __cplusplus
KV_EXPORT bool recursive_mkdir(char* path, unsigned mode);
KV_EXPORT bool insure_stat(char* path, struct stat* out);
#else
KV_EXPORT _Bool recursive_mkdir(char* path, unsigned mode);
/* stat, making the path as a directory tree (mode 0755) when it is missing. */
KV_EXPORT _Bool insure_stat(char* path, struct stat* out);
#endif

/* Whether KVADM_UTILITY says that this process is an administration utility; the second clears it (putenv's
 * result). */
KV_EXPORT int KvIsAdmUtility(void);
KV_EXPORT int KvUnsetAdmUtility(void);

/*
 * The folder of this host's core data: 1 and the folder in out, or 0. In a professional mode it is
 * KVCORE_PRIVATE_DATA, else "$HOME/.kv/core_data", followed by the mode's name and the host's name; 0 with
 * "HOME is not set." on standard error. In mode 0 it is the text behind the first "CORE_DATA=" of
 * /etc/kelvane.conf up to white space; without that file the process ends with status 1. Nothing bounds the
 * copy: give 4,096 bytes, or at least 1,015 in mode 0.
 */
KV_EXPORT int KvICalculateProfessionalModeCoreDataDirectory(char* out);
KV_EXPORT int KvICalculateCoreDataDirectory(char* out);

KV_END_C

#endif
