// kvreg browse in a real terminal.
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/ordinary_user.h"
#include "tests/tools/kvreg.h"
#include "tests/tools/terminal_screen.h"

namespace {

#define NEEDS_TMUX() \
  if (!Terminal_Screen::is_installed()) GTEST_SKIP() << "tmux is not installed"

class Browse : public Kvreg {
 protected:
  Browse() {
    add("HKCU\\S", "Font", "Mono");
    set("HKCU\\S", "Size", "REG_DWORD", "12");
    set("HKCU\\S", "Files", "REG_MULTI_SZ", "a.txt\\0b.txt");
    set("HKCU\\S", "Key", "REG_BINARY", "0102FF");
    add("HKCU\\S\\Below", "v", "deep");
  }

  void set(const std::string& key, const std::string& name, const std::string& type, const std::string& data) const {
    EXPECT_EQ(out({"add", key, "/v", name, "/t", type, "/d", data, "/f"}), done);
  }
  // "REG_SZ    Mono", or an empty text.
  std::string stored(const std::string& key, const std::string& name) const {
    const std::string lines = run({"query", key, "/v", name}).out;
    const std::size_t start = lines.find("    " + name + "    ");
    return start == lines.npos
               ? ""
               : lines.substr(start + name.size() + 8, lines.find('\n', start) - start - name.size() - 8);
  }
  static std::string command(const std::string& arguments) {
    return std::string(KVTEST_KVREG) + " browse " + arguments;
  }
};

// The browser at HKCU\S with the side of the values worked on, where Files is the first row, then Font, Key and Size.
class Browse_At_Values : public Browse {
 protected:
  void begin() {
    ASSERT_TRUE(terminal_.shows({"4 values"}));
    terminal_.keys({"Tab"});
    ASSERT_TRUE(terminal_.shows({"Files: REG_MULTI_SZ, 26 bytes"}));
  }

  Terminal_Screen terminal_{command("'HKCU\\S'"), environment()};
};

TEST_F(Browse, ShowsKeysAndValuesSideBySideAndTheKeysToPress) {
  NEEDS_TMUX();
  Terminal_Screen terminal(command("'HKCU\\S'"), environment());
  EXPECT_TRUE(terminal.begins({
      " HKEY_CURRENT_USER\\S",
      "+ HKEY_LOCAL_MACHINE            │Name         Type          Data",
      "- HKEY_CURRENT_USER             │Files        REG_MULTI_SZ  a.txt | b.txt",
      "  - S                           │Font         REG_SZ        Mono",
      "      Below                     │Key          REG_BINARY    0102FF",
      "  HKEY_CLASSES_ROOT             │Size         REG_DWORD     0xc (12)",
      "+ HKEY_USERS                    │",
      "  HKEY_CURRENT_CONFIG           │",
  }));
  const std::vector<std::string> rows = terminal.rows();
  ASSERT_EQ(rows.size(), 24u);
  EXPECT_EQ(rows[21], "4 values");
  EXPECT_EQ(rows[22], "Enter Open  Tab Other side  ? Help  q Quit  e Edit  b Bytes  k New key");
  EXPECT_EQ(rows[23], "v New value  r Rename  d Delete  u Undo  / Search  n Next  g Go to");
}

TEST_F(Browse, WalksThroughTheTree) {
  NEEDS_TMUX();
  Terminal_Screen terminal(command(""), environment());
  EXPECT_TRUE(terminal.begins({" HKEY_LOCAL_MACHINE"}));
  terminal.keys({"Down", "Right", "Right", "Enter", "Down"});
  EXPECT_TRUE(terminal.begins({" HKEY_CURRENT_USER\\S\\Below"}));
  EXPECT_TRUE(terminal.shows({"│v            REG_SZ        deep"}));
  terminal.keys({"Left", "Left"});
  EXPECT_TRUE(terminal.shows({"  + S  "}));
  terminal.keys({"g"});
  terminal.answer("hkcu\\s\\below");
  EXPECT_TRUE(terminal.begins({" HKEY_CURRENT_USER\\S\\Below"}));
  terminal.keys({"?"});
  EXPECT_TRUE(terminal.shows({"┌─ Keys ─", "/            looks for a text in names and data", "any key goes back"}));
  terminal.keys({"q"});
  EXPECT_TRUE(terminal.begins({" HKEY_CURRENT_USER\\S\\Below"}));
  terminal.keys({"q"});
  EXPECT_TRUE(terminal.shows({"ended 0"}));
}

TEST_F(Browse_At_Values, EditsAListOfTexts) {
  NEEDS_TMUX();
  begin();
  terminal_.keys({"Enter"});
  EXPECT_TRUE(terminal_.shows({"┌─ Files  REG_MULTI_SZ ─", "│ a.txt  ", "│ b.txt  "}));
  terminal_.type("2");
  terminal_.keys({"Enter"});
  terminal_.type("between");
  terminal_.keys({"F2"});
  EXPECT_TRUE(terminal_.shows({"the value Files was changed; u undoes it", "a.txt2 | between | …"}));
  EXPECT_EQ(stored("HKCU\\S", "Files"), "REG_MULTI_SZ    a.txt2\\0between\\0b.txt");
}

TEST_F(Browse_At_Values, EditsAText) {
  NEEDS_TMUX();
  begin();
  terminal_.keys({"Down", "Enter"});
  EXPECT_TRUE(terminal_.shows({"┌─ Font  REG_SZ ─", "│ Mono  "}));
  terminal_.type(" 漢");
  terminal_.keys({"Home"});
  terminal_.type("The ");
  terminal_.keys({"C-k"});
  EXPECT_TRUE(terminal_.shows({"4 hexadecimal digits stand for the unit"}));
  terminal_.type("000A");
  EXPECT_TRUE(terminal_.shows({"│ The \\u000AMono 漢"}));
  terminal_.keys({"Enter"});
  EXPECT_TRUE(terminal_.shows({"the value Font was changed; u undoes it"}));
  EXPECT_EQ(stored("HKCU\\S", "Font"), "REG_SZ    The \\u000AMono 漢");
}

TEST_F(Browse_At_Values, EditsANumberAndTellsWhatIsNone) {
  NEEDS_TMUX();
  begin();
  terminal_.keys({"End", "e"});
  EXPECT_TRUE(terminal_.shows({"┌─ Size  REG_DWORD ─", "│ 0xc  "}));
  terminal_.answer("4294967296");
  EXPECT_TRUE(terminal_.shows({"\"4294967296\" is no number for REG_DWORD: decimal, or with 0x", "│ 4294967296  "}));
  EXPECT_EQ(stored("HKCU\\S", "Size"), "REG_DWORD    0xc");
  terminal_.answer("17");
  EXPECT_TRUE(terminal_.shows({"the value Size was changed; u undoes it", "0x11 (17)"}));
  EXPECT_EQ(stored("HKCU\\S", "Size"), "REG_DWORD    0x11");
}

TEST_F(Browse_At_Values, EditsBytes) {
  NEEDS_TMUX();
  begin();
  terminal_.keys({"Down", "Down", "Enter"});
  EXPECT_TRUE(terminal_.shows({"┌─ Key  REG_BINARY ─", "│ 00000000  01 02 FF "}));
  terminal_.type("a");
  terminal_.keys({"Right", "DC", "IC", "End"});
  terminal_.type("41");
  EXPECT_TRUE(terminal_.shows({"│ 00000000  A1 00 FF 41 ", "...A"}));
  terminal_.keys({"C-d"});
  EXPECT_TRUE(terminal_.shows({"the value Key was changed; u undoes it"}));
  EXPECT_EQ(stored("HKCU\\S", "Key"), "REG_BINARY    A100FF41");
}

TEST_F(Browse_At_Values, GivesUpAnEditAtEscape) {
  NEEDS_TMUX();
  begin();
  terminal_.keys({"Down", "Enter"});
  EXPECT_TRUE(terminal_.shows({"┌─ Font  REG_SZ ─"}));
  terminal_.type("x");
  terminal_.keys({"Escape"});
  EXPECT_TRUE(terminal_.shows({"Font: REG_SZ, 10 bytes"}));
  EXPECT_EQ(stored("HKCU\\S", "Font"), "REG_SZ    Mono");
}

TEST_F(Browse_At_Values, DeletesAValueAfterAQuestionAndPutsItBack) {
  NEEDS_TMUX();
  begin();
  terminal_.keys({"d"});
  EXPECT_TRUE(terminal_.shows({"Delete the value Files of HKEY_CURRENT_USER\\S?", "y yes   n no"}));
  terminal_.keys({"n"});
  EXPECT_TRUE(terminal_.shows({"nothing was changed"}));
  EXPECT_EQ(stored("HKCU\\S", "Files"), "REG_MULTI_SZ    a.txt\\0b.txt");
  terminal_.keys({"d", "y"});
  EXPECT_TRUE(terminal_.shows({"the value Files was deleted; u undoes it"}));
  EXPECT_EQ(stored("HKCU\\S", "Files"), "");
  terminal_.keys({"u"});
  EXPECT_TRUE(terminal_.shows({"undone: the value Files was deleted", "a.txt | b.txt"}));
  EXPECT_EQ(stored("HKCU\\S", "Files"), "REG_MULTI_SZ    a.txt\\0b.txt");
  terminal_.keys({"u"});
  EXPECT_TRUE(terminal_.shows({"there is nothing to be undone"}));
}

TEST_F(Browse_At_Values, CreatesAndRenamesAValue) {
  NEEDS_TMUX();
  begin();
  terminal_.keys({"v"});
  terminal_.answer("Count");
  EXPECT_TRUE(terminal_.shows({"┌─ Type of the new value ─"}));
  terminal_.keys({"Down", "Down", "Down", "Enter"});
  EXPECT_TRUE(terminal_.shows({"┌─ Count  REG_DWORD ─"}));
  terminal_.answer("0x10");
  EXPECT_TRUE(terminal_.shows({"the value Count was created; u undoes it", "0x10 (16)"}));
  terminal_.keys({"r"});
  terminal_.answer("font");
  EXPECT_TRUE(terminal_.shows({"the key has a value of this name already"}));
  terminal_.answer("Number");
  EXPECT_TRUE(terminal_.shows({"the value Count was renamed; u undoes it"}));
  EXPECT_EQ(stored("HKCU\\S", "Number"), "REG_DWORD    0x10");
  EXPECT_EQ(stored("HKCU\\S", "Count"), "");
}

TEST_F(Browse, CreatesRenamesDeletesAndRestoresAKey) {
  NEEDS_TMUX();
  Terminal_Screen terminal(command("'HKCU\\S'"), environment());
  EXPECT_TRUE(terminal.shows({"4 values"}));
  terminal.keys({"k"});
  EXPECT_TRUE(terminal.shows({"┌─ New key ─", "Its name, below HKEY_CURRENT_USER\\S"}));
  terminal.answer("back\\slash");
  EXPECT_TRUE(terminal.shows({"a name of a key has no backslash"}));
  terminal.answer("New");
  EXPECT_TRUE(terminal.begins({" HKEY_CURRENT_USER\\S\\New"}));
  terminal.keys({"r"});
  EXPECT_TRUE(terminal.shows({"┌─ Rename ─"}));
  terminal.answer("Newer");
  EXPECT_TRUE(terminal.begins({" HKEY_CURRENT_USER\\S\\Newer"}));
  EXPECT_TRUE(terminal.shows({"the key New was renamed; u undoes it"}));
  EXPECT_EQ(run({"query", "HKCU\\S\\Newer"}).exit_status, 0);

  terminal.keys({"Left", "d"});
  EXPECT_TRUE(terminal.shows({"Delete the key HKEY_CURRENT_USER\\S with all below it (3 keys, 5 values)?"}));
  terminal.keys({"n"});
  EXPECT_TRUE(terminal.shows({"nothing was changed"}));
  EXPECT_EQ(stored("HKCU\\S\\Below", "v"), "REG_SZ    deep");
  terminal.keys({"d", "y"});
  EXPECT_TRUE(terminal.shows({"the key S was deleted; u undoes it"}));
  EXPECT_EQ(run({"query", "HKCU\\S"}).exit_status, 1);
  terminal.keys({"u"});
  EXPECT_TRUE(terminal.shows({"undone: the key S was deleted"}));
  EXPECT_EQ(stored("HKCU\\S\\Below", "v"), "REG_SZ    deep");
  terminal.keys({"u"});
  EXPECT_TRUE(terminal.shows({"undone: the key New was renamed"}));
  terminal.keys({"u"});
  EXPECT_TRUE(terminal.shows({"undone: the key New was created"}));
  EXPECT_EQ(run({"query", "HKCU\\S\\New"}).exit_status, 1);
}

TEST_F(Browse, FindsATextAndGoesOn) {
  NEEDS_TMUX();
  add("HKCU\\S\\Below\\Deeper mono", "v", "x");
  Terminal_Screen terminal(command("'HKCU\\S'"), environment());
  EXPECT_TRUE(terminal.shows({"4 values"}));
  terminal.keys({"/"});
  EXPECT_TRUE(terminal.shows({"┌─ Search ─"}));
  terminal.answer("MONO");
  EXPECT_TRUE(terminal.shows({"found \"MONO\"; n looks for the next one"}));
  EXPECT_TRUE(terminal.begins({" HKEY_CURRENT_USER\\S"}));
  terminal.keys({"n"});
  EXPECT_TRUE(terminal.begins({" HKEY_CURRENT_USER\\S\\Below\\Deeper mono"}));
  terminal.keys({"/"});
  terminal.answer("not there");
  EXPECT_TRUE(terminal.shows({"\"not there\" is nowhere in names or data"}));
}

TEST_F(Browse_At_Values, ShowsWhatAnotherProgramChanges) {
  NEEDS_TMUX();
  begin();
  add("HKCU\\S", "Live", "from outside");
  EXPECT_TRUE(terminal_.shows({"│Live         REG_SZ        from outside"}));
  add("HKCU\\S\\Another", "v", "1");
  EXPECT_TRUE(terminal_.shows({"      Another  "}));
  EXPECT_EQ(out({"delete", "HKCU\\S", "/v", "Live", "/f"}), done);
  EXPECT_TRUE(
      terminal_.begins({" HKEY_CURRENT_USER\\S", "+ HKEY_LOCAL_MACHINE            │Name         Type          Data",
                        "- HKEY_CURRENT_USER             │Files        REG_MULTI_SZ  a.txt | b.txt",
                        "  - S                           │Font         REG_SZ        Mono",
                        "      Another                   │Key          REG_BINARY    0102FF",
                        "      Below                     │Size         REG_DWORD     0xc (12)"}));
  EXPECT_EQ(out({"delete", "HKCU\\S", "/f"}), done);
  EXPECT_TRUE(terminal_.shows({"HKEY_CURRENT_USER\\S is there no more"}));
  EXPECT_TRUE(terminal_.begins({" HKEY_CURRENT_USER"}));
}

TEST_F(Browse_At_Values, AsksBeforeItWritesOverWhatAnotherProgramChanged) {
  NEEDS_TMUX();
  begin();
  terminal_.keys({"Down", "Enter"});
  EXPECT_TRUE(terminal_.shows({"┌─ Font  REG_SZ ─"}));
  add("HKCU\\S", "Font", "Other");
  terminal_.answer("Mine");
  EXPECT_TRUE(terminal_.shows({"Meanwhile somebody else has changed the value. Write yours anyway?"}));
  terminal_.keys({"n"});
  EXPECT_TRUE(terminal_.shows({"nothing was changed"}));
  EXPECT_EQ(stored("HKCU\\S", "Font"), "REG_SZ    Other");
}

TEST_F(Browse_At_Values, AsksBeforeItUndoesWhatAnotherProgramChanged) {
  NEEDS_TMUX();
  begin();
  terminal_.keys({"Down", "Enter"});
  terminal_.answer("Mine");
  EXPECT_TRUE(terminal_.shows({"the value Font was changed; u undoes it"}));
  add("HKCU\\S", "Font", "Other");
  EXPECT_TRUE(terminal_.shows({"│Font         REG_SZ        Other"}));
  terminal_.keys({"u"});
  EXPECT_TRUE(terminal_.shows({"Since then somebody has changed the same: the value Font was changed."}));
  terminal_.keys({"y"});
  EXPECT_TRUE(terminal_.shows({"undone: the value Font was changed"}));
  EXPECT_EQ(stored("HKCU\\S", "Font"), "REG_SZ    Mono");
}

TEST_F(Browse, FollowsTheSizeOfTheTerminal) {
  NEEDS_TMUX();
  Terminal_Screen terminal(command("'HKCU\\S'"), environment());
  EXPECT_TRUE(terminal.shows({"4 values"}));
  terminal.resize(60, 12);
  EXPECT_TRUE(terminal.begins({" HKEY_CURRENT_USER\\S", "+ HKEY_LOCAL_MACHINE    │Name       Type   Data",
                               "- HKEY_CURRENT_USER     │Files      MULTI… a.txt | b.txt"}));
  terminal.resize(30, 8);
  EXPECT_TRUE(terminal.begins({"The terminal is too small:", "40 by 10 is needed"}));
  terminal.resize(100, 30);
  EXPECT_TRUE(terminal.begins(
      {" HKEY_CURRENT_USER\\S", "+ HKEY_LOCAL_MACHINE                    │Name              Type          Data"}));
  EXPECT_EQ(terminal.rows().size(), 30u);
}

TEST_F(Browse, ShowsOddNamesAndDataHarmlessly) {
  NEEDS_TMUX();
  add("HKCU\\O", "a\nb\x1B[2J\"q'", "x\x1B[31mred");
  add("HKCU\\O", "lone\xED\xA0\x80", "\xE2\x80\xAE turned");
  add("HKCU\\O\\k\x1B]0;title\x07\x7F", "v", "1");
  Terminal_Screen terminal(command("'HKCU\\O'"), environment());
  EXPECT_TRUE(terminal.begins({
      " HKEY_CURRENT_USER\\O",
      "+ HKEY_LOCAL_MACHINE            │Name         Type          Data",
      "- HKEY_CURRENT_USER             │a\\u000Ab…    REG_SZ        x\\u001B[31mred",
      "  - O                           │lone\\uD800   REG_SZ        \\u202E turned",
      "      k\\u001B]0;title\\u0007…    │",
  }));
  EXPECT_EQ(terminal.rows()[22], "Enter Open  Tab Other side  ? Help  q Quit  e Edit  b Bytes  k New key");
}

TEST_F(Browse, CutsWideCharactersAtTheEdgeOfTheirColumn) {
  NEEDS_TMUX();
  add("HKCU\\W", "漢字漢字漢字", "かなかなかなかなかなか");
  add("HKCU\\W", "a漢字漢字漢字漢", "e\xCC\x81t");
  Terminal_Screen terminal(command("'HKCU\\W'"), environment());
  EXPECT_TRUE(
      terminal.shows({"│a漢字漢字漢… REG_SZ        e\xCC\x81t", "│漢字漢字漢字 REG_SZ        かなかなかなかなか…"}));
}

TEST_F(Browse, GivesTheTerminalBackWhenASignalEndsIt) {
  NEEDS_TMUX();
  const std::string pid_file = file("pid");
  for (const auto& [signal, status] :
       {std::pair("TERM", "ended 143"), std::pair("INT", "ended 130"), std::pair("HUP", "ended 129")}) {
    Terminal_Screen terminal("sh -c 'echo $$ > " + pid_file + "; exec " + KVTEST_KVREG + " browse'", environment());
    ASSERT_TRUE(terminal.begins({" HKEY_LOCAL_MACHINE"}));
    EXPECT_EQ(
        kvtest::run_program({"/bin/sh", "-c", "kill -" + std::string(signal) + " $(cat " + pid_file + ")"}).exit_status,
        0);
    EXPECT_TRUE(terminal.shows({status}));
    // The terminal is a line at a time again, and shows what is typed.
    terminal.type("typed");
    EXPECT_TRUE(terminal.begins({status, "typed"}));
  }
}

TEST_F(Browse, EndsAtCtrlC) {
  NEEDS_TMUX();
  Terminal_Screen terminal(command(""), environment());
  ASSERT_TRUE(terminal.begins({" HKEY_LOCAL_MACHINE"}));
  terminal.keys({"C-c"});
  EXPECT_TRUE(terminal.shows({"ended 130"}));
}

TEST_F(Browse, EndsWhenItsTerminalIsGoneAndKeepsEveryChange) {
  NEEDS_TMUX();
  const std::string status = file("status");
  Terminal_Screen terminal(
      "trap '' HUP; " + command("'HKCU\\S'") + "; echo $? > " + status + ".new; mv " + status + ".new " + status,
      environment());
  ASSERT_TRUE(terminal.shows({"4 values"}));
  terminal.keys({"k"});
  terminal.answer("Kept");
  EXPECT_TRUE(terminal.shows({"the key Kept was created"}));
  terminal.close();
  constexpr int most_looks = 3000;
  for (int i = 0; i < most_looks && access(status.c_str(), F_OK) != 0; ++i) usleep(20'000);
  EXPECT_EQ(content(status), "129\n");
  EXPECT_EQ(run({"query", "HKCU\\S\\Kept"}).exit_status, 0);
}

TEST_F(Browse, ChangesNothingWhenItIsAskedToOnlyRead) {
  NEEDS_TMUX();
  Terminal_Screen terminal(command("--read-only 'HKCU\\S'"), environment());
  EXPECT_TRUE(terminal.shows({"read-only: as was asked for"}));
  terminal.keys({"k"});
  EXPECT_TRUE(terminal.shows({"HKEY_CURRENT_USER\\S is read-only: as was asked for"}));
  terminal.keys({"Tab", "Enter"});
  EXPECT_TRUE(terminal.shows({"HKEY_CURRENT_USER\\S is read-only: as was asked for"}));
  EXPECT_EQ(stored("HKCU\\S", "Font"), "REG_SZ    Mono");
}

// Root may write everywhere, so the browser runs as a user without rights then.
TEST_F(Browse, IsReadOnlyWhereTheRightsSaySo) {
  NEEDS_TMUX();
  std::string as_user;
  add("HKLM\\Shut", "v", "1");
  EXPECT_EQ(run({"chmod", "0555", "HKLM\\Shut"}).exit_status, 0);
  std::vector<std::string> variables = environment();
  kvtest::Temp_Folder home;
  if (geteuid() == 0) {
    as_user = "setpriv --reuid=" + std::to_string(kvtest::ordinary_id) +
              " --regid=" + std::to_string(kvtest::ordinary_id) + " --clear-groups ";
    EXPECT_EQ(chown(home.path().c_str(), kvtest::ordinary_id, kvtest::ordinary_id), 0);
    variables.push_back("HOME=" + home.path());
    const std::string opened =
        "chmod 755 \"${TMPDIR%/*}\" \"$TMPDIR\" " + file("") + " && chmod 644 " + machine_file() + "* && " + as_user;
    const kvtest::Child_Result reached =
        kvtest::run_program({"/bin/sh", "-c", opened + KVTEST_KVREG " query 'HKLM\\Shut'"}, variables);
    if (reached.exit_status != 0)
      GTEST_SKIP() << "an ordinary user does not reach the program or the hive: " << reached.err;
  }
  Terminal_Screen terminal(as_user + command("'HKLM\\Shut'"), variables);
  EXPECT_TRUE(
      terminal.shows({"read-only: access denied", " HKEY_LOCAL_MACHINE\\Shut", "│v            REG_SZ        1"}));
  terminal.keys({"d"});
  EXPECT_TRUE(terminal.shows({"HKEY_LOCAL_MACHINE\\Shut is read-only: access denied: the rights of the key"}));
  EXPECT_EQ(stored("HKLM\\Shut", "v"), "REG_SZ    1");
}

TEST_F(Browse, RefusesWhatIsNoTerminal) {
  EXPECT_EQ(complaint({"browse"}),
            "kvreg browse: standard input and output must be a terminal; the other verbs serve scripts\n");
}

TEST_F(Browse, RefusesATerminalOfAnUnknownKind) {
  NEEDS_TMUX();
  Terminal_Screen terminal("TERM=nonsense " + command(""), environment());
  EXPECT_TRUE(terminal.shows({"kvreg browse: the terminal \"nonsense\" is not known; TERM names its kind", "ended 1"}));
}

TEST_F(Browse, RefusesAKeyThatIsNotThere) {
  NEEDS_TMUX();
  Terminal_Screen terminal(command("'HKCU\\Missing'"), environment());
  EXPECT_TRUE(terminal.shows({"kvreg browse: HKEY_CURRENT_USER\\Missing: no such key, value or file", "ended 1"}));
}

}  // namespace
