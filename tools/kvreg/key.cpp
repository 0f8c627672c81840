// A Win_Text that is longer than the limits is refused by the registry itself, which then names the key.

#include "tools/kvreg/key.h"

#include <winerror.h>
#include <winreg.h>

#include <utility>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/root_handle.h"
#include "tools/kvreg/table_call.h"
#include "tools/kvreg/win_text.h"

namespace kvreg {
namespace {

constexpr DWORD key_name_room = 256 + 1;
constexpr DWORD value_name_room = 16383 + 1;
constexpr DWORD class_room = 32767 + 1;
constexpr std::size_t usual_data_size = 4096;

DWORD open_path(const Key_Path& path, DWORD access, HKEY* out) {
  const Root_Handle root(path);
  return call<Slot::KvIRegOpenKeyEx>(HKEY{root}, Win_Text(path.sub_path), 0, access, out, nullptr);
}

}  // namespace

Key::Key(Key&& other) noexcept
    : path_(std::move(other.path_)), handle_(other.handle_), is_open_(std::exchange(other.is_open_, false)) {}

Key::~Key() {
  if (is_open_) call<Slot::KvIRegCloseKey>(handle_, nullptr);
}

Key Key::open(const Key_Path& path, DWORD access) {
  HKEY handle = nullptr;
  check_code(open_path(path, access, &handle), path);
  return Key(path, handle, true);
}

std::optional<Key> Key::find(const Key_Path& path, DWORD access) {
  HKEY handle = nullptr;
  const DWORD code = open_path(path, access, &handle);
  if (code == ERROR_FILE_NOT_FOUND) return std::nullopt;
  check_code(code, path);
  return Key(path, handle, true);
}

Key Key::create(const Key_Path& path, DWORD options, bool* out_created) {
  HKEY handle = nullptr;
  DWORD disposition = 0;
  const Root_Handle root(path);
  check_code(call<Slot::KvIRegCreateKeyEx>(HKEY{root}, Win_Text(path.sub_path), 0, nullptr, options,
                                           KEY_READ | KEY_WRITE, nullptr, &handle, &disposition, 0, nullptr),
             path);
  if (out_created != nullptr) *out_created = disposition == REG_CREATED_NEW_KEY;
  return Key(path, handle, true);
}

Key Key::open_child(std::u16string_view name, DWORD access) const {
  HKEY handle = nullptr;
  Key_Path below = path_.child(name);
  check_code(call<Slot::KvIRegOpenKeyEx>(handle_, Win_Text(name), 0, access, &handle, nullptr), below);
  return Key(std::move(below), handle, true);
}

std::vector<std::u16string> Key::sub_keys() const {
  std::vector<std::u16string> names;
  WinChar name[key_name_room];
  for (DWORD index = 0;; ++index) {
    DWORD count = key_name_room;
    const DWORD code =
        call<Slot::KvIRegEnumKeyEx>(handle_, index, name, &count, nullptr, nullptr, nullptr, nullptr, nullptr);
    if (code == ERROR_NO_MORE_ITEMS) return names;
    check(code);
    names.push_back(units_of(name, count));
  }
}

void Key::for_each_value(const std::function<void(const Value&)>& visit) const {
  std::vector<WinChar> name(value_name_room);
  std::string room(usual_data_size, '\0');
  Value value;
  for (DWORD index = 0;; ++index) {
    DWORD count = value_name_room;
    auto size = static_cast<DWORD>(room.size());
    const DWORD code = call<Slot::KvIRegEnumValue>(handle_, index, name.data(), &count, nullptr, &value.type,
                                                   reinterpret_cast<BYTE*>(room.data()), &size, nullptr);
    if (code == ERROR_NO_MORE_ITEMS) return;
    if (code == ERROR_MORE_DATA) {
      room.resize(size);
      --index;
      continue;
    }
    check(code);
    value.name = units_of(name.data(), count);
    value.data.assign(room, 0, size);
    visit(value);
  }
}

std::vector<Value> Key::values() const {
  std::vector<Value> all;
  for_each_value([&](const Value& value) { all.push_back(value); });
  return all;
}

std::optional<Value> Key::find_value(std::u16string_view name) const {
  const Win_Text text(name);
  Value value{std::u16string(name), REG_NONE, std::string(usual_data_size, '\0')};
  for (;;) {
    auto size = static_cast<DWORD>(value.data.size());
    const DWORD code = call<Slot::KvIRegQueryValueEx>(handle_, text, nullptr, &value.type,
                                                      reinterpret_cast<BYTE*>(value.data.data()), &size, nullptr);
    if (code == ERROR_FILE_NOT_FOUND) return std::nullopt;
    if (code != ERROR_MORE_DATA) check(code);
    value.data.resize(size);
    if (code == ERROR_SUCCESS) return value;
  }
}

void Key::set_value(const Value& value) const {
  check(call<Slot::KvIRegSetValueEx>(handle_, Win_Text(value.name), 0, value.type,
                                     reinterpret_cast<const BYTE*>(value.data.data()),
                                     static_cast<DWORD>(value.data.size()), nullptr));
}

bool Key::delete_value(std::u16string_view name) const {
  const DWORD code = call<Slot::KvIRegDeleteValue>(handle_, Win_Text(name), nullptr);
  if (code == ERROR_FILE_NOT_FOUND) return false;
  check(code);
  return true;
}

Key_Info Key::info() const {
  std::vector<WinChar> class_name(class_room);
  DWORD class_count = class_room;
  Key_Info info{};
  FILETIME written{};
  check(call<Slot::KvIRegQueryInfoKey>(handle_, class_name.data(), &class_count, nullptr, &info.sub_keys, nullptr,
                                       nullptr, &info.values, nullptr, &info.max_value_size, nullptr, &written,
                                       nullptr));
  info.class_name = units_of(class_name.data(), class_count);
  info.last_write_time = std::uint64_t{written.dwHighDateTime} << 32 | written.dwLowDateTime;
  return info;
}

Key_Rights Key::rights() const {
  Key_Rights rights{};
  check(call<Slot::KvIRegUxDescribeKey>(handle_, nullptr, &rights.mode, &rights.owner, &rights.group, nullptr));
  return rights;
}

void Key::check(DWORD code) const { check_code(code, path_); }

bool delete_tree(const Key_Path& path) {
  const std::optional<Key> key = Key::find(path, KEY_READ | KEY_WRITE);
  if (!key) return false;
  for (const std::u16string& name : key->sub_keys()) delete_tree(path.child(name));
  const Root_Handle root(path);
  const DWORD code = call<Slot::KvIRegDeleteKey>(HKEY{root}, Win_Text(path.sub_path), nullptr);
  if (code != ERROR_FILE_NOT_FOUND) check_code(code, path);
  return true;
}

}  // namespace kvreg
