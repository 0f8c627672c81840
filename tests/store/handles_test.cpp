// Handles: which are known, what they may do, and what becomes of them when their key is deleted.
#include <set>

#include "tests/store/store_test.h"

namespace kvtest {
namespace {

// What every call that takes a handle answers for this one, in a fixed order.
std::vector<LSTATUS> answers_of_reads(HKEY key) {
  HKEY out = nullptr;
  char name[300];
  DWORD size = sizeof name, value_size = sizeof name, count = 0;
  return {RegOpenKeyEx(key, "sub", 0, KEY_READ, &out), RegQueryValueEx(key, "v", nullptr, nullptr, nullptr, &count),
          RegEnumKeyEx(key, 0, name, &size, nullptr, nullptr, nullptr, nullptr),
          RegEnumValue(key, 0, name, &value_size, nullptr, nullptr, nullptr, nullptr),
          RegQueryInfoKey(key, nullptr, nullptr, nullptr, &count, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                          nullptr)};
}
std::vector<LSTATUS> answers_of_writes(HKEY key) {
  HKEY out = nullptr;
  return {RegCreateKeyEx(key, "new", 0, nullptr, 0, KEY_READ, nullptr, &out, nullptr), set_number(key, "v", 1),
          RegDeleteValue(key, "v"), RegDeleteKey(key, "sub")};
}
std::vector<LSTATUS> reads(LSTATUS code) { return std::vector<LSTATUS>(5, code); }
std::vector<LSTATUS> writes(LSTATUS code) { return std::vector<LSTATUS>(4, code); }

class Handles : public Store_Test {};

TEST_F(Handles, ThatAreClosedAre6EverywhereAlsoToClose) {
  HKEY closed = nullptr;
  ASSERT_EQ(RegOpenKeyEx(key, "", 0, KEY_ALL_ACCESS, &closed), 0);
  ASSERT_EQ(RegCloseKey(closed), 0);
  EXPECT_EQ(answers_of_reads(closed), reads(6));
  EXPECT_EQ(answers_of_writes(closed), writes(6));
  EXPECT_EQ(RegFlushKey(closed), 6);
  EXPECT_EQ(RegCloseKey(closed), 6);
}

TEST_F(Handles, ThatNobodyGaveOutAre6) {
  const ULONG_PTR own = number_of(key);
  for (ULONG_PTR number : std::initializer_list<ULONG_PTR>{
           0, 1, 4, 0x1234, 0x12345678, 0x7FFFFFFF, 0x80000007, 0x80000051, 0x85000000, 0xFFFFFFFF, 0x180000002,
           0x7FFFFFFF80000002, 0xFFFFFFFFFFFFFFFF, own + 1, own + 2, own | 0x100000000, own | 0x8000000000000000}) {
    EXPECT_EQ(answers_of_reads(handle_of(number)), reads(6)) << std::hex << number;
    EXPECT_EQ(answers_of_writes(handle_of(number)), writes(6)) << std::hex << number;
    EXPECT_EQ(RegCloseKey(handle_of(number)), 6) << std::hex << number;
  }
}

TEST_F(Handles, NullAsAResultIs87) {
  EXPECT_EQ(RegOpenKeyEx(key, "", 0, KEY_READ, nullptr), 87);
  EXPECT_EQ(RegOpenKey(key, "", nullptr), 87);
  EXPECT_EQ(RegCreateKey(key, "x", nullptr), 87);
  EXPECT_EQ(RegCreateKeyEx(key, "x", 0, nullptr, 0, KEY_READ, nullptr, nullptr, nullptr), 87);
  EXPECT_EQ(sub_keys(key).size(), 0u);
}

TEST_F(Handles, NullWhereAPointerIsNeededIsAnErrorAndNoFault) {
  char text[4];
  LONG size = 4;
  EXPECT_EQ(RegSetValue(nullptr, nullptr, REG_SZ, "x", 1), 6);
  EXPECT_EQ(RegQueryValue(nullptr, nullptr, text, &size), 6);
  EXPECT_EQ(RegSetValueEx(key, "v", 0, REG_BINARY, nullptr, 4), 87);
  EXPECT_EQ(RegConnectRegistry(nullptr, HKEY_LOCAL_MACHINE, nullptr), 87);
  EXPECT_EQ(RegSaveKey(key, nullptr, nullptr), 87);
  EXPECT_EQ(RegQueryMultipleValues(key, nullptr, 0, text, nullptr), 87);
  EXPECT_EQ(RegDeleteKey(key, nullptr), 87);
  EXPECT_EQ(value_names(key).size(), 0u);
}

TEST_F(Handles, AreNotUsedAgainAtOnce) {
  std::set<HKEY> seen;
  for (int i = 0; i < 500; ++i) {
    HKEY again = nullptr;
    ASSERT_EQ(RegOpenKeyEx(key, "", 0, KEY_READ, &again), 0);
    EXPECT_TRUE(seen.insert(again).second) << i;
    ASSERT_EQ(RegCloseKey(again), 0);
  }
}

TEST_F(Handles, AreTenThousandAtATimeAndAllDifferent) {
  std::set<HKEY> all;
  for (int i = 0; i < 10000; ++i) {
    HKEY again = nullptr;
    ASSERT_EQ(RegOpenKeyEx(key, "", 0, KEY_READ, &again), 0);
    all.insert(again);
  }
  EXPECT_EQ(all.size(), 10000u);
  for (HKEY handle : all) ASSERT_EQ(RegCloseKey(handle), 0);
}

class Root_Handles : public Store_Test {};

TEST_F(Root_Handles, AreClosedWith0AndStayUsable) {
  for (ULONG_PTR number : {0x80000000u, 0x80000001u, 0x80000002u, 0x80000003u, 0x80000004u, 0x80000005u, 0x80000006u,
                           0x80000050u, 0x80000060u}) {
    EXPECT_EQ(RegCloseKey(handle_of(number)), 0) << number;
    EXPECT_EQ(RegCloseKey(handle_of(number)), 0) << number;
  }
  EXPECT_EQ(open_result(HKEY_CURRENT_USER, path()), 0);
  EXPECT_NE(created(HKEY_LOCAL_MACHINE, "Software\\AfterClosing"), nullptr);
}

TEST_F(Root_Handles, AreKnownInTheirSignExtendedForm) {
  HKEY user = reinterpret_cast<HKEY>(static_cast<LONG_PTR>(static_cast<LONG>(0x80000001)));
  ASSERT_EQ(number_of(user), 0xFFFFFFFF80000001u);
  ASSERT_EQ(set_value(key, "v", REG_BINARY, "x"), 0);
  Key same;
  ASSERT_EQ(RegOpenKeyEx(user, path().c_str(), 0, KEY_READ, same.out()), 0);
  EXPECT_EQ(value_of(same, "v").data(), "x");
  EXPECT_EQ(RegCloseKey(user), 0);
}

TEST_F(Root_Handles, AreOpenedAsNewHandlesWithoutASubKey) {
  for (HKEY root : {HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE, HKEY_USERS, HKEY_CURRENT_CONFIG}) {
    HKEY again = nullptr;
    ASSERT_EQ(RegOpenKeyEx(root, "", 0, KEY_READ, &again), 0);
    EXPECT_NE(number_of(again), number_of(root));
    EXPECT_EQ(RegCloseKey(again), 0);
    EXPECT_EQ(RegCloseKey(again), 6);
    ASSERT_EQ(RegOpenKey(root, nullptr, &again), 0);
    EXPECT_NE(number_of(again), number_of(root));
    EXPECT_EQ(RegCloseKey(again), 0);
  }
}

TEST_F(Root_Handles, AndOthersWithoutASubKeyInTheOldForms) {
  HKEY same = nullptr;
  EXPECT_EQ(RegOpenKey(key, "", &same), 0);
  EXPECT_EQ(number_of(same), number_of(key));
#ifndef KVTEST_WIDE
  EXPECT_EQ(RegCreateKey(HKEY_CURRENT_USER, "", &same), 0);
  EXPECT_EQ(number_of(same), 0x80000001u);
  EXPECT_EQ(RegCreateKey(key, "", &same), 1010);
#else
  // The wide form checks nothing: creating without a sub-key opens the key anew.
  for (HKEY at : {HKEY_CURRENT_USER, static_cast<HKEY>(key)}) {
    EXPECT_EQ(RegCreateKey(at, "", &same), 0);
    EXPECT_NE(number_of(same), number_of(at));
    EXPECT_EQ(RegCloseKey(same), 0);
  }
#endif
}

class Deleted_Keys : public Store_Test {
 protected:
  void SetUp() override {
    Store_Test::SetUp();
    gone = created(key, "gone");
    ASSERT_NE(gone, nullptr);
    ASSERT_EQ(set_value(gone, "v", REG_BINARY, "x"), 0);
    ASSERT_EQ(RegDeleteKey(key, "gone"), 0);
  }
  Key gone;
};

TEST_F(Deleted_Keys, WithValuesAndOpenHandlesAreGone) {
  EXPECT_EQ(open_result(key, "gone"), 2);
  EXPECT_EQ(sub_keys(key).size(), 0u);
}

TEST_F(Deleted_Keys, Answer1018ThroughTheirOpenHandlesAndCloseWith0) {
  EXPECT_EQ(answers_of_reads(gone), reads(1018));
  EXPECT_EQ(answers_of_writes(gone), writes(1018));
  HKEY handle = nullptr;
  ASSERT_NE(created(key, "other"), nullptr);
  ASSERT_EQ(RegOpenKeyEx(key, "other", 0, KEY_ALL_ACCESS, &handle), 0);
  ASSERT_EQ(RegDeleteKey(key, "other"), 0);
  EXPECT_EQ(RegCloseKey(handle), 0);
  EXPECT_EQ(RegCloseKey(handle), 6);
}

TEST_F(Deleted_Keys, StayGoneForTheirHandlesWhenOneOfTheSameNameIsMade) {
  Key anew = created(key, "gone");
  ASSERT_EQ(set_value(anew, "v", REG_BINARY, "y"), 0);
  EXPECT_EQ(query_size(gone, "v").code, 1018);
  EXPECT_EQ(set_number(gone, "v", 1), 1018);
  EXPECT_EQ(value_of(anew, "v").data(), "y");
}

TEST_F(Deleted_Keys, MadeAnewAreEmpty) {
  Key anew = created(key, "gone");
  EXPECT_EQ(value_names(anew).size(), 0u);
}

TEST_F(Deleted_Keys, MayNotHaveSubKeys) {
  ASSERT_NE(created(key, "parent\\child"), nullptr);
  EXPECT_EQ(RegDeleteKey(key, "parent"), 5);
  EXPECT_EQ(open_result(key, "parent\\child"), 0);
  EXPECT_EQ(RegDeleteKey(key, "parent\\child"), 0);
  EXPECT_EQ(RegDeleteKey(key, "parent"), 0);
}

class Rights : public Store_Test {
 protected:
  void SetUp() override {
    Store_Test::SetUp();
    ASSERT_NE(created(key, "sub"), nullptr);
    ASSERT_EQ(set_value(key, "v", REG_BINARY, "x"), 0);
  }
  Key with(REGSAM access) { return opened(key, "", access); }
};

TEST_F(Rights, ToReadDoNotWrite) {
  Key handle = with(KEY_READ);
  EXPECT_EQ(answers_of_reads(handle), reads(0));
  EXPECT_EQ(set_number(handle, "v", 1), 5);
  EXPECT_EQ(RegDeleteValue(handle, "v"), 5);
  HKEY out = handle_of(0x77);
  EXPECT_EQ(RegCreateKeyEx(handle, "new", 0, nullptr, 0, KEY_READ, nullptr, &out, nullptr), 5);
  EXPECT_EQ(number_of(out), 0x77u);
  EXPECT_EQ(value_of(key, "v").data(), "x");
  EXPECT_EQ(open_result(key, "new"), 2);
}

TEST_F(Rights, ToWriteDoNotRead) {
  Key handle = with(KEY_WRITE);
  char name[16];
  DWORD size = sizeof name;
  EXPECT_EQ(query_size(handle, "v").code, 5);
  EXPECT_EQ(RegEnumKeyEx(handle, 0, name, &size, nullptr, nullptr, nullptr, nullptr), 5);
  EXPECT_EQ(RegEnumValue(handle, 0, name, &size, nullptr, nullptr, nullptr, nullptr), 5);
  EXPECT_EQ(RegQueryInfoKey(handle, nullptr, nullptr, nullptr, &size, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr),
            5);
  EXPECT_EQ(answers_of_writes(handle), writes(0));
}

TEST_F(Rights, AreAskedForOneByOne) {
  char name[16];
  DWORD size = sizeof name;
  HKEY out = nullptr;
  Key query_only = with(KEY_QUERY_VALUE);
  EXPECT_EQ(query_size(query_only, "v").code, 0);
  EXPECT_EQ(RegEnumKeyEx(query_only, 0, name, &size, nullptr, nullptr, nullptr, nullptr), 5);
  Key enumerate_only = with(KEY_ENUMERATE_SUB_KEYS);
  EXPECT_EQ(query_size(enumerate_only, "v").code, 5);
  EXPECT_EQ(RegEnumKeyEx(enumerate_only, 0, name, &size, nullptr, nullptr, nullptr, nullptr), 0);
  Key set_only = with(KEY_SET_VALUE);
  EXPECT_EQ(set_number(set_only, "n", 1), 0);
  EXPECT_EQ(RegCreateKeyEx(set_only, "new", 0, nullptr, 0, KEY_READ, nullptr, &out, nullptr), 5);
  Key create_only = with(KEY_CREATE_SUB_KEY);
  EXPECT_EQ(set_number(create_only, "n", 2), 5);
  EXPECT_NE(created(create_only, "new"), nullptr);
}

TEST_F(Rights, OfTheParentsHandleDoNotMatterForDeletingASubKeyOrOpeningIt) {
  Key handle = with(KEY_QUERY_VALUE);
  Key sub = opened(handle, "sub", KEY_ALL_ACCESS);
  EXPECT_EQ(set_number(sub, "v", 1), 0);
  EXPECT_EQ(RegDeleteKey(handle, "sub"), 0);
}

TEST_F(Rights, OfANewKeysHandleAreThoseAskedFor) {
  Key handle;
  ASSERT_EQ(RegCreateKeyEx(key, "new", 0, nullptr, 0, KEY_READ, nullptr, handle.out(), nullptr), 0);
  EXPECT_EQ(set_number(handle, "v", 1), 5);
  EXPECT_EQ(query_size(handle, "v").code, 2);
}

TEST_F(Rights, AtTheirMaximumAreAll) {
  for (REGSAM access : {MAXIMUM_ALLOWED, GENERIC_ALL, KEY_ALL_ACCESS}) {
    Key handle = with(access);
    EXPECT_EQ(set_number(handle, "v", 1), 0);
    EXPECT_EQ(query_size(handle, "v").code, 0);
    EXPECT_NE(created(handle, "deep"), nullptr);
  }
}

TEST_F(Rights, InGenericFormAreThoseOfKeys) {
  Key reader = with(GENERIC_READ);
  EXPECT_EQ(answers_of_reads(reader), reads(0));
  EXPECT_EQ(set_number(reader, "v", 1), 5);
  Key writer = with(GENERIC_WRITE);
  EXPECT_EQ(set_number(writer, "v", 1), 0);
  EXPECT_EQ(query_size(writer, "v").code, 5);
}

TEST_F(Rights, KnowOneViewForBothWidths) {
  Key wide = with(KEY_ALL_ACCESS | KEY_WOW64_64KEY);
  Key narrow = with(KEY_ALL_ACCESS | KEY_WOW64_32KEY);
  ASSERT_EQ(set_value(wide, "width", REG_BINARY, "64"), 0);
  EXPECT_EQ(value_of(narrow, "width").data(), "64");
}

TEST_F(Rights, AreNotNeededToFlush) { EXPECT_EQ(RegFlushKey(key), 0); }

class Security : public Store_Test {};

TEST_F(Security, AttributesOfACreationCarryNothing) {
  SECURITY_ATTRIBUTES attributes = {sizeof attributes, nullptr, TRUE};
  Key made;
  EXPECT_EQ(RegCreateKeyEx(key, "secured", 0, nullptr, 0, KEY_ALL_ACCESS, &attributes, made.out(), nullptr), 0);
  EXPECT_EQ(set_number(made, "v", 1), 0);
}

TEST_F(Security, DescriptorsAreNeitherKeptNorGiven) {
  DWORD size = 100;
  char descriptor[100] = "###";
  EXPECT_EQ(RegSetKeySecurity(key, DACL_SECURITY_INFORMATION, descriptor), 0);
  EXPECT_EQ(RegGetKeySecurity(key, DACL_SECURITY_INFORMATION, descriptor, &size), 0);
  EXPECT_EQ(size, 0u);
  EXPECT_STREQ(descriptor, "###");
}

}  // namespace
}  // namespace kvtest
