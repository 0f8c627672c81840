#include "tools/kvreg/root_handle.h"

#include <winerror.h>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/hive_files.h"
#include "tools/kvreg/table_call.h"
#include "tools/kvreg/win_text.h"

namespace kvreg {

Root_Handle::Root_Handle(const Key_Path& path) : handle_(path.root->handle), is_open_(false) {
  if (path.machine.empty()) return;
  check_code(call<Slot::KvIRegConnectRegistry>(Win_Text(path.machine), path.root->handle, &handle_, nullptr), path);
  is_open_ = true;
}

Root_Handle::~Root_Handle() {
  if (is_open_) call<Slot::KvIRegCloseKey>(handle_, nullptr);
}

void check_code(DWORD code, const Key_Path& path) {
  if (code != ERROR_SUCCESS) throw Failure{path.shown(), file_to_name(path, code), code};
}

}  // namespace kvreg
