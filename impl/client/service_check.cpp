// The client's looks through whole hives, which the server does. A hive file that the registry does not use is sent.
#include <winnt.h>

#include "impl/client/client_service.h"
#include "impl/client/hive_files.h"

namespace impl::client {
namespace {

std::optional<std::u16string> text_if(wire::Number has, wire::Number bit, wire::Bytes bytes) {
  if ((has & bit) == 0) return std::nullopt;
  return std::u16string(wire::text_of(bytes));
}

template <class Answer>
DWORD put_report(const Answer& answer, Hive_Report* out) {
  *out = {answer.keys, answer.volatile_keys, answer.values, answer.data_size, {}};
  for (const wire::Hive_Fault& fault : answer.faults) {
    out->faults.push_back({static_cast<int>(fault.kind), text_if(fault.has, wire::fault_has_key, fault.key),
                           text_if(fault.has, wire::fault_has_value, fault.value),
                           std::string(fault.text.begin(), fault.text.end())});
  }
  return answer.code;
}

}  // namespace

DWORD Client_Service::check_key(HKEY key, Hive_Report* out_report) {
  return ask<wire::Check_Key>(
      key, KEY_QUERY_VALUE, {}, [&](const auto& answer) { return put_report(answer, out_report); }, Rights::of_handle,
      Length::whole_hives);
}

DWORD Client_Service::check_file(const char* file, Hive_Report* out_report) {
  wire::Unique_Fd hive;
  if (const DWORD code = read_hive_file(file, &hive); code != ERROR_SUCCESS) return code;
  return ask_server<wire::Check_File>(
      {{hive.get()}}, [&](const auto& answer) { return put_report(answer, out_report); }, Length::whole_hives);
}

}  // namespace impl::client
