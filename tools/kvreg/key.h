// An open key and what it holds, over 16-bit units and stored bytes. Every call that fails throws a Failure which names
// the key.
#pragma once

#include <windef.h>
#include <winnt.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "tools/kvreg/key_path.h"

namespace kvreg {

// A value as it is stored: text as 16-bit units with the high byte first, everything else as programs gave it.
struct Value {
  std::u16string name;
  DWORD type = REG_NONE;
  std::string data;

  bool operator==(const Value&) const = default;
};

struct Key_Info {
  DWORD sub_keys;
  DWORD values;
  DWORD max_value_size;
  std::u16string class_name;
  std::uint64_t last_write_time;  // 100 ns since 1601
};

struct Key_Rights {
  DWORD mode;
  DWORD owner;
  DWORD group;
};

// The handle of an open key; root keys are handles of their own and are not closed.
class Key {
 public:
  static Key open(const Key_Path& path, DWORD access = KEY_READ);
  // Null when there is none.
  static std::optional<Key> find(const Key_Path& path, DWORD access = KEY_READ);
  static Key create(const Key_Path& path, DWORD options = REG_OPTION_NON_VOLATILE, bool* out_created = nullptr);

  Key(Key&& other) noexcept;
  Key& operator=(Key&&) = delete;
  ~Key();

  const Key_Path& path() const { return path_; }
  HKEY handle() const { return handle_; }

  Key open_child(std::u16string_view name, DWORD access = KEY_READ) const;

  // In the order of enumeration. Sub-keys are visited by what they were called when the call began.
  std::vector<std::u16string> sub_keys() const;
  void for_each_value(const std::function<void(const Value&)>& visit) const;
  std::vector<Value> values() const;

  std::optional<Value> find_value(std::u16string_view name) const;
  void set_value(const Value& value) const;
  // False when there is none.
  bool delete_value(std::u16string_view name) const;

  Key_Info info() const;
  Key_Rights rights() const;

  // Throws for any code but 0.
  void check(DWORD code) const;

 private:
  Key(Key_Path path, HKEY handle, bool is_open) : path_(std::move(path)), handle_(handle), is_open_(is_open) {}

  Key_Path path_;
  HKEY handle_;
  bool is_open_;
};

// The key and everything below it. False when there is no such key.
bool delete_tree(const Key_Path& path);

}  // namespace kvreg
