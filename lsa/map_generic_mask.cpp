// MapGenericMask, published without a result, returns what its report returned. That result cannot be declared beside
// the published form, so this file does not see it.

#include <kelvane/report.h>

extern "C" KV_EXPORT int MapGenericMask(void*, void*);

// QUIRK map-generic-mask-result: the mask stays as it is, and the report's result is the function's.
int MapGenericMask(void*, void*) { return KvStub(KV_STUB_LEVEL, &AdvSecurity, "MapGenericMask"); }
