// export and import through the built program: all of a file or nothing of it, the same bytes again.
#include <filesystem>

#include "tests/tools/kvreg.h"

namespace {

using namespace std::string_literals;

const std::string five = "Windows Registry Editor Version 5.00\r\n\r\n";

class Reg_Files : public Kvreg {
 protected:
  std::string imported(const std::string& text, const std::vector<std::string>& more = {}) {
    write(file("in.reg"), text);
    std::vector<std::string> arguments = {"import", file("in.reg")};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return out(arguments);
  }
  std::string refused(const std::string& text) {
    write(file("in.reg"), text);
    return complaint({"import", file("in.reg")});
  }
};

TEST_F(Reg_Files, ExportedImportedAndExportedHaveTheSameBytes) {
  imported(five +
           "[HKEY_CURRENT_USER\\S\\k\\\\x000A;]]\r\n@=\"d\"\r\n\"a\\\\b\\\"c\"=\"C:\\\\x\"\r\n\"e\"=hex(1):\r\n"
           "\"odd\"=hex(2):41,00,42\r\n\"lone\"=hex(1):3d,d8,00,00\r\n\"multi\"=hex(7):61,00,00,00,00,00\r\n"
           "\"n\"=dword:ffffffff\r\n\"q\"=hex(b):01,02,03,04,05,06,07,08\r\n\"t\"=hex(12345):00\r\n\"z\"=hex(0):\r\n");
  EXPECT_EQ(out({"export", "HKCU\\S", file("a.reg")}), done);
  EXPECT_EQ(out({"delete", "HKCU\\S", "/f"}), done);
  EXPECT_EQ(out({"import", file("a.reg")}), done);
  EXPECT_EQ(out({"export", "HKCU\\S", file("b.reg")}), done);
  EXPECT_EQ(content(file("a.reg")), content(file("b.reg")));
  EXPECT_EQ(content(file("a.reg")).substr(0, 4), "\xFF\xFEW\0"s);
}

TEST_F(Reg_Files, OfVersionFourComeBackToo) {
  add("HKCU\\S\\\u00e9", "\u00e9", "\u00e9");
  EXPECT_EQ(out({"export", "HKCU\\S", file("a.reg"), "--version4"}), done);
  EXPECT_EQ(
      content(file("a.reg")),
      "REGEDIT4\r\n\r\n[HKEY_CURRENT_USER\\S]\r\n\r\n[HKEY_CURRENT_USER\\S\\\u00e9]\r\n\"\u00e9\"=\"\u00e9\"\r\n\r\n");
  EXPECT_EQ(out({"delete", "HKCU\\S", "/f"}), done);
  EXPECT_EQ(out({"import", file("a.reg")}), done);
  EXPECT_EQ(out({"query", "HKCU\\S\\\u00e9"}), "\nHKEY_CURRENT_USER\\S\\\u00e9\n    \u00e9    REG_SZ    \u00e9\n");
}

TEST_F(Reg_Files, ImportedDeleteKeysAndValues) {
  add("HKCU\\S\\Gone\\Deep", "a", "1");
  add("HKCU\\S", "gone", "1");
  add("HKCU\\S", "stays", "1");
  EXPECT_EQ(imported(five + "[-HKCU\\S\\Gone]\r\n[-HKCU\\S\\Never]\r\n[HKCU\\S]\r\n\"gone\"=-\r\n\"never\"=-\r\n"),
            done);
  EXPECT_EQ(out({"query", "HKCU\\S", "/s"}), "\nHKEY_CURRENT_USER\\S\n    stays    REG_SZ    1\n");
}

TEST_F(Reg_Files, WithAWrongLineChangeNothingAndNameIt) {
  EXPECT_EQ(refused(five + "[HKCU\\S]\r\n\"a\"=\"1\"\r\n\"b\"=1\r\n"),
            "kvreg import: " + file("in.reg") +
                ":5: the data begins with neither a quote, nor dword:, hex: or hex(...):, nor -\n");
  EXPECT_EQ(run({"query", "HKCU\\S"}).exit_status, 1);
}

TEST_F(Reg_Files, WithWhatNoRegistryTakesChangeNothing) {
  const std::string in = "kvreg import: " + file("in.reg");
  const std::string good = five + "[HKCU\\S]\r\n\"a\"=\"1\"\r\n";
  EXPECT_EQ(refused(good + "[HKXX\\A]\r\n"), in + ":5: \"HKXX\" is no root key\n");
  EXPECT_EQ(refused(good + "[HKCU\\" + std::string(257, 'k') + "]\r\n"),
            in + ":5: a name of a key has more than 256 units\n");
  EXPECT_EQ(refused(good + "[-HKCU]\r\n"), in + ":5: a root key cannot be deleted\n");
  EXPECT_EQ(refused(good + "\"" + std::string(16384, 'v') + "\"=\"\"\r\n"),
            in + ":5: the name of the value has more than 16,383 units\n");
  std::string deep = "[HKCU";
  for (int i = 0; i < 513; ++i) deep += "\\k";
  EXPECT_EQ(refused(good + deep + "]\r\n"), in + ":5: the key is more than 512 keys deep\n");
  EXPECT_EQ(run({"query", "HKCU\\S"}).exit_status, 1);
}

TEST_F(Reg_Files, OfKeysWith256CharactersAreTaken) {
  EXPECT_EQ(imported(five + "[HKCU\\" + std::string(256, 'k') + "]\r\n"), done);
}

TEST_F(Reg_Files, ThatTheRegistryRefusesInTheMiddleChangeNothing) {
  EXPECT_EQ(out({"add", "HKCU\\V", "--volatile"}), done);
  const std::string refusal = refused(five + "[HKCU\\S]\r\n\"a\"=\"1\"\r\n[HKEY_PERFORMANCE_DATA\\X]\r\n");
  EXPECT_EQ(refusal, "kvreg import: " + file("in.reg") + ":5: \"HKEY_PERFORMANCE_DATA\" is no root key\n");
  std::string deep = "[HKCR";  // two keys deep itself
  for (int i = 0; i < 511; ++i) deep += "\\k";
  const std::string too_deep = refused(five + "[HKLM\\S]\r\n\"a\"=\"1\"\r\n" + deep + "]\r\n");
  EXPECT_NE(too_deep.find("(ERROR_INVALID_PARAMETER, 87)\n"), std::string::npos) << too_deep;
  EXPECT_EQ(run({"query", "HKLM\\S"}).exit_status, 1);
}

TEST_F(Reg_Files, TellOfADryRunWhatWouldChange) {
  add("HKCU\\S", "same", "1");
  add("HKCU\\S", "other", "1");
  add("HKCU\\S\\Gone", "x", "1");
  EXPECT_EQ(
      imported(
          five +
              "[-HKCU\\S\\Gone]\r\n[HKCU\\S]\r\n\"same\"=\"1\"\r\n\"other\"=\"2\"\r\n\"new\"=dword:5\r\n[HKCU\\N]\r\n",
          {"--dry-run"}),
      "- HKEY_CURRENT_USER\\S\\Gone\n"
      "- HKEY_CURRENT_USER\\S  other  REG_SZ  1\n"
      "+ HKEY_CURRENT_USER\\S  other  REG_SZ  2\n"
      "+ HKEY_CURRENT_USER\\S  new  REG_DWORD  0x5\n"
      "+ HKEY_CURRENT_USER\\N\n");
  EXPECT_EQ(out({"query", "HKCU\\S", "/s"}),
            "\nHKEY_CURRENT_USER\\S\n    other    REG_SZ    1\n    same    REG_SZ    1\n"
            "\nHKEY_CURRENT_USER\\S\\Gone\n    x    REG_SZ    1\n");
}

TEST_F(Reg_Files, CanBeWrittenLineByLine) {
  EXPECT_EQ(imported(five + "[HKCU\\S]\r\n\"a\"=\"1\"\r\n", {"--no-batch"}), done);
  EXPECT_EQ(out({"query", "HKCU\\S"}), "\nHKEY_CURRENT_USER\\S\n    a    REG_SZ    1\n");
}

TEST_F(Reg_Files, ComeFromAPipeAndGoToOne) {
  add("HKCU\\S", "a", "1");
  const kvtest::Child_Result result = kvtest::run_program(
      {"/bin/sh", "-c",
       "\"$0\" export HKCU\\\\S - | sed -e 's/S/s/' >/dev/null; \"$0\" export HKCU\\\\S - --version4 | "
       "sed -e 's/\"a\"/\"b\"/' | \"$0\" import -",
       KVTEST_KVREG},
      environment());
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(out({"query", "HKCU\\S"}), "\nHKEY_CURRENT_USER\\S\n    a    REG_SZ    1\n    b    REG_SZ    1\n");
}

TEST_F(Reg_Files, ThatStandAreReplacedOnlyWhenItIsToldAndThenWhole) {
  add("HKCU\\S", "a", "1");
  write(file("a.reg"), "mine");
  EXPECT_EQ(
      complaint({"export", "HKCU\\S", file("a.reg")}),
      "kvreg export: " + file("a.reg") + " is there. Replace it? Nobody can answer here; /y does it without asking.\n");
  EXPECT_EQ(content(file("a.reg")), "mine");
  EXPECT_EQ(complaint({"export", "HKCU\\Nix", file("a.reg"), "/y"}),
            "kvreg export: HKEY_CURRENT_USER\\Nix: no such key, value or file (ERROR_FILE_NOT_FOUND, 2)\n");
  EXPECT_EQ(content(file("a.reg")), "mine");
  EXPECT_EQ(out({"export", "HKCU\\S", file("a.reg"), "/y", "--version4"}), done);
  EXPECT_EQ(content(file("a.reg")), "REGEDIT4\r\n\r\n[HKEY_CURRENT_USER\\S]\r\n\"a\"=\"1\"\r\n\r\n");
}

TEST_F(Reg_Files, ThatCannotBeToldInTheCodePageAreNotWritten) {
  imported(five + "[HKCU\\S]\r\n\"lone\"=hex(1):c3,dc,a9,dc,00,00\r\n");
  write(file("a.reg"), "mine");
  EXPECT_EQ(complaint({"export", "HKCU\\S", file("a.reg"), "/y", "--version4"}),
            "kvreg export: HKEY_CURRENT_USER\\S: the value lone cannot be told exactly in the code page; version 5 "
            "tells it\n");
  EXPECT_EQ(content(file("a.reg")), "mine");
  std::size_t beside = 0;
  for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::path(file("a.reg")).parent_path()))
    beside += entry.path().filename().string().find(".new.") != std::string::npos ? 1 : 0;
  EXPECT_EQ(beside, 0u);
}

TEST_F(Reg_Files, ThatAreNotThereAreNamed) {
  EXPECT_EQ(complaint({"import", file("nix.reg")}),
            "kvreg import: cannot read " + file("nix.reg") + ": No such file or directory\n");
  EXPECT_EQ(complaint({"export", "HKCU", file("nix/a.reg")}),
            "kvreg export: cannot make " + file("nix/a.reg") + ": No such file or directory\n");
}

TEST_F(Reg_Files, WithLinesOf64MebibytesAreReadAndWhatIsTooLargeIsRefused) {
  if (Test_Registry::mode() != '1') GTEST_SKIP() << "a file is read before any server is asked";
  constexpr std::size_t mebibyte = 1 << 20;
  const std::string start = five + ";" + std::string(64 * mebibyte, '-') + "\r\n[HKCU\\S]\r\n\"a\"=";
  EXPECT_EQ(imported(start + "\"1\"\r\n"), done);
  EXPECT_EQ(refused(start + "\"" + std::string(32 * mebibyte, 'x') + "\"\r\n"),
            "kvreg import: " + file("in.reg") + ":5: the value has more than 64 MiB\n");
  EXPECT_EQ(out({"query", "HKCU\\S"}), "\nHKEY_CURRENT_USER\\S\n    a    REG_SZ    1\n");
}

TEST_F(Reg_Files, WithANulOrCutChangeNothing) {
  const std::string in = "kvreg import: " + file("in.reg");
  const std::string good = five + "[HKCU\\S]\r\n\"a\"=\"1\"\r\n";
  EXPECT_EQ(refused(good + "\"b\"=\"x\0y\"\r\n"s), in + ":5: a NUL character\n");
  EXPECT_EQ(refused(good + "[HKCU\\a\0b]\r\n"s), in + ":5: a NUL character\n");
  EXPECT_EQ(refused(good + "\"b\"=\"x"), in + ":5: the closing quote is missing\n");
  EXPECT_EQ(refused(good + "\"b\"=dword:"), in + ":5: a number has one to eight hexadecimal digits\n");
  EXPECT_EQ(refused(good + "[HKCU\\b"), in + ":5: the key is empty, or its closing bracket is missing\n");
  const std::string foreign = refused("\x89PNG\r\n\x1a\n"s);
  EXPECT_TRUE(foreign.starts_with(in + ":1: this is no registry file: ")) << foreign;
  EXPECT_EQ(run({"query", "HKCU\\S"}).exit_status, 1);
}

TEST_F(Reg_Files, AreNotMistakenForHives) {
  add("HKCU\\S", "a", "1");
  EXPECT_EQ(out({"save", "HKCU\\S", file("s.hive")}), done);
  EXPECT_EQ(complaint({"import", file("s.hive")}),
            "kvreg import: " + file("s.hive") + " is a hive, no .reg file; kvreg load makes it a key\n");
  EXPECT_EQ(complaint({"diff", file("s.hive"), "HKCU\\S"}),
            "kvreg diff: " + file("s.hive") + " is a hive, no .reg file; kvreg load makes it a key\n");
}

TEST_F(Reg_Files, LeaveTheTargetOnAFullDiskAsItWas) {
  add("HKCU\\S", "a", "1");
  EXPECT_EQ(complaint({"export", "HKCU\\S", "/dev/full", "/y"}),
            "kvreg export: cannot write /dev/full: No space left on device\n");
}

}  // namespace
