// What the tests over the whole stack share: a key of each test's own below HKEY_CURRENT_USER, handles that
// close themselves, and reads whose buffers show every byte that was or was not written. Calls are those of a
// ported program; no call may change the last error.
#ifndef KELVANE_TESTS_STORE_STORE_TEST_H
#define KELVANE_TESTS_STORE_STORE_TEST_H

#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

// A source compiled with KVTEST_WIDE runs its cases over the wide functions. What stands between
// `#ifndef KVTEST_WIDE` and its end is the ANSI family's alone, each time with the difference told.
#ifdef KVTEST_WIDE
#include "tests/store/wide_family.h"
#endif

namespace kvtest {

using namespace std::string_literals;

constexpr DWORD untouched = 0x7E7E7E7E;

inline const BYTE* bytes_of(std::string_view text) { return reinterpret_cast<const BYTE*>(text.data()); }
inline HKEY handle_of(ULONG_PTR value) { return reinterpret_cast<HKEY>(value); }
inline ULONG_PTR number_of(HKEY key) { return reinterpret_cast<ULONG_PTR>(key); }

// A handle that is closed at its end.
class Key {
 public:
  Key() = default;
  explicit Key(HKEY key) : key_(key) {}
  Key(Key&& other) noexcept : key_(std::exchange(other.key_, nullptr)) {}
  Key& operator=(Key&& other) noexcept {
    std::swap(key_, other.key_);
    return *this;
  }
  ~Key() { close(); }

  operator HKEY() const { return key_; }
  HKEY* out() {
    close();
    return &key_;
  }
  void close() {
    if (key_ != nullptr) RegCloseKey(std::exchange(key_, nullptr));
  }

 private:
  HKEY key_ = nullptr;
};

// A key opened or made, null when that failed.
inline Key created(HKEY at, const std::string& path, DWORD options = REG_OPTION_NON_VOLATILE) {
  Key key;
  RegCreateKeyEx(at, path.c_str(), 0, nullptr, options, KEY_ALL_ACCESS, nullptr, key.out(), nullptr);
  return key;
}
inline Key opened(HKEY at, const std::string& path, REGSAM access = KEY_ALL_ACCESS) {
  Key key;
  RegOpenKeyEx(at, path.c_str(), 0, access, key.out());
  return key;
}
inline LSTATUS open_result(HKEY at, const std::string& path) {
  Key key;
  return RegOpenKeyEx(at, path.c_str(), 0, KEY_READ, key.out());
}

// Exactly these bytes: what lies behind them is no terminator.
inline LSTATUS set_value(HKEY key, const char* name, DWORD type, std::string_view data) {
  std::string block = std::string(data) + '#';
  return RegSetValueEx(key, name, 0, type, bytes_of(block), static_cast<DWORD>(data.size()));
}
inline LSTATUS set_number(HKEY key, const char* name, DWORD number) {
  return RegSetValueEx(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number);
}

// What one query left: its buffer had "room" bytes of '#'.
struct Answer {
  LSTATUS code = -1;
  DWORD type = untouched;
  DWORD size = untouched;
  std::string buffer;

  std::string data() const { return buffer.substr(0, size); }
};

inline Answer query(HKEY key, const char* name, DWORD room) {
  Answer answer;
  answer.size = room;
  std::vector<BYTE> block(room + 1, '#');  // never a null pointer
  answer.code = RegQueryValueEx(key, name, nullptr, &answer.type, block.data(), &answer.size);
  answer.buffer.assign(block.begin(), block.begin() + room);
  if (block.back() != '#') answer.buffer += " written behind the room";
  return answer;
}
// The size only; the size on entry is a large number that means nothing.
inline Answer query_size(HKEY key, const char* name) {
  Answer answer;
  answer.code = RegQueryValueEx(key, name, nullptr, &answer.type, nullptr, &answer.size);
  return answer;
}
// A value as a program reads it that knows nothing of it: its size, then its data.
inline Answer value_of(HKEY key, const char* name) {
  Answer size = query_size(key, name);
  return size.code == ERROR_SUCCESS ? query(key, name, size.size) : size;
}

// All names by index; ends with "!<code>" when the enumeration does not end with 259.
inline std::vector<std::string> sub_keys(HKEY key) {
  std::vector<std::string> names;
  for (DWORD index = 0;; ++index) {
    char name[2048] = "";
    DWORD size = sizeof name;
    LSTATUS code = RegEnumKeyEx(key, index, name, &size, nullptr, nullptr, nullptr, nullptr);
    if (code == ERROR_NO_MORE_ITEMS) return names;
    names.emplace_back(code == ERROR_SUCCESS ? std::string(name, size) : "!" + std::to_string(code));
    if (code != ERROR_SUCCESS) return names;
  }
}
inline std::vector<std::string> value_names(HKEY key) {
  std::vector<std::string> names;
  std::vector<char> name(65536);
  for (DWORD index = 0;; ++index) {
    DWORD size = static_cast<DWORD>(name.size());
    LSTATUS code = RegEnumValue(key, index, name.data(), &size, nullptr, nullptr, nullptr, nullptr);
    if (code == ERROR_NO_MORE_ITEMS) return names;
    names.emplace_back(code == ERROR_SUCCESS ? std::string(name.data(), size) : "!" + std::to_string(code));
    if (code != ERROR_SUCCESS) return names;
  }
}

// A fresh key below HKEY_CURRENT_USER named after the test, and a last error that must outlive it.
class Store_Test : public testing::Test {
 protected:
  static constexpr DWORD last_error_before = 0xE1234567;

  void SetUp() override {
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    path_ = "Software\\Tests\\"s + test->test_suite_name() + "\\" + test->name();
    ASSERT_EQ(
        RegCreateKeyEx(HKEY_CURRENT_USER, path_.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, key.out(), nullptr),
        0);
    SetLastError(last_error_before);
  }
  void TearDown() override { EXPECT_EQ(GetLastError(), last_error_before); }

  const std::string& path() const { return path_; }

  Key key;

 private:
  std::string path_;
};

}  // namespace kvtest

#endif
