#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;

struct Enumerate : testing::Test {
  Temp_Folder folder;
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  Key key = make_key(*registry, root_of(*registry), u"key");

  std::u16string key_at(std::uint32_t index) {
    char16_t text[300];
    hive::Text_Out name{text, 300, 0};
    Status status = registry->enumerate_key(key, index, name, nullptr, nullptr);
    return status == Status::ok ? std::u16string(text, name.length) : u"-";
  }
};

TEST_F(Enumerate, GoesByTheNameWithoutCase) {
  for (const char16_t* name : {u"b", u"C", u"a", u"é", u"D"}) make_key(*registry, key, name);
  EXPECT_EQ(key_names(*registry, key), (Names{u"a", u"b", u"C", u"D", u"é"}));
}

TEST_F(Enumerate, AnyOrderOfIndexesAnswersRight) {
  for (const char16_t* name : {u"a", u"b", u"c", u"d", u"e"}) make_key(*registry, key, name);
  std::u16string seen;
  for (std::uint32_t index : {3u, 3u, 2u, 1u, 0u, 4u, 0u, 2u, 5u, 4u}) seen += key_at(index);
  EXPECT_EQ(seen, u"ddcbaeac-e");
}

TEST_F(Enumerate, DeletingIndexZeroAgainAndAgainEmptiesTheKey) {
  for (int i = 0; i < 20; ++i) make_key(*registry, key, u"k" + std::u16string(1, static_cast<char16_t>(u'a' + i)));
  int removed = 0;
  for (std::u16string name = key_at(0); name != u"-"; name = key_at(0)) {
    ASSERT_EQ(registry->remove(key, name), Status::ok);
    ++removed;
  }
  EXPECT_EQ(removed, 20);
}

TEST_F(Enumerate, DeletingWhatWasShownSkipsNothing) {
  for (const char16_t* name : {u"a", u"b", u"c", u"d"}) make_key(*registry, key, name);
  EXPECT_EQ(key_at(0), u"a");
  EXPECT_EQ(key_at(1), u"b");
  ASSERT_EQ(registry->remove(key, u"b"), Status::ok);
  EXPECT_EQ(key_at(2), u"c");
  ASSERT_EQ(registry->remove(key, u"c"), Status::ok);
  EXPECT_EQ(key_at(2), u"d");
}

TEST_F(Enumerate, BackwardsDeletingEmptiesTheKey) {
  for (const char16_t* name : {u"a", u"b", u"c", u"d"}) make_key(*registry, key, name);
  for (std::uint32_t index = 4; index-- > 0;) ASSERT_EQ(registry->remove(key, key_at(index)), Status::ok);
  EXPECT_EQ(key_at(0), u"-");
}

TEST_F(Enumerate, TwoHandlesKeepTheirOwnPlaces) {
  for (const char16_t* name : {u"a", u"b", u"c"}) make_key(*registry, key, name);
  Key other;
  ASSERT_EQ(registry->open(key, u"", &other), Status::ok);
  EXPECT_EQ(key_at(0), u"a");
  EXPECT_EQ(key_names(*registry, other), (Names{u"a", u"b", u"c"}));
  EXPECT_EQ(key_at(1), u"b");
}

TEST_F(Enumerate, ANameNeedsRoomForItsTerminator) {
  make_key(*registry, key, u"hello");
  char16_t text[6] = {9, 9, 9, 9, 9, 9};
  hive::Text_Out name{text, 5, 0};
  EXPECT_EQ(registry->enumerate_key(key, 0, name, nullptr, nullptr), Status::more_data);
  EXPECT_EQ(name.length, 5u);
  EXPECT_EQ(text[0], 9);
  name.room = 6;
  EXPECT_EQ(registry->enumerate_key(key, 0, name, nullptr, nullptr), Status::ok);
  EXPECT_EQ(std::u16string(text), u"hello");
}

TEST_F(Enumerate, ClassAndTimeComeWithAKey) {
  make_key(*registry, key, u"a", {.class_name = u"Kind"});
  char16_t text[10];
  hive::Text_Out name{nullptr, 0, 0};
  hive::Text_Out class_name{text, 10, 0};
  std::uint64_t time = 0;
  ASSERT_EQ(registry->enumerate_key(key, 0, name, &class_name, &time), Status::ok);
  EXPECT_EQ(std::u16string(text), u"Kind");
  EXPECT_GT(time, 100000000000000000ull);
}

TEST_F(Enumerate, AValueIsDeliveredWhenOnlyItsNameHasNoRoom) {
  ASSERT_EQ(put(*registry, key, u"name", "data", 1), Status::ok);
  char16_t text[4];
  unsigned char data[4] = {};
  hive::Text_Out name{text, 4, 0};
  hive::Value_Out value{data, 4, 0, 0};
  EXPECT_EQ(registry->enumerate_value(key, 0, &name, value), Status::more_data);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(data), 4), "data");
  EXPECT_EQ(value.type, 1u);
  EXPECT_EQ(registry->enumerate_value(key, 0, nullptr, value), Status::ok);
  EXPECT_EQ(registry->enumerate_value(key, 1, nullptr, value), Status::no_more_items);
}

TEST_F(Enumerate, ValuesGoOnAfterOneWasDeleted) {
  for (const char16_t* name : {u"a", u"b", u"c"}) ASSERT_EQ(put(*registry, key, name, "x"), Status::ok);
  char16_t text[10];
  hive::Text_Out name{text, 10, 0};
  hive::Value_Out value{nullptr, 0, 0, 0};
  ASSERT_EQ(registry->enumerate_value(key, 1, &name, value), Status::ok);
  ASSERT_EQ(registry->remove_value(key, u"b"), Status::ok);
  ASSERT_EQ(registry->enumerate_value(key, 2, &name, value), Status::ok);
  EXPECT_EQ(std::u16string(text), u"c");
}

}  // namespace
