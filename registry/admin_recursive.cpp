// The Unix rights of a key and of everything below it: a walk over the ANSI functions, parents before children.

#include <kelvane/advapi32.h>
#include <kelvane/registry_admin.h>

#include "registry/gate.h"

inline namespace kelvane {
namespace {

using Operation = LSTATUS (*)(HKEY, const char*, unsigned);

// A handle that is closed at its end, whatever the close answers.
class Unique_Key {
 public:
  Unique_Key() = default;
  ~Unique_Key() noexcept(false) {
    if (is_open_) RegCloseKey(key_);
  }
  Unique_Key(const Unique_Key&) = delete;
  Unique_Key& operator=(const Unique_Key&) = delete;

  LSTATUS open(HKEY at, const char* name) {
    const LSTATUS result = RegOpenKeyExA(at, name, 0, KEY_READ, &key_);
    is_open_ = result == ERROR_SUCCESS;
    return result;
  }
  HKEY get() const { return key_; }

 private:
  HKEY key_ = nullptr;
  bool is_open_ = false;
};

// The name of one sub-key after the other.
class Sub_Key_Name {
 public:
  explicit Sub_Key_Name(DWORD usual_room) : usual_room_(usual_room), usual_(new char[usual_room]) {}
  ~Sub_Key_Name() {
    delete[] usual_;
    delete[] longer_;
  }
  Sub_Key_Name(const Sub_Key_Name&) = delete;
  Sub_Key_Name& operator=(const Sub_Key_Name&) = delete;

  // A name that has more bytes than the usual room is told by its length alone; it is asked for again.
  LSTATUS read(HKEY key, DWORD index) {
    text_ = usual_;
    DWORD room = usual_room_;
    DWORD length = room;
    LSTATUS result = enumerate(key, index, &length);
    while (result == ERROR_SUCCESS && length >= room) {
      room = length + 1;
      grow(room);
      length = room;
      result = enumerate(key, index, &length);
    }
    return result;
  }
  const char* text() const { return text_; }

 private:
  LSTATUS enumerate(HKEY key, DWORD index, DWORD* length) {
    return RegEnumKeyExA(key, index, text_, length, nullptr, nullptr, nullptr, nullptr);
  }
  void grow(DWORD room) {
    delete[] longer_;
    longer_ = nullptr;
    text_ = longer_ = new char[room];
  }

  const DWORD usual_room_;
  char* const usual_;
  char* longer_ = nullptr;
  char* text_ = nullptr;
};

LSTATUS walk(HKEY key, unsigned value, Operation operation);

LSTATUS change_child(HKEY key, const char* name, unsigned value, Operation operation) {
  LSTATUS result = operation(key, name, value);
  if (result != ERROR_SUCCESS) return result;
  Unique_Key child;
  result = child.open(key, name);
  return result != ERROR_SUCCESS ? result : walk(child.get(), value, operation);
}

// Everything below the key, not the key itself.
LSTATUS walk(HKEY key, unsigned value, Operation operation) {
  constexpr DWORD slack = 2;
  DWORD sub_keys = 0;
  DWORD max_length = 0;
  LSTATUS result = RegQueryInfoKeyA(key, nullptr, nullptr, nullptr, &sub_keys, &max_length, nullptr, nullptr, nullptr,
                                    nullptr, nullptr, nullptr);
  if (result != ERROR_SUCCESS) return result;
  Sub_Key_Name name(max_length + slack);
  for (DWORD index = 0; index < sub_keys && result == ERROR_SUCCESS; ++index) {
    result = name.read(key, index);
    if (result == ERROR_SUCCESS) result = change_child(key, name.text(), value, operation);
  }
  return result;
}

LSTATUS change_tree(HKEY key, const char* sub_key, unsigned value, Operation operation) {
  LSTATUS result = operation(key, sub_key, value);
  if (result != ERROR_SUCCESS) return result;
  Unique_Key top;
  result = top.open(key, sub_key);
  return result != ERROR_SUCCESS ? result : walk(top.get(), value, operation);
}

}  // namespace
}  // namespace kelvane

LSTATUS RegUxChmodRec(HKEY key, const char* sub_key, unsigned mode) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS { return change_tree(key, sub_key, mode, RegUxChmod); });
}

LSTATUS RegUxChownRec(HKEY key, const char* sub_key, unsigned owner) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS { return change_tree(key, sub_key, owner, RegUxChown); });
}

LSTATUS RegUxChgrpRec(HKEY key, const char* sub_key, unsigned group) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS { return change_tree(key, sub_key, group, RegUxChgrp); });
}
