// Named events: who meets whom, and what lies in the folder.
#include <sys/stat.h>

#include "tests/kernel32/sync/events.h"
#include "tests/support/child.h"

namespace {

using namespace kvtest;
using Files = std::set<std::string>;

// Signals the event through one name and looks at it through another.
bool meet(const char* first, const char* second) {
  const HANDLE one = make_event(false, false, first);
  const HANDLE other = make_event(false, false, second);
  SetEvent(one);
  const bool same = look_at(other) == 0;
  CloseHandle(one);
  CloseHandle(other);
  return same;
}

TEST(NamedEvent, IsFoundByTheNextCreatorWith183) {
  const HANDLE first = make_event(true, true, "found");
  EXPECT_EQ(GetLastError(), 0u);
  const HANDLE second = make_event(true, false, "found");
  EXPECT_EQ(GetLastError(), 183u);
  EXPECT_NE(first, second);
  EXPECT_EQ(look_at(second), 0u);
  ResetEvent(second);
  EXPECT_EQ(look_at(first), 258u);
  CloseHandle(first);
  CloseHandle(second);
}

TEST(NamedEvent, KeepsTheKindAndStateOfItsFirstCreator) {
  const HANDLE automatic = make_event(false, false, "kind a");
  const HANDLE as_manual = make_event(true, true, "kind a");
  EXPECT_EQ(look_at(as_manual), 258u);
  SetEvent(as_manual);
  EXPECT_EQ(look_at(as_manual), 0u);
  EXPECT_EQ(look_at(automatic), 258u);
  const HANDLE manual = make_event(true, false, "kind m");
  const HANDLE as_automatic = make_event(false, true, "kind m");
  EXPECT_EQ(look_at(as_automatic), 258u);
  SetEvent(manual);
  EXPECT_EQ(look_at(as_automatic), 0u);
  EXPECT_EQ(look_at(as_automatic), 0u);
  for (HANDLE event : {automatic, as_manual, manual, as_automatic}) CloseHandle(event);
}

TEST(NamedEvent, IsOpenedWhileSomebodyHasIt) {
  SetLastError(0);
  EXPECT_EQ(open_event("opened"), nullptr);
  EXPECT_EQ(GetLastError(), 2u);
  const HANDLE first = make_event(true, false, "opened");
  const HANDLE second = open_event("opened");
  EXPECT_EQ(GetLastError(), 0u);
  ASSERT_NE(second, nullptr);
  CloseHandle(first);
  SetEvent(second);
  const HANDLE third = OpenEventW(EVENT_ALL_ACCESS, FALSE, L"opened");
  EXPECT_EQ(look_at(third), 0u);
  CloseHandle(second);
  CloseHandle(third);
  EXPECT_EQ(open_event("opened"), nullptr);
  EXPECT_EQ(GetLastError(), 2u);
}

TEST(NamedEvent, LosesItsStateAndItsFileWithItsLastHandle) {
  CloseHandle(make_event(true, true, "left"));
  EXPECT_EQ(event_files(), Files{".lock"});
  const HANDLE again = make_event(false, false, "left");
  EXPECT_EQ(GetLastError(), 0u);
  EXPECT_EQ(look_at(again), 258u);
  SetEvent(again);
  EXPECT_EQ(look_at(again), 0u);
  EXPECT_EQ(look_at(again), 258u);
  CloseHandle(again);
}

TEST(NamedEvent, IsTheSameForBothFormsOfItsName) {
  const HANDLE narrow = make_event(true, true, "f\xC3\xBCr \xE2\x82\xAC");
  const HANDLE wide = CreateEventW(nullptr, TRUE, FALSE, L"f\u00FCr \u20AC");
  EXPECT_EQ(GetLastError(), 183u);
  EXPECT_EQ(look_at(wide), 0u);
  CloseHandle(narrow);
  CloseHandle(wide);
}

TEST(NamedEvent, CountsEveryCharacterOfItsName) {
  for (const char* name : {"a/b", "a\\b", "a", "A", ".", "..", ".lock", "Global\\a", "a%", "%2f", "/", "a\nb", " "}) {
    EXPECT_TRUE(meet(name, name)) << name;
  }
  EXPECT_FALSE(meet("a/b", "a\\b"));
  EXPECT_FALSE(meet("a", "A"));
  EXPECT_FALSE(meet("/", "%2f"));
  EXPECT_FALSE(meet("Global\\a", "a"));
  EXPECT_FALSE(meet("a", "a "));
  EXPECT_EQ(event_files(), Files{".lock"});
}

TEST(NamedEvent, HasANameOfUpTo260Characters) {
  const std::string longest(260, 'n');
  EXPECT_TRUE(meet(longest.c_str(), longest.c_str()));
  EXPECT_FALSE(meet(longest.c_str(), longest.substr(1).c_str()));
  EXPECT_FALSE(meet(longest.c_str(), (longest.substr(1) + "m").c_str()));
  EXPECT_FALSE(meet(longest.substr(0, 240).c_str(), longest.substr(0, 241).c_str()));
  SetLastError(0);
  EXPECT_EQ(make_event(true, false, (longest + "n").c_str()), nullptr);
  EXPECT_EQ(GetLastError(), 206u);
  SetLastError(0);
  EXPECT_EQ(open_event((longest + "n").c_str()), nullptr);
  EXPECT_EQ(GetLastError(), 206u);
}

TEST(NamedEvent, OfALongNameOfSpecialCharactersLeavesNothingBehind) {
  const std::wstring longest(260, L'\\');
  const HANDLE event = CreateEventW(nullptr, TRUE, TRUE, longest.c_str());
  const HANDLE again = OpenEventW(SYNCHRONIZE, FALSE, longest.c_str());
  EXPECT_EQ(look_at(again), 0u);
  const HANDLE wide = CreateEventW(nullptr, TRUE, FALSE, std::wstring(260, L'\U0001F600').c_str());
  EXPECT_NE(wide, nullptr);
  for (HANDLE each : {event, again, wide}) CloseHandle(each);
  EXPECT_EQ(event_files(), Files{".lock"});
}

TEST(NamedEvent, MustHaveANameToBeOpened) {
  SetLastError(0);
  EXPECT_EQ(OpenEventA(EVENT_ALL_ACCESS, FALSE, nullptr), nullptr);
  EXPECT_EQ(GetLastError(), 87u);
  SetLastError(0);
  EXPECT_EQ(OpenEventW(EVENT_ALL_ACCESS, FALSE, nullptr), nullptr);
  EXPECT_EQ(GetLastError(), 87u);
  EXPECT_EQ(OpenEventA(EVENT_ALL_ACCESS, FALSE, ""), nullptr);
  EXPECT_EQ(GetLastError(), 123u);
}

TEST(NamedEvent, GivesTheRightsThatWereAskedFor) {
  const HANDLE whole = make_event(true, true, "rights");
  const HANDLE waiting = open_event("rights", SYNCHRONIZE);
  const HANDLE setting = open_event("rights", EVENT_MODIFY_STATE);
  EXPECT_EQ(look_at(waiting), 0u);
  SetLastError(0);
  EXPECT_EQ(ResetEvent(waiting), FALSE);
  EXPECT_EQ(GetLastError(), 5u);
  SetLastError(0);
  EXPECT_EQ(look_at(setting), 0xFFFFFFFFu);
  EXPECT_EQ(GetLastError(), 5u);
  EXPECT_EQ(look_at(whole), 0u);
  EXPECT_EQ(ResetEvent(setting), TRUE);
  EXPECT_EQ(look_at(whole), 258u);
  for (HANDLE event : {whole, waiting, setting}) CloseHandle(event);
}

TEST(NamedEvent, KnowsTheGenericRights) {
  const HANDLE whole = make_event(true, true, "generic");
  const HANDLE writing = open_event("generic", GENERIC_WRITE);
  const HANDLE executing = open_event("generic", GENERIC_EXECUTE);
  const HANDLE most = open_event("generic", MAXIMUM_ALLOWED);
  EXPECT_EQ(SetEvent(writing), TRUE);
  EXPECT_EQ(look_at(writing), 0xFFFFFFFFu);
  EXPECT_EQ(look_at(executing), 0u);
  EXPECT_EQ(SetEvent(executing), FALSE);
  EXPECT_EQ(look_at(most), 0u);
  EXPECT_EQ(SetEvent(most), TRUE);
  for (HANDLE event : {whole, writing, executing, most}) CloseHandle(event);
}

TEST(EventFolder, IsTheUsersOwn) {
  CloseHandle(make_event(true, false, "folder"));
  struct stat status;
  ASSERT_EQ(lstat(event_folder().c_str(), &status), 0);
  EXPECT_TRUE(S_ISDIR(status.st_mode));
  EXPECT_EQ(status.st_mode & 07777, 0700u);
  EXPECT_EQ(status.st_uid, geteuid());
}

TEST(EventFolder, HasFilesWhoseModesTellTheKindWhateverTheCreationMask) {
  const mode_t mask = umask(0777);
  const HANDLE manual = make_event(true, false, "mode m");
  const HANDLE automatic = make_event(false, false, "mode a");
  umask(mask);
  struct stat status;
  ASSERT_EQ(stat((event_folder() / "mode m").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode, static_cast<mode_t>(S_IFIFO | 01700));
  ASSERT_EQ(stat((event_folder() / "mode a").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode, static_cast<mode_t>(S_IFIFO | 01600));
  for (HANDLE event : {manual, automatic}) EXPECT_EQ(CloseHandle(event), TRUE);
}

TEST(EventFolder, OpenToOthersIsRefusedWith5) {
  CloseHandle(make_event(true, false, "folder"));
  chmod(event_folder().c_str(), 0755);
  SetLastError(0);
  EXPECT_EQ(make_event(true, false, "folder"), nullptr);
  EXPECT_EQ(GetLastError(), 5u);
  EXPECT_EQ(open_event("folder"), nullptr);
  EXPECT_EQ(GetLastError(), 5u);
  chmod(event_folder().c_str(), 0700);
}

TEST(EventFolder, BehindALinkIsRefusedWith5) {
  CloseHandle(make_event(true, false, "folder"));
  const Temp_Folder elsewhere;
  std::filesystem::rename(event_folder(), elsewhere / "moved");
  std::filesystem::create_directory_symlink(elsewhere / "moved", event_folder());
  SetLastError(0);
  EXPECT_EQ(make_event(true, false, "folder"), nullptr);
  EXPECT_EQ(GetLastError(), 5u);
  std::filesystem::remove(event_folder());
}

TEST(EventFolder, IsMadeAgainWhenItIsGone) {
  CloseHandle(make_event(true, false, "folder"));
  std::filesystem::remove_all(event_folder());
  const HANDLE event = make_event(true, true, "folder");
  EXPECT_EQ(look_at(event), 0u);
  CloseHandle(event);
}

TEST(EventFolder, WithoutATemporaryDirectoryCannotBeMade) {
  const Temp_Folder folder;
  const auto program = run_program(
      {"/proc/self/exe", "--gtest_filter=Elsewhere.DISABLED_FindsNoFolder", "--gtest_also_run_disabled_tests"},
      {"TMPDIR=" + folder / "missing"});
  EXPECT_EQ(program.exit_status, 0) << program.out;
}

// Not a test of its own: a program whose temporary directory is missing.
TEST(Elsewhere, DISABLED_FindsNoFolder) {
  EXPECT_EQ(make_event(true, false, "nowhere"), nullptr);
  EXPECT_EQ(GetLastError(), 3u);
  EXPECT_EQ(open_event("nowhere"), nullptr);
  EXPECT_EQ(GetLastError(), 2u);
  const HANDLE unnamed = make_event(true, true);
  EXPECT_EQ(look_at(unnamed), 0u);
  CloseHandle(unnamed);
}

TEST(EventFolder, WithAFileInThePlaceOfAnEventRefusesIt) {
  CloseHandle(make_event(true, false, "folder"));
  fclose(fopen((event_folder() / "file").c_str(), "w"));
  SetLastError(0);
  EXPECT_EQ(make_event(true, false, "file"), nullptr);
  EXPECT_EQ(GetLastError(), 5u);
  std::filesystem::remove(event_folder() / "file");
}

}  // namespace
