#include "tools/kvreg/whole_hives.h"

#include <kelvane/optional.h>
#include <winerror.h>
#include <winreg.h>

#include <filesystem>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/key.h"
#include "tools/kvreg/reg_text/units.h"
#include "tools/kvreg/root_handle.h"
#include "tools/kvreg/table_call.h"
#include "tools/kvreg/wide.h"
#include "tools/kvreg/win_text.h"

namespace kvreg {
namespace {

void check_file_code(DWORD code, const Key_Path& path, const std::string& file) {
  if (code != ERROR_SUCCESS) throw Failure{path.shown(), file, code};
}

}  // namespace

std::string absolute_file(const std::string& file) { return std::filesystem::absolute(file).string(); }

void save_key(const Key_Path& path, const std::string& file) {
  const Key key = Key::open(path);
  const Win_Text name(units_of(absolute_file(file)));
  check_file_code(call<Slot::KvIRegSaveKey>(key.handle(), name, nullptr, nullptr), path, file);
}

void load_key(const Key_Path& path, const std::string& file) {
  const Root_Handle root(path);
  const Win_Text name(units_of(absolute_file(file)));
  check_file_code(call<Slot::KvIRegLoadKey>(HKEY{root}, Win_Text(path.sub_path), name, nullptr), path, file);
}

void unload_key(const Key_Path& path) {
  const Root_Handle root(path);
  check_code(static_cast<DWORD>(KvUnLoadKey(root, wide_of(path.sub_path).c_str())), path);
}

void rename_key(const Key_Path& path, std::u16string_view new_name) {
  const Root_Handle root(path);
  check_code(static_cast<DWORD>(KvRenameKey(root, wide_of(path.sub_path).c_str(), wide_of(new_name).c_str())), path);
}

}  // namespace kvreg
