// KvGetShortApplicationName: a copy, because programs write over the memory of their arguments.
#include <errno.h>
#include <kelvane/process.h>

#include <string>

const char* KvGetShortApplicationName() {
  static const std::string& name = *new std::string(program_invocation_short_name);
  return name.c_str();
}
