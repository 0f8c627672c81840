// Hives that are damaged: each call answers a clear code, one line on standard error names the file, not a byte
// is overwritten, and once the file is put right the next call of the same process works.
#include "tests/store/hive_files.h"

namespace kvtest {
namespace {

TEST_F(Hive_Files, ThatAreGoodAreUsedWithoutAWord) {
  write_file(hive(), good());
  EXPECT_TRUE(answered(act(uses(), environment()), "0 " + std::string(100, 'v') + "\n0 1\n0\n0 1\n"));
}

TEST_F(Hive_Files, ThatAreMissingAreMade) {
  EXPECT_TRUE(answered(act({{"set", "HKLM\\S", "n", "x"}, {"get", "HKLM\\S", "n"}}, environment()), "0\n0 x\n"));
}

TEST_F(Hive_Files, ThatAreEmptyBecomeHives) {
  write_file(hive(), "");
  EXPECT_TRUE(answered(act({{"get", "HKLM\\S", "n"}, {"set", "HKLM\\S", "n", "x"}}, environment()), "2\n0\n"));
  EXPECT_TRUE(answered(act({{"get", "HKLM\\S", "n"}}, environment()), "0 x\n"));
}

TEST_F(Hive_Files, CutAtAPageAre1009) {
  expect_refused(good().substr(0, 4096), "1009");
  expect_refused(good().substr(0, 8192), "1009");
  expect_refused(good().substr(0, good().size() - 4096), "1009");
}

TEST_F(Hive_Files, CutInTheMiddleAre1009) {
  expect_refused(good().substr(0, good().size() / 2 + 1234), "1009");
  expect_refused(good().substr(0, 5000), "1009");
}

TEST_F(Hive_Files, CutInTheirFirstPageAre1009) {
  expect_refused(good().substr(0, 3000), "1009");
  expect_refused(good().substr(0, 600), "1009");
}

TEST_F(Hive_Files, CutInTheirHeadAreNoHiveAnyMore) {
  for (std::size_t size : {1u, 15u, 16u, 50u, 99u}) expect_refused(good().substr(0, size), "1017");
  expect_refused(good().substr(0, 100), "1009");
}

TEST_F(Hive_Files, CutShortWorkAgainOncePutRight) { expect_mended_by_next_call(good().substr(0, 8192), "1009"); }

TEST_F(Hive_Files, OverwrittenFromTheirSecondPageOnAre1009) { expect_refused(with_noise_from(4096), "1009"); }

TEST_F(Hive_Files, OverwrittenWithZerosFromTheirSecondPageOnAre1009) {
  expect_refused(good().substr(0, 4096) + std::string(good().size() - 4096, '\0'), "1009");
}

TEST_F(Hive_Files, OverwrittenBehindTheirHeadAre1009) { expect_refused(with_noise_from(100), "1009"); }

TEST_F(Hive_Files, OverwrittenFromTheirStartAre1017) {
  expect_refused(with_noise_from(0), "1017");
  expect_refused(std::string(good().size(), '\0'), "1017");
}

TEST_F(Hive_Files, OverwrittenWorkAgainOncePutRight) {
  expect_mended_by_next_call(with_noise_from(4096), "1009");
  expect_mended_by_next_call(with_noise_from(0), "1017");
}

TEST_F(Hive_Files, ThatAreTextAre1017AndStayTextUntilPutRight) {
  const std::string text = "[settings]\nname=value\n";
  expect_refused(text, "1017");
  expect_refused("x", "1017");
  expect_refused(std::string(100000, 'x'), "1017");
  expect_mended_by_next_call(text, "1017");
}

TEST_F(Hive_Files, ThatAreDatabasesOfAnotherProgramAre1017) {
  const std::string other = folder_ / "other";
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(other.c_str(), &db), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(db, "CREATE TABLE node(a, b); INSERT INTO node VALUES(1, 2)", nullptr, nullptr, nullptr),
            SQLITE_OK);
  ASSERT_EQ(sqlite3_close(db), SQLITE_OK);
  expect_refused(content_of(other), "1017");
}

TEST_F(Hive_Files, ThatAreFoldersAre1017) {
  ASSERT_TRUE(fs::create_directory(hive()));
  Child_Result result = act(uses(), environment());
  EXPECT_EQ(result.out, refused("1017"));
  expect_one_line_naming(hive(), result);
  EXPECT_TRUE(fs::is_directory(hive()));
  EXPECT_TRUE(fs::is_empty(hive()));

  Child_Result mended = act({{"open", "HKLM\\Software\\K1"},
                             {"remove", hive()},
                             {"copy", good_file(), hive()},
                             {"open", "HKLM\\Software\\K1"}},
                            environment());
  EXPECT_EQ(mended.out, "1017\nremoved\ncopied\n0\n");
}

TEST_F(Hive_Files, WhoseLogIsCutOrOverwrittenKeepWhatTheirFileHolds) {
  for (const std::string& log : {noise(50000), std::string("x"), std::string(32, '\0'), std::string()}) {
    write_file(hive(), good());
    write_file(hive() + "-wal", log);
    EXPECT_TRUE(answered(
        act({{"get", "HKLM\\Software\\K150", "n"}, {"set", "HKLM\\Software\\K150", "n", "new"}}, environment()),
        "0 " + std::string(100, 'v') + "\n0\n"));
    EXPECT_TRUE(answered(act({{"get", "HKLM\\Software\\K150", "n"}}, environment()), "0 new\n"));
    for (const char* beside : {"-wal", "-shm"}) fs::remove(hive() + beside);
  }
}

TEST_F(Hive_Files, OfTheUserThatAreDamagedLeaveTheMachinesUsable) {
  Temp_Folder home;
  const std::vector<std::string> environment = {"HOME=" + home.path(), "KVREGISTRY"};
  ASSERT_EQ(act({{"set", "HKCU\\S", "n", "x"}}, environment).exit_status, 0);
  std::string live;
  for (const auto& entry : fs::recursive_directory_iterator(home / ".kv/core_data")) {
    if (entry.path().filename() == "hkcu.hive") live = entry.path();
  }
  ASSERT_NE(live, "");
  gather(live);
  const std::string damaged = content_of(live).substr(0, 4096);
  write_file(live, damaged);
  const std::string image = content_of(home / ".kv/windows/hkcu.bin");
  Child_Result result =
      act({{"get", "HKCU\\S", "n"}, {"set", "HKCU\\S", "n", "y"}, {"set", "HKLM\\S", "n", "z"}}, environment);
  EXPECT_EQ(result.out, "1009\n1009\n0\n");
  expect_one_line_naming(live, result);
  EXPECT_TRUE(content_of(live) == damaged);
  EXPECT_TRUE(content_of(home / ".kv/windows/hkcu.bin") == image) << "the per-user file was overwritten";
}

class Open_Hives : public Hive_Files {
 protected:
  // Damaged in place by another program, then put right in place.
  void expect_mended_while_open(const std::string& damaged) {
    put_hive(good());
    write_file(folder_ / "damaged", damaged);
    std::vector<Step> steps = {{"get", "HKLM\\Software\\K1", "n"},   {"copy", folder_ / "damaged", hive()},
                               {"get", "HKLM\\Software\\K250", "n"}, {"names", "HKLM\\Software\\K299"},
                               {"copy", good_file(), hive()},        {"get", "HKLM\\Software\\K250", "n"}};
    Child_Result result = act(steps, environment());
    EXPECT_EQ(result.exit_status, 0);
    const std::string first = "0 " + std::string(100, 'v') + "\ncopied\n";
    const std::string last = "copied\n0 " + std::string(100, 'v') + "\n";
    EXPECT_EQ(result.out.substr(0, first.size()), first);
    EXPECT_EQ(result.out.substr(result.out.size() - last.size()), last) << result.out << result.err;
    EXPECT_TRUE(content_of(hive()) == good());
  }
};

TEST_F(Open_Hives, CutShortWorkAgainOncePutRight) {
  expect_mended_while_open(good().substr(0, 8192));
  expect_mended_while_open(good().substr(0, 50));
}

TEST_F(Open_Hives, OverwrittenWorkAgainOncePutRight) {
  expect_mended_while_open(with_noise_from(4096));
  expect_mended_while_open(with_noise_from(0));
}

TEST_F(Open_Hives, CutToNothingWorkAgainOncePutRight) { expect_mended_while_open(""); }

TEST_F(Open_Hives, ThatAreRemovedAreMadeAnew) {
  put_hive(good());
  std::vector<Step> steps = {{"get", "HKLM\\Software\\K1", "n"},
                             {"remove", hive()},
                             {"get", "HKLM\\Software\\K1", "n"},
                             {"set", "HKLM\\Software\\New", "n", "x"},
                             {"get", "HKLM\\Software\\New", "n"}};
  EXPECT_TRUE(answered(act(steps, environment()), "0 " + std::string(100, 'v') + "\nremoved\n2\n0\n0 x\n"));
  EXPECT_TRUE(answered(act({{"get", "HKLM\\Software\\New", "n"}, {"get", "HKLM\\Software\\K1", "n"}}, environment()),
                       "0 x\n2\n"));
}

TEST_F(Hive_Files, ReplacedByRenamingWorkWithTheNextCall) {
  put_hive(noise(50000));
  std::vector<Step> steps = {{"open", "HKLM\\Software\\K1"},
                             {"rename", good_file(), hive()},
                             {"get", "HKLM\\Software\\K1", "n"},
                             {"set", "HKLM\\Software\\K1", "n", "new"}};
  Child_Result result = act(steps, environment());
  EXPECT_EQ(result.out, "1017\n0\n0 " + std::string(100, 'v') + "\n0\n");
  expect_one_line_naming(hive(), result);
  EXPECT_TRUE(answered(act({{"get", "HKLM\\Software\\K1", "n"}}, environment()), "0 new\n"));
}

}  // namespace
}  // namespace kvtest
