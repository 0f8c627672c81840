/*
 * The umbrella that sources written for Windows include. It gives the published types, constants and declarations of
 * the kernel, registry, security, service and network functions. As published, the local security authority
 * (ntsecapi.h), security packages (sspi.h), native functions (winternl.h) and debug help (dbghelp.h) have headers that
 * are included by themselves.
 */
#ifndef KELVANE_WINDOWS_H
#define KELVANE_WINDOWS_H

#include "guiddef.h"
#include "winbase.h"
#include "windef.h"
#include "winerror.h"
#include "wingdi.h"
#include "winnetwk.h"
#include "winnt.h"
#include "winreg.h"
#include "winsvc.h"

#endif
