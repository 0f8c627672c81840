// The registry of a server: each operation is a question, each handle a key that the server has open.
#pragma once

#include <winerror.h>

#include "impl/client/carrier.h"
#include "impl/client/kept_answers.h"
#include "impl/client/notices.h"
#include "impl/client/remote_key.h"
#include "impl/client/watches.h"
#include "impl/inproc/access_mask.h"
#include "impl/inproc/root_handles.h"
#include "impl/registry_service.h"

namespace impl::client {

class Client_Service final : public Registry_Service {
 public:
  explicit Client_Service(const Settings& settings);
  ~Client_Service() = default;

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
  DWORD begin_batch() override { return carrier_.batches().begin(); }
  DWORD commit_batch(std::vector<Batch_Hive>* out_hives) override { return carrier_.batches().commit(out_hives); }
  DWORD abandon_batch() override { return carrier_.batches().abandon(); }
  DWORD user_domain(std::wstring_view user, std::wstring* out_domain) override;
  DWORD user_number(const wchar_t* user, DWORD* out_number) override;
  DWORD policy(int information_class, void** out_record) override;
  bool request_notification(int pid, int kind, bool on) override { return notices_.request(pid, kind, on); }
  bool report_notification(int kind, const char* data, int size) override { return notices_.report(kind, data, size); }
  bool report_notification_always(int kind, bool on) override { return notices_.report_always(kind, on); }
  void end_notifications() override { notices_.end(); }
  DWORD shut_down() override;
  DWORD list_connected(RegistryConnection* list, DWORD* count) override;

 private:
  enum class Rights { of_handle, of_thread };
  enum class Length { usual, whole_hives };

  // Calls operation(subject) with what a handle stands for: ERROR_INVALID_HANDLE for an unknown one,
  // ERROR_ACCESS_DENIED for one without the right.
  template <class Operation>
  DWORD with_key(HKEY handle, DWORD right, Operation operation);
  // Asks about a key. Take gets the answer and gives the code.
  template <class Call, class Take>
  DWORD ask(HKEY key, DWORD right, const typename Call::Question& question, Take take,
            Rights rights = Rights::of_handle, Length length = Length::usual,
            std::shared_ptr<Session>* out_session = nullptr);
  // The one way of reads: nothing that only looks at a key asks otherwise.
  template <class Call, class Take>
  DWORD read(HKEY key, DWORD right, const typename Call::Question& question, Take take,
             std::shared_ptr<Session>* out_session = nullptr) {
    return ask<Call>(key, right, question, std::move(take), Rights::of_handle, Length::usual, out_session);
  }
  // Deletions and renaming: what is gone when the question is heard again was there at the first time.
  template <class Call>
  DWORD remove(HKEY key, DWORD right, const typename Call::Question& question, Rights rights,
               Length length = Length::usual);
  // Asks for a key below another one, and gives out a handle to it.
  template <class Call, class Take>
  DWORD open(HKEY key, std::u16string_view path, const typename Call::Question& question, Take take, HKEY* out_key);
  // About no key.
  template <class Call, class Take>
  DWORD ask_server(const typename Call::Question& question, Take take, Length length = Length::usual);

  DWORD hand_out(const Subject& at, std::u16string_view path, DWORD access, wire::Bytes id,
                 const std::shared_ptr<Session>& session, wire::Number handle, HKEY* out_key);

  // Values that are kept: what a question to the server makes of what is known of the key.
  std::optional<DWORD> find_value(HKEY key, std::u16string_view name, Value_Room& value);
  DWORD ask_value(HKEY key, std::u16string_view name, Value_Room& value);
  void settle_doubts(const Remote_Key& key);
  void keep_all_values(HKEY key);
  void keep(HKEY key, Session& session, std::uint64_t user, std::uint64_t number, std::unique_ptr<Kept_Values> values);

  Carrier carrier_;
  Kept_Answers kept_;  // outlives the keys
  Remote_Keys keys_;
  Watches watches_;
  Notices notices_;
};

// The bytes of a text, or none when it is too long for any message.
bool fits_message(std::u16string_view text);

template <class Operation>
DWORD Client_Service::with_key(HKEY handle, DWORD right, Operation operation) {
  if (root_of(handle)) {
    const auto number = static_cast<wire::Number>(reinterpret_cast<std::uintptr_t>(handle));
    return operation(Subject{.root = number});
  }
  const Remote_Keys::Pin pin(keys_, handle);
  if (!pin) return ERROR_INVALID_HANDLE;
  if ((granted_access(pin.key().access) & right) != right) return ERROR_ACCESS_DENIED;
  return operation(Subject{.root = pin.key().root, .key = &pin.key()});
}

template <class Call, class Take>
DWORD Client_Service::ask(HKEY key, DWORD right, const typename Call::Question& question, Take take, Rights rights,
                          Length length, std::shared_ptr<Session>* out_session) {
  auto exchange = client::exchange<Call>(question, std::move(take));
  return with_key(key, right, [&](Subject subject) {
    subject.by_thread = rights == Rights::of_thread;
    subject.takes_long = length == Length::whole_hives;
    return carrier_.carry(exchange, subject, out_session);
  });
}

template <class Call, class Take>
DWORD Client_Service::ask_server(const typename Call::Question& question, Take take, Length length) {
  auto exchange = client::exchange<Call>(question, std::move(take));
  return carrier_.carry(exchange, {.takes_long = length == Length::whole_hives});
}

template <class Call>
DWORD Client_Service::remove(HKEY key, DWORD right, const typename Call::Question& question, Rights rights,
                             Length length) {
  auto exchange = client::exchange<Call>(question);
  return with_key(key, right, [&](Subject subject) -> DWORD {
    subject.by_thread = rights == Rights::of_thread;
    subject.takes_long = length == Length::whole_hives;
    const DWORD code = carrier_.carry(exchange, subject);
    return code == ERROR_FILE_NOT_FOUND && exchange.was_asked_before ? ERROR_SUCCESS : code;
  });
}

}  // namespace impl::client
