// The reason lies in a plain array, so that it can be read as long as the thread runs, also while the process
// ends.
#include "kernel32/module/module_error.h"

#include <dlfcn.h>
#include <kelvane/module.h>
#include <winbase.h>

#include <algorithm>

namespace {

constexpr size_t reason_size = 1024;
thread_local char reason_of_thread[reason_size];

}  // namespace

void kelvane::fail_module(unsigned code, const std::string& reason) {
  size_t length = std::min(reason.size(), reason_size - 1);
  std::replace_copy(reason.begin(), reason.begin() + static_cast<std::ptrdiff_t>(length), reason_of_thread, '\n', ' ');
  reason_of_thread[length] = '\0';
  SetLastError(code);
}

void kelvane::clear_module_error() { reason_of_thread[0] = '\0'; }

std::string kelvane::loader_error() {
  const char* text = dlerror();
  return text != nullptr ? text : "";
}

const char* KvModuleError() { return reason_of_thread; }
