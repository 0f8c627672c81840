// Entries for keys over a service of the test's own: text, null names and results, listing, facts.
#include "tests/impl/scripted_service.h"

namespace {

using namespace kvtest;

class EntriesForKeys : public Entries_Test {};

TEST_F(EntriesForKeys, TextIsReadHighByteFirstUpToItsTerminator) {
  const WinChar text[] = {{0x01, 0x42}, {0xD8, 0x00}, {0x00, 'x'}, {0, 0}, {0, 'y'}, {0, 0}};
  EXPECT_EQ(KvIRegDeleteKey(key, text, nullptr), 0u);
  EXPECT_EQ(scripted.path, (std::u16string{char16_t(0x0142), char16_t(0xD800), u'x'}));
}

TEST_F(EntriesForKeys, TextOfAnyLengthIsReadWhole) {
  for (std::size_t length : {0u, 1u, 511u, 512u, 513u, 16383u, 100000u}) {
    const std::u16string text(length, u'n');
    EXPECT_EQ(KvIRegDeleteKey(key, win(text).data(), nullptr), 0u);
    EXPECT_EQ(scripted.path, text) << length;
  }
}

TEST_F(EntriesForKeys, MemoryThatRunsOutIsACode) {
  scripted.no_memory = true;
  EXPECT_EQ(KvIRegDeleteKey(key, win(u"k").data(), nullptr), 8u);
  EXPECT_EQ(KvIRegSetValueEx(key, nullptr, 0, REG_BINARY, nullptr, 0, nullptr), 8u);
}

TEST_F(EntriesForKeys, CreateHandsOverPathClassOptionsAndAccess) {
  HKEY made = nullptr;
  DWORD disposition = 0;
  EXPECT_EQ(KvIRegCreateKeyEx(key, win(u"a\\b").data(), 0, win(u"cls").data(), REG_OPTION_VOLATILE, 0x20019, nullptr,
                              &made, &disposition, 0, nullptr),
            0u);
  EXPECT_EQ(scripted.path, u"a\\b");
  EXPECT_EQ(scripted.class_name, u"cls");
  EXPECT_EQ(scripted.options, 1u);
  EXPECT_EQ(scripted.access, 0x20019u);
  EXPECT_EQ(made, HKEY(0x77));
  EXPECT_EQ(disposition, 1u);
}

TEST_F(EntriesForKeys, CreateTellsThatTheKeyWasThere) {
  HKEY made = nullptr;
  DWORD disposition = 0;
  scripted.created = false;
  EXPECT_EQ(KvIRegCreateKeyEx(key, nullptr, 0, nullptr, 0, 0, nullptr, &made, &disposition, 0, nullptr), 0u);
  EXPECT_EQ(scripted.path, u"");
  EXPECT_EQ(disposition, 2u);
}

TEST_F(EntriesForKeys, CreateThatFailsLeavesTheDisposition) {
  HKEY made = nullptr;
  DWORD disposition = 99;
  scripted.code = ERROR_ACCESS_DENIED;
  EXPECT_EQ(KvIRegCreateKeyEx(key, nullptr, 0, nullptr, 0, 0, nullptr, &made, &disposition, 0, nullptr), 5u);
  EXPECT_EQ(disposition, 99u);
}

TEST_F(EntriesForKeys, CreateWithoutAResultWithUnknownOptionsOrATooLongClassIs87) {
  HKEY made = nullptr;
  const auto name = win(u"k");
  EXPECT_EQ(KvIRegCreateKeyEx(key, name.data(), 0, nullptr, 0, 0, nullptr, nullptr, nullptr, 0, nullptr), 87u);
  EXPECT_EQ(KvIRegCreateKeyEx(key, name.data(), 0, nullptr, 0x10, 0, nullptr, &made, nullptr, 0, nullptr), 87u);
  const auto long_class = win(std::u16string(32768, u'c'));
  EXPECT_EQ(KvIRegCreateKeyEx(key, name.data(), 0, long_class.data(), 0, 0, nullptr, &made, nullptr, 0, nullptr), 87u);
  EXPECT_EQ(scripted.path, u"(not asked)");
}

TEST_F(EntriesForKeys, OpenAndConnectWithoutAResultAre87) {
  EXPECT_EQ(KvIRegOpenKeyEx(key, win(u"k").data(), 0, 0, nullptr, nullptr), 87u);
  EXPECT_EQ(KvIRegConnectRegistry(nullptr, key, nullptr, nullptr), 87u);
  EXPECT_EQ(scripted.path, u"(not asked)");
}

TEST_F(EntriesForKeys, DeleteKeyWithoutANameIs87AndAnEmptyNameIsTheKeyItself) {
  EXPECT_EQ(KvIRegDeleteKey(key, nullptr, nullptr), 87u);
  EXPECT_EQ(scripted.path, u"(not asked)");
  EXPECT_EQ(KvIRegDeleteKey(key, win(u"").data(), nullptr), 0u);
  EXPECT_EQ(scripted.path, u"");
}

TEST_F(EntriesForKeys, NullValueNameIsTheDefaultValue) {
  EXPECT_EQ(KvIRegDeleteValue(key, nullptr, nullptr), 0u);
  EXPECT_EQ(scripted.path, u"");
}

TEST_F(EntriesForKeys, KeyNameIsWrittenWithItsTerminatorAndCountedWithoutIt) {
  Win_Buffer name(8);
  DWORD count = 6;
  FILETIME time{};
  EXPECT_EQ(KvIRegEnumKeyEx(key, 0, name.data(), &count, nullptr, nullptr, nullptr, &time, nullptr), 0u);
  EXPECT_EQ(name.text(), "hello.##");
  EXPECT_EQ(count, 5u);
  EXPECT_EQ(time.dwHighDateTime, 0x01020304u);
  EXPECT_EQ(time.dwLowDateTime, 0x05060708u);
}

TEST_F(EntriesForKeys, KeyNameWithoutRoomLeavesCountAndBuffer) {
  for (DWORD room : {0u, 1u, 5u}) {
    Win_Buffer name(8);
    DWORD count = room;
    EXPECT_EQ(KvIRegEnumKeyEx(key, 0, name.data(), &count, nullptr, nullptr, nullptr, nullptr, nullptr), 234u);
    EXPECT_EQ(name.text(), "########");
    EXPECT_EQ(count, room);
  }
}

TEST_F(EntriesForKeys, KeyNameIsCountedWithoutABufferAndTheCountIsNotRead) {
  DWORD count = 0;
  EXPECT_EQ(KvIRegEnumKeyEx(key, 0, nullptr, &count, nullptr, nullptr, nullptr, nullptr, nullptr), 0u);
  EXPECT_EQ(count, 5u);
}

TEST_F(EntriesForKeys, KeyNameBufferWithoutACountIs87) {
  Win_Buffer name(8);
  EXPECT_EQ(KvIRegEnumKeyEx(key, 0, name.data(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 87u);
  EXPECT_EQ(name.text(), "########");
}

TEST_F(EntriesForKeys, HugeRoomForAKeyNameIsTakenAsItStands) {
  Win_Buffer name(8);
  DWORD count = 0xFFFFFFFF;
  EXPECT_EQ(KvIRegEnumKeyEx(key, 0, name.data(), &count, nullptr, nullptr, nullptr, nullptr, nullptr), 0u);
  EXPECT_EQ(name.text(), "hello.##");
}

TEST_F(EntriesForKeys, ClassOfAListedKeyIsDeliveredAndItsBufferWithoutACountIgnored) {
  scripted.stored_class = u"cls";
  Win_Buffer name(8), class_name(5);
  DWORD count = 8, class_count = 4;
  EXPECT_EQ(KvIRegEnumKeyEx(key, 0, name.data(), &count, nullptr, class_name.data(), &class_count, nullptr, nullptr),
            0u);
  EXPECT_EQ(class_name.text(), "cls.#");
  EXPECT_EQ(class_count, 3u);
  Win_Buffer ignored(5);
  count = 8;
  EXPECT_EQ(KvIRegEnumKeyEx(key, 0, name.data(), &count, nullptr, ignored.data(), nullptr, nullptr, nullptr), 0u);
  EXPECT_EQ(ignored.text(), "#####");
}

TEST_F(EntriesForKeys, ClassWithoutRoomLeavesEverything) {
  scripted.stored_class = u"cls";
  Win_Buffer name(8), class_name(5);
  DWORD count = 8, class_count = 3;
  EXPECT_EQ(KvIRegEnumKeyEx(key, 0, name.data(), &count, nullptr, class_name.data(), &class_count, nullptr, nullptr),
            234u);
  EXPECT_EQ(name.text(), "########");
  EXPECT_EQ(class_name.text(), "#####");
  EXPECT_EQ(count, 8u);
  EXPECT_EQ(class_count, 3u);
}

TEST_F(EntriesForKeys, OtherCodesOfListingWriteNothing) {
  scripted.code = ERROR_NO_MORE_ITEMS;
  Win_Buffer name(8);
  DWORD count = 8, type = 99, size = 77;
  FILETIME time{1, 2};
  EXPECT_EQ(KvIRegEnumKeyEx(key, 0, name.data(), &count, nullptr, nullptr, nullptr, &time, nullptr), 259u);
  EXPECT_EQ(KvIRegEnumValue(key, 0, name.data(), &count, nullptr, &type, nullptr, &size, nullptr), 259u);
  EXPECT_EQ(name.text(), "########");
  EXPECT_EQ(count, 8u);
  EXPECT_EQ(type, 99u);
  EXPECT_EQ(size, 77u);
  EXPECT_EQ(time.dwLowDateTime, 1u);
}

struct Info {
  DWORD sub_keys = 99, max_sub_key = 99, max_class = 99, values = 99, max_value_name = 99, max_value = 99,
        security = 99;
  FILETIME time{};

  DWORD ask(HKEY key, WinChar* class_name, DWORD* class_count) {
    return KvIRegQueryInfoKey(key, class_name, class_count, nullptr, &sub_keys, &max_sub_key, &max_class, &values,
                              &max_value_name, &max_value, &security, &time, nullptr);
  }
  std::vector<DWORD> all() const {
    return {sub_keys, max_sub_key,         max_class,         values, max_value_name, max_value,
            security, time.dwHighDateTime, time.dwLowDateTime};
  }
};

const std::vector<DWORD> all_facts = {1, 2, 3, 4, 5, 6, 0, 0x01020304, 0x05060708};

TEST_F(EntriesForKeys, InfoIsDeliveredWithTheClass) {
  scripted.stored_class = u"cls";
  Win_Buffer class_name(5);
  DWORD count = 4;
  Info info;
  EXPECT_EQ(info.ask(key, class_name.data(), &count), 0u);
  EXPECT_EQ(class_name.text(), "cls.#");
  EXPECT_EQ(count, 3u);
  EXPECT_EQ(info.all(), all_facts);
}

TEST_F(EntriesForKeys, InfoIsDeliveredAlsoWhenTheClassHasNoRoomAndTheCountIsTheLengthNeeded) {
  scripted.stored_class = u"cls";
  for (DWORD room : {0u, 3u}) {
    Win_Buffer class_name(5);
    DWORD count = room;
    Info info;
    EXPECT_EQ(info.ask(key, class_name.data(), &count), 234u);
    EXPECT_EQ(class_name.text(), "#####");
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(info.all(), all_facts);
  }
}

TEST_F(EntriesForKeys, InfoTellsTheLengthOfTheClassWithoutABuffer) {
  scripted.stored_class = u"cls";
  DWORD count = 0;
  Info info;
  EXPECT_EQ(info.ask(key, nullptr, &count), 0u);
  EXPECT_EQ(count, 3u);
}

TEST_F(EntriesForKeys, InfoWithoutAnyOutputIsAnAnswer) {
  EXPECT_EQ(KvIRegQueryInfoKey(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                               nullptr, nullptr, nullptr),
            0u);
}

TEST_F(EntriesForKeys, InfoWithAClassBufferButNoCountIs87) {
  Win_Buffer class_name(5);
  Info info;
  EXPECT_EQ(info.ask(key, class_name.data(), nullptr), 87u);
  EXPECT_EQ(info.sub_keys, 99u);
  EXPECT_EQ(class_name.text(), "#####");
}

}  // namespace

impl::Registry_Service& impl::registry_service() { return *service; }
