// Each operation on keys and values, through a real server.
#include <winnt.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <thread>

#include "tests/client/served.h"

namespace {

using namespace kvtest;

class Operations : public Served {
 protected:
  // Name, or the code in decimal digits.
  std::u16string sub_key(HKEY key, DWORD index, std::size_t room = 257, std::u16string* out_class = nullptr) {
    std::vector<char16_t> name(room), class_name(257);
    impl::Text_Room name_room{name.data(), room, 0}, class_room{class_name.data(), class_name.size(), 0};
    std::uint64_t time = 0;
    const DWORD code =
        service().enumerate_key(key, index, name_room, out_class == nullptr ? nullptr : &class_room, &time);
    if (code != ERROR_SUCCESS) return digits(code);
    EXPECT_GT(time, 0u);
    if (out_class != nullptr) out_class->assign(class_name.data(), class_room.length);
    return {name.data(), name_room.length};
  }
  static std::u16string digits(DWORD code) {
    const std::string text = std::to_string(code);
    return {text.begin(), text.end()};
  }
};

TEST_F(Operations, CreateTellsWhetherTheKeyIsNew) {
  HKEY key = nullptr;
  bool created = false;
  ASSERT_EQ(service().create_key(base, u"a\\b", {u"Class", 0, KEY_ALL_ACCESS}, &key, &created), 0u);
  EXPECT_TRUE(created);
  EXPECT_EQ(service().close_key(key), 0u);
  ASSERT_EQ(service().create_key(base, u"a\\b", {u"Other", 0, KEY_ALL_ACCESS}, &key, &created), 0u);
  EXPECT_FALSE(created);
  EXPECT_EQ(service().close_key(key), 0u);
  std::u16string class_name;
  const HKEY above = client().made(base, u"a");
  EXPECT_EQ(sub_key(above, 0, 257, &class_name), u"b");
  EXPECT_EQ(class_name, u"Class");
  service().close_key(above);
}

TEST_F(Operations, OpenGivesAHandleOrSaysThatThereIsNoKey) {
  HKEY key = HKEY(0x77);
  EXPECT_EQ(service().open_key(base, u"none", KEY_READ, &key), 2u);
  EXPECT_EQ(key, HKEY(0x77));
  service().close_key(client().made(base, u"k"));
  ASSERT_EQ(service().open_key(base, u"\\K\\", KEY_READ, &key), 0u);
  EXPECT_EQ(service().close_key(key), 0u);
}

TEST_F(Operations, RefuseHandlesThatAreUnknownOrClosed) {
  const HKEY key = client().made(base, u"k");
  ASSERT_EQ(service().close_key(key), 0u);
  EXPECT_EQ(service().close_key(key), 6u);
  EXPECT_EQ(client().get(key, u"v").code, 6u);
  EXPECT_EQ(client().set(key, u"v", REG_BINARY, "1"), 6u);
  EXPECT_EQ(service().flush_key(HKEY(0x1234560)), 6u);
  EXPECT_EQ(service().delete_key(nullptr, u"k"), 6u);
}

TEST_F(Operations, OfAHandleWithoutTheRightAreDenied) {
  service().close_key(client().made(base, u"k"));
  HKEY reader = nullptr, writer = nullptr;
  ASSERT_EQ(service().open_key(base, u"k", KEY_READ, &reader), 0u);
  ASSERT_EQ(service().open_key(base, u"k", KEY_SET_VALUE, &writer), 0u);
  EXPECT_EQ(client().set(reader, u"v", REG_BINARY, "1"), 5u);
  EXPECT_EQ(service().delete_value(reader, u"v"), 5u);
  EXPECT_EQ(client().set(writer, u"v", REG_BINARY, "1"), 0u);
  EXPECT_EQ(client().get(writer, u"v").code, 5u);
  EXPECT_EQ(sub_key(writer, 0), u"5");
  service().close_key(reader);
  service().close_key(writer);
}

TEST_F(Operations, RootHandlesNeedNoOpeningAndStayWhenClosed) {
  EXPECT_EQ(service().close_key(HKEY_CURRENT_USER), 0u);
  EXPECT_EQ(client().set(HKEY_CURRENT_USER, u"client test", REG_BINARY, "me"), 0u);
  EXPECT_EQ(client().get(HKEY_CURRENT_USER, u"client test"), (Value{0, REG_BINARY, "me"}));
  EXPECT_EQ(service().delete_value(HKEY_CURRENT_USER, u"client test"), 0u);
}

TEST_F(Operations, DeleteTakesAKeyAwayAndSaysSoOfItsHandles) {
  const HKEY key = client().made(base, u"k");
  ASSERT_EQ(service().delete_key(base, u"k"), 0u);
  EXPECT_EQ(service().delete_key(base, u"k"), 2u);
  EXPECT_EQ(client().get(key, u"v").code, 1018u);
  EXPECT_EQ(service().close_key(key), 0u);
}

TEST_F(Operations, EnumerateKeysByIndexUntilThereAreNoMore) {
  for (const auto* name : {u"one", u"two"}) service().close_key(client().made(base, name));
  std::vector<std::u16string> names{sub_key(base, 0), sub_key(base, 1)};
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::u16string>{u"one", u"two"}));
  EXPECT_EQ(sub_key(base, 2), u"259");
  EXPECT_EQ(sub_key(base, 0, 3), u"234");
}

TEST_F(Operations, QueryInfoTellsCountsAndLengths) {
  service().close_key(client().made(base, u"longer name"));
  ASSERT_EQ(client().set(base, u"value", REG_BINARY, "12345"), 0u);
  impl::Key_Facts facts;
  ASSERT_EQ(service().query_info(base, nullptr, &facts), 0u);
  EXPECT_EQ(facts.sub_keys, 1u);
  EXPECT_EQ(facts.max_sub_key_length, 11u);
  EXPECT_EQ(facts.values, 1u);
  EXPECT_EQ(facts.max_value_name_length, 5u);
  EXPECT_EQ(facts.max_value_size, 5u);
  EXPECT_GT(facts.last_write_time, 0u);
}

TEST_F(Operations, QueryInfoTellsTheFactsAlsoWhenTheClassHasNoRoom) {
  HKEY key = nullptr;
  bool created = false;
  ASSERT_EQ(service().create_key(base, u"k", {u"Class", 0, KEY_ALL_ACCESS}, &key, &created), 0u);
  client().set(key, u"v", REG_BINARY, "1");
  char16_t text[] = u"####";
  impl::Text_Room room{text, 4, 0};
  impl::Key_Facts facts;
  EXPECT_EQ(service().query_info(key, &room, &facts), 234u);
  EXPECT_EQ(room.length, 5u);
  EXPECT_EQ(std::u16string(text), u"####");
  EXPECT_EQ(facts.values, 1u);
  service().close_key(key);
}

TEST_F(Operations, ValuesComeBackWithTypeAndData) {
  EXPECT_EQ(client().get(base, u"v").code, 2u);
  ASSERT_EQ(client().set(base, u"v", 77, std::string("a\0b", 3)), 0u);
  EXPECT_EQ(client().get(base, u"V"), (Value{0, 77, std::string("a\0b", 3)}));
  ASSERT_EQ(client().set(base, u"", REG_NONE, ""), 0u);
  EXPECT_EQ(client().get(base, u""), (Value{0, REG_NONE, ""}));
  EXPECT_EQ(service().delete_value(base, u"v"), 0u);
  EXPECT_EQ(service().delete_value(base, u"v"), 2u);
}

TEST_F(Operations, AValueWithoutRoomTellsTypeAndSizeAndTouchesNoData) {
  ASSERT_EQ(client().set(base, u"v", REG_BINARY, "12345"), 0u);
  BYTE data[] = "####";
  impl::Value_Room room{data, 4};
  EXPECT_EQ(service().query_value(base, u"v", room), 234u);
  EXPECT_EQ(room.size, 5u);
  EXPECT_EQ(room.type, static_cast<DWORD>(REG_BINARY));
  EXPECT_STREQ(reinterpret_cast<char*>(data), "####");
  impl::Value_Room size_only;
  EXPECT_EQ(service().query_value(base, u"v", size_only), 0u);
  EXPECT_EQ(size_only.size, 5u);
}

TEST_F(Operations, EnumerateValuesGiveNameTypeAndData) {
  ASSERT_EQ(client().set(base, u"name", REG_BINARY, "12345"), 0u);
  char16_t name[8];
  BYTE data[8];
  impl::Text_Room name_room{name, 8, 0};
  impl::Value_Room value{data, 8};
  ASSERT_EQ(service().enumerate_value(base, 0, &name_room, value), 0u);
  EXPECT_EQ(std::u16string(name, name_room.length), u"name");
  EXPECT_EQ(std::string(reinterpret_cast<char*>(data), value.size), "12345");
  EXPECT_EQ(service().enumerate_value(base, 1, &name_room, value), 259u);
}

TEST_F(Operations, EnumerateValuesDeliverTheDataWhenOnlyTheNameHasNoRoom) {
  ASSERT_EQ(client().set(base, u"name", REG_BINARY, "12345"), 0u);
  char16_t name[4];
  BYTE data[8] = {};
  impl::Text_Room name_room{name, 4, 0};
  impl::Value_Room value{data, 8};
  EXPECT_EQ(service().enumerate_value(base, 0, &name_room, value), 234u);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(data)), "12345");
  impl::Value_Room little{data, 4};
  impl::Text_Room length_only;
  EXPECT_EQ(service().enumerate_value(base, 0, &length_only, little), 234u);
  EXPECT_EQ(little.size, 5u);
}

TEST_F(Operations, NamesMayHoldAnything) {
  const std::u16string odd[] = {u"\xD800 lone", {u'n', 0, u'l'}, u"\xDC80\xDCFF", {0xFFFF, 0xFFFE, 1}};
  for (const std::u16string& name : odd) {
    ASSERT_EQ(client().set(base, name, REG_BINARY, "x"), 0u);
    EXPECT_EQ(client().get(base, name), (Value{0, REG_BINARY, "x"}));
    EXPECT_EQ(service().delete_value(base, name), 0u);
  }
  service().close_key(client().made(base, odd[0]));
  EXPECT_EQ(sub_key(base, 0), odd[0]);
}

TEST_F(Operations, LargeValuesTravelWhole) {
  for (const std::size_t size : {(1u << 20), (1u << 20) + 1, 64u << 20}) {
    std::string data(size, 'x');
    data.front() = 'a';
    data.back() = 'z';
    ASSERT_EQ(client().set(base, u"large", REG_BINARY, data), 0u) << size;
    const Value value = client().get(base, u"large", static_cast<DWORD>(size));
    EXPECT_EQ(value.code, 0u) << size;
    EXPECT_TRUE(value.data == data) << size;
    std::vector<BYTE> room(size);
    impl::Value_Room listed{room.data(), static_cast<DWORD>(size)};
    EXPECT_EQ(service().enumerate_value(base, 0, nullptr, listed), 0u) << size;
    EXPECT_EQ(std::memcmp(room.data(), data.data(), size), 0) << size;
  }
  EXPECT_EQ(client().set(base, u"large", REG_BINARY, std::string((64u << 20) + 1, 'x')), 87u);
}

TEST_F(Operations, RightsAreToldAndChangedOneByOne) {
  service().close_key(client().made(base, u"k"));
  const DWORD mode = 0640, group = 4321;
  ASSERT_EQ(service().change_rights(base, u"k", {.mode = &mode}), 0u);
  impl::Rights_Facts facts;
  ASSERT_EQ(service().describe_rights(base, u"k", &facts), 0u);
  EXPECT_EQ(facts.mode, 0640u);
  EXPECT_EQ(facts.owner, geteuid());
  if (geteuid() != 0) GTEST_SKIP() << "only root gives keys to other groups";
  ASSERT_EQ(service().change_rights(base, u"k", {.group = &group}), 0u);
  ASSERT_EQ(service().describe_rights(base, u"k", &facts), 0u);
  EXPECT_EQ(facts.group, 4321u);
  EXPECT_EQ(facts.mode, 0640u);
  EXPECT_EQ(service().describe_rights(base, u"none", &facts), 2u);
}

TEST_F(Operations, KeysAreRenamedAndKeepTheirHandles) {
  const HKEY key = client().made(base, u"old");
  ASSERT_EQ(client().set(key, u"v", REG_BINARY, "kept"), 0u);
  ASSERT_EQ(service().rename_key(base, u"old", u"new"), 0u);
  EXPECT_EQ(client().get(key, u"v"), (Value{0, REG_BINARY, "kept"}));
  ASSERT_EQ(service().rename_key(key, u"", u"NEW"), 0u);
  char16_t text[257];
  impl::Text_Room name{text, 257};
  ASSERT_EQ(service().enumerate_key(base, 0, name, nullptr, nullptr), 0u);
  EXPECT_EQ(std::u16string(text, name.length), u"NEW");
  service().close_key(key);
}

TEST_F(Operations, RenamingIsRefusedAsWithoutAServer) {
  service().close_key(client().made(base, u"one"));
  service().close_key(client().made(base, u"two"));
  EXPECT_EQ(service().rename_key(base, u"none", u"name"), 2u);
  EXPECT_EQ(service().rename_key(base, u"one", u"TWO"), 183u);
  EXPECT_EQ(service().rename_key(base, u"one", u""), 87u);
  EXPECT_EQ(service().rename_key(base, u"one", u"a\\b"), 87u);
  EXPECT_EQ(service().rename_key(base, u"one", std::u16string(257, u'n')), 87u);
  EXPECT_EQ(service().rename_key(HKEY_LOCAL_MACHINE, u"", u"name"), 5u);
  const HKEY reader = client().made(base, u"", KEY_READ);
  EXPECT_EQ(service().rename_key(reader, u"one", u"name"), 5u);
  service().close_key(reader);
}

TEST_F(Operations, FlushAndConnectReachTheServer) {
  EXPECT_EQ(service().flush_key(base), 0u);
  HKEY root = nullptr;
  ASSERT_EQ(service().connect(u"", HKEY_LOCAL_MACHINE, &root), 0u);
  EXPECT_EQ(service().close_key(root), 0u);
  EXPECT_EQ(service().connect(u"\\\\no.such.host", HKEY_LOCAL_MACHINE, &root), 53u);
  EXPECT_EQ(service().connect(u"", base, &root), 6u);
}

TEST_F(Operations, RefusePathsThatNoMessageCarries) {
  const std::u16string endless(2u << 20, u'x');
  HKEY key = nullptr;
  EXPECT_EQ(service().open_key(base, endless, KEY_READ, &key), 87u);
  EXPECT_EQ(client().get(base, endless).code, 2u);
}

TEST_F(Operations, OfEightThreadsDoNotDisturbEachOther) {
  std::atomic<int> good = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      const std::string text = "thread " + std::to_string(t);
      const HKEY key = client().made(base, std::u16string(text.begin(), text.end()));
      for (int i = 0; i < 50; ++i) {
        const std::string data = text + std::to_string(i);
        if (client().set(key, u"v", REG_BINARY, data) == 0 && client().get(key, u"v").data == data) ++good;
      }
      service().close_key(key);
    });
  }
  for (std::thread& each : threads) each.join();
  EXPECT_EQ(good, 400);
  impl::Key_Facts facts;
  ASSERT_EQ(service().query_info(base, nullptr, &facts), 0u);
  EXPECT_EQ(facts.sub_keys, 8u);
}

}  // namespace
