/*
 * The process: registry mode, ends, well-known folders and names, console messages.
 *
 * Every function may be called from any thread.
 */
#ifndef KELVANE_PROCESS_H
#define KELVANE_PROCESS_H

#include <sys/types.h>
#include <windef.h>

KV_BEGIN_C

/* How the registry reaches its store. Any other number is a mode of its own that loads nothing. */
enum KvRegistryMode {
  KV_REGISTRY_CLIENT = 0, /* asks the machine's registry server */
  KV_REGISTRY_IN_PROCESS = 1,
  KV_REGISTRY_HOST = 2,  /* in this process, which serves others too */
  KV_REGISTRY_SERVER = 3 /* the registry server itself */
};

/*
 * The registry mode, settled at the first call and constant from then on:
 *   KVREGISTRY_MODE       a decimal number as it stands, or "client", "in-process", "host", "server"; any
 *                         other text ends the process with status 255 and a message
 *   KVREGISTRY set        mode 1
 *   /etc/kelvane.conf     mode 0, when "advapi32client.dll" is installed too
 *   nothing               mode 1, with KVREGISTRY set in the environment to
 *                         "$HOME/.kv/registry/hklm.bin" (its folder made with mode 0700; below the temporary
 *                         directory in a folder of the user's own when HOME is not set). A HOME with a colon,
 *                         which KVREGISTRY cannot carry, ends the process with status 255 and a message.
 */
KV_EXPORT unsigned KvGetRegistryMode(void);

/* Non-zero in every mode but 0. */
KV_EXPORT int KvIsProfessionalRegistryMode(void);

/* The path component that stands for the professional modes: one text for all of them. */
KV_EXPORT const char* KvGetProfessionalRegistryModeString(void);

/* exit(status), at whose end the registry is closed; and _exit(status), which closes nothing. KvExit is not
 * declared noreturn: a double that a test puts in its place may return, and its callers go on as told. */
KV_EXPORT void KvExit(int status);
KV_EXPORT void Kv_Exit(int status) __attribute__((noreturn));

/* Prints on the console (standard error), whole and at once. */
KV_EXPORT void KvConsoleMessage(const char* format, ...) __attribute__((format(printf, 1, 2)));

/* The temporary directory without trailing slash: TMPDIR, else "/tmp"; settled at the first call. The
 * argument is 0. The text belongs to the library. */
KV_EXPORT const char* KvTmpDir(int zero);

/* A file name not in use in a directory (null: the temporary one), made with malloc and owned by the caller;
 * null when memory is short. A name only: nothing is created. */
KV_EXPORT char* Kv_tempnam(const char* directory, const char* prefix);

/*
 * Opens a file, or makes it when flags has O_CREAT, as open does, in a place where others can make files, too: a
 * symbolic link at the path's end is refused (ELOOP). The descriptor, which programs that are started do not
 * get, or -1 with errno.
 */
KV_EXPORT int KvCreatePrivateFile(const char* path, int flags, mode_t mode);

/*
 * The user's windows directory "$HOME/.kv/windows", made with mode 0700 when missing. Returns its length; 0
 * when HOME is not set, the directory cannot be made, or it does not fit size bytes with its terminator.
 */
KV_EXPORT unsigned KvGetUserWindowsDirectoryA(char* directory, unsigned size);

/* 1 when the variable is set to anything but "", "0", "no" or "false" (in any case of letters), else 0. */
KV_EXPORT int KvEnvTrue(const char* name);

/* The running program's short name; the text belongs to the library. */
KV_EXPORT const char* KvGetShortApplicationName(void);

/*
 * The id of the process that a handle of OpenProcess stands for, or the pseudo-handle (HANDLE)-1 of the calling one;
 * 0xFFFFFFFF for any other handle. Asks for no right and sets no last error. zero is 0.
 */
KV_EXPORT DWORD KvGetPidFromProcHandle(HANDLE process, int zero);

/*
 * Start and end of a program. The first caller of KvClaimStart in the process gets 1 and starts the library,
 * every later one 0. KvCloseRegistryAtEnd closes the registry through registry_ops, once.
 */
KV_EXPORT int KvClaimStart(void);
KV_EXPORT void KvCloseRegistryAtEnd(void);

KV_END_C

#endif
