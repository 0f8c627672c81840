// What stands behind the entries of an implementation library: the registry over handles, 16-bit text and
// Win32 codes. Each library supplies one service; the entries know no other.
//
// Every operation may be called from any thread, answers a Win32 code, and throws nothing but std::bad_alloc.
// Text carries no terminator. Outputs are written on ERROR_SUCCESS only, unless said otherwise.
#pragma once

#include <kelvane/registry_table.h>
#include <windef.h>
#include <winerror.h>
#include <winnt.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace impl {

// Longest texts in units, and the room that holds each with its terminator.
inline constexpr std::size_t max_key_name_room = 256 + 1;
inline constexpr std::size_t max_value_name_room = 16383 + 1;
inline constexpr std::size_t max_class_units = 32767;
inline constexpr std::size_t max_class_room = max_class_units + 1;

// Where a name or a class goes: room in units, terminator included, and the length without it, which is told
// also when the text has no room. A null text asks for the length only.
struct Text_Room {
  char16_t* text = nullptr;
  std::size_t room = 0;
  std::size_t length = 0;

  bool lacks_room() const { return text != nullptr && length >= room; }
};

// Where a value goes: room and size in bytes. Null data asks for type and size only. With ERROR_MORE_DATA
// type and size are told and the data is untouched when it has no room.
struct Value_Room {
  BYTE* data = nullptr;
  DWORD room = 0;
  DWORD size = 0;
  DWORD type = 0;
};

struct Key_Creation {
  std::u16string_view class_name;
  DWORD options = 0;
  DWORD access = 0;
};

// Lengths are in units without terminator, sizes in bytes of the stored form.
struct Key_Facts {
  DWORD sub_keys = 0;
  DWORD max_sub_key_length = 0;
  DWORD max_class_length = 0;
  DWORD values = 0;
  DWORD max_value_name_length = 0;
  DWORD max_value_size = 0;
  std::uint64_t last_write_time = 0;  // 100 ns since 1601
};

// One property of a key's rights, or several; a null one stays as it is.
struct Rights_Change {
  const DWORD* mode = nullptr;  // Unix permission bits
  const DWORD* owner = nullptr;
  const DWORD* group = nullptr;
};

struct Rights_Facts {
  DWORD mode = 0;
  DWORD owner = 0;
  DWORD group = 0;
};

// How a batch ended in one hive: root is HKEY_LOCAL_MACHINE or HKEY_CURRENT_USER, file its path or empty.
struct Batch_Hive {
  HKEY root = nullptr;
  std::string file;
  DWORD code = 0;
};

// A fault of a hive, as kelvane/optional.h tells it.
struct Hive_Fault {
  int kind = 0;                         // a KvFaultKind
  std::optional<std::u16string> key;    // path from the hive's root
  std::optional<std::u16string> value;  // name
  std::string text;
};

struct Hive_Report {
  std::uint64_t keys = 0;
  std::uint64_t volatile_keys = 0;
  std::uint64_t values = 0;
  std::uint64_t data_size = 0;
  std::vector<Hive_Fault> faults;
};

class Registry_Service {
 public:
  // Keys. An empty path is the key itself.
  virtual DWORD create_key(HKEY key, std::u16string_view path, const Key_Creation& creation, HKEY* out_key,
                           bool* out_created) = 0;
  virtual DWORD open_key(HKEY key, std::u16string_view path, DWORD access, HKEY* out_key) = 0;
  virtual DWORD close_key(HKEY key) = 0;
  virtual DWORD delete_key(HKEY key, std::u16string_view path) = 0;
  virtual DWORD flush_key(HKEY key) = 0;
  // machine: empty for this one.
  virtual DWORD connect(std::u16string_view machine, HKEY root, HKEY* out_key) = 0;

  // ERROR_MORE_DATA when a text has no room. class_name may be null.
  virtual DWORD enumerate_key(HKEY key, DWORD index, Text_Room& name, Text_Room* class_name,
                              std::uint64_t* out_last_write_time) = 0;
  // ERROR_MORE_DATA when the class has no room; the facts are told all the same.
  virtual DWORD query_info(HKEY key, Text_Room* class_name, Key_Facts* out_facts) = 0;

  // Values. An empty name is the default value. A name that alone has no room keeps nothing of the value
  // back: the answer is ERROR_MORE_DATA and the data is delivered. name may be null.
  virtual DWORD enumerate_value(HKEY key, DWORD index, Text_Room* name, Value_Room& value) = 0;
  virtual DWORD query_value(HKEY key, std::u16string_view name, Value_Room& value) = 0;
  virtual DWORD set_value(HKEY key, std::u16string_view name, DWORD type, const BYTE* data, DWORD size) = 0;
  virtual DWORD delete_value(HKEY key, std::u16string_view name) = 0;

  // Tells of the next change of the key, or with subtree also of the keys below it, in a way of the filter (some of
  // REG_LEGAL_CHANGE_FILTER): by signalling the event, or with a null one by coming back.
  virtual DWORD watch_key(HKEY key, bool subtree, DWORD filter, HANDLE event) = 0;

  // Rights of the key at a path.
  virtual DWORD change_rights(HKEY key, std::u16string_view path, const Rights_Change& change) = 0;
  virtual DWORD describe_rights(HKEY key, std::u16string_view path, Rights_Facts* out_facts) = 0;

  // Whole hives. file and path are in the code page.
  virtual DWORD save_key(HKEY key, const char* file) = 0;
  virtual DWORD load_key(HKEY key, std::u16string_view path, const char* file) = 0;
  virtual DWORD backup(const char* path) = 0;
  virtual DWORD user_image(std::vector<BYTE>* out_image) = 0;
  // Empty when there is nothing to write at the end of the process.
  virtual DWORD closing_user_image(std::vector<BYTE>* out_image) = 0;

  // What not every service can do; the rules are those of kelvane/optional.h. Outputs are written whatever the answer.
  virtual DWORD begin_batch() { return ERROR_CALL_NOT_IMPLEMENTED; }
  virtual DWORD commit_batch([[maybe_unused]] std::vector<Batch_Hive>* out_hives) { return ERROR_CALL_NOT_IMPLEMENTED; }
  virtual DWORD abandon_batch() { return ERROR_CALL_NOT_IMPLEMENTED; }
  virtual DWORD unload_key([[maybe_unused]] HKEY key, [[maybe_unused]] std::u16string_view path) {
    return ERROR_CALL_NOT_IMPLEMENTED;
  }
  virtual DWORD rename_key([[maybe_unused]] HKEY key, [[maybe_unused]] std::u16string_view path,
                           [[maybe_unused]] std::u16string_view new_name) {
    return ERROR_CALL_NOT_IMPLEMENTED;
  }
  virtual DWORD check_key([[maybe_unused]] HKEY key, [[maybe_unused]] Hive_Report* out_report) {
    return ERROR_CALL_NOT_IMPLEMENTED;
  }
  virtual DWORD check_file([[maybe_unused]] const char* file, [[maybe_unused]] Hive_Report* out_report) {
    return ERROR_CALL_NOT_IMPLEMENTED;
  }

  // The domain of a user by his login name; ERROR_NO_SUCH_USER for one that the registry's host does not have.
  virtual DWORD user_domain(std::wstring_view user, std::wstring* out_domain) = 0;

  // The number of a user by his login name, of the calling thread's user for null; ERROR_NO_SUCH_USER as above.
  virtual DWORD user_number(const wchar_t* user, DWORD* out_number) = 0;
  // A record of the local security authority's policy, which the caller does not own and which stays good.
  // ERROR_NOT_SUPPORTED for a class that is not told, ERROR_INVALID_PARAMETER for what is no class.
  virtual DWORD policy(int information_class, void** out_record) = 0;
  // Notifications between processes; kinds are 0 and 1. False when nothing could be done. What has been asked for is
  // delivered through KvNotification.
  virtual bool request_notification(int pid, int kind, bool on) = 0;
  virtual bool report_notification(int kind, const char* data, int size) = 0;
  virtual bool report_notification_always(int kind, bool on) = 0;
  // At the end of the process.
  virtual void end_notifications() = 0;

  // The server, where there is one.
  virtual DWORD shut_down() = 0;
  virtual DWORD list_connected(RegistryConnection* list, DWORD* count) = 0;

 protected:
  ~Registry_Service() = default;
};

// The library's service: made at the first call without touching a file, never destroyed.
Registry_Service& registry_service();

}  // namespace impl
