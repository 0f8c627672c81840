/* Basic types of the object interfaces. */
#ifndef KELVANE_WTYPES_H
#define KELVANE_WTYPES_H

#include "guiddef.h"
#include "windef.h"
#include "winnt.h"

typedef LONG SCODE, *PSCODE;
typedef WORD CLIPFORMAT, *LPCLIPFORMAT;

#endif
