/*
 * Debug help: every function reports its call (see KvStub in kelvane/report.h), some of them under the name of the
 * older form, and returns 0. None sets the last error, reads its arguments or touches an output. Any thread may call
 * them.
 */
#ifndef KELVANE_DBGHELP_H
#define KELVANE_DBGHELP_H

#include "winnt.h"

#ifndef IMAGEAPI
#define IMAGEAPI
#endif

#define IMAGE_FILE_MACHINE_I386 0x014c
#define IMAGE_FILE_MACHINE_AMD64 0x8664
#define SYMOPT_CASE_INSENSITIVE 0x00000001u
#define SYMOPT_UNDNAME 0x00000002u
#define SYMOPT_DEFERRED_LOADS 0x00000004u
#define SYMOPT_LOAD_LINES 0x00000010u

KV_BEGIN_C

typedef enum { AddrMode1616, AddrMode1632, AddrModeReal, AddrModeFlat } ADDRESS_MODE;

typedef struct _tagADDRESS64 {
  DWORD64 Offset;
  WORD Segment;
  ADDRESS_MODE Mode;
} ADDRESS64, *LPADDRESS64;

typedef struct _KDHELP64 {
  DWORD64 Thread;
  DWORD ThCallbackStack;
  DWORD ThCallbackBStore;
  DWORD NextCallback;
  DWORD FramePointer;
  DWORD64 KiCallUserMode;
  DWORD64 KeUserCallbackDispatcher;
  DWORD64 SystemRangeStart;
  DWORD64 KiUserExceptionDispatcher;
  DWORD64 StackBase;
  DWORD64 StackLimit;
  DWORD64 Reserved[5];
} KDHELP64, *PKDHELP64;

typedef struct _tagSTACKFRAME64 {
  ADDRESS64 AddrPC;
  ADDRESS64 AddrReturn;
  ADDRESS64 AddrFrame;
  ADDRESS64 AddrStack;
  ADDRESS64 AddrBStore;
  PVOID FuncTableEntry;
  DWORD64 Params[4];
  BOOL Far;
  BOOL Virtual;
  DWORD64 Reserved[3];
  KDHELP64 KdHelp;
} STACKFRAME64, *LPSTACKFRAME64;

typedef enum { SymNone, SymCoff, SymCv, SymPdb, SymExport, SymDeferred, SymSym } SYM_TYPE;

/* A module and a symbol with addresses of 64 and of 32 bits; the caller sets SizeOfStruct. */
typedef struct _IMAGEHLP_MODULE64 {
  DWORD SizeOfStruct;
  DWORD64 BaseOfImage;
  DWORD ImageSize;
  DWORD TimeDateStamp;
  DWORD CheckSum;
  DWORD NumSyms;
  SYM_TYPE SymType;
  CHAR ModuleName[32];
  CHAR ImageName[256];
  CHAR LoadedImageName[256];
} IMAGEHLP_MODULE64, *PIMAGEHLP_MODULE64;

typedef struct _IMAGEHLP_MODULE {
  DWORD SizeOfStruct;
  DWORD BaseOfImage;
  DWORD ImageSize;
  DWORD TimeDateStamp;
  DWORD CheckSum;
  DWORD NumSyms;
  SYM_TYPE SymType;
  CHAR ModuleName[32];
  CHAR ImageName[256];
  CHAR LoadedImageName[256];
} IMAGEHLP_MODULE, *PIMAGEHLP_MODULE;

typedef struct _IMAGEHLP_SYMBOL64 {
  DWORD SizeOfStruct;
  DWORD64 Address;
  DWORD Size;
  DWORD Flags;
  DWORD MaxNameLength;
  CHAR Name[1]; /* MaxNameLength of them */
} IMAGEHLP_SYMBOL64, *PIMAGEHLP_SYMBOL64;

typedef struct _IMAGEHLP_SYMBOL {
  DWORD SizeOfStruct;
  DWORD Address;
  DWORD Size;
  DWORD Flags;
  DWORD MaxNameLength;
  CHAR Name[1];
} IMAGEHLP_SYMBOL, *PIMAGEHLP_SYMBOL;

typedef BOOL(WINAPI* PREAD_PROCESS_MEMORY_ROUTINE64)(HANDLE process, DWORD64 base, PVOID buffer, DWORD size,
                                                     LPDWORD out_size);
typedef PVOID(WINAPI* PFUNCTION_TABLE_ACCESS_ROUTINE64)(HANDLE process, DWORD64 address);
typedef DWORD64(WINAPI* PGET_MODULE_BASE_ROUTINE64)(HANDLE process, DWORD64 address);
typedef DWORD64(WINAPI* PTRANSLATE_ADDRESS_ROUTINE64)(HANDLE process, HANDLE thread, LPADDRESS64 address);

KV_EXPORT BOOL IMAGEAPI StackWalk64(DWORD machine_type, HANDLE process, HANDLE thread, LPSTACKFRAME64 stack_frame,
                                    PVOID context_record, PREAD_PROCESS_MEMORY_ROUTINE64 read_memory,
                                    PFUNCTION_TABLE_ACCESS_ROUTINE64 function_table_access,
                                    PGET_MODULE_BASE_ROUTINE64 get_module_base,
                                    PTRANSLATE_ADDRESS_ROUTINE64 translate_address);
KV_EXPORT PVOID IMAGEAPI SymFunctionTableAccess64(HANDLE process, DWORD64 address);
KV_EXPORT DWORD64 IMAGEAPI SymGetModuleBase64(HANDLE process, DWORD64 address);
KV_EXPORT BOOL IMAGEAPI SymGetModuleInfo64(HANDLE process, DWORD64 address, PIMAGEHLP_MODULE64 out_module);
KV_EXPORT BOOL IMAGEAPI SymGetSymFromAddr64(HANDLE process, DWORD64 address, PDWORD64 out_displacement,
                                            PIMAGEHLP_SYMBOL64 out_symbol);
KV_EXPORT BOOL IMAGEAPI SymGetSymFromName64(HANDLE process, PCSTR name, PIMAGEHLP_SYMBOL64 out_symbol);
KV_EXPORT BOOL IMAGEAPI SymInitialize(HANDLE process, PCSTR search_path, BOOL invade_process);
KV_EXPORT DWORD IMAGEAPI SymSetOptions(DWORD options);
KV_EXPORT BOOL IMAGEAPI SymUnDName64(PIMAGEHLP_SYMBOL64 symbol, PSTR out_name, DWORD size);

KV_END_C

/*
 * The same functions for addresses of 32 bits, as C++ overloads; they report the name without "64". Beside them a call
 * with a literal or int address would be ambiguous, so a source asks for them before it includes this header.
 */
#if defined(__cplusplus) && defined(KV_SYM_32BIT_ADDRESSES)
KV_EXPORT PVOID IMAGEAPI SymFunctionTableAccess64(HANDLE process, DWORD address);
KV_EXPORT DWORD IMAGEAPI SymGetModuleBase64(HANDLE process, DWORD address);
KV_EXPORT BOOL IMAGEAPI SymGetModuleInfo64(HANDLE process, DWORD address, PIMAGEHLP_MODULE out_module);
KV_EXPORT BOOL IMAGEAPI SymGetSymFromAddr64(HANDLE process, DWORD address, PDWORD out_displacement,
                                            PIMAGEHLP_SYMBOL out_symbol);
#endif

#ifdef __cplusplus
static_assert(sizeof(ADDRESS64) == 16 && offsetof(ADDRESS64, Mode) == 12, "the published layout");
static_assert(sizeof(KDHELP64) == 112 && offsetof(KDHELP64, KiCallUserMode) == 24, "the published layout");
static_assert(sizeof(STACKFRAME64) == 264 && offsetof(STACKFRAME64, Params) == 88, "the published layout");
static_assert(offsetof(STACKFRAME64, KdHelp) == 152, "the published layout");
static_assert(sizeof(IMAGEHLP_MODULE64) == 584 && offsetof(IMAGEHLP_MODULE64, ModuleName) == 36,
              "the published layout");
static_assert(sizeof(IMAGEHLP_MODULE) == 572 && offsetof(IMAGEHLP_MODULE, ModuleName) == 28, "the published layout");
static_assert(sizeof(IMAGEHLP_SYMBOL64) == 32 && offsetof(IMAGEHLP_SYMBOL64, Name) == 28, "the published layout");
static_assert(sizeof(IMAGEHLP_SYMBOL) == 24 && offsetof(IMAGEHLP_SYMBOL, Name) == 20, "the published layout");
#endif

#endif
