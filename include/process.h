/*
 * Entry points of the C run-time that start and end it. They do nothing but write "Called " and their name to the
 * library's call log, when it has one.
 */
#ifndef KELVANE_PROCESS_ENTRY_POINTS_H
#define KELVANE_PROCESS_ENTRY_POINTS_H

#include "windef.h"

KV_BEGIN_C

/* Returns TRUE. */
KV_EXPORT BOOL WINAPI _CRT_INIT(HINSTANCE module, DWORD reason, LPVOID reserved);

KV_EXPORT void _cexit(void);

KV_END_C

#endif
