/* Modules beyond the published functions: why a load failed, and the names of modules. */
#ifndef KELVANE_MODULE_H
#define KELVANE_MODULE_H

#include <windef.h>

KV_BEGIN_C

/* Why the calling thread's last LoadLibraryA or GetProcAddress failed, as one line; "" when none did. The
 * text is good until the thread's next call of either. */
KV_EXPORT const char* KvModuleError(void);

/* 1 when LoadLibraryA would find a file of this name in its own folders (KVMODULE_PATH, "kelvane/"), else 0.
 * Nothing is loaded. */
KV_EXPORT int KvModuleIsInstalled(const char* name);

/* The program name of a module: its file name without folder, leading "lib" and extension; of the program
 * itself for a null module. "" for an unknown module. The text belongs to the library and stays. */
KV_EXPORT const char* KvGetInstanceProgramName(HMODULE module);

KV_END_C

#endif
