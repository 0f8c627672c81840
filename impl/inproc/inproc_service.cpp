// The service's start, and its operations on whole hives.
//
// The service is made once and never destroyed: threads may use it while the process ends.
#include "impl/inproc/inproc_service.h"

#include <kelvane/process.h>
#include <winerror.h>
#include <winnt.h>

#include <memory>

#include "impl/inproc/local_policy.h"
#include "impl/inproc/local_users.h"
#include "impl/inproc/process_locations.h"

namespace impl {
namespace {

// The registry's own log reads its settings from the registry, so complaints do not go there.
void complain(const std::string& line) { KvConsoleMessage("kelvane registry: %s\n", line.c_str()); }

}  // namespace

Inproc_Service& inproc_service() {
  static Inproc_Service* const service = new Inproc_Service;
  return *service;
}

Registry_Service& registry_service() { return inproc_service(); }

Inproc_Service::Inproc_Service()
    : registry_(std::make_unique<Process_Locations>(complain), complain), roots_(registry_, handles_) {}

DWORD Inproc_Service::save_key(HKEY key, const char* file) {
  return with_key(key, 0, [&](const hive::Key& at, DWORD) { return registry_.save(at, file); });
}

// Everything below the key may change.
DWORD Inproc_Service::load_key(HKEY key, std::u16string_view path, const char* file) {
  return with_key(key, KEY_SET_VALUE | KEY_CREATE_SUB_KEY,
                  [&](const hive::Key& at, DWORD) { return registry_.load(at, path, file); });
}

DWORD Inproc_Service::unload_key(HKEY key, std::u16string_view path) {
  return with_key(key, KEY_SET_VALUE | KEY_CREATE_SUB_KEY,
                  [&](const hive::Key& at, DWORD) { return registry_.unload(at, path); });
}

DWORD Inproc_Service::backup(const char* path) { return code_of(registry_.backup(path)); }

DWORD Inproc_Service::user_image(std::vector<BYTE>* out_image) { return code_of(registry_.user_image(out_image)); }

DWORD Inproc_Service::closing_user_image(std::vector<BYTE>* out_image) {
  const hive::Status status = registry_.closing_user_image(out_image);
  registry_.note_orderly_end();
  return code_of(status);
}

DWORD Inproc_Service::user_domain(std::wstring_view user, std::wstring* out_domain) {
  return domain_of_local_user(user, out_domain);
}

DWORD Inproc_Service::user_number(const wchar_t* user, DWORD* out_number) {
  if (user != nullptr) return number_of_local_user(user, out_number);
  *out_number = number_of_thread_user();
  return ERROR_SUCCESS;
}

DWORD Inproc_Service::policy(int information_class, void** out_record) {
  return local_policy(information_class, out_record);
}

// There is no server here to shut down, and nobody is connected to it.
DWORD Inproc_Service::shut_down() { return ERROR_CALL_NOT_IMPLEMENTED; }

DWORD Inproc_Service::list_connected(RegistryConnection*, DWORD* count) {
  *count = 0;
  return ERROR_SUCCESS;
}

}  // namespace impl
