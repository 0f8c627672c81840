// A user who may read a hive and not write it.
#include <sys/stat.h>

#include <filesystem>
#include <thread>

#include "hive/boot.h"
#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;

struct Read_Only : testing::Test {
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "needs to act as two users, which root alone can";
    registry = registry_on(folder.path());
    Key key = make_key(*registry, root_of(*registry), u"Software\\a");
    ASSERT_EQ(put(*registry, key, u"v", "x"), Status::ok);
    complaints().clear();
  }

  void as_nobody(const std::function<bool(Registry&)>& check) {
    hivetest::as_nobody([&] { return check(*registry_on(folder.path())); });
  }

  static bool reads(Registry& mine) {
    Key key;
    return mine.open(root_of(mine), u"software\\a", &key) == Status::ok && get(mine, key, u"v") == "x";
  }

  Open_Folder folder;
  std::unique_ptr<Registry> registry;
};

TEST_F(Read_Only, ReadsBesideAWriter) {
  as_nobody([](Registry& mine) { return reads(mine) && complaints().empty(); });
}

TEST_F(Read_Only, ReadsAfterTheLastWriterHasGone) {
  registry.reset();
  as_nobody([](Registry& mine) { return reads(mine) && complaints().empty(); });
}

TEST_F(Read_Only, ReadsWithoutALogAndLeavesNone) {
  registry.reset();
  std::filesystem::remove(folder / "machine.bin-wal");
  std::filesystem::remove(folder / "machine.bin-shm");
  as_nobody([](Registry& mine) { return reads(mine) && complaints().empty(); });
  EXPECT_FALSE(std::filesystem::exists(folder / "machine.bin-wal"));
  EXPECT_FALSE(std::filesystem::exists(folder / "machine.bin-shm"));
}

TEST_F(Read_Only, KeepsNothingOfAHiveThatItReadWithoutALog) {
  registry.reset();
  std::filesystem::remove(folder / "machine.bin-wal");
  std::filesystem::remove(folder / "machine.bin-shm");
  int turn[2];
  int done[2];
  ASSERT_EQ(pipe(turn), 0);
  ASSERT_EQ(pipe(done), 0);
  std::thread writer([&] {
    char byte = 0;
    EXPECT_EQ(read(turn[0], &byte, 1), 1);
    registry = registry_on(folder.path());
    EXPECT_EQ(put(*registry, make_key(*registry, root_of(*registry), u"software\\a"), u"v", "new"), Status::ok);
    EXPECT_EQ(write(done[1], "+", 1), 1);
  });
  as_nobody([&](Registry& mine) {
    Key key;
    char byte = 0;
    bool right = reads(mine) && put(mine, root_of(mine), u"v", "y") == Status::denied;
    right = right && write(turn[1], "+", 1) == 1 && read(done[0], &byte, 1) == 1;
    return right && mine.open(root_of(mine), u"software\\a", &key) == Status::ok && get(mine, key, u"v") == "new";
  });
  close(turn[1]);
  writer.join();
  for (int fd : {turn[0], done[0], done[1]}) close(fd);
}

TEST_F(Read_Only, WritesAreDeniedWithoutALine) {
  as_nobody([](Registry& mine) {
    Key key;
    return reads(mine) && put(mine, root_of(mine), u"v", "y") == Status::denied &&
           create(mine, root_of(mine), u"new", &key) == Status::denied &&
           mine.remove(root_of(mine), u"software\\a") == Status::denied && reads(mine) && complaints().empty();
  });
}

TEST_F(Read_Only, SeesWhatAWriterDoesMeanwhile) {
  int turn[2];
  int done[2];
  ASSERT_EQ(pipe(turn), 0);
  ASSERT_EQ(pipe(done), 0);
  std::thread writer([&] {
    char byte = 0;
    EXPECT_EQ(read(turn[0], &byte, 1), 1);
    Key key;
    EXPECT_EQ(registry->open(root_of(*registry), u"software\\a", &key), Status::ok);
    EXPECT_EQ(put(*registry, key, u"v", "new"), Status::ok);
    EXPECT_EQ(write(done[1], "+", 1), 1);
  });
  as_nobody([&](Registry& mine) {
    Key key;
    char byte = 0;
    bool right = reads(mine) && write(turn[1], "+", 1) == 1 && read(done[0], &byte, 1) == 1;
    return right && mine.open(root_of(mine), u"software\\a", &key) == Status::ok && get(mine, key, u"v") == "new";
  });
  close(turn[1]);
  writer.join();
  for (int fd : {turn[0], done[0], done[1]}) close(fd);
}

TEST_F(Read_Only, AMissingClassesRootHasNothingForThem) {
  as_nobody([](Registry& mine) {
    Key key;
    return mine.open(root_of(mine, Root::classes), u".txt", &key) == Status::not_found &&
           key_names(mine, root_of(mine, Root::classes)).empty() && complaints().empty();
  });
}

TEST_F(Read_Only, VolatileKeysOfAnEarlierRunAreNotSeen) {
  Key key;
  ASSERT_EQ(registry->open(root_of(*registry), u"software", &key), Status::ok);
  make_key(*registry, key, u"volatile one", {.class_name = {}, .is_volatile = true});
  key.reset();
  registry.reset();
  as_nobody([](Registry& mine) {
    hive::assume_boot_identity("another");
    Key software;
    Key gone;
    return mine.open(root_of(mine), u"software", &software) == Status::ok && key_names(mine, software) == Names{u"a"} &&
           counts_of(mine, software).sub_keys == 1 && counts_of(mine, software).max_sub_key_units == 1 &&
           mine.open(software, u"volatile one", &gone) == Status::not_found;
  });
}

}  // namespace
