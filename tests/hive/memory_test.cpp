// What is held in memory: it answers, and never what is no longer true.
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "hive/cache/content.h"
#include "hive/cache/node_cache.h"
#include "hive/open_key.h"
#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;

class Memory : public testing::Test {
 protected:
  void SetUp() override { complaints().clear(); }
  void TearDown() override { hive::Node_Cache::of_process().set_budget(hive::Node_Cache::usual_budget); }

  // Another process changes the hive and ends.
  void elsewhere(const std::function<bool(Registry&)>& change) {
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
      std::unique_ptr<Registry> other = registry_on(folder.path());
      const bool good = change(*other);
      other.reset();
      _exit(good ? 0 : 1);
    }
    int ended = -1;
    ASSERT_EQ(waitpid(child, &ended, 0), child);
    ASSERT_EQ(ended, 0);
  }

  // Whether memory alone knows the value.
  static bool is_held(const Key& key, std::u16string_view name) {
    hive::Value_Out out{nullptr, 0, 0, 0};
    return hive::Registry::known_value(hive::Read_Section(), *key, name, out).has_value();
  }

  Temp_Folder folder;
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  Key key = make_key(*registry, root_of(*registry), u"Software\\Vendor");
};

TEST_F(Memory, HoldsWhatWasReadOnce) {
  ASSERT_EQ(put(*registry, key, u"v", "1"), Status::ok);
  EXPECT_EQ(get(*registry, key, u"v"), "1");
  EXPECT_TRUE(is_held(key, u"v"));
  EXPECT_TRUE(is_held(key, u"V"));
  EXPECT_EQ(get(*registry, key, u"V"), "1");
}

TEST_F(Memory, KnowsThatAValueIsNotThere) {
  EXPECT_EQ(status_of_get(*registry, key, u"missing"), Status::not_found);
  EXPECT_TRUE(is_held(key, u"missing"));
  ASSERT_EQ(put(*registry, key, u"missing", "here"), Status::ok);
  EXPECT_EQ(get(*registry, key, u"missing"), "here");
}

TEST_F(Memory, OwnWritesDropOnlyTheirKey) {
  Key other = make_key(*registry, key, u"other");
  ASSERT_EQ(put(*registry, other, u"v", "kept"), Status::ok);
  EXPECT_EQ(get(*registry, other, u"v"), "kept");
  ASSERT_EQ(put(*registry, key, u"v", "1"), Status::ok);
  ASSERT_EQ(put(*registry, key, u"v", "2"), Status::ok);
  EXPECT_TRUE(is_held(other, u"v"));
  EXPECT_FALSE(is_held(key, u"v"));
  EXPECT_EQ(get(*registry, key, u"v"), "2");
}

TEST_F(Memory, SeesAForeignChangeAtOnce) {
  ASSERT_EQ(put(*registry, key, u"v", "ours"), Status::ok);
  for (int i = 0; i < 20; ++i) {
    ASSERT_NE(get(*registry, key, u"v"), "");
    const std::string data = "theirs " + std::to_string(i);
    elsewhere([&](Registry& other) {
      Key same;
      return other.open(root_of(other), u"Software\\Vendor", &same) == Status::ok &&
             put(other, same, u"v", data) == Status::ok;
    });
    EXPECT_FALSE(is_held(key, u"v"));
    EXPECT_EQ(get(*registry, key, u"v"), data);
  }
}

TEST_F(Memory, FindsANewKeyOfAnotherProcessAndMissesOneThatItRemoved) {
  Key found;
  EXPECT_EQ(registry->open(key, u"new", &found), Status::not_found);
  elsewhere([](Registry& other) {
    Key made;
    return create(other, root_of(other), u"Software\\Vendor\\new", &made) == Status::ok;
  });
  ASSERT_EQ(registry->open(key, u"new", &found), Status::ok);
  EXPECT_EQ(key_names(*registry, key), Names{u"new"});
  elsewhere([](Registry& other) { return other.remove(root_of(other), u"Software\\Vendor\\new") == Status::ok; });
  EXPECT_EQ(status_of_get(*registry, found, u"v"), Status::key_deleted);
  EXPECT_EQ(registry->open(key, u"new", &found), Status::not_found);
  EXPECT_EQ(key_names(*registry, key), Names{});
}

TEST_F(Memory, AKeyOfTheSameNameIsAnotherKey) {
  Key first = make_key(*registry, key, u"twice");
  ASSERT_EQ(put(*registry, first, u"v", "first"), Status::ok);
  ASSERT_EQ(get(*registry, first, u"v"), "first");
  elsewhere([](Registry& other) {
    Key made;
    return other.remove(root_of(other), u"Software\\Vendor\\twice") == Status::ok &&
           create(other, root_of(other), u"Software\\Vendor\\twice", &made) == Status::ok &&
           put(other, made, u"v", "second") == Status::ok;
  });
  EXPECT_EQ(status_of_get(*registry, first, u"v"), Status::key_deleted);
  Key second;
  ASSERT_EQ(registry->open(key, u"twice", &second), Status::ok);
  EXPECT_EQ(get(*registry, second, u"v"), "second");
}

TEST_F(Memory, LargeValuesAreReadEachTime) {
  const std::string data(4097, 'd');
  ASSERT_EQ(put(*registry, key, u"large", data), Status::ok);
  ASSERT_EQ(put(*registry, key, u"least large", data.substr(1)), Status::ok);
  EXPECT_EQ(get(*registry, key, u"large"), data);
  EXPECT_EQ(get(*registry, key, u"least large"), data.substr(1));
  std::string room(5000, '\0');
  hive::Value_Out out{reinterpret_cast<unsigned char*>(room.data()), 5000, 0, 0};
  EXPECT_FALSE(hive::Registry::known_value(hive::Read_Section(), *key, u"large", out).has_value());
  EXPECT_TRUE(hive::Registry::known_value(hive::Read_Section(), *key, u"least large", out).has_value());
  // Its size is known all the same.
  EXPECT_TRUE(is_held(key, u"large"));
}

TEST_F(Memory, StaysWithinItsBudget) {
  constexpr std::size_t budget = 64 * 1024;
  hive::Node_Cache::of_process().set_budget(budget);
  std::vector<Key> keys;
  for (int i = 0; i < 200; ++i) {
    const std::string name = "k" + std::to_string(i);
    keys.push_back(make_key(*registry, key, std::u16string(name.begin(), name.end())));
    ASSERT_EQ(put(*registry, keys.back(), u"v", std::string(2000, 'a')), Status::ok);
  }
  for (int round = 0; round < 3; ++round) {
    for (const Key& each : keys) ASSERT_EQ(get(*registry, each, u"v"), std::string(2000, 'a'));
    EXPECT_LE(hive::Node_Cache::of_process().memory(), budget + 4096);
  }
}

TEST_F(Memory, ListsManyKeysInPartsAndKeepsItsPlace) {
  Names expected;
  for (int i = 0; i < 1500; ++i) {
    char name[8];
    snprintf(name, sizeof name, "k%04d", i);
    expected.emplace_back(name, name + 5);
    make_key(*registry, key, expected.back());
  }
  Key listing;
  ASSERT_EQ(registry->open(root_of(*registry), u"Software\\Vendor", &listing), Status::ok);
  EXPECT_EQ(key_names(*registry, listing), expected);
  EXPECT_EQ(key_names(*registry, listing), expected);
  // What is removed while they are listed moves nothing.
  char16_t text[300];
  hive::Text_Out name{text, 300, 0};
  ASSERT_EQ(registry->enumerate_key(listing, 0, name, nullptr, nullptr), Status::ok);
  ASSERT_EQ(registry->enumerate_key(listing, 1, name, nullptr, nullptr), Status::ok);
  ASSERT_EQ(registry->remove(key, u"k0000"), Status::ok);
  ASSERT_EQ(registry->remove(key, u"k0002"), Status::ok);
  ASSERT_EQ(registry->enumerate_key(listing, 2, name, nullptr, nullptr), Status::ok);
  EXPECT_EQ(std::u16string(text, name.length), u"k0003");
}

TEST_F(Memory, ALogAndAnIndexThatAForeignToolRemovedAreNoticedAtTheNextTransaction) {
  ASSERT_EQ(put(*registry, key, u"v", "before"), Status::ok);
  ASSERT_EQ(get(*registry, key, u"v"), "before");
  ASSERT_EQ(registry->flush(key), Status::ok);
  std::filesystem::remove(folder / "machine.bin-wal");
  std::filesystem::remove(folder / "machine.bin-shm");
  elsewhere([](Registry& other) {
    Key same;
    return other.open(root_of(other), u"Software\\Vendor", &same) == Status::ok &&
           put(other, same, u"v", "after") == Status::ok;
  });
  ASSERT_EQ(registry->flush(key), Status::ok);
  EXPECT_EQ(get(*registry, key, u"v"), "after");
}

TEST_F(Memory, AReaderWithoutWritePermissionSeesWritersComeAndGo) {
  if (geteuid() != 0) GTEST_SKIP() << "needs two users";
  Open_Folder open;
  std::unique_ptr<Registry> writer = registry_on(open.path());
  Key written = make_key(*writer, root_of(*writer), u"k");
  ASSERT_EQ(put(*writer, written, u"v", "0"), Status::ok);
  int to_reader[2];
  int to_writer[2];
  ASSERT_EQ(pipe(to_reader), 0);
  ASSERT_EQ(pipe(to_writer), 0);
  fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    if (setgid(nobody) != 0 || setuid(nobody) != 0) _exit(2);
    std::unique_ptr<Registry> reader = registry_on(open.path());
    Key seen;
    if (reader->open(root_of(*reader), u"k", &seen) != Status::ok) _exit(3);
    char expected = 0;
    while (read(to_reader[0], &expected, 1) == 1 && expected != '.') {
      const char right =
          get(*reader, seen, u"v") == std::string(1, expected) && get(*reader, seen, u"v") == std::string(1, expected);
      if (write(to_writer[1], &right, 1) != 1) _exit(4);
    }
    _exit(0);
  }
  for (char data : {'1', '2', '3', '4', '5', '6'}) {
    if (data % 2 == 0) writer.reset();
    if (writer == nullptr) writer = registry_on(open.path());
    ASSERT_EQ(writer->open(root_of(*writer), u"k", &written), Status::ok);
    ASSERT_EQ(put(*writer, written, u"v", std::string(1, data)), Status::ok);
    if (data % 3 == 0) writer.reset();
    char right = 0;
    ASSERT_EQ(write(to_reader[1], &data, 1), 1);
    ASSERT_EQ(read(to_writer[0], &right, 1), 1);
    EXPECT_EQ(right, 1) << data;
  }
  ASSERT_EQ(write(to_reader[1], ".", 1), 1);
  int ended = -1;
  ASSERT_EQ(waitpid(child, &ended, 0), child);
  EXPECT_EQ(ended, 0);
}

TEST_F(Memory, IsNotBelievedInAForkedChildBeforeItHasLooked) {
  ASSERT_EQ(put(*registry, key, u"v", "parent"), Status::ok);
  ASSERT_EQ(get(*registry, key, u"v"), "parent");
  const kvtest::Child_Result child = kvtest::run_child([&] {
    const bool believed = is_held(key, u"v");
    printf("%d %s", believed, get(*registry, key, u"v").c_str());
  });
  EXPECT_EQ(child.out, "0 parent");
}

TEST_F(Memory, OfAPrivateHiveIsTrueAsWell) {
  Registry own(std::make_unique<Fixed_Locations>("", "", ""), &note_complaint);
  Key made = make_key(own, root_of(own), u"k");
  ASSERT_EQ(put(own, made, u"v", "1"), Status::ok);
  EXPECT_EQ(get(own, made, u"v"), "1");
  EXPECT_TRUE(is_held(made, u"v"));
  ASSERT_EQ(put(own, made, u"v", "2"), Status::ok);
  EXPECT_EQ(get(own, made, u"v"), "2");
}

}  // namespace
