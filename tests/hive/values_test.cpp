#include <thread>

#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;

struct Values : testing::Test {
  Temp_Folder folder;
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  Key key = make_key(*registry, root_of(*registry), u"key");
};

TEST_F(Values, SmallAndLargeDataComeBackAsTheyWere) {
  for (std::size_t size : {0u, 1u, 511u, 512u, 513u, 4096u, 1000000u}) {
    std::string data(size, '\0');
    for (std::size_t i = 0; i < size; ++i) data[i] = static_cast<char>(i * 7);
    ASSERT_EQ(put(*registry, key, u"v", data), Status::ok);
    EXPECT_EQ(get(*registry, key, u"v"), data) << size;
  }
}

TEST_F(Values, ANewTypeReplacesTheOldOneAndAnyTypeIsKept) {
  for (std::uint32_t type : {0u, 1u, 6u, 11u, 4711u, 0xFFFFFFFFu}) {
    ASSERT_EQ(put(*registry, key, u"v", "", type), Status::ok);
    hive::Value_Out out{nullptr, 0, 99, 99};
    ASSERT_EQ(registry->read_value(key, u"v", out), Status::ok);
    EXPECT_EQ(out.type, type);
    EXPECT_EQ(out.size, 0u);
  }
}

TEST_F(Values, TooLittleRoomTellsTypeAndSizeAndTouchesNothing) {
  ASSERT_EQ(put(*registry, key, u"v", "hello", 1), Status::ok);
  unsigned char room[5] = {9, 9, 9, 9, 9};
  hive::Value_Out out{room, 4, 0, 0};
  EXPECT_EQ(registry->read_value(key, u"v", out), Status::more_data);
  EXPECT_EQ(out.size, 5u);
  EXPECT_EQ(out.type, 1u);
  EXPECT_EQ(room[0], 9);
  out.room = 5;
  EXPECT_EQ(registry->read_value(key, u"v", out), Status::ok);
  EXPECT_EQ(room[4], 'o');
}

TEST_F(Values, TheFirstWritingOfANameIsKept) {
  ASSERT_EQ(put(*registry, key, u"MyValue", "1"), Status::ok);
  ASSERT_EQ(put(*registry, key, u"MYVALUE", "2"), Status::ok);
  EXPECT_EQ(value_names(*registry, key), Names{u"MyValue"});
  EXPECT_EQ(get(*registry, key, u"myvalue"), "2");
}

TEST_F(Values, TheDefaultValueHasAnEmptyName) {
  EXPECT_EQ(status_of_get(*registry, key, u""), Status::not_found);
  ASSERT_EQ(put(*registry, key, u"", "d"), Status::ok);
  ASSERT_EQ(put(*registry, key, u"a", "a"), Status::ok);
  EXPECT_EQ(value_names(*registry, key), (Names{u"", u"a"}));
  EXPECT_EQ(registry->remove_value(key, u""), Status::ok);
  EXPECT_EQ(registry->remove_value(key, u""), Status::not_found);
}

TEST_F(Values, NamesMayHave16383UnitsAndNoMore) {
  EXPECT_EQ(put(*registry, key, std::u16string(16383, u'n'), "x"), Status::ok);
  EXPECT_EQ(put(*registry, key, std::u16string(16384, u'n'), "x"), Status::invalid);
  EXPECT_EQ(counts_of(*registry, key).max_value_name_units, 16383u);
  EXPECT_EQ(get(*registry, key, std::u16string(16383, u'N')), "x");
}

TEST_F(Values, SixtyFourMebibytesAreTheLimit) {
  std::string data(64u << 20, 'm');
  ASSERT_EQ(put(*registry, key, u"v", data), Status::ok);
  hive::Value_Out out{nullptr, 0, 0, 0};
  ASSERT_EQ(registry->read_value(key, u"v", out), Status::ok);
  EXPECT_EQ(out.size, 64u << 20);
  data.push_back('m');
  EXPECT_EQ(put(*registry, key, u"w", data), Status::too_large);
  EXPECT_EQ(status_of_get(*registry, key, u"w"), Status::not_found);
}

TEST_F(Values, ThreadsNeverSeeATornOne) {
  const std::string one(3000, '1');
  const std::string two(700, '2');
  ASSERT_EQ(put(*registry, key, u"v", one), Status::ok);
  std::atomic<bool> torn = false;
  std::thread reader([&] {
    for (int i = 0; i < 300; ++i) {
      std::string seen = get(*registry, key, u"v");
      if (seen != one && seen != two) torn = true;
    }
  });
  for (int i = 0; i < 100; ++i) EXPECT_EQ(put(*registry, key, u"v", i % 2 != 0 ? one : two), Status::ok);
  reader.join();
  EXPECT_FALSE(torn);
}

}  // namespace
