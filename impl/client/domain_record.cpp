#include "impl/client/domain_record.h"

#include <ntsecapi.h>
#include <winnt.h>

#include <algorithm>
#include <cstring>
#include <list>
#include <string>
#include <vector>

#include "impl/client/connection.h"

namespace impl::client {
namespace {

constexpr std::size_t fixed_sid_size = offsetof(SID, SubAuthority);
constexpr std::size_t longest_name = 0x3FFF;  // characters; their bytes are told in 16 bits

bool is_sid(wire::Bytes sid) {
  return sid.size() >= fixed_sid_size && sid[0] == SID_REVISION && sid[1] <= SID_MAX_SUB_AUTHORITIES &&
         sid.size() == fixed_sid_size + sid[1] * sizeof(DWORD);
}

// One that was given out, with what it points to.
struct Domain {
  Domain(int its_class, std::u16string_view its_name, wire::Bytes its_sid)
      : information_class(its_class),
        name(its_name.begin(), its_name.end()),
        sid((its_sid.size() + sizeof(DWORD) - 1) / sizeof(DWORD)) {
    std::copy(its_sid.begin(), its_sid.end(), reinterpret_cast<unsigned char*>(sid.data()));
    const auto size = static_cast<USHORT>(name.size() * sizeof(wchar_t));
    const LSA_UNICODE_STRING text{size, static_cast<USHORT>(size + sizeof(wchar_t)), name.data()};
    account = {text, sid.empty() ? nullptr : sid.data()};
    primary = {text, sid.empty() ? nullptr : sid.data()};
  }

  bool is(const Domain& other) const {
    return information_class == other.information_class && name == other.name && sid == other.sid;
  }

  const int information_class;
  std::wstring name;
  std::vector<DWORD> sid;
  POLICY_ACCOUNT_DOMAIN_INFO account;
  POLICY_PRIMARY_DOMAIN_INFO primary;
};

Domain& kept(int information_class, std::u16string_view name, wire::Bytes sid) {
  static std::list<Domain>& domains = *new std::list<Domain>;
  const std::lock_guard lock(client_mutex());
  Domain& fresh = domains.emplace_back(information_class, name, sid);
  for (Domain& each : domains) {
    if (&each == &fresh || !each.is(fresh)) continue;
    domains.pop_back();
    return each;
  }
  return fresh;
}

template <std::size_t room>
void put(wire::Bytes text, char (&out)[room]) {
  const std::size_t size = std::min(text.size(), room - 1);
  std::copy_n(text.begin(), size, out);
}

}  // namespace

void* domain_record(int information_class, std::u16string_view name, wire::Bytes sid) {
  if (name.size() > longest_name || (!sid.empty() && !is_sid(sid))) return nullptr;
  switch (information_class) {
    case PolicyAccountDomainInformation:
      return &kept(information_class, name, sid).account;
    case PolicyPrimaryDomainInformation:
      return &kept(information_class, name, sid).primary;
    default:
      return nullptr;
  }
}

RegistryConnection connection_record(const wire::Connected_Client& client) {
  RegistryConnection record{};
  record.process = client.process;
  record.user = client.user;
  record.since = client.since;
  put(client.host, record.host);
  put(client.program, record.program);
  return record;
}

}  // namespace impl::client
