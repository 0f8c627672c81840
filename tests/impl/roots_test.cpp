// The root keys, and root keys by machine.
#include <unistd.h>

#include "tests/impl/module.h"

namespace {

using namespace kvtest;

class Root_Keys_Test : public Store_Test {};
using RootKeys = Root_Keys_Test;
class Connect : public Store_Test {};

HKEY root(std::uintptr_t value) { return reinterpret_cast<HKEY>(value); }

TEST_F(RootKeys, AreClosedWithSuccessAndStayUsable) {
  for (std::uintptr_t value : {0x80000000u, 0x80000001u, 0x80000002u, 0x80000003u, 0x80000004u, 0x80000005u,
                               0x80000006u, 0x80000050u, 0x80000060u}) {
    EXPECT_EQ(close_key(root(value)), 0u) << value;
    EXPECT_EQ(close_key(root(value)), 0u) << value;
  }
  HKEY key = nullptr;
  EXPECT_EQ(open_key(HKEY_LOCAL_MACHINE, u"", &key), 0u);
}

TEST_F(RootKeys, AreOpenedWithoutASubKey) {
  for (std::uintptr_t value : {0x80000000u, 0x80000001u, 0x80000002u, 0x80000003u, 0x80000005u}) {
    HKEY key = nullptr;
    EXPECT_EQ(open_key(root(value), u"", &key), 0u) << value;
    EXPECT_NE(key, root(value));
    EXPECT_EQ(close_key(key), 0u);
  }
}

TEST_F(RootKeys, AreKnownInTheirSignExtendedForm) {
  HKEY key = nullptr;
  EXPECT_EQ(open_key(root(0xFFFFFFFF80000002u), u"Tests", &key), 0u);
  EXPECT_EQ(close_key(root(0xFFFFFFFF80000002u)), 0u);
}

TEST_F(RootKeys, LookalikesAreUnknown) {
  for (std::uintptr_t value : {std::uintptr_t{0x80000007}, std::uintptr_t{0x80000051}, std::uintptr_t{0x85000000},
                               std::uintptr_t{0x180000002}, std::uintptr_t{0x7FFFFFFF80000002}}) {
    HKEY key = nullptr;
    EXPECT_EQ(open_key(root(value), u"", &key), 6u) << value;
    EXPECT_EQ(close_key(root(value)), 6u) << value;
  }
}

TEST_F(RootKeys, OfClassesIsBelowSoftwareOfTheMachine) {
  HKEY key = nullptr;
  ASSERT_EQ(create_key(HKEY_CLASSES_ROOT, u".kvtest", &key), 0u);
  set_value(key, u"v", REG_BINARY, "x");
  HKEY same = nullptr;
  ASSERT_EQ(open_key(HKEY_LOCAL_MACHINE, u"Software\\Classes\\.kvtest", &same), 0u);
  EXPECT_EQ(value_of(same, u"v").data, "x");
}

TEST_F(RootKeys, OfClassesIsThereAgainAfterItsKeyWasDeleted) {
  HKEY key = nullptr;
  ASSERT_EQ(create_key(HKEY_CLASSES_ROOT, u".gone", &key), 0u);
  ASSERT_EQ(delete_key(HKEY_CLASSES_ROOT, u".gone"), 0u);
  for (const std::u16string& name : sub_keys(HKEY_CLASSES_ROOT)) ASSERT_EQ(delete_key(HKEY_CLASSES_ROOT, name), 0u);
  ASSERT_EQ(delete_key(HKEY_LOCAL_MACHINE, u"Software\\Classes"), 0u);
  EXPECT_EQ(create_key(HKEY_CLASSES_ROOT, u".again", &key), 0u);
  EXPECT_EQ(open_key(HKEY_LOCAL_MACHINE, u"Software\\Classes\\.again", &key), 0u);
}

TEST_F(RootKeys, OfTheUserIsApartFromTheMachines) {
  HKEY key = nullptr;
  ASSERT_EQ(create_key(HKEY_CURRENT_USER, u"OnlyMine", &key), 0u);
  EXPECT_EQ(open_key(HKEY_LOCAL_MACHINE, u"OnlyMine", &key), 2u);
}

TEST_F(Connect, ToNoMachineGivesTheRootAsAFreshHandle) {
  HKEY key = nullptr, sub = nullptr;
  EXPECT_EQ(entries().KvIRegConnectRegistry(nullptr, HKEY_LOCAL_MACHINE, &key, nullptr), 0u);
  EXPECT_NE(key, HKEY_LOCAL_MACHINE);
  EXPECT_EQ(open_key(key, u"Tests", &sub), 0u);
  EXPECT_EQ(close_key(key), 0u);
  EXPECT_EQ(close_key(key), 6u);
}

TEST_F(Connect, ToThisHostByNameGivesTheRoot) {
  char name[256] = {};
  ASSERT_EQ(gethostname(name, sizeof name - 1), 0);
  const std::string host = std::string("\\\\") + name;
  HKEY key = nullptr;
  EXPECT_EQ(entries().KvIRegConnectRegistry(win(std::u16string(host.begin(), host.end())).data(), HKEY_LOCAL_MACHINE,
                                            &key, nullptr),
            0u);
}

TEST_F(Connect, ToAnotherMachineIs53) {
  HKEY key = HKEY(0x77);
  EXPECT_EQ(entries().KvIRegConnectRegistry(win(u"\\\\no-such-machine").data(), HKEY_LOCAL_MACHINE, &key, nullptr),
            53u);
  EXPECT_EQ(key, HKEY(0x77));
}

TEST_F(Connect, WithAKeyThatIsNoRootIs6AndWithoutAResult87) {
  HKEY key = nullptr;
  EXPECT_EQ(entries().KvIRegConnectRegistry(nullptr, base, &key, nullptr), 6u);
  EXPECT_EQ(entries().KvIRegConnectRegistry(nullptr, HKEY_LOCAL_MACHINE, nullptr, nullptr), 87u);
}

}  // namespace
