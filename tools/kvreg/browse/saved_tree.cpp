#include "tools/kvreg/browse/saved_tree.h"

#include <winerror.h>
#include <winreg.h>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/root_handle.h"
#include "tools/kvreg/table_call.h"
#include "tools/kvreg/win_text.h"

namespace kvreg {
namespace {

// Adds what one more thing takes; false beyond the limits.
bool count(Saved_Tree& tree, std::size_t bytes, const Saved_Limits& limits) {
  tree.bytes += bytes;
  return tree.bytes <= limits.bytes && tree.keys + tree.values <= limits.things;
}

bool save_values(const Key& key, Saved_Key& saved, Saved_Tree& tree, const Saved_Limits& limits) {
  bool fits = true;
  key.for_each_value([&](const Value& value) {
    ++tree.values;
    fits = fits && count(tree, value.name.size() * sizeof(char16_t) + value.data.size(), limits);
    if (fits) saved.values.push_back(value);
  });
  return fits;
}

bool save_key_tree(const Key& key, Saved_Key& saved, Saved_Tree& tree, const Saved_Limits& limits) {
  saved.name = key.path().name();
  saved.class_name = key.info().class_name;
  saved.rights = key.rights();
  ++tree.keys;
  if (!count(tree, saved.name.size() * sizeof(char16_t), limits) || !save_values(key, saved, tree, limits))
    return false;
  for (const std::u16string& name : key.sub_keys()) {
    if (!save_key_tree(key.open_child(name), saved.sub_keys.emplace_back(), tree, limits)) return false;
  }
  return true;
}

// Makes the key, which was not there, with its class. The code.
DWORD create_with_class(const Key_Path& path, const Saved_Key& saved, DWORD options) {
  const Root_Handle root(path);
  const Win_Text class_name(saved.class_name);
  HKEY handle = nullptr;
  const DWORD code =
      call<Slot::KvIRegCreateKeyEx>(HKEY{root}, Win_Text(path.sub_path), 0,
                                    saved.class_name.empty() ? nullptr : static_cast<const WinChar*>(class_name),
                                    options, KEY_READ | KEY_WRITE, nullptr, &handle, nullptr, 0, nullptr);
  if (code == ERROR_SUCCESS) call<Slot::KvIRegCloseKey>(handle, nullptr);
  return code;
}

Key create(const Key_Path& path, const Saved_Key& saved) {
  DWORD code = create_with_class(path, saved, REG_OPTION_NON_VOLATILE);
  if (code == ERROR_CHILD_MUST_BE_VOLATILE) code = create_with_class(path, saved, REG_OPTION_VOLATILE);
  check_code(code, path);
  return Key::open(path, KEY_READ | KEY_WRITE);
}

// Owner and group first: giving a key away may take bits from its mode.
void give_rights(const Key_Path& path, const Key_Rights& rights) {
  const Key_Rights given = Key::open(path).rights();
  if (given.mode == rights.mode && given.owner == rights.owner && given.group == rights.group) return;
  const Key key = Key::open(path, KEY_ALL_ACCESS);
  if (given.group != rights.group) call<Slot::KvIRegUxChgrp>(key.handle(), nullptr, rights.group, nullptr);
  if (given.mode != rights.mode) call<Slot::KvIRegUxChmod>(key.handle(), nullptr, rights.mode, nullptr);
  if (given.owner != rights.owner) call<Slot::KvIRegUxChown>(key.handle(), nullptr, rights.owner, nullptr);
}

}  // namespace

std::optional<Saved_Tree> save_tree(const Key_Path& path, const Saved_Limits& limits) {
  Saved_Tree tree;
  if (!save_key_tree(Key::open(path), tree.top, tree, limits)) return std::nullopt;
  return tree;
}

void restore_tree(const Key_Path& path, const Saved_Key& saved) {
  {
    const Key key = create(path, saved);
    for (const Value& value : saved.values) key.set_value(value);
  }
  for (const Saved_Key& each : saved.sub_keys) restore_tree(path.child(each.name), each);
  give_rights(path, saved.rights);
}

}  // namespace kvreg
