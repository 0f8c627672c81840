// The records are made at the first question and never destroyed: callers keep their addresses.
#include "impl/inproc/local_policy.h"

#include <limits.h>
#include <ntsecapi.h>
#include <unistd.h>
#include <winerror.h>

#include <array>
#include <string>

namespace impl {
namespace {

// S-1-5-21-0-0-0; a user's SID has the user's number behind it.
struct Machine_Sid {
  SID start = {SID_REVISION, 4, {SECURITY_NT_AUTHORITY}, {21}};
  DWORD more[3] = {0, 0, 0};
};

static_assert(offsetof(Machine_Sid, more) == offsetof(SID, SubAuthority) + sizeof(DWORD), "one SID of four parts");

std::wstring host_name() {
  char name[HOST_NAME_MAX + 1] = {};
  gethostname(name, sizeof name - 1);
  std::wstring wide;
  for (const char byte : std::string(name)) wide.push_back(static_cast<unsigned char>(byte));
  return wide;
}

LSA_UNICODE_STRING counted(std::wstring& text) {
  const auto size = static_cast<USHORT>(text.size() * sizeof(wchar_t));
  return {size, static_cast<USHORT>(size + sizeof(wchar_t)), text.data()};
}

class Machine {
 public:
  Machine() : name_(host_name()), account_domain{counted(name_), &sid_}, primary_domain{counted(workgroup_), nullptr} {}

 private:
  std::wstring name_;
  std::wstring workgroup_ = L"WORKGROUP";
  Machine_Sid sid_;

 public:
  POLICY_ACCOUNT_DOMAIN_INFO account_domain;
  POLICY_PRIMARY_DOMAIN_INFO primary_domain;
};

}  // namespace

DWORD local_policy(int information_class, void** out_record) {
  static Machine& machine = *new Machine;
  switch (information_class) {
    case PolicyAccountDomainInformation:
      *out_record = &machine.account_domain;
      return ERROR_SUCCESS;
    case PolicyPrimaryDomainInformation:
      *out_record = &machine.primary_domain;
      return ERROR_SUCCESS;
    default:
      const bool is_published =
          information_class >= PolicyAuditLogInformation && information_class <= PolicyDnsDomainInformation;
      return is_published ? ERROR_NOT_SUPPORTED : ERROR_INVALID_PARAMETER;
  }
}

}  // namespace impl
