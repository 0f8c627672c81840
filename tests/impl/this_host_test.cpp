// Which machine names mean this host.
#include "impl/inproc/this_host.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <string>

namespace {

using impl::is_this_host;

std::u16string host_name() {
  char name[256] = {};
  gethostname(name, sizeof name - 1);
  const std::string text(name);
  return {text.begin(), text.end()};
}

TEST(ThisHost, IsMeantByNoName) {
  EXPECT_TRUE(is_this_host(u""));
  EXPECT_TRUE(is_this_host(u"\\\\"));
}

TEST(ThisHost, IsMeantByItsNameWithAndWithoutBackslashes) {
  EXPECT_TRUE(is_this_host(host_name()));
  EXPECT_TRUE(is_this_host(u"\\\\" + host_name()));
}

TEST(ThisHost, IsMeantInAnyCaseOfLetters) {
  std::u16string name = host_name();
  std::transform(name.begin(), name.end(), name.begin(),
                 [](char16_t unit) { return unit >= u'a' && unit <= u'z' ? unit - 32 : unit; });
  EXPECT_TRUE(is_this_host(name));
}

TEST(ThisHost, IsNotMeantByAnotherNameOrALongerOne) {
  EXPECT_FALSE(is_this_host(u"no-such-machine-anywhere"));
  EXPECT_FALSE(is_this_host(host_name() + u"x"));
  EXPECT_FALSE(is_this_host(u"\u0142"));
}

}  // namespace
