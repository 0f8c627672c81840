// The registry inside this process: handles and rights over the store.
#pragma once

#include <winerror.h>

#include <memory>

#include "hive/registry.h"
#include "impl/inproc/handle_table.h"
#include "impl/inproc/notifications.h"
#include "impl/inproc/root_keys.h"
#include "impl/inproc/status_code.h"
#include "impl/registry_service.h"

namespace impl {

class Inproc_Service final : public Registry_Service {
 public:
  Inproc_Service();

  DWORD create_key(HKEY key, std::u16string_view path, const Key_Creation& creation, HKEY* out_key,
                   bool* out_created) override;
  DWORD open_key(HKEY key, std::u16string_view path, DWORD access, HKEY* out_key) override;
  DWORD close_key(HKEY key) override;
  DWORD delete_key(HKEY key, std::u16string_view path) override;
  DWORD flush_key(HKEY key) override;
  DWORD connect(std::u16string_view machine, HKEY root, HKEY* out_key) override;
  DWORD enumerate_key(HKEY key, DWORD index, Text_Room& name, Text_Room* class_name,
                      std::uint64_t* out_last_write_time) override;
  DWORD query_info(HKEY key, Text_Room* class_name, Key_Facts* out_facts) override;
  DWORD enumerate_value(HKEY key, DWORD index, Text_Room* name, Value_Room& value) override;
  DWORD query_value(HKEY key, std::u16string_view name, Value_Room& value) override;
  DWORD set_value(HKEY key, std::u16string_view name, DWORD type, const BYTE* data, DWORD size) override;
  DWORD delete_value(HKEY key, std::u16string_view name) override;
  DWORD watch_key(HKEY key, bool subtree, DWORD filter, HANDLE event) override;
  DWORD change_rights(HKEY key, std::u16string_view path, const Rights_Change& change) override;
  DWORD describe_rights(HKEY key, std::u16string_view path, Rights_Facts* out_facts) override;
  DWORD save_key(HKEY key, const char* file) override;
  DWORD load_key(HKEY key, std::u16string_view path, const char* file) override;
  DWORD backup(const char* path) override;
  DWORD user_image(std::vector<BYTE>* out_image) override;
  DWORD closing_user_image(std::vector<BYTE>* out_image) override;
  DWORD unload_key(HKEY key, std::u16string_view path) override;
  DWORD rename_key(HKEY key, std::u16string_view path, std::u16string_view new_name) override;
  DWORD check_key(HKEY key, Hive_Report* out_report) override;
  DWORD check_file(const char* file, Hive_Report* out_report) override;
  DWORD begin_batch() override;
  DWORD commit_batch(std::vector<Batch_Hive>* out_hives) override;
  DWORD abandon_batch() override;
  DWORD user_domain(std::wstring_view user, std::wstring* out_domain) override;
  DWORD user_number(const wchar_t* user, DWORD* out_number) override;
  DWORD policy(int information_class, void** out_record) override;
  bool request_notification(int pid, int kind, bool on) override { return notifications_.request(pid, kind, on); }
  bool report_notification(int kind, const char* data, int size) override {
    return notifications_.report(kind, data, size);
  }
  bool report_notification_always(int kind, bool on) override { return notifications_.report_always(kind, on); }
  void end_notifications() override { notifications_.end(); }
  DWORD shut_down() override;
  DWORD list_connected(RegistryConnection* list, DWORD* count) override;

  // The store, for who serves it to others.
  hive::Registry& registry() { return registry_; }

 private:
  // Calls operation(key, access), which gives a Status, with what a handle stands for, and answers its code:
  // ERROR_INVALID_HANDLE for an unknown handle, ERROR_ACCESS_DENIED for one without the right.
  template <class Operation>
  DWORD with_key(HKEY handle, DWORD right, Operation operation);
  // A key that is read from, within a section: what a look into memory needs, and the whole.
  struct Reading {
    const hive::Read_Section& section;
    const hive::Open_Key& look;
    const hive::Key& key;
  };
  // The same for reading: operation(reading).
  template <class Operation>
  DWORD read_key(HKEY handle, DWORD right, Operation operation);

  hive::Status open_at(const hive::Key& at, std::u16string_view path, hive::Key* out_key);
  hive::Status create_at(const hive::Key& at, DWORD access, std::u16string_view path, const Key_Creation& creation,
                         hive::Key* out_key, bool* out_created);
  DWORD watch_for(HKEY key, bool subtree, DWORD filter, std::shared_ptr<hive::Watch_Target> target);
  DWORD hand_out(hive::Key key, DWORD access, HKEY* out_key);

  Handle_Table handles_;
  hive::Registry registry_;
  Root_Keys roots_;
  Notifications notifications_;
};

template <class Operation>
DWORD Inproc_Service::with_key(HKEY handle, DWORD right, Operation operation) {
  if (const auto root = root_of(handle)) return code_of(roots_.use(*root, operation));
  const Handle_Table::Pin pin = handles_.find(handle);
  if (!pin) return ERROR_INVALID_HANDLE;
  if ((pin.access() & right) != right) return ERROR_ACCESS_DENIED;
  return code_of(operation(pin.key(), pin.access()));
}

template <class Operation>
DWORD Inproc_Service::read_key(HKEY handle, DWORD right, Operation operation) {
  if (const auto root = root_of(handle)) {
    const hive::Read_Section section;
    return code_of(roots_.use(*root, [&](const hive::Key& key, DWORD) {
      return operation(Reading{section, *key, key});
    }));
  }
  const Handle_Table::Glance glance(handles_, handle);
  if (!glance) return ERROR_INVALID_HANDLE;
  if ((glance.access() & right) != right) return ERROR_ACCESS_DENIED;
  return code_of(operation(Reading{glance.section(), glance.open_key(), glance.key()}));
}

Inproc_Service& inproc_service();

}  // namespace impl
