// query, add, delete, copy and rename through the built program.
#include "tests/tools/kvreg.h"

namespace {

using namespace std::string_literals;

TEST_F(Kvreg, AddsAKeyWithAllThatIsMissingOnTheWay) {
  EXPECT_EQ(out({"add", "HKCU\\Software\\A\\B"}), done);
  EXPECT_EQ(out({"query", "HKCU\\Software"}), "\nHKEY_CURRENT_USER\\Software\n\nHKEY_CURRENT_USER\\Software\\A\n");
}

TEST_F(Kvreg, ShowsAValueOfEachTypeAsItWasGiven) {
  const std::string key = "HKLM\\Software\\T";
  EXPECT_EQ(out({"add", key, "/ve", "/d", "dflt"}), done);
  EXPECT_EQ(out({"add", key, "/v", "bin", "/t", "REG_BINARY", "/d", "00fFa1"}), done);
  EXPECT_EQ(out({"add", key, "/v", "big", "/t", "REG_DWORD_BIG_ENDIAN", "/d", "258"}), done);
  EXPECT_EQ(out({"add", key, "/v", "dw", "/t", "reg_dword", "/d", "0x1F"}), done);
  EXPECT_EQ(out({"add", key, "/v", "dw0", "/t", "REG_DWORD"}), done);
  EXPECT_EQ(out({"add", key, "/v", "exp", "/t", "expand_sz", "/d", "%HOME%"}), done);
  EXPECT_EQ(out({"add", key, "/v", "multi", "/t", "REG_MULTI_SZ", "/d", "a\\0b c"}), done);
  EXPECT_EQ(out({"add", key, "/v", "multi2", "/t", "REG_MULTI_SZ", "/s", "#", "/d", "a#b"}), done);
  EXPECT_EQ(out({"add", key, "/v", "none", "/t", "REG_NONE"}), done);
  EXPECT_EQ(out({"add", key, "/v", "num", "/t", "4711", "/d", "61"}), done);
  EXPECT_EQ(out({"add", key, "/v", "qw", "/t", "REG_QWORD", "/d", "81985529216486895"}), done);
  EXPECT_EQ(out({"add", key, "--value", "sz", "--data", "h\u00e9 \U0001F600"}), done);
  EXPECT_EQ(out({"query", key}),
            "\nHKEY_LOCAL_MACHINE\\Software\\T\n"
            "    (Default)    REG_SZ    dflt\n"
            "    big    REG_DWORD_BIG_ENDIAN    0x102\n"
            "    bin    REG_BINARY    00FFA1\n"
            "    dw    REG_DWORD    0x1f\n"
            "    dw0    REG_DWORD    0x0\n"
            "    exp    REG_EXPAND_SZ    %HOME%\n"
            "    multi    REG_MULTI_SZ    a\\0b c\n"
            "    multi2    REG_MULTI_SZ    a\\0b\n"
            "    none    REG_NONE    \n"
            "    num    0x1267    61\n"
            "    qw    REG_QWORD    0x123456789abcdef\n"
            "    sz    REG_SZ    h\u00e9 \U0001F600\n");
}

TEST_F(Kvreg, StoresTextAsPairsOfUnits) {
  add("HKCU\\S", "v", "\U0001F600");
  EXPECT_EQ(out({"export", "HKCU\\S", "-"}).substr(0, 2), "\xFF\xFE");
  EXPECT_NE(out({"export", "HKCU\\S", "-"}).find("\"\0\x3d\xd8\x00\xde\"\0"s), std::string::npos);
}

TEST_F(Kvreg, RefusesDataThatIsNoneOfItsType) {
  EXPECT_EQ(complaint({"add", "HKCU\\S", "/v", "x", "/t", "REG_DWORD", "/d", "-1"}),
            "kvreg add: \"-1\" is no number for REG_DWORD: decimal, or with 0x\nSee \"kvreg add --help\".\n");
  EXPECT_EQ(complaint({"add", "HKCU\\S", "/v", "x", "/t", "REG_DWORD", "/d", "4294967296"}),
            "kvreg add: \"4294967296\" is no number for REG_DWORD: decimal, or with 0x\nSee \"kvreg add --help\".\n");
  EXPECT_EQ(complaint({"add", "HKCU\\S", "/v", "x", "/t", "REG_BINARY", "/d", "abc"}),
            "kvreg add: \"abc\" is not made of hexadecimal digits, two a byte\nSee \"kvreg add --help\".\n");
  EXPECT_EQ(complaint({"add", "HKCU\\S", "/v", "x", "/t", "REG_FOO"}),
            "kvreg add: \"REG_FOO\" is no type of values: REG_NONE, REG_SZ, REG_EXPAND_SZ, REG_BINARY, REG_DWORD, "
            "REG_DWORD_BIG_ENDIAN, REG_LINK, REG_MULTI_SZ, REG_RESOURCE_LIST, REG_FULL_RESOURCE_DESCRIPTOR, "
            "REG_RESOURCE_REQUIREMENTS_LIST, REG_QWORD, or a number\nSee \"kvreg add --help\".\n");
  EXPECT_EQ(run({"query", "HKCU\\S"}).exit_status, 1);
}

TEST_F(Kvreg, ReplacesAValueOnlyWhenItIsTold) {
  add("HKCU\\S", "v", "one");
  EXPECT_EQ(complaint({"add", "HKCU\\S", "/v", "V", "/d", "two"}),
            "kvreg add: The value V of HKEY_CURRENT_USER\\S is there. Replace it? Nobody can answer here; /f does it "
            "without asking.\n");
  EXPECT_EQ(out({"query", "HKCU\\S"}), "\nHKEY_CURRENT_USER\\S\n    v    REG_SZ    one\n");
  EXPECT_EQ(out({"add", "HKCU\\S", "/v", "v", "/d", "two", "/F"}), done);
  EXPECT_EQ(out({"query", "HKCU\\S", "/v", "v"}), "\nHKEY_CURRENT_USER\\S\n    v    REG_SZ    two\n");
}

TEST_F(Kvreg, NamesTheKeyTheReasonAndTheCode) {
  EXPECT_EQ(complaint({"query", "hklm\\software\\\\Nix\\"}),
            "kvreg query: HKEY_LOCAL_MACHINE\\software\\Nix: no such key, value or file (ERROR_FILE_NOT_FOUND, 2)\n");
  add("HKCU\\S", "v", "x");
  EXPECT_EQ(
      complaint({"query", "HKCU\\S", "/v", "nix"}),
      "kvreg query: HKEY_CURRENT_USER\\S: the value \"nix\": no such key, value or file (ERROR_FILE_NOT_FOUND, 2)\n");
  EXPECT_EQ(complaint({"query", "HKXX\\S"}),
            "kvreg query: \"HKXX\\S\" begins with no root key: HKLM, HKCU, HKCR, HKU, HKCC, or their long names\n"
            "See \"kvreg query --help\".\n");
  EXPECT_EQ(
      complaint({"query", "\\\\elsewhere\\HKLM"}),
      "kvreg query: \\\\elsewhere\\HKEY_LOCAL_MACHINE: the machine is not known, only this host's registry can be "
      "reached (ERROR_BAD_NETPATH, 53)\n");
}

TEST_F(Kvreg, TellsWhatBecameOfTheBackslashes) {
  const std::string refusal = " begins with no root key: HKLM, HKCU, HKCR, HKU, HKCC, or their long names";
  EXPECT_EQ(complaint({"query", "HKCU/Software"}), "kvreg query: \"HKCU/Software\"" + refusal +
                                                       "; names are parted by backslashes\n"
                                                       "See \"kvreg query --help\".\n");
  EXPECT_EQ(complaint({"query", "hkcuSoftware"}), "kvreg query: \"hkcuSoftware\"" + refusal +
                                                      "; the shell takes backslashes that do not stand between quotes\n"
                                                      "See \"kvreg query --help\".\n");
}

TEST_F(Kvreg, NamesWhatItDoesNotExpectInItsOrder) {
  EXPECT_EQ(complaint({"add", "HKCU\\S", "Font", "Sans"}),
            "kvreg add: not expected: Font Sans\nSee \"kvreg add --help\".\n");
}

TEST_F(Kvreg, NamesTheHivesFileWhenItIsTheReason) {
  if (Test_Registry::mode() == '0') GTEST_SKIP() << "a server of the machine has made its hive before a test could";
  write(machine_file(), "this is text and no hive, whatever its name says");
  const kvtest::Child_Result result = run({"query", "HKLM\\Software"});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_NE(result.err.find("kvreg query: HKEY_LOCAL_MACHINE\\Software: " + machine_file() +
                            ": the file is no hive, one of a later version, or has a second hard link "
                            "(ERROR_NOT_REGISTRY_FILE, 1017)\n"),
            std::string::npos)
      << result.err;
}

TEST_F(Kvreg, SearchesBelowAKey) {
  add("HKCU\\S\\Timeout", "a", "x");
  add("HKCU\\S\\B", "TIMEOUT", "x");
  add("HKCU\\S\\B", "c", "the timeout");
  add("HKCU\\S\\B", "d", "none");
  EXPECT_EQ(out({"query", "HKCU\\S", "/s", "/f", "timeout"}),
            "\nHKEY_CURRENT_USER\\S\\Timeout\n"
            "\nHKEY_CURRENT_USER\\S\\B\n    c    REG_SZ    the timeout\n    TIMEOUT    REG_SZ    x\n"
            "\nEnd of search: 3 match(es) found.\n");
  EXPECT_EQ(out({"query", "HKCU\\S", "/s", "/f", "timeout", "/c", "/d"}),
            "\nHKEY_CURRENT_USER\\S\\B\n    c    REG_SZ    the timeout\n\nEnd of search: 1 match(es) found.\n");
  EXPECT_EQ(run({"query", "HKCU\\S", "/s", "/f", "timeout", "/e", "/d"}).exit_status, 1);
}

TEST_F(Kvreg, PrintsJsonThatKeepsNumbersListsAndLoneSurrogates) {
  EXPECT_EQ(out({"add", "HKCU\\S", "/v", "n", "/t", "REG_DWORD", "/d", "7"}), done);
  EXPECT_EQ(out({"add", "HKCU\\S", "/v", "m", "/t", "REG_MULTI_SZ", "/d", "a\\0b"}), done);
  add("HKCU\\S", "\xff", "x");
  EXPECT_EQ(out({"query", "HKCU\\S", "--json"}),
            "[\n{\"key\":\"HKEY_CURRENT_USER\\\\S\",\"sub_keys\":[],\"values\":["
            "{\"data\":[\"a\",\"b\"],\"name\":\"m\",\"type\":\"REG_MULTI_SZ\"},"
            "{\"data\":7,\"name\":\"n\",\"type\":\"REG_DWORD\"},"
            "{\"data\":\"x\",\"name\":\"\uFFFD\",\"name_units\":[56575],\"type\":\"REG_SZ\"}]}\n]\n");
}

TEST_F(Kvreg, PrintsFieldsThatEndWithNul) {
  add("HKCU\\S", "a\nb", "c\td");
  EXPECT_EQ(out({"query", "HKCU\\S", "-0"}), "HKEY_CURRENT_USER\\S\0a\nb\0REG_SZ\0c\td\0"s);
}

TEST_F(Kvreg, ShowsNothingThatMovesTheCursor) {
  add("HKCU\\S\\k\x1b[2J", "a\nb", "c\r\u202Ed");
  add("HKCU\\S\\k\x1b[2J", "q\"\\\xff", "\x7f");  // the last unit of the name is half of a pair
  EXPECT_EQ(out({"query", "HKCU\\S", "/s"}),
            "\nHKEY_CURRENT_USER\\S\n\nHKEY_CURRENT_USER\\S\\k\\u001B[2J\n    a\\u000Ab    REG_SZ    c\\u000D\\u202Ed\n"
            "    q\"\\\\uDCFF    REG_SZ    \\u007F\n");
}

TEST_F(Kvreg, DeletesOneValueOrAllOrTheKey) {
  add("HKCU\\S", "a", "1");
  add("HKCU\\S", "b", "2");
  add("HKCU\\S\\Sub\\Deep", "c", "3");
  EXPECT_EQ(out({"delete", "HKCU\\S", "/v", "a", "/f"}), done);
  EXPECT_EQ(out({"query", "HKCU\\S"}), "\nHKEY_CURRENT_USER\\S\n    b    REG_SZ    2\n\nHKEY_CURRENT_USER\\S\\Sub\n");
  EXPECT_EQ(out({"delete", "HKCU\\S", "/va", "/f"}), done);
  EXPECT_EQ(out({"query", "HKCU\\S"}), "\nHKEY_CURRENT_USER\\S\n\nHKEY_CURRENT_USER\\S\\Sub\n");
  EXPECT_EQ(out({"delete", "HKCU\\S", "/f"}), done);
  EXPECT_EQ(run({"query", "HKCU\\S"}).exit_status, 1);
}

TEST_F(Kvreg, DeletesNothingWhereNobodyCanAnswer) {
  add("HKCU\\S", "a", "1");
  for (const std::string what : {"/ve", "/va", ""}) {
    std::vector<std::string> arguments = {"delete", "HKCU\\S"};
    if (!what.empty()) arguments.push_back(what);
    EXPECT_EQ(run(arguments).exit_status, 1);
  }
  EXPECT_EQ(complaint({"delete", "HKCU\\S"}),
            "kvreg delete: Delete the key HKEY_CURRENT_USER\\S with all below it? Nobody can answer here; /f does it "
            "without asking.\n");
  EXPECT_EQ(out({"query", "HKCU\\S"}), "\nHKEY_CURRENT_USER\\S\n    a    REG_SZ    1\n");
}

TEST_F(Kvreg, DeletesNoRootKeyAndNothingThatIsNotThere) {
  EXPECT_EQ(complaint({"delete", "HKCU", "/f"}),
            "kvreg delete: HKEY_CURRENT_USER is a root key; it cannot be deleted\n");
  EXPECT_EQ(complaint({"delete", "HKCU\\S", "/f"}),
            "kvreg delete: HKEY_CURRENT_USER\\S: no such key, value or file (ERROR_FILE_NOT_FOUND, 2)\n");
  add("HKCU\\S", "a", "1");
  EXPECT_EQ(complaint({"delete", "HKCU\\S", "/v", "b", "/f"}),
            "kvreg delete: HKEY_CURRENT_USER\\S: the value b: no such key, value or file (ERROR_FILE_NOT_FOUND, 2)\n");
}

TEST_F(Kvreg, CopiesValuesAndWithSAllBelow) {
  add("HKCU\\S", "a", "1");
  add("HKCU\\S\\Sub", "b", "2");
  EXPECT_EQ(out({"copy", "HKCU\\S", "HKLM\\T"}), done);
  EXPECT_EQ(out({"query", "HKLM\\T", "/s"}), "\nHKEY_LOCAL_MACHINE\\T\n    a    REG_SZ    1\n");
  EXPECT_EQ(out({"copy", "HKCU\\S", "HKLM\\T", "/s", "/f"}), done);
  EXPECT_EQ(run({"compare", "HKCU\\S", "HKLM\\T", "/s"}).exit_status, 0);
}

TEST_F(Kvreg, CopiesAKeyBelowItselfOnce) {
  add("HKCU\\S\\Sub", "b", "2");
  EXPECT_EQ(out({"copy", "HKCU\\S", "HKCU\\S\\Copy", "/s"}), done);
  EXPECT_EQ(out({"tree", "HKCU\\S", "-0"}),
            "HKEY_CURRENT_USER\\S\0HKEY_CURRENT_USER\\S\\Copy\0HKEY_CURRENT_USER\\S\\Copy\\Sub\0"
            "HKEY_CURRENT_USER\\S\\Sub\0"s);
}

TEST_F(Kvreg, RenamesAKeyInItsPlace) {
  add("HKCU\\S\\Old\\Deep", "b", "2");
  EXPECT_EQ(out({"rename", "HKCU\\S\\Old", "New"}), done);
  EXPECT_EQ(
      out({"query", "HKCU\\S", "/s"}),
      "\nHKEY_CURRENT_USER\\S\n\nHKEY_CURRENT_USER\\S\\New\n\nHKEY_CURRENT_USER\\S\\New\\Deep\n    b    REG_SZ    2\n");
  EXPECT_EQ(complaint({"rename", "HKCU\\S\\New", "a\\b"}),
            "kvreg rename: NAME is one name, without a path\nSee \"kvreg rename --help\".\n");
}

TEST_F(Kvreg, TakesWhatLooksLikeASwitchAsTextBehindOne) {
  EXPECT_EQ(out({"add", "HKCU\\S", "/v", "/d", "/d", "--force", "/f"}), done);
  EXPECT_EQ(out({"query", "HKCU\\S", "/v", "/d"}), "\nHKEY_CURRENT_USER\\S\n    /d    REG_SZ    --force\n");
}

}  // namespace
