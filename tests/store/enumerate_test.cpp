// Listing sub-keys and values, and the counts and longest lengths that a key tells.
#include <algorithm>
#include <map>
#include <random>

#include "tests/store/store_test.h"

namespace kvtest {
namespace {

// A listed sub-key with every output.
struct Listed_Key {
  LSTATUS code = -1;
  DWORD name_size = 32;
  DWORD class_size = 32;
  FILETIME time = {untouched, untouched};
  std::string name = std::string(32, '#');
  std::string class_name = std::string(32, '#');
};
Listed_Key list_key(HKEY key, DWORD index, DWORD name_room = 32, DWORD class_room = 32) {
  Listed_Key listed;
  listed.name_size = name_room;
  listed.class_size = class_room;
  listed.code = RegEnumKeyEx(key, index, listed.name.data(), &listed.name_size, nullptr, listed.class_name.data(),
                             &listed.class_size, &listed.time);
  return listed;
}

class Sub_Keys : public Store_Test {
 protected:
  void make(const char* name, const char* class_name = nullptr) {
    std::string class_copy = class_name == nullptr ? "" : class_name;
    Key made;
    ASSERT_EQ(RegCreateKeyEx(key, name, 0, class_name == nullptr ? nullptr : class_copy.data(), 0, KEY_READ, nullptr,
                             made.out(), nullptr),
              0);
  }
};

TEST_F(Sub_Keys, OfAnEmptyKeyAre259) {
  Listed_Key listed = list_key(key, 0);
  EXPECT_EQ(listed.code, 259);
  EXPECT_EQ(listed.name_size, 32u);
  EXPECT_EQ(listed.class_size, 32u);
  EXPECT_EQ(listed.name, std::string(32, '#'));
  EXPECT_EQ(listed.class_name, std::string(32, '#'));
  EXPECT_EQ(listed.time.dwHighDateTime, untouched);
  EXPECT_EQ(list_key(key, 0xFFFFFFFF).code, 259);
}

TEST_F(Sub_Keys, AreToldWithNameClassAndTime) {
  make("hello", "class");
  Listed_Key listed = list_key(key, 0);
  EXPECT_EQ(listed.code, 0);
  EXPECT_EQ(listed.name_size, 5u);
  EXPECT_EQ(listed.name.substr(0, 7), "hello\0#"s);
  EXPECT_EQ(listed.class_size, 5u);
  EXPECT_EQ(listed.class_name.substr(0, 7), "class\0#"s);
  FILETIME own = {};
  ASSERT_EQ(RegQueryInfoKey(opened(key, "hello"), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr, nullptr, &own),
            0);
  EXPECT_EQ(listed.time.dwLowDateTime, own.dwLowDateTime);
  EXPECT_EQ(listed.time.dwHighDateTime, own.dwHighDateTime);
  EXPECT_EQ(list_key(key, 1).code, 259);
}

TEST_F(Sub_Keys, WithoutAClassHaveAnEmptyOne) {
  make("hello");
  Listed_Key listed = list_key(key, 0);
  EXPECT_EQ(listed.code, 0);
  EXPECT_EQ(listed.class_size, 0u);
  EXPECT_EQ(listed.class_name.substr(0, 2), "\0#"s);
}

TEST_F(Sub_Keys, NeedRoomForTheirNameAndItsTerminator) {
  make("hello");
  Listed_Key exact = list_key(key, 0, 6);
  EXPECT_EQ(exact.code, 0);
  EXPECT_EQ(exact.name_size, 5u);
  EXPECT_EQ(exact.name.substr(0, 7), "hello\0#"s);
  for (DWORD room : {5u, 1u, 0u}) {
    Listed_Key less = list_key(key, 0, room);
    EXPECT_EQ(less.code, 234) << room;
    EXPECT_EQ(less.name_size, room);
    EXPECT_EQ(less.name, std::string(32, '#'));
  }
}

// Characters of the wide form are units.
#ifndef KVTEST_WIDE
TEST_F(Sub_Keys, WhoseUnitsFitAndWhoseBytesDoNotAre0WithTheLengthAndAnUntouchedBuffer) {
  make("\xC3\xA4\xC3\xB6");
  Listed_Key listed = list_key(key, 0, 4);
  EXPECT_EQ(listed.code, 0);
  EXPECT_EQ(listed.name_size, 4u);
  EXPECT_EQ(listed.name, std::string(32, '#'));
  Listed_Key again = list_key(key, 0, 5);
  EXPECT_EQ(again.code, 0);
  EXPECT_EQ(again.name_size, 4u);
  EXPECT_EQ(again.name.substr(0, 6), "\xC3\xA4\xC3\xB6\0#"s);
}
#endif

TEST_F(Sub_Keys, HaveTheirClassSizeToldWithoutABuffer) {
  make("hello", "Klasse");
  char name[8];
  DWORD name_size = 8, class_size = 0;
  EXPECT_EQ(RegEnumKeyEx(key, 0, name, &name_size, nullptr, nullptr, &class_size, nullptr), 0);
  EXPECT_EQ(class_size, 6u);
}

TEST_F(Sub_Keys, InTheOldFormNeedTheSameRoom) {
  make("hello");
  char name[8] = "#######";
  EXPECT_EQ(RegEnumKey(key, 0, name, 5), 234);
  EXPECT_STREQ(name, "#######");
  EXPECT_EQ(RegEnumKey(key, 0, name, 6), 0);
  EXPECT_STREQ(name, "hello");
  EXPECT_EQ(RegEnumKey(key, 1, name, 6), 259);
  EXPECT_EQ(RegEnumKey(HKEY_PERFORMANCE_DATA, 0, name, 6), 6);
}

TEST_F(Sub_Keys, AreListedInTheOrderOfTheirNamesHoweverTheyWereMade) {
  std::vector<std::string> names;
  for (int i = 0; i < 1000; ++i) names.push_back("key" + std::to_string(1000 + i));
  std::vector<std::string> shuffled = names;
  std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(7));
  for (const std::string& name : shuffled) make(name.c_str());
  EXPECT_EQ(sub_keys(key), names);
  DWORD count = 0, longest = 0;
  EXPECT_EQ(RegQueryInfoKey(key, nullptr, nullptr, nullptr, &count, &longest, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr),
            0);
  EXPECT_EQ(count, 1000u);
  EXPECT_EQ(longest, 7u);
  for (DWORD index : {999u, 0u, 500u, 499u, 501u, 250u, 998u}) {
    EXPECT_EQ(list_key(key, index).name.substr(0, 8), names[index] + '\0') << index;
  }
  for (DWORD index = 1000; index-- > 990;) EXPECT_EQ(list_key(key, index).name.substr(0, 7), names[index]);
}

TEST_F(Sub_Keys, AreInOrderWhateverTheirCase) {
  for (const char* name : {"b", "D", "a", "C", "\xC3\xA4", "Z"}) make(name);
  EXPECT_EQ(sub_keys(key), (std::vector<std::string>{"a", "b", "C", "D", "Z", "\xC3\xA4"}));
}

TEST_F(Sub_Keys, AreEmptiedByDeletingIndex0AgainAndAgain) {
  for (int i = 0; i < 100; ++i) make(("k" + std::to_string(i)).c_str());
  char name[16];
  DWORD size = sizeof name;
  int deleted = 0;
  while (RegEnumKeyEx(key, 0, name, &size, nullptr, nullptr, nullptr, nullptr) == 0) {
    ASSERT_EQ(RegDeleteKey(key, name), 0);
    size = sizeof name;
    ++deleted;
  }
  EXPECT_EQ(deleted, 100);
  EXPECT_EQ(list_key(key, 0).code, 259);
}

TEST_F(Sub_Keys, AreDeletedFromTheLastIndexDownwards) {
  for (int i = 0; i < 50; ++i) make(("k" + std::to_string(100 + i)).c_str());
  for (DWORD index = 50; index-- > 0;) {
    Listed_Key listed = list_key(key, index);
    ASSERT_EQ(listed.code, 0) << index;
    ASSERT_EQ(listed.name.substr(0, 5), "k" + std::to_string(100 + index) + '\0');
    ASSERT_EQ(RegDeleteKey(key, listed.name.c_str()), 0);
  }
  EXPECT_EQ(list_key(key, 0).code, 259);
}

TEST_F(Sub_Keys, AreDeletedWithoutMovingOnOrPassedBy) {
  for (int i = 0; i < 60; ++i) make(("k" + std::to_string(100 + i)).c_str());
  int seen = 0;
  for (DWORD index = 0;; ++seen) {
    Listed_Key listed = list_key(key, index);
    if (listed.code == 259) break;
    ASSERT_EQ(listed.code, 0);
    ASSERT_EQ(listed.name.substr(0, 4), "k" + std::to_string(100 + seen));
    if (seen % 3 == 0) {
      ASSERT_EQ(RegDeleteKey(key, listed.name.c_str()), 0);
    } else {
      ++index;
    }
  }
  EXPECT_EQ(seen, 60);
  EXPECT_EQ(sub_keys(key).size(), 40u);
}

TEST_F(Sub_Keys, AreListedByTwoWalksThroughOneHandle) {
  for (int i = 0; i < 50; ++i) make(("k" + std::to_string(100 + i)).c_str());
  for (DWORD index = 0; index < 50; ++index) {
    EXPECT_EQ(list_key(key, index).name.substr(0, 4), "k" + std::to_string(100 + index));
    EXPECT_EQ(list_key(key, 49 - index).name.substr(0, 4), "k" + std::to_string(149 - index));
  }
}

class Values : public Store_Test {};

TEST_F(Values, OfAnEmptyKeyAre259) {
  char name[4] = "###";
  DWORD size = 4;
  EXPECT_EQ(RegEnumValue(key, 0, name, &size, nullptr, nullptr, nullptr, nullptr), 259);
  EXPECT_EQ(size, 4u);
  EXPECT_STREQ(name, "###");
}

TEST_F(Values, AreListedOnceEachWithTheDefaultValue) {
  std::vector<std::string> names = {""};
  for (int i = 0; i < 300; ++i) names.push_back("value" + std::to_string(1000 + i));
  std::vector<std::string> shuffled = names;
  std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(7));
  for (const std::string& name : shuffled) ASSERT_EQ(set_value(key, name.c_str(), REG_SZ, name), 0);
  EXPECT_EQ(value_names(key), names);
}

TEST_F(Values, AreEmptiedByDeletingIndex0AgainAndAgain) {
  for (int i = 0; i < 100; ++i) ASSERT_EQ(set_number(key, ("v" + std::to_string(i)).c_str(), 1), 0);
  char name[16];
  DWORD size = sizeof name;
  int deleted = 0;
  while (RegEnumValue(key, 0, name, &size, nullptr, nullptr, nullptr, nullptr) == 0) {
    ASSERT_EQ(RegDeleteValue(key, name), 0);
    size = sizeof name;
    ++deleted;
  }
  EXPECT_EQ(deleted, 100);
  EXPECT_EQ(value_names(key).size(), 0u);
}

class Class_Names : public Sub_Keys {};

TEST_F(Class_Names, AreToldWithRoomForTheTerminator) {
  make("k", "hello");
  Key sub = opened(key, "k");
  char buffer[8] = "#######";
  DWORD size = 6;
  EXPECT_EQ(RegQueryInfoKey(sub, buffer, &size, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr),
            0);
  EXPECT_EQ(size, 5u);
  EXPECT_EQ(std::string(buffer, 8), "hello\0#\0"s);
}

// The wide form asks once and offers what its caller offers.
#ifndef KVTEST_WIDE
TEST_F(Class_Names, WithoutRoomAre0WithTheLengthAndAnUntouchedBuffer) {
  make("k", "hello");
  Key sub = opened(key, "k");
  char buffer[8] = "#######";
  DWORD size = 3;
  EXPECT_EQ(RegQueryInfoKey(sub, buffer, &size, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr),
            0);
  EXPECT_EQ(size, 5u);
  EXPECT_STREQ(buffer, "#######");
  size = untouched;
  EXPECT_EQ(RegQueryInfoKey(sub, nullptr, &size, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr),
            0);
  EXPECT_EQ(size, 5u);
}
#else
TEST_F(Class_Names, WithoutRoomAre234WithTheLengthAndNothingWrittenBehindTheRoom) {
  make("k", "hello");
  Key sub = opened(key, "k");
  wchar_t buffer[5] = L"####";
  DWORD size = 3;
  EXPECT_EQ(RegQueryInfoKeyW(sub, buffer, &size, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                             nullptr),
            234);
  EXPECT_EQ(size, 5u);
  EXPECT_EQ(std::wstring(buffer, 5), L"\0\0\0#\0"s);
}

TEST_F(Class_Names, WithoutABufferTellTheirLength) {
  make("k", "hello");
  Key sub = opened(key, "k");
  DWORD size = untouched;
  EXPECT_EQ(RegQueryInfoKey(sub, nullptr, &size, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr),
            0);
  EXPECT_EQ(size, 5u);
}
#endif

TEST_F(Class_Names, WithoutACountAre87) {
  char buffer[8] = "#######";
  DWORD count = untouched;
  EXPECT_EQ(RegQueryInfoKey(key, buffer, nullptr, nullptr, &count, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr),
            87);
  EXPECT_STREQ(buffer, "#######");
}

TEST_F(Class_Names, StayAsTheKeyWasMade) {
  make("k", "first");
  make("k", "second");
  EXPECT_EQ(list_key(key, 0).class_name.substr(0, 6), "first\0"s);
}

// Everything a key tells about what is in it.
struct Facts {
  DWORD sub_keys = untouched, max_sub_key = untouched, max_class = untouched;
  DWORD values = untouched, max_value_name = untouched, max_value = untouched;
  bool operator==(const Facts&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Facts& facts) {
  return out << facts.sub_keys << " sub-keys, longest " << facts.max_sub_key << ", class " << facts.max_class << "; "
             << facts.values << " values, longest " << facts.max_value_name << ", largest " << facts.max_value;
}

Facts facts_of(HKEY key) {
  Facts facts;
  EXPECT_EQ(RegQueryInfoKey(key, nullptr, nullptr, nullptr, &facts.sub_keys, &facts.max_sub_key, &facts.max_class,
                            &facts.values, &facts.max_value_name, &facts.max_value, nullptr, nullptr),
            0);
  return facts;
}

TEST_F(Class_Names, AndAllCountsMayBeLeftOut) {
  EXPECT_EQ(RegQueryInfoKey(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr),
            0);
}

class Counts : public Store_Test {};

TEST_F(Counts, OfAnEmptyKeyAreZero) { EXPECT_EQ(facts_of(key), (Facts{0, 0, 0, 0, 0, 0})); }

TEST_F(Counts, AreInUnitsForNamesAndInStoredBytesForValues) {
  std::string class_name =
      "\xC3\xA4"
      "bc";
  Key made;
  ASSERT_EQ(RegCreateKeyEx(key,
                           "\xE2\x82\xAC"
                           "1",
                           0, class_name.data(), 0, KEY_READ, nullptr, made.out(), nullptr),
            0);
  ASSERT_EQ(set_value(key, "\xC3\xA4\xC3\xB6\xC3\xBC", REG_SZ, "hello\0"s), 0);
  EXPECT_EQ(facts_of(key), (Facts{1, 2, 3, 1, 3, 12}));
}

// What the key should hold: lengths of class names by sub-key, stored sizes by value.
struct Model {
  std::map<std::string, DWORD> sub_keys;
  std::map<std::string, DWORD> values;

  static void count(const std::map<std::string, DWORD>& all, DWORD& number, DWORD& longest, DWORD& largest) {
    number = static_cast<DWORD>(all.size());
    longest = largest = 0;
    for (const auto& [name, size] : all) {
      longest = std::max(longest, static_cast<DWORD>(name.size()));
      largest = std::max(largest, size);
    }
  }
  Facts facts() const {
    Facts facts;
    count(sub_keys, facts.sub_keys, facts.max_sub_key, facts.max_class);
    count(values, facts.values, facts.max_value_name, facts.max_value);
    return facts;
  }
};

class Random_Changes {
 public:
  explicit Random_Changes(HKEY key) : key_(key) {}

  // Names of 1 to 30 letters from a few, so that they are met again.
  void change(Model& model) {
    std::string name(1 + below(30), static_cast<char>('a' + below(2)));
    switch (below(5)) {
      case 0:
      case 1:
        return set(model, name);
      case 2:
        return make(model, name);
      case 3:
        return remove_value(model, name);
      default:
        return remove_key(model, name);
    }
  }

 private:
  unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }

  void set(Model& model, const std::string& name) {
    std::string data(below(below(4) == 0 ? 3000 : 40), 'x');
    bool text = below(2) == 0;
    if (text) data += '\0';
    EXPECT_EQ(set_value(key_, name.c_str(), text ? REG_SZ : REG_BINARY, data), 0);
    model.values[name] = static_cast<DWORD>(text ? 2 * data.size() : data.size());
  }
  void make(Model& model, const std::string& name) {
    std::string class_name(below(20), 'c');
    Key made;
    DWORD disposition = 0;
    EXPECT_EQ(RegCreateKeyEx(key_, name.c_str(), 0, class_name.data(), 0, KEY_READ, nullptr, made.out(), &disposition),
              0);
    bool is_new = model.sub_keys.emplace(name, static_cast<DWORD>(class_name.size())).second;
    EXPECT_EQ(disposition, is_new ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY);
  }
  void remove_value(Model& model, const std::string& name) {
    EXPECT_EQ(RegDeleteValue(key_, name.c_str()), model.values.erase(name) == 1 ? 0 : 2);
  }
  void remove_key(Model& model, const std::string& name) {
    EXPECT_EQ(RegDeleteKey(key_, name.c_str()), model.sub_keys.erase(name) == 1 ? 0 : 2);
  }

  HKEY key_;
  std::mt19937 random_{42};
};

std::vector<std::string> names_of(const std::map<std::string, DWORD>& all) {
  std::vector<std::string> names;
  for (const auto& entry : all) names.push_back(entry.first);
  return names;
}

TEST_F(Counts, AreExactAfterEveryOneOfManyRandomChanges) {
  Model model;
  Random_Changes changes(key);
  for (int i = 0; i < 1500; ++i) {
    changes.change(model);
    ASSERT_EQ(facts_of(key), model.facts()) << "after change " << i;
  }
  EXPECT_EQ(sub_keys(key), names_of(model.sub_keys));
  EXPECT_EQ(value_names(key), names_of(model.values));
}

}  // namespace
}  // namespace kvtest
