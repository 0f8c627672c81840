// The wide functions called with the arguments of their ANSI forms, so that one table of cases serves both
// families: a source compiled with KVTEST_WIDE calls these wherever it says RegOpenKeyEx and the like.
//
// Text goes in and comes back in UTF-8, and its room and size count bytes of it. The wide function is offered as
// many characters fewer as the text has bytes beyond its characters, so that exactly enough room stays exactly
// enough. Buffers begin as '#'; what the wide function wrote of its own, and nothing else, reaches the caller's.
#ifndef KELVANE_TESTS_STORE_WIDE_FAMILY_H
#define KELVANE_TESTS_STORE_WIDE_FAMILY_H

#include <gtest/gtest.h>
#include <kelvane/text.h>
#include <windows.h>

#include <cstring>
#include <string>

namespace kvtest::wide {

constexpr DWORD character_size = sizeof(wchar_t);
constexpr DWORD no_surplus = 0;

inline bool is_text(DWORD type) { return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ; }

inline std::wstring widened(const char* text, std::size_t size) {
  const KvUnicodeStringWithLength wide(text, static_cast<int>(size));
  return {wide.text(), static_cast<std::size_t>(wide.length())};
}
inline std::string narrowed(const wchar_t* text, std::size_t count) {
  const KvAnsiStringWithLength narrow(text, static_cast<int>(count));
  return {narrow.text(), static_cast<std::size_t>(narrow.size())};
}
// Bytes of a text beyond its characters.
inline DWORD surplus_of(const std::wstring& text) {
  return static_cast<DWORD>(narrowed(text.data(), text.size()).size() - text.size());
}

// A name on its way in; null stays null.
class Name {
 public:
  Name(const char* text) : is_null_(text == nullptr) {
    if (!is_null_) text_ = widened(text, std::strlen(text));
  }
  operator wchar_t*() { return is_null_ ? nullptr : text_.data(); }

 private:
  bool is_null_;
  std::wstring text_;
};

// Wide room in place of the caller's. Unit is the size in bytes of what the wide function counts.
template <class Size, DWORD unit>
class Room {
 public:
  Room(char* out, Size* size, DWORD surplus)
      : out_(out), size_(size), surplus_(surplus), room_(size == nullptr ? 0 : static_cast<DWORD>(*size)) {
    if (out_ != nullptr) {
      room_ = room_ > surplus_ ? room_ - surplus_ : 0;
      text_.assign(room_ + 1, L'#');
    }
    count_ = offered_ = static_cast<Size>(room_ * unit);
  }
  wchar_t* text() { return out_ == nullptr ? nullptr : text_.data(); }
  BYTE* bytes() { return reinterpret_cast<BYTE*>(text()); }
  Size* count() { return size_ == nullptr ? nullptr : &count_; }

  LSTATUS bring(LSTATUS code) {
    if (size_ != nullptr && (code == ERROR_SUCCESS || count_ != offered_)) {
      *size_ = static_cast<Size>(static_cast<DWORD>(count_) / unit + surplus_);
    }
    if (out_ == nullptr) return code;
    EXPECT_EQ(text_.back(), L'#') << "written behind the room";
    const std::size_t written = text_.find_last_not_of(L'#') + 1;
    const std::string narrow = narrowed(text_.data(), written);
    EXPECT_LE(narrow.size(), size_ == nullptr ? 0u : room_ + surplus_);
    std::memcpy(out_, narrow.data(), narrow.size());
    return code;
  }

 private:
  char* out_;
  Size* size_;
  DWORD surplus_;
  DWORD room_;
  Size offered_;
  Size count_;
  std::wstring text_;
};
using Name_Room = Room<DWORD, 1>;
using Value_Room = Room<DWORD, character_size>;
using Old_Value_Room = Room<LONG, character_size>;

inline LSTATUS open_key_ex(HKEY key, const char* sub_key, DWORD options, REGSAM access, PHKEY out) {
  return RegOpenKeyExW(key, Name(sub_key), options, access, out);
}
inline LSTATUS open_key(HKEY key, const char* sub_key, PHKEY out) { return RegOpenKeyW(key, Name(sub_key), out); }
inline LSTATUS create_key_ex(HKEY key, const char* sub_key, DWORD reserved, char* class_name, DWORD options,
                             REGSAM access, LPSECURITY_ATTRIBUTES security, PHKEY out, LPDWORD disposition) {
  return RegCreateKeyExW(key, Name(sub_key), reserved, Name(class_name), options, access, security, out, disposition);
}
inline LSTATUS create_key(HKEY key, const char* sub_key, PHKEY out) { return RegCreateKeyW(key, Name(sub_key), out); }
inline LSTATUS delete_key(HKEY key, const char* sub_key) { return RegDeleteKeyW(key, Name(sub_key)); }
inline LSTATUS delete_value(HKEY key, const char* name) { return RegDeleteValueW(key, Name(name)); }
inline LSTATUS save_key(HKEY key, const char* file, LPSECURITY_ATTRIBUTES security) {
  return RegSaveKeyW(key, Name(file), security);
}
inline LSTATUS connect_registry(const char* machine, HKEY key, PHKEY out) {
  return RegConnectRegistryW(Name(machine), key, out);
}

// Text stands between a zero character, which no front may take for its end, and the character of the byte
// behind the caller's text.
inline LSTATUS set_value_ex(HKEY key, const char* name, DWORD reserved, DWORD type, const BYTE* data, DWORD size) {
  if (!is_text(type) || data == nullptr) return RegSetValueExW(key, Name(name), reserved, type, data, size);
  const std::wstring text = widened(reinterpret_cast<const char*>(data), size);
  const std::wstring block = L'\0' + text + static_cast<wchar_t>(data[size]);
  return RegSetValueExW(key, Name(name), reserved, type, reinterpret_cast<const BYTE*>(block.data() + 1),
                        static_cast<DWORD>(text.size()) * character_size);
}
inline LSTATUS set_value(HKEY key, const char* sub_key, DWORD type, const char* data, DWORD size) {
  return RegSetValueW(key, Name(sub_key), type, Name(data), size);
}

// What a value is before it is asked for.
struct Stored {
  DWORD type = REG_NONE;
  DWORD surplus = no_surplus;
};
template <class Query>
Stored stored_by(Query query) {
  Stored stored;
  DWORD size = 0;
  if (query(&stored.type, nullptr, &size) != ERROR_SUCCESS || !is_text(stored.type)) return stored;
  std::wstring text(size / character_size, L'\0');
  if (!text.empty() && query(nullptr, reinterpret_cast<BYTE*>(text.data()), &size) == ERROR_SUCCESS) {
    stored.surplus = surplus_of(text);
  }
  return stored;
}

// Asks for a value, whose data goes through wide room when it is text.
template <class Query>
LSTATUS ask_for_data(const Stored& stored, BYTE* data, LPDWORD size, Query query) {
  if (!is_text(stored.type)) return query(data, size);
  Value_Room room(reinterpret_cast<char*>(data), size, stored.surplus);
  return room.bring(query(room.bytes(), room.count()));
}

inline LSTATUS query_value_ex(HKEY key, const char* name, LPDWORD reserved, LPDWORD out_type, BYTE* data,
                              LPDWORD size) {
  const Stored stored = stored_by([&](DWORD* type, BYTE* bytes, DWORD* room) {
    return RegQueryValueExW(key, Name(name), nullptr, type, bytes, room);
  });
  return ask_for_data(stored, data, size, [&](BYTE* bytes, DWORD* room) {
    return RegQueryValueExW(key, Name(name), reserved, out_type, bytes, room);
  });
}
inline LSTATUS query_value(HKEY key, const char* sub_key, char* data, LONG* size) {
  Old_Value_Room room(data, size, no_surplus);
  return room.bring(RegQueryValueW(key, Name(sub_key), room.text(), room.count()));
}

constexpr DWORD longest_name = 16384;

inline LSTATUS enum_key_ex(HKEY key, DWORD index, char* name, LPDWORD name_size, LPDWORD reserved, char* class_name,
                           LPDWORD class_size, PFILETIME time) {
  std::wstring stored(longest_name, L'\0'), stored_class(longest_name, L'\0');
  DWORD length = longest_name, class_length = longest_name;
  const bool is_there = RegEnumKeyExW(key, index, stored.data(), &length, nullptr, stored_class.data(), &class_length,
                                      nullptr) == ERROR_SUCCESS;
  stored.resize(is_there ? length : 0);
  stored_class.resize(is_there ? class_length : 0);
  Name_Room room(name, name_size, surplus_of(stored));
  Name_Room class_room(class_name, class_size, surplus_of(stored_class));
  const LSTATUS code =
      RegEnumKeyExW(key, index, room.text(), room.count(), reserved, class_room.text(), class_room.count(), time);
  room.bring(code);
  return class_room.bring(code);
}
inline LSTATUS enum_key(HKEY key, DWORD index, char* name, DWORD size) {
  Name_Room room(name, &size, no_surplus);
  return room.bring(RegEnumKeyW(key, index, room.text(), *room.count()));
}
inline LSTATUS enum_value(HKEY key, DWORD index, char* name, LPDWORD name_size, LPDWORD reserved, LPDWORD out_type,
                          BYTE* data, LPDWORD size) {
  std::wstring stored_name(longest_name, L'\0');
  const Stored stored = stored_by([&](DWORD* type, BYTE* bytes, DWORD* room) {
    DWORD length = longest_name;
    stored_name.resize(longest_name);
    const LSTATUS code = RegEnumValueW(key, index, stored_name.data(), &length, nullptr, type, bytes, room);
    stored_name.resize(code == ERROR_SUCCESS ? length : 0);
    return code;
  });
  Name_Room room(name, name_size, surplus_of(stored_name));
  return room.bring(ask_for_data(stored, data, size, [&](BYTE* bytes, DWORD* count) {
    return RegEnumValueW(key, index, room.text(), room.count(), reserved, out_type, bytes, count);
  }));
}
inline LSTATUS query_info_key(HKEY key, char* class_name, LPDWORD class_size, LPDWORD reserved, LPDWORD sub_keys,
                              LPDWORD max_sub_key, LPDWORD max_class, LPDWORD values, LPDWORD max_value_name,
                              LPDWORD max_value, LPDWORD security_size, PFILETIME time) {
  Name_Room room(class_name, class_size, no_surplus);
  return room.bring(RegQueryInfoKeyW(key, room.text(), room.count(), reserved, sub_keys, max_sub_key, max_class, values,
                                     max_value_name, max_value, security_size, time));
}

}  // namespace kvtest::wide

#undef RegOpenKeyEx
#undef RegOpenKey
#undef RegCreateKeyEx
#undef RegCreateKey
#undef RegDeleteKey
#undef RegDeleteValue
#undef RegSaveKey
#undef RegConnectRegistry
#undef RegSetValueEx
#undef RegSetValue
#undef RegQueryValueEx
#undef RegQueryValue
#undef RegEnumKeyEx
#undef RegEnumKey
#undef RegEnumValue
#undef RegQueryInfoKey
#define RegOpenKeyEx kvtest::wide::open_key_ex
#define RegOpenKey kvtest::wide::open_key
#define RegCreateKeyEx kvtest::wide::create_key_ex
#define RegCreateKey kvtest::wide::create_key
#define RegDeleteKey kvtest::wide::delete_key
#define RegDeleteValue kvtest::wide::delete_value
#define RegSaveKey kvtest::wide::save_key
#define RegConnectRegistry kvtest::wide::connect_registry
#define RegSetValueEx kvtest::wide::set_value_ex
#define RegSetValue kvtest::wide::set_value
#define RegQueryValueEx kvtest::wide::query_value_ex
#define RegQueryValue kvtest::wide::query_value
#define RegEnumKeyEx kvtest::wide::enum_key_ex
#define RegEnumKey kvtest::wide::enum_key
#define RegEnumValue kvtest::wide::enum_value
#define RegQueryInfoKey kvtest::wide::query_info_key

#endif
