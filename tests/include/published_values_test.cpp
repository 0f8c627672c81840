// Sizes, layouts and numbers of the published interface.

#include <gtest/gtest.h>
#include <kelvane/registry_table.h>
#include <windows.h>

#include <dbghelp.h>
#include <ntsecapi.h>
#include <sspi.h>

namespace {

TEST(PublishedTypes, HaveThe64BitWindowsSizes) {
  EXPECT_EQ(sizeof(DWORD), 4u);
  EXPECT_EQ(sizeof(LONG), 4u);
  EXPECT_EQ(sizeof(BOOL), 4u);
  EXPECT_EQ(sizeof(WORD), 2u);
  EXPECT_EQ(sizeof(HKEY), 8u);
  EXPECT_EQ(sizeof(ULONG_PTR), 8u);
  EXPECT_EQ(sizeof(WCHAR), 4u);
  EXPECT_EQ(sizeof(FILETIME), 8u);
  EXPECT_EQ(sizeof(SYSTEMTIME), 16u);
  EXPECT_EQ(sizeof(SECURITY_ATTRIBUTES), 24u);
  EXPECT_EQ(sizeof(CRITICAL_SECTION), 40u);
  EXPECT_LT(static_cast<LONG>(-1), 0);
  EXPECT_GT(static_cast<DWORD>(-1), 0u);
}

TEST(PublishedTypes, ValentHasItsFieldsInPublishedOrder) {
  EXPECT_EQ(sizeof(VALENTA), 32u);
  EXPECT_EQ(offsetof(VALENTA, ve_valuename), 0u);
  EXPECT_EQ(offsetof(VALENTA, ve_valuelen), 8u);
  EXPECT_EQ(offsetof(VALENTA, ve_valueptr), 16u);
  EXPECT_EQ(offsetof(VALENTA, ve_type), 24u);
}

TEST(RootKeys, AreZeroExtendedConstants) {
  EXPECT_EQ(reinterpret_cast<ULONG_PTR>(HKEY_CLASSES_ROOT), 0x80000000ull);
  EXPECT_EQ(reinterpret_cast<ULONG_PTR>(HKEY_CURRENT_USER), 0x80000001ull);
  EXPECT_EQ(reinterpret_cast<ULONG_PTR>(HKEY_LOCAL_MACHINE), 0x80000002ull);
  EXPECT_EQ(reinterpret_cast<ULONG_PTR>(HKEY_USERS), 0x80000003ull);
  EXPECT_EQ(reinterpret_cast<ULONG_PTR>(HKEY_PERFORMANCE_DATA), 0x80000004ull);
  EXPECT_EQ(reinterpret_cast<ULONG_PTR>(HKEY_CURRENT_CONFIG), 0x80000005ull);
  EXPECT_EQ(reinterpret_cast<ULONG_PTR>(HKEY_DYN_DATA), 0x80000006ull);
  EXPECT_EQ(reinterpret_cast<ULONG_PTR>(HKEY_PERFORMANCE_TEXT), 0x80000050ull);
  EXPECT_EQ(reinterpret_cast<ULONG_PTR>(HKEY_PERFORMANCE_NLSTEXT), 0x80000060ull);
}

TEST(AccessMasks, HaveTheirPublishedNumbers) {
  EXPECT_EQ(KEY_READ, 0x20019u);
  EXPECT_EQ(KEY_WRITE, 0x20006u);
  EXPECT_EQ(KEY_ALL_ACCESS, 0xF003Fu);
  EXPECT_EQ(MAXIMUM_ALLOWED, 0x2000000u);
  EXPECT_EQ(
      KEY_QUERY_VALUE | KEY_SET_VALUE | KEY_CREATE_SUB_KEY | KEY_ENUMERATE_SUB_KEYS | KEY_NOTIFY | KEY_CREATE_LINK,
      0x3Fu);
}

TEST(ErrorCodes, HaveTheirPublishedNumbers) {
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, 2);
  EXPECT_EQ(ERROR_ACCESS_DENIED, 5);
  EXPECT_EQ(ERROR_INVALID_HANDLE, 6);
  EXPECT_EQ(ERROR_INVALID_DATA, 13);
  EXPECT_EQ(ERROR_INVALID_PARAMETER, 87);
  EXPECT_EQ(ERROR_DISK_FULL, 112);
  EXPECT_EQ(ERROR_BUSY, 170);
  EXPECT_EQ(ERROR_MORE_DATA, 234);
  EXPECT_EQ(ERROR_NO_MORE_ITEMS, 259);
  EXPECT_EQ(ERROR_BADDB, 1009);
  EXPECT_EQ(ERROR_BADKEY, 1010);
  EXPECT_EQ(ERROR_NOT_REGISTRY_FILE, 1017);
  EXPECT_EQ(ERROR_KEY_DELETED, 1018);
  EXPECT_EQ(ERROR_INTERNAL_ERROR, 1359);
}

TEST(PublishedTypes, RecordsOfServicesHaveThe64BitWindowsSizes) {
  EXPECT_EQ(sizeof(SERVICE_STATUS), 28u);
  EXPECT_EQ(sizeof(ENUM_SERVICE_STATUS), 48u);
  EXPECT_EQ(sizeof(QUERY_SERVICE_CONFIG), 64u);
  EXPECT_EQ(sizeof(SERVICE_TABLE_ENTRY), 16u);
}

TEST(PublishedTypes, RecordsOfSecurityPackagesAndPolicyHaveThe64BitWindowsSizes) {
  EXPECT_EQ(sizeof(SecPkgInfo), 32u);
  EXPECT_EQ(sizeof(LSA_UNICODE_STRING), 16u);
  EXPECT_EQ(sizeof(LSA_OBJECT_ATTRIBUTES), 48u);
  EXPECT_EQ(sizeof(POLICY_ACCOUNT_DOMAIN_INFO), 24u);
}

TEST(PublishedTypes, RecordsOfDebugHelpHaveThe64BitWindowsSizes) {
  EXPECT_EQ(sizeof(STACKFRAME64), 264u);
  EXPECT_EQ(sizeof(IMAGEHLP_SYMBOL64), 32u);
  EXPECT_EQ(sizeof(IMAGEHLP_SYMBOL), 24u);
}

TEST(ComponentResults, HaveTheirPublishedNumbers) {
  EXPECT_EQ(static_cast<DWORD>(E_NOTIMPL), 0x80004001u);
  EXPECT_EQ(static_cast<DWORD>(HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED)), 0x80070005u);
  EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_SUCCESS), S_OK);
  EXPECT_TRUE(FAILED(E_ACCESSDENIED));
}

TEST(ValueTypes, HaveTheirPublishedNumbers) {
  EXPECT_EQ(REG_NONE, 0u);
  EXPECT_EQ(REG_SZ, 1u);
  EXPECT_EQ(REG_EXPAND_SZ, 2u);
  EXPECT_EQ(REG_BINARY, 3u);
  EXPECT_EQ(REG_DWORD, 4u);
  EXPECT_EQ(REG_DWORD_BIG_ENDIAN, 5u);
  EXPECT_EQ(REG_LINK, 6u);
  EXPECT_EQ(REG_MULTI_SZ, 7u);
  EXPECT_EQ(REG_QWORD, 11u);
}

}  // namespace
