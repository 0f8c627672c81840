/*
 * The registry functions, in ANSI and wide form.
 *
 * Each returns a Win32 error code (ERROR_SUCCESS is 0) and leaves the last error alone. Any thread may call
 * them at any time; none holds a lock while it calls the implementation. ANSI text is in the code page of
 * the environment (UTF-8 when none is given), wide text is the host's 32-bit wchar_t. A null or empty value
 * name is the key's default value. Once the registry of this process is closed, a call does not return.
 *
 * Sizes of ANSI values are in bytes, of wide values in bytes of wchar_t; lengths of names are in characters.
 * A null data pointer with a size asks for the size only. ERROR_MORE_DATA (234) comes with the size needed.
 *
 * Codes of the implementation that any of them may pass on: ERROR_FILE_NOT_FOUND (2) no such key or value,
 * ERROR_ACCESS_DENIED (5) the handle or the hive's file does not allow it, ERROR_INVALID_HANDLE (6),
 * ERROR_INVALID_PARAMETER (87), ERROR_DISK_FULL (112), ERROR_BUSY (170) another process held the hive for
 * longer than the time-out, ERROR_BADDB (1009) the hive is damaged, ERROR_NOT_REGISTRY_FILE (1017) the file
 * is no hive, ERROR_KEY_DELETED (1018) the key of an open handle is gone.
 */
#ifndef KELVANE_WINREG_H
#define KELVANE_WINREG_H

#include "winbase.h"
#include "windef.h"
#include "winerror.h"
#include "winnt.h"

typedef LONG LSTATUS;

/*
 * Root keys, valid in every process without being opened. A handle is compared as a 64-bit value, and these
 * are zero-extended.
 */
#define HKEY_CLASSES_ROOT ((HKEY)(ULONG_PTR)0x80000000u)
#define HKEY_CURRENT_USER ((HKEY)(ULONG_PTR)0x80000001u)
#define HKEY_LOCAL_MACHINE ((HKEY)(ULONG_PTR)0x80000002u)
#define HKEY_USERS ((HKEY)(ULONG_PTR)0x80000003u)
#define HKEY_PERFORMANCE_DATA ((HKEY)(ULONG_PTR)0x80000004u)
#define HKEY_CURRENT_CONFIG ((HKEY)(ULONG_PTR)0x80000005u)
#define HKEY_DYN_DATA ((HKEY)(ULONG_PTR)0x80000006u)
#define HKEY_PERFORMANCE_TEXT ((HKEY)(ULONG_PTR)0x80000050u)
#define HKEY_PERFORMANCE_NLSTEXT ((HKEY)(ULONG_PTR)0x80000060u)

KV_BEGIN_C

/* One value of RegQueryMultipleValues: the caller names it, the call fills in the rest. */
typedef struct value_entA {
  LPSTR ve_valuename;
  DWORD ve_valuelen;
  DWORD_PTR ve_valueptr; /* address of the data inside the caller's buffer */
  DWORD ve_type;
} VALENTA, *PVALENTA;

typedef struct value_entW {
  LPWSTR ve_valuename;
  DWORD ve_valuelen;
  DWORD_PTR ve_valueptr;
  DWORD ve_type;
} VALENTW, *PVALENTW;

/*
 * Opens the key at sub_key below key; a null or empty sub_key opens key again as a new handle, which
 * RegCloseKey releases. The handle has the rights asked for, and MAXIMUM_ALLOWED all that there are.
 */
KV_EXPORT LSTATUS WINAPI RegOpenKeyExA(HKEY key, LPCSTR sub_key, DWORD options, REGSAM access, PHKEY out_key);
KV_EXPORT LSTATUS WINAPI RegOpenKeyExW(HKEY key, LPCWSTR sub_key, DWORD options, REGSAM access, PHKEY out_key);

/*
 * The old form, with MAXIMUM_ALLOWED. With a null or empty sub_key a root key is opened anew, and any other
 * handle is handed back itself. ERROR_INVALID_PARAMETER for a null out_key.
 */
KV_EXPORT LSTATUS WINAPI RegOpenKeyA(HKEY key, LPCSTR sub_key, PHKEY out_key);
KV_EXPORT LSTATUS WINAPI RegOpenKeyW(HKEY key, LPCWSTR sub_key, PHKEY out_key);

/*
 * Opens the key, creating it and every missing key on the way. REG_OPTION_VOLATILE makes keys that are gone
 * after a restart of the machine. *disposition, when given, tells REG_CREATED_NEW_KEY or
 * REG_OPENED_EXISTING_KEY. security may be null; no descriptor is taken from it.
 */
KV_EXPORT LSTATUS WINAPI RegCreateKeyExA(HKEY key, LPCSTR sub_key, DWORD reserved, LPSTR class_name, DWORD options,
                                         REGSAM access, LPSECURITY_ATTRIBUTES security, PHKEY out_key,
                                         LPDWORD disposition);
KV_EXPORT LSTATUS WINAPI RegCreateKeyExW(HKEY key, LPCWSTR sub_key, DWORD reserved, LPWSTR class_name, DWORD options,
                                         REGSAM access, LPSECURITY_ATTRIBUTES security, PHKEY out_key,
                                         LPDWORD disposition);

/*
 * The old form, with MAXIMUM_ALLOWED. RegCreateKeyA with a null or empty sub_key hands a root key back
 * itself and answers ERROR_BADKEY (1010) for any other handle; ERROR_INVALID_PARAMETER for a null out_key.
 * RegCreateKeyW makes none of these checks.
 */
KV_EXPORT LSTATUS WINAPI RegCreateKeyA(HKEY key, LPCSTR sub_key, PHKEY out_key);
KV_EXPORT LSTATUS WINAPI RegCreateKeyW(HKEY key, LPCWSTR sub_key, PHKEY out_key);

/* Releases a handle; closing a root key succeeds and changes nothing. */
KV_EXPORT LSTATUS WINAPI RegCloseKey(HKEY key);

/* Deletes a key without sub-keys, values included; ERROR_ACCESS_DENIED while it has sub-keys. */
KV_EXPORT LSTATUS WINAPI RegDeleteKeyA(HKEY key, LPCSTR sub_key);
KV_EXPORT LSTATUS WINAPI RegDeleteKeyW(HKEY key, LPCWSTR sub_key);

KV_EXPORT LSTATUS WINAPI RegDeleteValueA(HKEY key, LPCSTR value_name);
KV_EXPORT LSTATUS WINAPI RegDeleteValueW(HKEY key, LPCWSTR value_name);

/*
 * Stores a value of any type. For REG_SZ, REG_EXPAND_SZ and REG_MULTI_SZ the data is text and is converted;
 * a terminator that stands just behind data whose size does not count it is stored too.
 */
KV_EXPORT LSTATUS WINAPI RegSetValueExA(HKEY key, LPCSTR value_name, DWORD reserved, DWORD type, const BYTE* data,
                                        DWORD size);
KV_EXPORT LSTATUS WINAPI RegSetValueExW(HKEY key, LPCWSTR value_name, DWORD reserved, DWORD type, const BYTE* data,
                                        DWORD size);

/*
 * Stores data as the default value of the key at sub_key, which is created when missing. type is REG_SZ,
 * else ERROR_INVALID_PARAMETER; size is ignored, the text's own length counts. With a sub_key RegSetValueA
 * returns the result of closing that key, RegSetValueW the result of storing the value.
 */
KV_EXPORT LSTATUS WINAPI RegSetValueA(HKEY key, LPCSTR sub_key, DWORD type, LPCSTR data, DWORD size);
KV_EXPORT LSTATUS WINAPI RegSetValueW(HKEY key, LPCWSTR sub_key, DWORD type, LPCWSTR data, DWORD size);

/*
 * Reads a value. *size is the room at data in bytes on entry and the size of the value on return, for text
 * with the terminator that was stored. type and data may be null. When text does not fit, data is untouched.
 * A text that needs more bytes than the room has characters can answer ERROR_MORE_DATA although it was
 * copied whole; the size told then is enough.
 */
KV_EXPORT LSTATUS WINAPI RegQueryValueExA(HKEY key, LPCSTR value_name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                                          LPDWORD size);
KV_EXPORT LSTATUS WINAPI RegQueryValueExW(HKEY key, LPCWSTR value_name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                                          LPDWORD size);

/*
 * Reads the default value of the key at sub_key as text. A missing value reads as an empty text;
 * ERROR_INVALID_DATA (13) when the value is not REG_SZ.
 */
KV_EXPORT LSTATUS WINAPI RegQueryValueA(HKEY key, LPCSTR sub_key, LPSTR data, PLONG size);
KV_EXPORT LSTATUS WINAPI RegQueryValueW(HKEY key, LPCWSTR sub_key, LPWSTR data, PLONG size);

/*
 * Reads count values into one buffer, each at a multiple of 4. *total_size is the room in bytes on entry (1
 * to 1 MiB when a buffer is given) and the size used on return. A buffer that is too small answers
 * ERROR_INVALID_PARAMETER with the size needed, or ERROR_MORE_DATA when a single value does not fit. With a
 * null buffer only the sizes are told, and the pointers in the entries are offsets.
 */
KV_EXPORT LSTATUS WINAPI RegQueryMultipleValuesA(HKEY key, PVALENTA values, DWORD count, LPSTR buffer,
                                                 LPDWORD total_size);
KV_EXPORT LSTATUS WINAPI RegQueryMultipleValuesW(HKEY key, PVALENTW values, DWORD count, LPWSTR buffer,
                                                 LPDWORD total_size);

/*
 * Counts and longest lengths of a key. *class_size is the room in characters with the terminator on entry
 * and the length without it on return. Lengths of names are 16-bit units without terminator, max_value_size
 * is in bytes of the stored form (two for each unit of text). Any output may be null.
 */
KV_EXPORT LSTATUS WINAPI RegQueryInfoKeyA(HKEY key, LPSTR class_name, LPDWORD class_size, LPDWORD reserved,
                                          LPDWORD sub_keys, LPDWORD max_sub_key_length, LPDWORD max_class_length,
                                          LPDWORD values, LPDWORD max_value_name_length, LPDWORD max_value_size,
                                          LPDWORD security_descriptor_size, PFILETIME last_write_time);
KV_EXPORT LSTATUS WINAPI RegQueryInfoKeyW(HKEY key, LPWSTR class_name, LPDWORD class_size, LPDWORD reserved,
                                          LPDWORD sub_keys, LPDWORD max_sub_key_length, LPDWORD max_class_length,
                                          LPDWORD values, LPDWORD max_value_name_length, LPDWORD max_value_size,
                                          LPDWORD security_descriptor_size, PFILETIME last_write_time);

/*
 * The sub-key at an index, in the order of their names; ERROR_NO_MORE_ITEMS (259) past the last. *name_size
 * is the room in characters with the terminator on entry and the length without it on return.
 * RegEnumKeyExA leaves the name's buffer untouched, and still answers 0, when the 16-bit units fit the room
 * but their multi-byte form does not: the length told is then not below the room.
 */
KV_EXPORT LSTATUS WINAPI RegEnumKeyExA(HKEY key, DWORD index, LPSTR name, LPDWORD name_size, LPDWORD reserved,
                                       LPSTR class_name, LPDWORD class_size, PFILETIME last_write_time);
KV_EXPORT LSTATUS WINAPI RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD name_size, LPDWORD reserved,
                                       LPWSTR class_name, LPDWORD class_size, PFILETIME last_write_time);

/* The old form: name_size is the room in characters. ERROR_INVALID_HANDLE for HKEY_PERFORMANCE_DATA. */
KV_EXPORT LSTATUS WINAPI RegEnumKeyA(HKEY key, DWORD index, LPSTR name, DWORD name_size);
KV_EXPORT LSTATUS WINAPI RegEnumKeyW(HKEY key, DWORD index, LPWSTR name, DWORD name_size);

/*
 * The value at an index, in the order of their names; ERROR_NO_MORE_ITEMS past the last. Sizes as for
 * RegEnumKeyEx and RegQueryValueEx. RegEnumValueA answers ERROR_INVALID_PARAMETER for a null name or
 * name_size.
 */
KV_EXPORT LSTATUS WINAPI RegEnumValueA(HKEY key, DWORD index, LPSTR name, LPDWORD name_size, LPDWORD reserved,
                                       LPDWORD type, LPBYTE data, LPDWORD size);
KV_EXPORT LSTATUS WINAPI RegEnumValueW(HKEY key, DWORD index, LPWSTR name, LPDWORD name_size, LPDWORD reserved,
                                       LPDWORD type, LPBYTE data, LPDWORD size);

/* Makes everything written so far durable on the disk, for the whole hive of the key. */
KV_EXPORT LSTATUS WINAPI RegFlushKey(HKEY key);

/* Writes the key and all below it to a new file; ERROR_ALREADY_EXISTS when the file stands. */
KV_EXPORT LSTATUS WINAPI RegSaveKeyA(HKEY key, LPCSTR file, LPSECURITY_ATTRIBUTES security);
KV_EXPORT LSTATUS WINAPI RegSaveKeyW(HKEY key, LPCWSTR file, LPSECURITY_ATTRIBUTES security);

/*
 * Tells of one change of a key, and of those below it with subtree. filter, not 0, is made of REG_NOTIFY_ flags: NAME
 * (a sub-key was created or deleted), LAST_SET (a value was set or deleted), ATTRIBUTES and SECURITY (mode, owner or
 * group were set). With asynchronous the call returns at once and the event is signalled, which the caller resets;
 * otherwise event is not looked at and the call returns when there is something to tell.
 *
 * It also tells when the key is deleted, whatever the filter (the next call answers ERROR_KEY_DELETED), and when its
 * handle is closed. To be told again the caller calls again with the same handle: what has changed since the former
 * call was told is then told at once. A handle of the event may be closed meanwhile; the event is kept and signalled.
 *
 * A change of another process, of any user, is told like one's own; one whose writer was killed at that moment about a
 * second later. Who may not write the hive is told within about a second and by comparing the key with what it was:
 * also LAST_SET then tells of every other change. The calling thread may end; a forked child has no watch of its
 * parent.
 *
 * ERROR_INVALID_PARAMETER (filter, or asynchronous without an event), ERROR_INVALID_HANDLE (the key, the event, or a
 * root of performance data), ERROR_ACCESS_DENIED (a key without KEY_NOTIFY, an event without EVENT_MODIFY_STATE),
 * ERROR_KEY_DELETED, ERROR_BUSY, ERROR_NOT_ENOUGH_MEMORY. The last error stays as it was.
 */
KV_EXPORT LSTATUS WINAPI RegNotifyChangeKeyValue(HKEY key, BOOL subtree, DWORD filter, HANDLE event, BOOL asynchronous);

/* A root key of another machine's registry; a null machine name is this machine. */
KV_EXPORT LSTATUS WINAPI RegConnectRegistryA(LPCSTR machine, HKEY key, PHKEY out_key);
KV_EXPORT LSTATUS WINAPI RegConnectRegistryW(LPCWSTR machine, HKEY key, PHKEY out_key);

/*
 * Keys carry no published security descriptor: setting one answers 0 and changes nothing, getting one answers
 * 0 with a size of 0.
 */
KV_EXPORT LSTATUS WINAPI RegSetKeySecurity(HKEY key, SECURITY_INFORMATION information, PSECURITY_DESCRIPTOR descriptor);
KV_EXPORT LSTATUS WINAPI RegGetKeySecurity(HKEY key, SECURITY_INFORMATION information, PSECURITY_DESCRIPTOR descriptor,
                                           LPDWORD size);

/* Not provided here: each answers 0 and changes nothing; all but RegRestoreKeyA report that they were called. */
KV_EXPORT LSTATUS WINAPI RegLoadKeyA(HKEY key, LPCSTR sub_key, LPCSTR file);
KV_EXPORT LSTATUS WINAPI RegLoadKeyW(HKEY key, LPCWSTR sub_key, LPCWSTR file);
KV_EXPORT LSTATUS WINAPI RegUnLoadKeyA(HKEY key, LPCSTR sub_key);
KV_EXPORT LSTATUS WINAPI RegUnLoadKeyW(HKEY key, LPCWSTR sub_key);
KV_EXPORT LSTATUS WINAPI RegRestoreKeyA(HKEY key, LPCSTR file, DWORD flags);
KV_EXPORT LSTATUS WINAPI RegRestoreKeyW(HKEY key, LPCWSTR file, DWORD flags);
KV_EXPORT LSTATUS WINAPI RegReplaceKeyA(HKEY key, LPCSTR sub_key, LPCSTR new_file, LPCSTR old_file);
KV_EXPORT LSTATUS WINAPI RegReplaceKeyW(HKEY key, LPCWSTR sub_key, LPCWSTR new_file, LPCWSTR old_file);

/* ---- Functions of later editions, built on those above ---- */

/* Which types RegGetValue takes, one bit each; the groups for numbers of 32 and 64 bits also take as many bytes. */
#define RRF_RT_REG_NONE 0x00000001u
#define RRF_RT_REG_SZ 0x00000002u
#define RRF_RT_REG_EXPAND_SZ 0x00000004u
#define RRF_RT_REG_BINARY 0x00000008u
#define RRF_RT_REG_DWORD 0x00000010u
#define RRF_RT_REG_MULTI_SZ 0x00000020u
#define RRF_RT_REG_QWORD 0x00000040u
#define RRF_RT_DWORD (RRF_RT_REG_BINARY | RRF_RT_REG_DWORD)
#define RRF_RT_QWORD (RRF_RT_REG_BINARY | RRF_RT_REG_QWORD)
#define RRF_RT_ANY 0x0000FFFFu
#define RRF_SUBKEY_WOW6464KEY 0x00010000u
#define RRF_SUBKEY_WOW6432KEY 0x00020000u
#define RRF_NOEXPAND 0x10000000u
#define RRF_ZEROONFAILURE 0x20000000u

/*
 * Reads a value of the key at sub_key (null or empty: of key itself), which is opened for the call. Text is always
 * terminated, a list of texts by two terminators. REG_EXPAND_SZ is expanded and told as REG_SZ, unless RRF_NOEXPAND is
 * given. *size is the room at data in bytes on entry and the size of what is delivered on return, also with
 * ERROR_MORE_DATA and without data. With RRF_ZEROONFAILURE the room is cleared when the call fails.
 *
 * ERROR_UNSUPPORTED_TYPE (1630) for a value of another type, or of another size than a group has.
 * ERROR_INVALID_PARAMETER for data without size, flags without a type, both views, or RRF_RT_REG_EXPAND_SZ among single
 * types without RRF_NOEXPAND.
 */
KV_EXPORT LSTATUS WINAPI RegGetValueA(HKEY key, LPCSTR sub_key, LPCSTR value_name, DWORD flags, LPDWORD out_type,
                                      PVOID data, LPDWORD size);
KV_EXPORT LSTATUS WINAPI RegGetValueW(HKEY key, LPCWSTR sub_key, LPCWSTR value_name, DWORD flags, LPDWORD out_type,
                                      PVOID data, LPDWORD size);

/* Stores a value in the key at sub_key (null or empty: in key itself), which is created when missing. */
KV_EXPORT LSTATUS WINAPI RegSetKeyValueA(HKEY key, LPCSTR sub_key, LPCSTR value_name, DWORD type, LPCVOID data,
                                         DWORD size);
KV_EXPORT LSTATUS WINAPI RegSetKeyValueW(HKEY key, LPCWSTR sub_key, LPCWSTR value_name, DWORD type, LPCVOID data,
                                         DWORD size);

/* Deletes a value of the key at sub_key (null or empty: of key itself). */
KV_EXPORT LSTATUS WINAPI RegDeleteKeyValueA(HKEY key, LPCSTR sub_key, LPCSTR value_name);
KV_EXPORT LSTATUS WINAPI RegDeleteKeyValueW(HKEY key, LPCWSTR sub_key, LPCWSTR value_name);

/* RegDeleteKey; there is one view of keys, so access chooses nothing. ERROR_INVALID_PARAMETER for a null sub_key or a
 * reserved value other than 0. */
KV_EXPORT LSTATUS WINAPI RegDeleteKeyExA(HKEY key, LPCSTR sub_key, REGSAM access, DWORD reserved);
KV_EXPORT LSTATUS WINAPI RegDeleteKeyExW(HKEY key, LPCWSTR sub_key, REGSAM access, DWORD reserved);

/*
 * Deletes the key at sub_key with everything below it; with a null or empty sub_key all sub-keys and values of key,
 * which stays. It is no transaction: when it fails in the middle, what was deleted is gone.
 */
KV_EXPORT LSTATUS WINAPI RegDeleteTreeA(HKEY key, LPCSTR sub_key);
KV_EXPORT LSTATUS WINAPI RegDeleteTreeW(HKEY key, LPCWSTR sub_key);

/*
 * Copies the values and everything below the key at sub_key (null or empty: source itself) into destination, exactly as
 * they are stored and with the classes of the keys. What stands there under other names stays, values of the same names
 * are replaced. The destination may lie below the source. Rights are those of new keys. It is no transaction.
 */
KV_EXPORT LSTATUS WINAPI RegCopyTreeA(HKEY source, LPCSTR sub_key, HKEY destination);
KV_EXPORT LSTATUS WINAPI RegCopyTreeW(HKEY source, LPCWSTR sub_key, HKEY destination);

/*
 * Renames a key (the one at sub_key, or key itself). ERROR_CALL_NOT_IMPLEMENTED (120) when the implementation has no
 * entry for it; ERROR_INVALID_PARAMETER for a null new_name. The other codes are those of KvRenameKey in
 * kelvane/optional.h.
 */
KV_EXPORT LSTATUS WINAPI RegRenameKey(HKEY key, LPCWSTR sub_key, LPCWSTR new_name);

/* Keys are never reflected between views: the question answers TRUE for "disabled", the others change nothing. All
 * refuse a handle that is not good. */
KV_EXPORT LSTATUS WINAPI RegQueryReflectionKey(HKEY key, BOOL* out_is_disabled);
KV_EXPORT LSTATUS WINAPI RegDisableReflectionKey(HKEY key);
KV_EXPORT LSTATUS WINAPI RegEnableReflectionKey(HKEY key);

/* HKEY_CURRENT_USER as a handle with these rights, which RegCloseKey releases. */
KV_EXPORT LSTATUS WINAPI RegOpenCurrentUser(REGSAM access, PHKEY out_key);

/*
 * Reads a text for the user: a REG_SZ or an expanded REG_EXPAND_SZ, terminated. size is the room in bytes, *out_size
 * the size of the whole text. ERROR_MORE_DATA when it does not fit and nothing is written, unless flags is
 * REG_MUI_STRING_TRUNCATE, which cuts it (out_size must be null then). A text that begins with "@" names a resource of
 * a module, and there are none: ERROR_FILE_NOT_FOUND. directory is not looked at.
 */
#define REG_MUI_STRING_TRUNCATE 0x00000001u
KV_EXPORT LSTATUS WINAPI RegLoadMUIStringW(HKEY key, LPCWSTR value_name, LPWSTR buffer, DWORD size, LPDWORD out_size,
                                           DWORD flags, LPCWSTR directory);

KV_END_C

#if defined(UNICODE) || defined(_UNICODE)
#define KV_REG_FORM(name) name##W
typedef VALENTW VALENT, *PVALENT;
#else
#define KV_REG_FORM(name) name##A
typedef VALENTA VALENT, *PVALENT;
#endif
#define RegOpenKeyEx KV_REG_FORM(RegOpenKeyEx)
#define RegOpenKey KV_REG_FORM(RegOpenKey)
#define RegCreateKeyEx KV_REG_FORM(RegCreateKeyEx)
#define RegCreateKey KV_REG_FORM(RegCreateKey)
#define RegDeleteKey KV_REG_FORM(RegDeleteKey)
#define RegDeleteValue KV_REG_FORM(RegDeleteValue)
#define RegSetValueEx KV_REG_FORM(RegSetValueEx)
#define RegSetValue KV_REG_FORM(RegSetValue)
#define RegQueryValueEx KV_REG_FORM(RegQueryValueEx)
#define RegQueryValue KV_REG_FORM(RegQueryValue)
#define RegQueryMultipleValues KV_REG_FORM(RegQueryMultipleValues)
#define RegQueryInfoKey KV_REG_FORM(RegQueryInfoKey)
#define RegEnumKeyEx KV_REG_FORM(RegEnumKeyEx)
#define RegEnumKey KV_REG_FORM(RegEnumKey)
#define RegEnumValue KV_REG_FORM(RegEnumValue)
#define RegSaveKey KV_REG_FORM(RegSaveKey)
#define RegConnectRegistry KV_REG_FORM(RegConnectRegistry)
#define RegLoadKey KV_REG_FORM(RegLoadKey)
#define RegUnLoadKey KV_REG_FORM(RegUnLoadKey)
#define RegRestoreKey KV_REG_FORM(RegRestoreKey)
#define RegReplaceKey KV_REG_FORM(RegReplaceKey)
#define RegGetValue KV_REG_FORM(RegGetValue)
#define RegSetKeyValue KV_REG_FORM(RegSetKeyValue)
#define RegDeleteKeyValue KV_REG_FORM(RegDeleteKeyValue)
#define RegDeleteKeyEx KV_REG_FORM(RegDeleteKeyEx)
#define RegDeleteTree KV_REG_FORM(RegDeleteTree)
#define RegCopyTree KV_REG_FORM(RegCopyTree)

#endif
