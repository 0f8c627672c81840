// KvEnvTrue: what counts as false is a short list.
#include <kelvane/process.h>
#include <stdlib.h>
#include <strings.h>

#include <initializer_list>

int KvEnvTrue(const char* name) {
  const char* value = getenv(name);
  if (value == nullptr) return 0;
  for (const char* meant_false : {"", "0", "no", "false"}) {
    if (strcasecmp(value, meant_false) == 0) return 0;
  }
  return 1;
}
