// What an asked-for access mask grants.
#include "impl/inproc/access_mask.h"

#include <gtest/gtest.h>

namespace {

using impl::granted_access;

TEST(GrantedAccess, OfSpecificRightsIsExactlyThose) {
  EXPECT_EQ(granted_access(0), 0u);
  EXPECT_EQ(granted_access(0x0001), 0x0001u);
  EXPECT_EQ(granted_access(0x20019), 0x20019u);
  EXPECT_EQ(granted_access(0x10002), 0x10002u);
}

TEST(GrantedAccess, ResolvesGenericRights) {
  EXPECT_EQ(granted_access(0x80000000), 0x20019u);
  EXPECT_EQ(granted_access(0x40000000), 0x20006u);
  EXPECT_EQ(granted_access(0x20000000), 0x20019u);
  EXPECT_EQ(granted_access(0x10000000), 0xF003Fu);
  EXPECT_EQ(granted_access(0xC0000000), 0x2001Fu);
}

TEST(GrantedAccess, OfMaximumAllowedIsEverything) {
  EXPECT_EQ(granted_access(0x02000000), 0xF003Fu);
  EXPECT_EQ(granted_access(0x02000001), 0xF003Fu);
}

TEST(GrantedAccess, IgnoresTheChoiceOfAView) {
  EXPECT_EQ(granted_access(0x20119), 0x20019u);
  EXPECT_EQ(granted_access(0x20219), 0x20019u);
}

}  // namespace
