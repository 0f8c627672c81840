// The security packages that there are: one. Its record and strings are one block of the system's heap, which callers
// give back.

#include <sspi.h>
#include <winerror.h>

#include <cstdlib>
#include <cwchar>

inline namespace kelvane {
namespace {

constexpr wchar_t package_name[] = L"NTLM";
constexpr wchar_t package_comment[] = L"NTLM Security Package";
constexpr ULONG capabilities = SECPKG_FLAG_INTEGRITY | SECPKG_FLAG_PRIVACY | SECPKG_FLAG_TOKEN_ONLY |
                               SECPKG_FLAG_CONNECTION | SECPKG_FLAG_MULTI_REQUIRED;
constexpr USHORT version = 1;
constexpr ULONG max_token_size = 768;

struct Package_Block {
  SecPkgInfoW record;
  wchar_t name[sizeof package_name / sizeof(wchar_t)];
  wchar_t comment[sizeof package_comment / sizeof(wchar_t)];
};

static_assert(offsetof(Package_Block, name) == sizeof(SecPkgInfoW), "the strings follow the record, the name first");

}  // namespace
}  // namespace kelvane

SECURITY_STATUS EnumerateSecurityPackagesW(PULONG out_count, PSecPkgInfoW* out_packages) {
  auto* const block = static_cast<Package_Block*>(std::malloc(sizeof(Package_Block)));
  if (block == nullptr) return ERROR_NOT_ENOUGH_MEMORY;
  std::wmemcpy(block->name, package_name, sizeof package_name / sizeof(wchar_t));
  std::wmemcpy(block->comment, package_comment, sizeof package_comment / sizeof(wchar_t));
  block->record = {capabilities, version, RPC_C_AUTHN_WINNT, max_token_size, block->name, block->comment};
  *out_count = 1;
  *out_packages = &block->record;
  return SEC_E_OK;
}

SECURITY_STATUS FreeContextBuffer(PVOID buffer) {
  std::free(buffer);
  return SEC_E_OK;
}
