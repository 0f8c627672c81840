// What the server's host knows of its users and of itself. Looking a user up may ask the network.
#include <ntsecapi.h>

#include "impl/inproc/local_policy.h"
#include "impl/inproc/local_users.h"
#include "impl/server/later.h"
#include "impl/server/perform.h"

namespace impl::server {
namespace {

std::wstring wide(wire::Bytes bytes) {
  const std::u16string_view text = wire::text_of(bytes);
  return {text.begin(), text.end()};
}

// Names of hosts and domains have one unit a character.
wire::Bytes units(const wchar_t* text, std::size_t length, Scratch& scratch) {
  const std::u16string narrow(text, text + length);
  return scratch.copy(wire::bytes_of(narrow));
}

wire::Bytes bytes_of(PSID sid, Scratch& scratch) {
  if (sid == nullptr) return {};
  const auto* const bytes = static_cast<const unsigned char*>(static_cast<const void*>(sid));
  const std::size_t parts = static_cast<const SID*>(sid)->SubAuthorityCount;
  return scratch.copy({bytes, offsetof(SID, SubAuthority) + parts * sizeof(DWORD)});
}

}  // namespace

DWORD perform(Caller& caller, wire::User_Domain::Question& question, wire::User_Domain::Answer* out) {
  return do_later(caller, out, [user = wide(question.user)](wire::User_Domain::Answer* out, Scratch& scratch) {
    std::wstring domain;
    const DWORD code = domain_of_local_user(user, &domain);
    if (code == ERROR_SUCCESS) out->domain = units(domain.data(), domain.size(), scratch);
    return code;
  });
}

DWORD perform(Caller& caller, wire::User_Number::Question& question, wire::User_Number::Answer* out) {
  return do_later(caller, out, [user = wide(question.user)](wire::User_Number::Answer* out, Scratch&) {
    return number_of_local_user(user, &out->user);
  });
}

// Both classes that are told begin with the name and the SID of a domain.
DWORD perform(Caller& caller, wire::Policy::Question& question, wire::Policy::Answer* out) {
  void* record = nullptr;
  const DWORD code = local_policy(static_cast<int>(question.information_class), &record);
  if (code != ERROR_SUCCESS) return code;
  const auto* const domain = static_cast<const POLICY_ACCOUNT_DOMAIN_INFO*>(record);
  out->name = units(domain->DomainName.Buffer, domain->DomainName.Length / sizeof(wchar_t), caller.scratch);
  out->sid = bytes_of(domain->DomainSid, caller.scratch);
  return ERROR_SUCCESS;
}

}  // namespace impl::server
