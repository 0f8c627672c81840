/* A shared object, with a function so that it can be called. */
#include <windows.h>

KV_EXPORT void library_function(void);

KV_EXPORT void library_function(void) { RegFlushKey(HKEY_CURRENT_USER); }
