// The entry points without function: what each reports and returns, row by row. The test program has a KvStub of its
// own, which the library calls in place of the base library's.

#include <gtest/gtest.h>
#include <kelvane/report.h>
#include <sspi.h>
#include <windows.h>
#include <winternl.h>

#define KV_SYM_32BIT_ADDRESSES
#include <dbghelp.h>

#include <set>
#include <string>
#include <type_traits>
#include <vector>

namespace {

struct Report {
  int level;
  const KvStubCategory* category;
  std::string text;
};

std::vector<Report> reports;

}  // namespace

extern "C" KV_EXPORT int KvStub(int level, const KvStubCategory* category, const char* text) {
  reports.push_back({level, category, text});
  return 77;
}

namespace {

// An argument that faults when it is followed.
template <class T>
T unreadable() {
  if constexpr (std::is_pointer_v<T>) {
    return reinterpret_cast<T>(std::uintptr_t{0x10});
  } else {
    return static_cast<T>(0x11);
  }
}

// What the function returns to arguments that it must not touch.
template <class Result, class... Arguments>
std::uint64_t result_of(Result (*function)(Arguments...)) {
  if constexpr (std::is_pointer_v<Result>) {
    return reinterpret_cast<std::uintptr_t>(function(unreadable<Arguments>()...));
  } else {
    return static_cast<std::make_unsigned_t<Result>>(function(unreadable<Arguments>()...));
  }
}

struct Entry {
  const char* name;
  std::uint64_t (*call)();
  const KvStubCategory* category;
  const char* text;
  std::uint64_t result;
};

// QUIRK audit-alarm-forms-differ
std::vector<Entry> security_entries() {
  return {
      {"AccessCheckAndAuditAlarmA", [] { return result_of(AccessCheckAndAuditAlarmA); }, &AdvSecurity,
       "AccessCheckAndAuditAlarmA", 0},
      {"AccessCheckAndAuditAlarmW", [] { return result_of(AccessCheckAndAuditAlarmW); }, &AdvSecurity,
       "AccessCheckAndAuditAlarmW", 0},
      {"AdjustTokenGroups", [] { return result_of(AdjustTokenGroups); }, &AdvSecurity, "AdjustTokenGroups", 0},
      {"AdjustTokenPrivileges", [] { return result_of(AdjustTokenPrivileges); }, &AdvSecurity, "AdjustTokenPrivileges",
       0},
      {"AreAllAccessesGranted", [] { return result_of(AreAllAccessesGranted); }, &AdvSecurity, "AreAllAccessesGranted",
       0},
      {"AreAnyAccessesGranted", [] { return result_of(AreAnyAccessesGranted); }, &AdvSecurity, "AreAnyAccessesGranted",
       0},
      {"CreatePrivateObjectSecurity", [] { return result_of(CreatePrivateObjectSecurity); }, &AdvSecurity,
       "CreatePrivateObjectSecurity", 0},
      {"DestroyPrivateObjectSecurity", [] { return result_of(DestroyPrivateObjectSecurity); }, &AdvSecurity,
       "DestroyPrivateObjectSecurity", 0},
      {"DuplicateToken", [] { return result_of(DuplicateToken); }, &AdvSecurity, "DuplicateToken", 0},
      {"EnumerateSecurityPackagesA", [] { return result_of(EnumerateSecurityPackagesA); }, &AdvSecurity,
       "EnumerateSecurityPackagesA", 0x80004001},
      {"GetFileSecurityA", [] { return result_of(GetFileSecurityA); }, &AdvSecurity, "GetFileSecurityA", 0},
      {"GetFileSecurityW", [] { return result_of(GetFileSecurityW); }, &AdvSecurity, "GetFileSecurityW", 0},
      {"GetKernelObjectSecurity", [] { return result_of(GetKernelObjectSecurity); }, &AdvSecurity,
       "GetKernelObjectSecurity", 0},
      {"GetPrivateObjectSecurity", [] { return result_of(GetPrivateObjectSecurity); }, &AdvSecurity,
       "GetPrivateObjectSecurity", 0},
      {"ImpersonateNamedPipeClient", [] { return result_of(ImpersonateNamedPipeClient); }, &AdvSecurity,
       "ImpersonateNamedPipeClient", 0},
      {"ImpersonateSelf", [] { return result_of(ImpersonateSelf); }, &AdvSecurity, "ImpersonateSelf", 0},
      {"LookupAccountNameA", [] { return result_of(LookupAccountNameA); }, &AdvSecurity, "LookupAccountNameA", 0},
      {"LookupAccountNameW", [] { return result_of(LookupAccountNameW); }, &AdvSecurity, "LookupAccountNameW", 0},
      {"LookupAccountSidA", [] { return result_of(LookupAccountSidA); }, &AdvSecurity, "LookupAccountSidA", 0},
      {"LookupAccountSidW", [] { return result_of(LookupAccountSidW); }, &AdvSecurity, "LookupAccountSidW", 0},
      {"LookupPrivilegeDisplayNameA", [] { return result_of(LookupPrivilegeDisplayNameA); }, &AdvSecurity,
       "LookupPrivilegeDisplayNameA", 0},
      {"LookupPrivilegeDisplayNameW", [] { return result_of(LookupPrivilegeDisplayNameW); }, &AdvSecurity,
       "LookupPrivilegeDisplayNameW", 0},
      {"LookupPrivilegeNameA", [] { return result_of(LookupPrivilegeNameA); }, &AdvSecurity, "LookupPrivilegeNameA", 0},
      {"LookupPrivilegeNameW", [] { return result_of(LookupPrivilegeNameW); }, &AdvSecurity, "LookupPrivilegeNameW", 0},
      {"LookupPrivilegeValueA", [] { return result_of(LookupPrivilegeValueA); }, &AdvSecurity, "LookupPrivilegeValueA",
       0},
      {"LookupPrivilegeValueW", [] { return result_of(LookupPrivilegeValueW); }, &AdvSecurity, "LookupPrivilegeValueW",
       0},
      {"ObjectCloseAuditAlarmA", [] { return result_of(ObjectCloseAuditAlarmA); }, &AdvSecurity,
       "ObjectCloseAuditAlarmA", 0},
      {"ObjectCloseAuditAlarmW", [] { return result_of(ObjectCloseAuditAlarmW); }, &AdvSecurity,
       "ObjectCloseAuditAlarmW", 0},
      {"ObjectOpenAuditAlarmA", [] { return result_of(ObjectOpenAuditAlarmA); }, &AdvSecurity, "ObjectOpenAuditAlarmA",
       0},
      {"ObjectOpenAuditAlarmW", [] { return result_of(ObjectOpenAuditAlarmW); }, &AdvSecurity, "ObjectOpenAuditAlarmW",
       0},
      {"ObjectPrivilegeAuditAlarmA", [] { return result_of(ObjectPrivilegeAuditAlarmA); }, &AdvSecurity,
       "ObjectPrivilegeAuditAlarmA", 0},
      {"ObjectPrivilegeAuditAlarmW", [] { return result_of(ObjectPrivilegeAuditAlarmW); }, &AdvSecurity,
       "ObjectPrivilegeAuditAlarmW", 0},
      {"PrivilegedServiceAuditAlarmA", [] { return result_of(PrivilegedServiceAuditAlarmA); }, &AdvSecurity,
       "PrivilegedServiceAuditAlarmA", 1},
      {"PrivilegedServiceAuditAlarmW", [] { return result_of(PrivilegedServiceAuditAlarmW); }, &AdvSecurity,
       "PrivilegedServiceAuditAlarmW", 0},
      {"RevertToSelf", [] { return result_of(RevertToSelf); }, &AdvSecurity, "RevertToSelf", 0},
      {"SetFileSecurityA", [] { return result_of(SetFileSecurityA); }, &AdvSecurity, "SetFileSecurityA", 0},
      {"SetFileSecurityW", [] { return result_of(SetFileSecurityW); }, &AdvSecurity, "SetFileSecurityW", 0},
      {"SetKernelObjectSecurity", [] { return result_of(SetKernelObjectSecurity); }, &AdvSecurity,
       "SetKernelObjectSecurity", 0},
      {"SetPrivateObjectSecurity", [] { return result_of(SetPrivateObjectSecurity); }, &AdvSecurity,
       "SetPrivateObjectSecurity", 0},
      {"SetThreadToken", [] { return result_of(SetThreadToken); }, &AdvSecurity, "SetThreadToken", 0},
      {"SetTokenInformation", [] { return result_of(SetTokenInformation); }, &AdvSecurity, "SetTokenInformation", 0},
      {"RtlAdjustPrivilege", [] { return result_of(RtlAdjustPrivilege); }, &AdvSecurity, "RtlAdjustPrivilege", 0},
      {"RtlGetAce", [] { return result_of(RtlGetAce); }, &AdvSecurity, "RtlGetAce", 0},
      {"RtlGetDaclSecurityDescriptor", [] { return result_of(RtlGetDaclSecurityDescriptor); }, &AdvSecurity,
       "RtlGetDaclSecurityDescriptor", 0},
      {"RtlQueryInformationAcl", [] { return result_of(RtlQueryInformationAcl); }, &AdvSecurity,
       "RtlQueryInformationAcl", 0},
      {"NtDuplicateToken", [] { return result_of(NtDuplicateToken); }, &AdvSecurity, "NtDuplicateToken", 0},
      {"NtQuerySecurityObject", [] { return result_of(NtQuerySecurityObject); }, &AdvSecurity, "NtQuerySecurityObject",
       0},
      {"NtSetSecurityObject", [] { return result_of(NtSetSecurityObject); }, &AdvSecurity, "NtSetSecurityObject", 0},
  };
}

// QUIRK wide-service-ansi-text
std::vector<Entry> service_entries() {
  return {
      {"ChangeServiceConfigA", [] { return result_of(ChangeServiceConfigA); }, &AdvServices, "ChangeServiceConfigA", 0},
      {"ChangeServiceConfigW", [] { return result_of(ChangeServiceConfigW); }, &AdvServices, "ChangeServiceConfigA", 0},
      {"CloseServiceHandle", [] { return result_of(CloseServiceHandle); }, &AdvServices, "CloseServiceHandle", 0},
      {"ControlService", [] { return result_of(ControlService); }, &AdvServices, "ControlService", 0},
      {"CreateServiceA", [] { return result_of(CreateServiceA); }, &AdvServices, "CreateServiceA", 0},
      {"CreateServiceW", [] { return result_of(CreateServiceW); }, &AdvServices, "CreateServiceW", 0},
      {"DeleteService", [] { return result_of(DeleteService); }, &AdvServices, "DeleteService", 0},
      {"EnumServicesStatusA", [] { return result_of(EnumServicesStatusA); }, &AdvServices, "EnumServicesStatusA", 0},
      {"EnumServicesStatusW", [] { return result_of(EnumServicesStatusW); }, &AdvServices, "EnumServicesStatusW", 0},
      {"LockServiceDatabase", [] { return result_of(LockServiceDatabase); }, &AdvServices, "LockServiceDatabase", 0},
      {"OpenSCManagerA", [] { return result_of(OpenSCManagerA); }, &AdvServices, "OpenSCManagerA", 0},
      {"OpenSCManagerW", [] { return result_of(OpenSCManagerW); }, &AdvServices, "OpenSCManagerW", 0},
      {"OpenServiceA", [] { return result_of(OpenServiceA); }, &AdvServices, "OpenServiceA", 0},
      {"OpenServiceW", [] { return result_of(OpenServiceW); }, &AdvServices, "OpenServiceW", 0},
      {"QueryServiceConfigA", [] { return result_of(QueryServiceConfigA); }, &AdvServices, "QueryServiceConfigA", 0},
      {"QueryServiceStatus", [] { return result_of(QueryServiceStatus); }, &AdvServices, "QueryServiceStatus", 0},
      {"SetServiceStatus", [] { return result_of(SetServiceStatus); }, &AdvServices, "SetServiceStatus", 0},
      {"StartServiceA", [] { return result_of(StartServiceA); }, &AdvServices, "StartServiceA", 0},
      {"StartServiceW", [] { return result_of(StartServiceW); }, &AdvServices, "StartServiceW", 0},
      {"UnlockServiceDatabase", [] { return result_of(UnlockServiceDatabase); }, &AdvServices, "UnlockServiceDatabase",
       0},
      {"QueryServiceConfigW", [] { return result_of(QueryServiceConfigW); }, &AdvServices, "QueryServiceConfigA", 0},
      {"RegisterServiceCtrlHandlerA", [] { return result_of(RegisterServiceCtrlHandlerA); }, &AdvServices,
       "RegisterServiceCtrlHandlerA", 4},
      {"RegisterServiceCtrlHandlerW", [] { return result_of(RegisterServiceCtrlHandlerW); }, &AdvServices,
       "RegisterServiceCtrlHandlerW", 4},
      {"SetServiceObjectSecurity", [] { return result_of(SetServiceObjectSecurity); }, &AdvServices,
       "SetServiceObjectSecurity", 1},
      {"StartServiceCtrlDispatcherA", [] { return result_of(StartServiceCtrlDispatcherA); }, &AdvServices,
       "StartServiceCtrlDispatcherA", 1},
      {"StartServiceCtrlDispatcherW", [] { return result_of(StartServiceCtrlDispatcherW); }, &AdvServices,
       "StartServiceCtrlDispatcherW", 1},
      {"LsaOpenPolicy", [] { return result_of(LsaOpenPolicy); }, &AdvServices, "LsaOpenPolicy", 0},
      {"LsaClose", [] { return result_of(LsaClose); }, &AdvServices, "LsaClose", 0},
      {"LsaRetrievePrivateData", [] { return result_of(LsaRetrievePrivateData); }, &AdvServices,
       "LsaRetrievePrivateData", 0},
      {"LsaStorePrivateData", [] { return result_of(LsaStorePrivateData); }, &AdvServices, "LsaStorePrivateData", 0},
  };
}

// A form of a function with two, by the type of its address.
template <class Function>
std::uint64_t result_of_form(Function* function) {
  return result_of(function);
}

// QUIRK debug-help-short-text
std::vector<Entry> debug_help_entries() {
  const KvStubCategory* const help = &KvTrImageHdr;
  return {
      {"StackWalk64", [] { return result_of(StackWalk64); }, help, "StackWalk", 0},
      {"SymFunctionTableAccess64", [] { return result_of_form<PVOID(HANDLE, DWORD64)>(SymFunctionTableAccess64); },
       help, "SymFunctionTableAccess64", 0},
      {"SymFunctionTableAccess64, 32 bits",
       [] { return result_of_form<PVOID(HANDLE, DWORD)>(SymFunctionTableAccess64); }, help, "SymFunctionTableAccess",
       0},
      {"SymGetModuleBase64", [] { return result_of_form<DWORD64(HANDLE, DWORD64)>(SymGetModuleBase64); }, help,
       "SymGetModuleBase64", 0},
      {"SymGetModuleBase64, 32 bits", [] { return result_of_form<DWORD(HANDLE, DWORD)>(SymGetModuleBase64); }, help,
       "SymGetModuleBase", 0},
      {"SymGetModuleInfo64",
       [] { return result_of_form<BOOL(HANDLE, DWORD64, PIMAGEHLP_MODULE64)>(SymGetModuleInfo64); }, help,
       "SymGetModuleInfo64", 0},
      {"SymGetModuleInfo64, 32 bits",
       [] { return result_of_form<BOOL(HANDLE, DWORD, PIMAGEHLP_MODULE)>(SymGetModuleInfo64); }, help,
       "SymGetModuleInfo", 0},
      {"SymGetSymFromAddr64",
       [] { return result_of_form<BOOL(HANDLE, DWORD64, PDWORD64, PIMAGEHLP_SYMBOL64)>(SymGetSymFromAddr64); }, help,
       "SymGetSymFromAddr64", 0},
      {"SymGetSymFromAddr64, 32 bits",
       [] { return result_of_form<BOOL(HANDLE, DWORD, PDWORD, PIMAGEHLP_SYMBOL)>(SymGetSymFromAddr64); }, help,
       "SymGetSymFromAddr", 0},
      {"SymGetSymFromName64", [] { return result_of(SymGetSymFromName64); }, help, "SymGetSymFromName64", 0},
      {"SymInitialize", [] { return result_of(SymInitialize); }, help, "SymInitialize", 0},
      {"SymSetOptions", [] { return result_of(SymSetOptions); }, help, "SymSetOptions", 0},
      {"SymUnDName64", [] { return result_of(SymUnDName64); }, help, "SymUnDName", 0},
  };
}

void expect_reports_and_results(const std::vector<Entry>& entries) {
  for (const Entry& entry : entries) {
    reports.clear();
    SetLastError(0x5A5A);
    EXPECT_EQ(entry.call(), entry.result) << entry.name;
    EXPECT_EQ(GetLastError(), 0x5A5Au) << entry.name;
    ASSERT_EQ(reports.size(), 1u) << entry.name;
    EXPECT_EQ(reports[0].level, 40) << entry.name;
    EXPECT_EQ(reports[0].category, entry.category) << entry.name;
    EXPECT_EQ(reports[0].text, entry.text) << entry.name;
  }
}

TEST(Stubs, OfSecurityReportAndReturnTheirFixedValues) {
  EXPECT_EQ(security_entries().size(), 48u);
  expect_reports_and_results(security_entries());
}

TEST(Stubs, OfServicesAndPolicyReportAndReturnTheirFixedValues) {
  EXPECT_EQ(service_entries().size(), 30u);
  expect_reports_and_results(service_entries());
}

TEST(Stubs, OfDebugHelpReportAndReturnZero) {
  EXPECT_EQ(debug_help_entries().size(), 13u);
  expect_reports_and_results(debug_help_entries());
}

// QUIRK map-generic-mask-result
TEST(Stubs, MapGenericMaskReturnsWhatItsReportReturns) {
  reports.clear();
  DWORD mask = 0x80000000;
  GENERIC_MAPPING mapping = {1, 2, 4, 8};
  auto* const with_result = reinterpret_cast<int (*)(void*, void*)>(reinterpret_cast<void*>(MapGenericMask));
  SetLastError(0x5A5A);
  EXPECT_EQ(with_result(&mask, &mapping), 77);
  EXPECT_EQ(GetLastError(), 0x5A5Au);
  EXPECT_EQ(mask, 0x80000000u);
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].level, 40);
  EXPECT_EQ(reports[0].category, &AdvSecurity);
  EXPECT_EQ(reports[0].text, "MapGenericMask");
}

TEST(Stubs, LeaveTheOutputsOfRealCallersAlone) {
  LUID luid = {1, 2};
  EXPECT_EQ(LookupPrivilegeValueA(nullptr, "SeBackupPrivilege", &luid), FALSE);
  EXPECT_EQ(luid.LowPart, 1u);
  SERVICE_STATUS status = {};
  status.dwCurrentState = SERVICE_RUNNING;
  EXPECT_EQ(QueryServiceStatus(nullptr, &status), FALSE);
  EXPECT_EQ(status.dwCurrentState, 4u);
}

}  // namespace
