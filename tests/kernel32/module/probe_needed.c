/* The library that the probe module leans on. */
#include <windef.h>

KV_EXPORT int probe_of_another_library(void);
int probe_of_another_library(void) { return 7; }
