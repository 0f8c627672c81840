// The native forms, all made from their list.

#include "security/native.h"

#include <kelvane/security.h>

#define KV_NATIVE_FORM(told, result, name, called, parameters, arguments) \
  result name parameters { return static_cast<result>(told(called arguments)); }
#include "security/native_forms.def"
#undef KV_NATIVE_FORM
