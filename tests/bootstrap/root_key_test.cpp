// The published handle value.
#include <gtest/gtest.h>

#include <kelvane/advapi32.h>

namespace {

TEST(RootKey, HoldsItsPublishedValue) { EXPECT_EQ(reinterpret_cast<uintptr_t>(HKEY_ROOT), 0x85000000u); }

}  // namespace
