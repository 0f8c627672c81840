/* Questions about tokens with a class of any number, as programs in C may ask them. */
#ifndef KELVANE_TESTS_SECURITY_TOKENS_ANY_CLASS_H
#define KELVANE_TESTS_SECURITY_TOKENS_ANY_CLASS_H

#include <kelvane/token.h>

KV_BEGIN_C

BOOL get_information(HANDLE token, DWORD number, LPVOID buffer, DWORD size, PDWORD out_size);
NTSTATUS query_information(HANDLE token, DWORD number, PVOID buffer, ULONG size, PULONG out_size);

KV_END_C

#endif
