// Files that are not what they should be: a clear answer, one line, nothing overwritten, and the next call
// works once the file is put right.
#include <sqlite3.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;

std::string bytes_of(const std::string& file) {
  std::ostringstream bytes;
  bytes << std::ifstream(file, std::ios::binary).rdbuf();
  return bytes.str();
}

void write_bytes(const std::string& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
}

struct Damage : testing::Test {
  Damage() { complaints().clear(); }

  // What a first use of the machine hive answers.
  Status use() {
    Key key;
    return create(*registry, root_of(*registry), u"a", &key);
  }

  // A hive with something in it, closed, without a log beside it.
  void make_hive() {
    {
      std::unique_ptr<Registry> maker = registry_on(folder.path());
      for (int i = 0; i < 200; ++i) make_key(*maker, root_of(*maker), u"key" + std::u16string(1, char16_t(u'0' + i)));
    }
    std::filesystem::remove(file + "-wal");
    std::filesystem::remove(file + "-shm");
  }

  // The answer, and that one line named the file and no byte was changed.
  void expect_refused(Status expected) {
    bool is_file = std::filesystem::is_regular_file(file);
    std::string before = is_file ? bytes_of(file) : "";
    EXPECT_EQ(use(), expected);
    EXPECT_EQ(use(), expected);
    ASSERT_EQ(complaints().size(), 1u);
    EXPECT_NE(complaints()[0].find(file), std::string::npos) << complaints()[0];
    EXPECT_EQ(is_file ? bytes_of(file) : "", before);
  }

  // The file is taken away: a new hive comes in its place.
  void expect_usable_afterwards() {
    std::filesystem::remove_all(file);
    EXPECT_EQ(use(), Status::ok);
    EXPECT_EQ(use(), Status::ok);
    EXPECT_EQ(complaints().size(), 1u);
  }

  Temp_Folder folder;
  std::string file = folder / "machine.bin";
  std::unique_ptr<Registry> registry = registry_on(folder.path());
};

TEST_F(Damage, TextIsNoHive) {
  write_bytes(file, "these are my notes\n");
  expect_refused(Status::not_a_hive);
  expect_usable_afterwards();
}

TEST_F(Damage, NoiseIsNoHive) {
  std::string noise(20000, '\0');
  for (std::size_t i = 0; i < noise.size(); ++i) noise[i] = static_cast<char>((i * 2654435761u) >> 13);
  write_bytes(file, noise);
  expect_refused(Status::not_a_hive);
}

TEST_F(Damage, AnotherProgramsDatabaseIsNoHive) {
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(file.c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "CREATE TABLE t(a); INSERT INTO t VALUES(1)", nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(other);
  expect_refused(Status::not_a_hive);
  EXPECT_FALSE(std::filesystem::exists(file + "-wal"));
  expect_usable_afterwards();
}

TEST_F(Damage, AFolderIsNoHive) {
  std::filesystem::create_directory(file);
  expect_refused(Status::not_a_hive);
  expect_usable_afterwards();
}

TEST_F(Damage, AHiveOfALaterVersionIsLeftAlone) {
  make_hive();
  std::fstream(file, std::ios::in | std::ios::out | std::ios::binary).seekp(63).put(2);
  expect_refused(Status::newer_version);
}

TEST_F(Damage, ASecondHardLinkIsRefused) {
  make_hive();
  std::filesystem::create_hard_link(file, folder / "other name");
  expect_refused(Status::not_a_hive);
  std::filesystem::remove(folder / "other name");
  EXPECT_EQ(use(), Status::ok);
}

TEST_F(Damage, AnEmptyFileBecomesAHive) {
  write_bytes(file, "");
  EXPECT_EQ(use(), Status::ok);
  EXPECT_TRUE(complaints().empty());
}

// As a process leaves it that is killed while it writes the first transaction of a new hive: the pages are there, and a
// journal that takes all of them away again.
TEST_F(Damage, AHiveWhoseMakerWasKilledIsMadeAnew) {
  make_hive();
  std::string hive = bytes_of(file);
  hive[18] = hive[19] = 1;  // without a log
  write_bytes(file, hive);
  std::string journal("\xd9\xd5\x05\xf9\x20\xa1\x63\xd7", 8);
  journal += std::string(4 + 4 + 4, '\0');            // no pages, no nonce, none before
  journal += std::string("\0\0\x02\0\0\0\x10\0", 8);  // sectors of 512 bytes, pages of 4096
  journal.resize(512);
  write_bytes(file + "-journal", journal);
  EXPECT_EQ(key_names(*registry, root_of(*registry)), Names{});
  EXPECT_EQ(use(), Status::ok);
  const std::unique_ptr<Registry> other = registry_on(folder.path());
  EXPECT_EQ(key_names(*other, root_of(*other)), Names{u"a"});
  EXPECT_EQ(kvtest::run_child([&] {
              const std::unique_ptr<Registry> third = registry_on(folder.path());
              _exit(key_names(*third, root_of(*third)) == Names{u"a"} ? 0 : 1);
            }).exit_status,
            0);
  EXPECT_EQ(complaints(), std::vector<std::string>{});
}

TEST_F(Damage, AHiveCutShortAnywhereIsRefusedOrWholeAndNeverCrashes) {
  make_hive();
  const std::string whole = bytes_of(file);
  ASSERT_GT(whole.size(), 20000u);
  int refused = 0;
  for (std::size_t size : {1u, 15u, 99u, 100u, 500u, 4095u, 4096u, 4097u, 8192u, 12288u, 16000u}) {
    write_bytes(file, whole.substr(0, size));
    std::filesystem::remove(file + "-wal");
    std::filesystem::remove(file + "-shm");
    registry = registry_on(folder.path());
    Key key;
    Status status = registry->open(root_of(*registry), u"key0", &key);
    EXPECT_TRUE(status == Status::damaged || status == Status::not_a_hive) << size;
    refused += status != Status::ok;
    EXPECT_EQ(bytes_of(file).size(), size);
  }
  EXPECT_EQ(refused, 11);
  write_bytes(file, whole);
  EXPECT_EQ(use(), Status::ok);
}

TEST_F(Damage, AHiveOverwrittenInTheMiddleIsReportedAndWorksWhenPutRight) {
  make_hive();
  const std::string whole = bytes_of(file);
  write_bytes(file, whole.substr(0, 4096) + std::string(whole.size() - 4096, '\x5A'));
  Key key;
  EXPECT_EQ(registry->open(root_of(*registry), u"key0", &key), Status::damaged);
  ASSERT_EQ(complaints().size(), 1u);
  EXPECT_NE(complaints()[0].find("damaged"), std::string::npos);
  registry.reset();
  std::filesystem::remove(file + "-wal");
  std::filesystem::remove(file + "-shm");
  write_bytes(file, whole);
  registry = registry_on(folder.path());
  EXPECT_EQ(registry->open(root_of(*registry), u"key0", &key), Status::ok);
}

TEST_F(Damage, TheNextProblemIsToldAgain) {
  write_bytes(file, "text");
  EXPECT_EQ(use(), Status::not_a_hive);
  std::filesystem::remove(file);
  EXPECT_EQ(use(), Status::ok);
  std::filesystem::remove(file);
  std::filesystem::create_directory(file);
  EXPECT_EQ(use(), Status::not_a_hive);
  EXPECT_EQ(complaints().size(), 2u);
}

struct Forbidden : testing::Test {
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "needs to act as two users, which root alone can";
    complaints().clear();
  }

  Open_Folder folder;
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  bool denied() {
    Key key;
    return create(*registry, root_of(*registry), u"a", &key) == Status::denied;
  }
};

TEST_F(Forbidden, AnUnreadableHiveIsDeniedUntilItIsReadable) {
  make_key(*registry, root_of(*registry), u"key0");
  chmod((folder / "machine.bin").c_str(), 0);
  as_nobody([&] { return denied() && denied() && complaints().size() == 1; });
  chmod((folder / "machine.bin").c_str(), 0644);
  Key key;
  as_nobody([&] { return registry->open(root_of(*registry), u"key0", &key) == Status::ok; });
}

TEST_F(Forbidden, AFolderThatMayNotBeEnteredIsDenied) {
  registry = registry_on(folder / "closed");
  std::filesystem::create_directory(folder / "closed");
  chmod((folder / "closed").c_str(), 0);
  as_nobody([&] { return denied() && complaints().size() == 1; });
}

}  // namespace
