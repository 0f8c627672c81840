/*
 * The umbrella that sources written for Windows include. It gives the published types, constants and
 * declarations of everything these libraries export.
 */
#ifndef KELVANE_WINDOWS_H
#define KELVANE_WINDOWS_H

#include "guiddef.h"
#include "winbase.h"
#include "windef.h"
#include "winerror.h"
#include "wingdi.h"
#include "winnt.h"
#include "winreg.h"

#endif
