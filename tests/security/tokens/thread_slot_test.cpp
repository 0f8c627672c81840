// What the base library answers is handed on. Its functions are seen by the test: the program defines them, and the
// definitions go on to the real ones unless a test wants another answer.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <kelvane/impersonation.h>
#include <kelvane/token.h>

#include "tests/security/tokens/any_class.h"

namespace {

struct Base {
  BOOL answer = 0;  // 0: the real function's
  DWORD slot_wanted = 77;
  const void* id_wanted = nullptr;
};

Base& base() {
  static Base state;
  return state;
}

}  // namespace

extern "C" KV_EXPORT BOOL KvTTSetUid(DWORD uid_plus_one) {
  static const auto real = reinterpret_cast<decltype(&KvTTSetUid)>(dlsym(RTLD_NEXT, "KvTTSetUid"));
  base().slot_wanted = uid_plus_one;
  return base().answer != 0 ? base().answer : real(uid_plus_one);
}

extern "C" KV_EXPORT BOOL KvAllocateLocallyUniqueId(PLUID out_id) {
  static const auto real =
      reinterpret_cast<decltype(&KvAllocateLocallyUniqueId)>(dlsym(RTLD_NEXT, "KvAllocateLocallyUniqueId"));
  base().id_wanted = out_id;
  return base().answer != 0 ? base().answer : real(out_id);
}

namespace {

class Base_Library : public testing::Test {
 protected:
  Base_Library() { base().answer = 3; }
  ~Base_Library() override { base() = Base(); }
};

TEST_F(Base_Library, KeepsTheSlotAndItsResultIsTheCallers) {
  EXPECT_EQ(KvSetThreadToken(nullptr, reinterpret_cast<HANDLE>(500)), 3);
  EXPECT_EQ(base().slot_wanted, 501u);
  EXPECT_EQ(KvSetThreadToken(nullptr, reinterpret_cast<HANDLE>(0xFFFFFFFF)), 3);
  EXPECT_EQ(base().slot_wanted, 0u);
  EXPECT_EQ(KvSetThreadToken(nullptr, nullptr), 3);
  EXPECT_EQ(base().slot_wanted, 1u);
}

TEST_F(Base_Library, MakesTheLocallyUniqueIdsAndItsResultIsTheCallers) {
  LUID id = {1, 2};
  EXPECT_EQ(AllocateLocallyUniqueId(&id), 3);
  EXPECT_EQ(base().id_wanted, &id);
  EXPECT_EQ(id.LowPart, 1u);
}

TEST(TokenInformationWithoutASize, IsToldUnlessTheBufferIsTooSmall) {
  unsigned char buffer[56] = {};
  SetLastError(77);
  EXPECT_EQ(GetTokenInformation(reinterpret_cast<HANDLE>(500), TokenStatistics, buffer, 56, nullptr), TRUE);
  EXPECT_EQ(buffer[8], 0xF4);
  EXPECT_EQ(buffer[9], 0x01);
  EXPECT_EQ(GetLastError(), 77u);
  EXPECT_EQ(get_information(reinterpret_cast<HANDLE>(500), 11, nullptr, 0, nullptr), FALSE);
  EXPECT_EQ(GetLastError(), 87u);
}

}  // namespace
