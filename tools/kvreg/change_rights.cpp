#include "tools/kvreg/change_rights.h"

#include "tools/kvreg/progress.h"
#include "tools/kvreg/table_call.h"
#include "tools/kvreg/walk.h"

namespace kvreg {
namespace {

void apply(const Key& key, const Rights_Change& change) {
  if (change.mode) key.check(call<Slot::KvIRegUxChmod>(key.handle(), nullptr, *change.mode, nullptr));
  if (change.owner) key.check(call<Slot::KvIRegUxChown>(key.handle(), nullptr, *change.owner, nullptr));
  if (change.group) key.check(call<Slot::KvIRegUxChgrp>(key.handle(), nullptr, *change.group, nullptr));
}

}  // namespace

void change_rights(const std::vector<std::string>& keys, bool is_deep,
                   const std::function<Rights_Change(const Key_Rights&)>& change) {
  std::vector<Key_Path> paths;
  for (const std::string& each : keys) paths.push_back(parse_key_path(each));
  Progress progress("changing", "keys");
  for (const Key_Path& path : paths) {
    walk(path, is_deep, [&](const Key& key) {
      apply(Key::open(key.path(), KEY_ALL_ACCESS), change(key.rights()));
      progress.step();
    });
  }
}

}  // namespace kvreg
