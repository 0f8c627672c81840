// Security descriptors of keys and the fronts that do nothing: what they answer and what they report.
#include "tests/registry/fronts.h"

namespace kvtest {
namespace {

class Key_Security : public Fronts {};
class Not_Implemented : public Fronts {
 protected:
  std::string reports() const {
    std::string names;
    for (const std::string& name : reported_names()) names += name + " ";
    return names;
  }
  const char* const nowhere = unreadable<const char>(0x10);
};

TEST_F(Key_Security, SettingAnswersSuccessAndDoesNothing) {
  EXPECT_EQ(RegSetKeySecurity(key, 0xFFFFFFFF, unreadable<void>(0x10)), 0);
  EXPECT_EQ(RegSetKeySecurity(nullptr, 0, nullptr), 0);
  EXPECT_EQ(entries(), "");
  EXPECT_TRUE(reported_names().empty());
}

TEST_F(Key_Security, GettingAnswersSuccessAndASizeOfZero) {
  char descriptor[] = "####";
  DWORD size = 100;
  EXPECT_EQ(RegGetKeySecurity(key, 7, descriptor, &size), 0);
  EXPECT_EQ(size, 0u);
  EXPECT_STREQ(descriptor, "####");
  EXPECT_EQ(entries(), "");
  EXPECT_TRUE(reported_names().empty());
}

TEST_F(Key_Security, GettingNeedsNeitherHandleNorDescriptor) {
  DWORD size = 0x80000000;
  EXPECT_EQ(RegGetKeySecurity(nullptr, 0, unreadable<void>(0x10), &size), 0);
  EXPECT_EQ(size, 0u);
}

TEST_F(Key_Security, ASizeOfZeroIsNotWritten) {
  Guarded_Page page;
  DWORD* const size = reinterpret_cast<DWORD*>(page.ending_with("\0\0\0\0"s));
  mprotect(page.end() - sysconf(_SC_PAGESIZE), static_cast<std::size_t>(sysconf(_SC_PAGESIZE)), PROT_READ);
  EXPECT_EQ(RegGetKeySecurity(key, 0, nullptr, size), 0);
  EXPECT_EQ(*size, 0u);
}

TEST_F(Not_Implemented, LoadKeyReportsItsName) {
  EXPECT_EQ(RegLoadKeyA(key, nowhere, nowhere), 0);
  EXPECT_EQ(reports(), "RegLoadKeyA ");
  EXPECT_EQ(entries(), "");
}

TEST_F(Not_Implemented, UnLoadKeyReportsItsName) {
  EXPECT_EQ(RegUnLoadKeyA(key, nowhere), 0);
  EXPECT_EQ(reports(), "RegUnLoadKeyA ");
  EXPECT_EQ(entries(), "");
}

// QUIRK replace-key-wide-name
TEST_F(Not_Implemented, ReplaceKeyReportsTheWideName) {
  EXPECT_EQ(RegReplaceKeyA(key, nowhere, nowhere, nowhere), 0);
  EXPECT_EQ(reports(), "RegReplaceKeyW ");
  EXPECT_EQ(entries(), "");
}

// QUIRK restore-key-silent
TEST_F(Not_Implemented, RestoreKeyReportsNothing) {
  EXPECT_EQ(RegRestoreKeyA(key, nowhere, 0xFFFFFFFF), 0);
  EXPECT_EQ(reports(), "");
  EXPECT_EQ(entries(), "");
}

TEST_F(Not_Implemented, EveryCallReports) {
  RegLoadKeyA(key, nullptr, nullptr);
  RegLoadKeyA(key, nullptr, nullptr);
  EXPECT_EQ(reports(), "RegLoadKeyA RegLoadKeyA ");
}

}  // namespace
}  // namespace kvtest
