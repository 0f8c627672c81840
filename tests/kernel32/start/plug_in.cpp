// A shared object that carries the start object, too.
#include <windef.h>

extern "C" KV_EXPORT int plug_in() { return 1; }
