// Names of environment variables between percent signs.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <winbase.h>
#include <winerror.h>

#include <string>

namespace {

class Expand : public testing::Test {
 protected:
  void SetUp() override {
    setenv("KvExample", "C:\\Example", 1);
    setenv("KvEmpty", "", 1);
    setenv("KvNested", "%KvExample%", 1);
    unsetenv("KvNothing");
  }

  static std::string expanded(const char* source) {
    std::string out(200, '#');
    const DWORD count = ExpandEnvironmentStringsA(source, out.data(), 200);
    EXPECT_EQ(out.at(count - 1), '\0');
    EXPECT_EQ(out.at(count), '#');
    return out.substr(0, count - 1);
  }
};

TEST_F(Expand, PutsValuesInThePlaceOfNames) {
  EXPECT_EQ(expanded("%KvExample%\\bin;%KvEmpty%;%KvExample%"), "C:\\Example\\bin;;C:\\Example");
  EXPECT_EQ(expanded(""), "");
}

TEST_F(Expand, FindsANameInAnyCaseButItsOwnFirst) {
  EXPECT_EQ(expanded("%KVEXAMPLE%"), "C:\\Example");
  setenv("KVEXAMPLE", "other", 1);
  EXPECT_EQ(expanded("%KVEXAMPLE% %KvExample%"), "other C:\\Example");
  unsetenv("KVEXAMPLE");
}

TEST_F(Expand, LeavesUnknownNamesAndLonePercentSigns) {
  EXPECT_EQ(expanded("%KvNothing%"), "%KvNothing%");
  EXPECT_EQ(expanded("100 % %% %"), "100 % %% %");
  EXPECT_EQ(expanded("%KvNothing%KvExample%"), "%KvNothingC:\\Example");
  EXPECT_EQ(expanded("%KvExample=%"), "%KvExample=%");
}

TEST_F(Expand, DoesNotExpandValuesAgain) { EXPECT_EQ(expanded("%KvNested%"), "%KvExample%"); }

TEST_F(Expand, TellsTheCountNeededAndWritesNothingThatDoesNotFit) {
  char out[11] = "untouched.";
  EXPECT_EQ(ExpandEnvironmentStringsA("%KvExample%", nullptr, 0), 11u);
  EXPECT_EQ(ExpandEnvironmentStringsA("%KvExample%", nullptr, 100), 11u);
  EXPECT_EQ(ExpandEnvironmentStringsA("%KvExample%", out, 10), 11u);
  EXPECT_STREQ(out, "untouched.");
  EXPECT_EQ(ExpandEnvironmentStringsA("%KvExample%", out, 11), 11u);
  EXPECT_STREQ(out, "C:\\Example");
}

TEST_F(Expand, RefusesNoSource) {
  SetLastError(0);
  EXPECT_EQ(ExpandEnvironmentStringsA(nullptr, nullptr, 0), 0u);
  EXPECT_EQ(GetLastError(), 87u);
  SetLastError(0);
  EXPECT_EQ(ExpandEnvironmentStringsW(nullptr, nullptr, 0), 0u);
  EXPECT_EQ(GetLastError(), 87u);
}

TEST_F(Expand, CountsWideCharactersInTheWideForm) {
  setenv("KvAccent", "dé", 1);
  wchar_t out[16] = L"untouched";
  EXPECT_EQ(ExpandEnvironmentStringsW(L"<%KvAccent%>%", out, 5), 6u);
  EXPECT_STREQ(out, L"untouched");
  EXPECT_EQ(ExpandEnvironmentStringsW(L"<%KvAccent%>%", out, 16), 6u);
  EXPECT_STREQ(out, L"<dé>%");
}

TEST_F(Expand, KeepsUndecodableBytesOfValues) {
  setenv("KvBytes", "\xFF", 1);
  EXPECT_EQ(expanded("%KvBytes%"), "\xFF");
  wchar_t out[4];
  EXPECT_EQ(ExpandEnvironmentStringsW(L"%KvBytes%", out, 4), 2u);
  EXPECT_EQ(out[0], static_cast<wchar_t>(0xDCFF));
}

}  // namespace
