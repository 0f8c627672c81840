// A service of the tests' own behind the entries, and buffers that show where they were written.
#pragma once

#include <gtest/gtest.h>
#include <kelvane/registry_entries.h>
#include <winerror.h>
#include <winnt.h>

#include <new>
#include <string>
#include <vector>

#include "impl/registry_service.h"

namespace kvtest {

using impl::Text_Room;
using impl::Value_Room;

// Answers from fields that the test sets, and notes what it was asked.
class Scripted_Service final : public impl::Registry_Service {
 public:
  DWORD create_key(HKEY, std::u16string_view asked, const impl::Key_Creation& creation, HKEY* out_key,
                   bool* out_created) override {
    path = asked;
    class_name = creation.class_name;
    options = creation.options;
    access = creation.access;
    *out_key = HKEY(0x77);
    *out_created = created;
    return code;
  }
  DWORD open_key(HKEY, std::u16string_view asked, DWORD, HKEY*) override { return note(asked); }
  DWORD close_key(HKEY) override { return code; }
  DWORD delete_key(HKEY, std::u16string_view asked) override { return note(asked); }
  DWORD flush_key(HKEY) override { return code; }
  DWORD connect(std::u16string_view asked, HKEY, HKEY*) override { return note(asked); }

  DWORD enumerate_key(HKEY, DWORD, Text_Room& name, Text_Room* class_room, std::uint64_t* out_time) override {
    if (out_time != nullptr) *out_time = 0x0102030405060708;
    const bool fits = fill(name, stored_name) && (class_room == nullptr || fill(*class_room, stored_class));
    return code != ERROR_SUCCESS ? code : fits ? ERROR_SUCCESS : ERROR_MORE_DATA;
  }
  DWORD query_info(HKEY, Text_Room* class_room, impl::Key_Facts* out_facts) override {
    *out_facts = {1, 2, 3, 4, 5, 6, 0x0102030405060708};
    const bool fits = class_room == nullptr || fill(*class_room, stored_class);
    return code != ERROR_SUCCESS ? code : fits ? ERROR_SUCCESS : ERROR_MORE_DATA;
  }
  DWORD enumerate_value(HKEY, DWORD, Text_Room* name, Value_Room& value) override {
    const bool name_fits = name == nullptr || fill(*name, stored_name);
    const bool value_fits = fill(value);
    return code != ERROR_SUCCESS ? code : name_fits && value_fits ? ERROR_SUCCESS : ERROR_MORE_DATA;
  }
  DWORD query_value(HKEY, std::u16string_view asked, Value_Room& value) override {
    path = asked;
    const bool fits = fill(value);
    return code != ERROR_SUCCESS ? code : fits ? ERROR_SUCCESS : ERROR_MORE_DATA;
  }
  DWORD set_value(HKEY, std::u16string_view asked, DWORD type, const BYTE* data, DWORD size) override {
    set_type = type;
    set_data.assign(data, data + size);
    return note(asked);
  }
  DWORD delete_value(HKEY, std::u16string_view asked) override { return note(asked); }
  DWORD watch_key(HKEY, bool subtree, DWORD filter, HANDLE event) override {
    watched = {subtree ? 1u : 0u, filter};
    watch_event = event;
    return code;
  }
  DWORD change_rights(HKEY, std::u16string_view asked, const impl::Rights_Change& change) override {
    rights.clear();
    for (const DWORD* property : {change.mode, change.owner, change.group}) {
      rights.push_back(property == nullptr ? -1 : static_cast<int>(*property));
    }
    return note(asked);
  }
  DWORD describe_rights(HKEY, std::u16string_view asked, impl::Rights_Facts* out_facts) override {
    *out_facts = {0640, 12, 34};
    return note(asked);
  }
  DWORD load_key(HKEY, std::u16string_view asked, const char* file) override {
    file_name = file;
    return note(asked);
  }
  DWORD save_key(HKEY, const char* file) override {
    file_name = file;
    return code;
  }
  DWORD backup(const char* file) override {
    file_name = file;
    return code;
  }
  DWORD user_image(std::vector<BYTE>* out_image) override {
    *out_image = image;
    return code;
  }
  DWORD closing_user_image(std::vector<BYTE>* out_image) override {
    *out_image = image;
    return code;
  }
  DWORD begin_batch() override { return code; }
  DWORD commit_batch(std::vector<impl::Batch_Hive>* out_hives) override {
    *out_hives = ended;
    return code;
  }
  DWORD abandon_batch() override { return code; }
  DWORD unload_key(HKEY, std::u16string_view asked) override { return note(asked); }
  DWORD rename_key(HKEY, std::u16string_view asked, std::u16string_view new_name) override {
    return note(std::u16string(asked) + u">" + std::u16string(new_name));
  }
  DWORD check_key(HKEY, impl::Hive_Report* out_report) override {
    *out_report = report;
    return code;
  }
  DWORD check_file(const char* file, impl::Hive_Report* out_report) override {
    file_name = file;
    return check_key(nullptr, out_report);
  }
  DWORD user_domain(std::wstring_view user, std::wstring* out_domain) override {
    if (no_memory) throw std::bad_alloc();
    asked_user = user;
    *out_domain = stored_domain;
    return code;
  }
  DWORD user_number(const wchar_t* user, DWORD* out_number) override {
    if (no_memory) throw std::bad_alloc();
    asked_user = user != nullptr ? user : L"(null)";
    if (code == ERROR_SUCCESS) *out_number = stored_number;
    return code;
  }
  DWORD policy(int information_class, void** out_record) override {
    asked_class = information_class;
    if (code == ERROR_SUCCESS) *out_record = this;
    return code;
  }
  bool request_notification(int pid, int kind, bool on) override { return note("request", pid, kind, on); }
  bool report_notification(int kind, const char* data, int size) override {
    return note("report", kind, data == nullptr ? -1 : *data, size);
  }
  bool report_notification_always(int kind, bool on) override { return note("always", kind, on, 0); }
  void end_notifications() override { note("end", 0, 0, 0); }
  DWORD shut_down() override { return code; }
  DWORD list_connected(RegistryConnection*, DWORD* count) override {
    *count = 0;
    return code;
  }

  DWORD code = ERROR_SUCCESS;
  bool no_memory = false;
  bool created = true;
  DWORD stored_number = 0;
  int asked_class = -1;
  std::u16string stored_name = u"hello";
  std::u16string stored_class;
  std::string stored_data = "0123456789ab";
  DWORD stored_type = REG_SZ;
  std::vector<BYTE> image;
  std::wstring stored_domain = L"HOST";
  std::vector<impl::Batch_Hive> ended;
  impl::Hive_Report report;

  std::u16string path = u"(not asked)";
  std::u16string class_name;
  DWORD options = 0;
  DWORD access = 0;
  DWORD set_type = 0;
  std::vector<BYTE> set_data;
  std::vector<int> rights;
  std::string file_name = "(not asked)";
  std::vector<DWORD> watched;  // subtree, filter
  HANDLE watch_event = HANDLE(0x55);
  std::wstring asked_user = L"(not asked)";
  std::string notifications;

 private:
  bool note(const char* what, int first, int second, int third) {
    if (no_memory) throw std::bad_alloc();
    for (const std::string& word : {std::string(what), std::to_string(first), std::to_string(second)}) {
      notifications += word + " ";
    }
    notifications += std::to_string(third) + ";";
    return code == ERROR_SUCCESS;
  }
  DWORD note(std::u16string_view asked) {
    if (no_memory) throw std::bad_alloc();
    path = asked;
    return code;
  }
  static bool fill(Text_Room& room, const std::u16string& stored) {
    room.length = stored.size();
    if (room.lacks_room()) return false;
    if (room.text != nullptr) stored.copy(room.text, stored.size());
    return true;
  }
  bool fill(Value_Room& room) const {
    room.size = static_cast<DWORD>(stored_data.size());
    room.type = stored_type;
    if (room.data == nullptr) return true;
    if (room.room < room.size) return false;
    stored_data.copy(reinterpret_cast<char*>(room.data), stored_data.size());
    return true;
  }
};

// The service that the entries find.
inline Scripted_Service* service = nullptr;

class Entries_Test : public testing::Test {
 protected:
  Entries_Test() { service = &scripted; }
  ~Entries_Test() override { service = nullptr; }

  Scripted_Service scripted;
  HKEY key = HKEY(0x400000);
};

// A buffer of WinChars that shows where it was written: '#' stands where it was not.
struct Win_Buffer {
  explicit Win_Buffer(DWORD room) : units(room, WinChar{0, '#'}) {}
  WinChar* data() { return units.data(); }
  std::string text() const {
    std::string result;
    for (WinChar unit : units) result += unit.high != 0 ? '?' : unit.low == 0 ? '.' : static_cast<char>(unit.low);
    return result;
  }
  std::vector<WinChar> units;
};

inline std::vector<WinChar> win(std::u16string_view text) {
  std::vector<WinChar> result;
  for (char16_t unit : text) result.push_back({static_cast<BYTE>(unit >> 8), static_cast<BYTE>(unit)});
  result.push_back({0, 0});
  return result;
}

}  // namespace kvtest
