// Values below a key, keys by view, the current user, texts for the user, and what is not there.
#include <cstdlib>

#include "tests/store/store_test.h"

namespace {

using namespace kvtest;

class Key_Value : public Store_Test {};

TEST_F(Key_Value, IsStoredBelowAKeyThatIsMade) {
  EXPECT_EQ(RegSetKeyValueA(key, "a\\b", "name", REG_SZ, "text", 5), 0);
  EXPECT_EQ(value_of(opened(key, "a\\b"), "name").data(), "text\0"s);
  EXPECT_EQ(RegSetKeyValueW(key, L"a\\b", L"wide", REG_SZ, L"dé", 12), 0);
  EXPECT_EQ(value_of(opened(key, "a\\b"), "wide").data(), "d\xC3\xA9\0"s);
}

TEST_F(Key_Value, IsStoredInTheKeyItselfWithoutAName) {
  EXPECT_EQ(RegSetKeyValueA(key, nullptr, "one", REG_BINARY, "1", 1), 0);
  EXPECT_EQ(RegSetKeyValueA(key, "", "two", REG_BINARY, "2", 1), 0);
  EXPECT_EQ(value_names(key), std::vector<std::string>({"one", "two"}));
}

TEST_F(Key_Value, IsDeletedBelowAKeyThatIsThere) {
  set_number(created(key, "a"), "n", 1);
  EXPECT_EQ(RegDeleteKeyValueA(key, "a", "n"), 0);
  EXPECT_EQ(RegDeleteKeyValueA(key, "a", "n"), 2);
  EXPECT_EQ(RegDeleteKeyValueW(key, L"none", L"n"), 2);
  EXPECT_EQ(open_result(key, "none"), 2) << "nothing was made";
  set_number(key, "own", 1);
  EXPECT_EQ(RegDeleteKeyValueW(key, nullptr, L"own"), 0);
  EXPECT_EQ(value_names(key).size(), 0u);
}

TEST_F(Key_Value, KeysAreDeletedWhateverTheView) {
  created(key, "a");
  created(key, "b\\c");
  EXPECT_EQ(RegDeleteKeyExA(key, "a", KEY_WOW64_32KEY, 0), 0);
  EXPECT_EQ(RegDeleteKeyExW(key, L"b", KEY_WOW64_64KEY, 0), 5) << "it has a sub-key";
  EXPECT_EQ(RegDeleteKeyExW(key, L"b\\c", 0, 0), 0);
  EXPECT_EQ(RegDeleteKeyExA(key, nullptr, 0, 0), 87);
  EXPECT_EQ(RegDeleteKeyExA(key, "b", 0, 1), 87);
  EXPECT_EQ(open_result(key, "b"), 0);
}

TEST_F(Key_Value, ReflectionIsAlwaysOffAndCannotBeSwitched) {
  BOOL is_disabled = 7;
  EXPECT_EQ(RegQueryReflectionKey(key, &is_disabled), 0);
  EXPECT_EQ(is_disabled, TRUE);
  EXPECT_EQ(RegEnableReflectionKey(key), 0);
  EXPECT_EQ(RegDisableReflectionKey(key), 0);
  is_disabled = 7;
  EXPECT_EQ(RegQueryReflectionKey(handle_of(0x1234), &is_disabled), 6);
  EXPECT_EQ(is_disabled, 7);
  EXPECT_EQ(RegEnableReflectionKey(handle_of(0x1234)), 6);
  EXPECT_EQ(RegQueryReflectionKey(key, nullptr), 87);
}

TEST_F(Key_Value, TheCurrentUsersKeyIsOpenedWithTheRightsAskedFor) {
  Key user;
  EXPECT_EQ(RegOpenCurrentUser(KEY_READ, user.out()), 0);
  EXPECT_NE(number_of(user), 0x80000001u);
  EXPECT_EQ(open_result(user, path()), 0);
  EXPECT_EQ(set_number(user, "n", 1), 5);
  EXPECT_EQ(RegOpenCurrentUser(KEY_READ, nullptr), 87);
}

TEST_F(Key_Value, RenamingGivesTheKeyAnotherName) {
  created(key, "a");
  EXPECT_EQ(RegRenameKey(key, L"a", nullptr), 87);
  EXPECT_EQ(RegRenameKey(key, L"none", L"b"), 2);
  EXPECT_EQ(RegRenameKey(key, L"a", L"b"), 0);
  EXPECT_EQ(open_result(key, "a"), 2);
  EXPECT_EQ(open_result(key, "b"), 0);
}

class Text_For_User : public Key_Value {
 protected:
  LSTATUS load(const wchar_t* name, DWORD size, DWORD* out_size, DWORD flags = 0) {
    return RegLoadMUIStringW(key, name, out_, size, out_size, flags, nullptr);
  }

  wchar_t out_[16] = L"###############";
};

TEST_F(Text_For_User, IsThePlainText) {
  setenv("KvLoad", "value", 1);
  set_value(key, "plain", REG_SZ, "text");
  set_value(key, "expand", REG_EXPAND_SZ, "%KvLoad%\0"s);
  DWORD size = 0;
  EXPECT_EQ(load(L"plain", 64, &size), 0);
  EXPECT_STREQ(out_, L"text");
  EXPECT_EQ(size, 20u);
  EXPECT_EQ(load(L"expand", 64, nullptr), 0);
  EXPECT_STREQ(out_, L"value");
}

TEST_F(Text_For_User, MayBeLong) {
  set_value(key, "long", REG_SZ, std::string(5000, 'x') + '\0');
  std::vector<wchar_t> out(5002, L'#');
  DWORD size = 0;
  EXPECT_EQ(RegLoadMUIStringW(key, L"long", out.data(), 20008, &size, 0, nullptr), 0);
  EXPECT_EQ(size, 20004u);
  EXPECT_EQ(std::wstring(out.data()), std::wstring(5000, L'x'));
  EXPECT_EQ(out[5001], L'#');
}

TEST_F(Text_For_User, ThatDoesNotFitIsLeftOrCut) {
  set_value(key, "plain", REG_SZ, "text");
  DWORD size = 0;
  EXPECT_EQ(load(L"plain", 16, &size), 234);
  EXPECT_EQ(size, 20u);
  EXPECT_EQ(out_[0], L'#');
  EXPECT_EQ(load(L"plain", 12, nullptr, REG_MUI_STRING_TRUNCATE), 0);
  EXPECT_STREQ(out_, L"te");
  EXPECT_EQ(out_[3], L'#');
  EXPECT_EQ(load(L"plain", 64, nullptr, REG_MUI_STRING_TRUNCATE), 0);
  EXPECT_STREQ(out_, L"text");
}

TEST_F(Text_For_User, IsNotFoundInModulesAndNotMadeFromOtherTypes) {
  set_value(key, "resource", REG_SZ, "@example.dll,-1");
  set_number(key, "number", 1);
  EXPECT_EQ(load(L"resource", 64, nullptr), 2);
  EXPECT_EQ(load(L"number", 64, nullptr), 1630);
  for (const DWORD type : {REG_NONE, REG_BINARY, REG_LINK, REG_MULTI_SZ}) {
    set_value(key, "other", type, "ab\0\0"s);
    EXPECT_EQ(load(L"other", 64, nullptr), 1630) << type;
  }
  EXPECT_EQ(load(L"none", 64, nullptr), 2);
}

TEST_F(Text_For_User, RefusesWhatIsNoRequest) {
  DWORD size = 0;
  set_value(key, "plain", REG_SZ, "text");
  EXPECT_EQ(load(L"plain", 64, &size, REG_MUI_STRING_TRUNCATE), 87);
  EXPECT_EQ(load(L"plain", 64, nullptr, 2), 87);
  EXPECT_EQ(RegLoadMUIStringW(key, L"plain", nullptr, 64, nullptr, 0, nullptr), 87);
}

}  // namespace
