// The service's start, and its operations about the server and its host.
//
// The service is made once and never destroyed: threads may use it while the process ends.
#include "impl/client/client_service.h"

#include <kelvane/advapi32.h>
#include <kelvane/process.h>
#include <winbase.h>

#include "impl/client/domain_record.h"
#include "impl/inproc/local_users.h"

namespace impl::client {
namespace {

// Longer texts are no path and no name of anything.
constexpr std::size_t longest_text = 1 << 20;

std::u16string units_of(std::wstring_view text) {
  std::u16string units;
  for (const wchar_t character : text) {
    const auto code = static_cast<std::uint32_t>(character);
    if (code > 0xFFFF && code <= 0x10FFFF) {
      units += static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10));
      units += static_cast<char16_t>(0xDC00 + (code & 0x3FF));
    } else {
      units += static_cast<char16_t>(code);
    }
  }
  return units;
}

}  // namespace

bool fits_message(std::u16string_view text) { return text.size() <= longest_text; }

Client_Service::Client_Service(const Settings& settings) : carrier_(settings), watches_(carrier_), notices_(carrier_) {}

DWORD Client_Service::user_domain(std::wstring_view user, std::wstring* out_domain) {
  const std::u16string name = units_of(user);
  if (!fits_message(name)) return ERROR_NO_SUCH_USER;
  return ask_server<wire::User_Domain>({wire::bytes_of(name)}, [&](const auto& answer) -> DWORD {
    if (answer.code == ERROR_SUCCESS) {
      const std::u16string_view domain = wire::text_of(answer.domain);
      out_domain->assign(domain.begin(), domain.end());
    }
    return answer.code;
  });
}

// Who the thread works for is known here.
DWORD Client_Service::user_number(const wchar_t* user, DWORD* out_number) {
  if (user == nullptr) {
    *out_number = number_of_thread_user();
    return ERROR_SUCCESS;
  }
  const std::u16string name = units_of(user);
  if (!fits_message(name)) return ERROR_NO_SUCH_USER;
  return ask_server<wire::User_Number>({wire::bytes_of(name)}, [&](const auto& answer) -> DWORD {
    if (answer.code == ERROR_SUCCESS) *out_number = answer.user;
    return answer.code;
  });
}

DWORD Client_Service::policy(int information_class, void** out_record) {
  *out_record = nullptr;
  return ask_server<wire::Policy>({static_cast<wire::Number>(information_class)}, [&](const auto& answer) -> DWORD {
    if (answer.code != ERROR_SUCCESS) return answer.code;
    *out_record = domain_record(information_class, wire::text_of(answer.name), answer.sid);
    return *out_record != nullptr ? ERROR_SUCCESS : wrong_answer;
  });
}

// A server that ends before it answers has done what was asked, and its successor is not asked for the same.
DWORD Client_Service::shut_down() {
  auto exchange = client::exchange<wire::Shut_Down>({});
  exchange.may_be_repeated = false;
  const DWORD code = carrier_.carry(exchange, {});
  return code == RPC_S_SERVER_UNAVAILABLE && exchange.was_asked_before ? ERROR_SUCCESS : code;
}

DWORD Client_Service::list_connected(RegistryConnection* list, DWORD* count) {
  return ask_server<wire::List_Connected>({}, [&](const auto& answer) -> DWORD {
    if (answer.code != ERROR_SUCCESS) return answer.code;
    const DWORD room = list == nullptr ? 0 : *count;
    *count = static_cast<DWORD>(answer.clients.size());
    if (list == nullptr) return ERROR_SUCCESS;
    if (room < *count) return ERROR_MORE_DATA;
    for (std::size_t i = 0; i < answer.clients.size(); ++i) list[i] = connection_record(answer.clients[i]);
    return ERROR_SUCCESS;
  });
}

}  // namespace impl::client
