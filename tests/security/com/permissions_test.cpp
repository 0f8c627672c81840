// COM permissions: which key and values are edited, what an edit starts from, and what it stores.
#include "tests/security/com/com_test.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

constexpr DWORD everybody = 0xFFFFFFFF;

class Com_Scope : public Com_Permissions {};
class Com_Mode : public Com_Permissions {};
class Com_Edit : public Com_Permissions {};
class Com_Stored_Value : public Com_Permissions {};
class Com_Undo : public Com_Permissions {};

const GUID application_id = {0x0A1B2C3D, 0x4E5F, 0x0607, {0x08, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}};

TEST_F(Com_Scope, OfTheMachineIsTheOleKeyAndTheDefaultValues) {
  answer_missing();
  answer_missing();
  EXPECT_EQ(add({500}, {}, 3, 3), 1);
  EXPECT_EQ(entries(),
            "KvIRegOpenKeyEx KvIRegQueryValueEx KvIRegSetValueEx KvIRegQueryValueEx KvIRegSetValueEx KvIRegCloseKey ");
  EXPECT_EQ(call(0).raw("key"), 0x80000002u);
  EXPECT_EQ(call(0)["sub_key"].text, u"Software\\Microsoft\\Ole");
  EXPECT_EQ(call(0).raw("options"), 0u);
  EXPECT_EQ(call(0).raw("access"), 0xF003Fu);
  EXPECT_EQ(call(1)["value_name"].text, u"DefaultAccessPermission");
  EXPECT_EQ(call(2)["value_name"].text, u"DefaultAccessPermission");
  EXPECT_EQ(call(3)["value_name"].text, u"DefaultLaunchPermission");
  EXPECT_EQ(call(4)["value_name"].text, u"DefaultLaunchPermission");
  for (std::size_t i = 1; i < 6; ++i) EXPECT_EQ(call(i).raw("key"), 0x1122334455667788u);
}

TEST_F(Com_Scope, OfAnApplicationIsItsKeyAndTheOtherValues) {
  application = &application_id;
  answer_missing();
  answer_missing();
  EXPECT_EQ(add({500}, {}, 3, 3), 1);
  EXPECT_EQ(call(0).raw("key"), 0x80000000u);
  EXPECT_EQ(call(0)["sub_key"].text, u"AppID\\{0a1b2c3d-4e5f-0607-0899-aabbccddeeff}");
  EXPECT_EQ(call(0).raw("options"), 0u);
  EXPECT_EQ(call(0).raw("access"), 0xF003Fu);
  EXPECT_EQ(call(2)["value_name"].text, u"AccessPermission");
  EXPECT_EQ(call(4)["value_name"].text, u"LaunchPermission");
}

TEST_F(Com_Scope, TheTwoPermissionsAreEditedAsTheFlagsSay) {
  answer_missing();
  EXPECT_EQ(add({500}, {}, 1, 3), 1);
  recording.script("KvIRegOpenKeyEx", answer_key(key));
  answer_missing();
  EXPECT_EQ(add({500}, {}, 2, 3), 1);
  ASSERT_EQ(written().size(), 2u);
  EXPECT_EQ(written()[0].first, u"DefaultAccessPermission");
  EXPECT_EQ(written()[1].first, u"DefaultLaunchPermission");
  EXPECT_EQ(GetLastError(), 0x5A5Au);
}

TEST_F(Com_Scope, WithoutAFlagTheKeyIsOpenedAndClosed) {
  EXPECT_EQ(add({500}, {}, 0, 2), 1);
  EXPECT_EQ(entries(), "KvIRegOpenKeyEx KvIRegCloseKey ");
  EXPECT_EQ(GetLastError(), 0x5A5Au);
}

TEST_F(Com_Scope, AFlagOrModeOfFourOrMoreIs87BeforeAnythingIsOpened) {
  recording.reset();
  for (const DWORD high : {4u, 5u, 7u, 8u, 0x80000000u, 0xFFFFFFFFu}) {
    SetLastError(0);
    EXPECT_EQ(add({500}, {}, high, 3), 0);
    EXPECT_EQ(GetLastError(), 87u);
    SetLastError(0);
    EXPECT_EQ(remove({500}, {}, 1, high), 0);
    EXPECT_EQ(GetLastError(), 87u);
  }
  EXPECT_EQ(entries(), "");
}

TEST_F(Com_Scope, AKeyThatCannotBeOpenedEndsTheCallWithItsCode) {
  recording.reset();
  recording.script("KvIRegOpenKeyEx", answer(2));
  EXPECT_EQ(add({500}, {}, 3, 3), 0);
  EXPECT_EQ(GetLastError(), 2u);
  EXPECT_EQ(entries(), "KvIRegOpenKeyEx ");
}

TEST_F(Com_Scope, TheKeyIsClosedAfterAFailureToo) {
  answer_missing(5);
  EXPECT_EQ(add({500}, {}, 1, 2), 0);
  EXPECT_EQ(GetLastError(), 5u);
  EXPECT_EQ(entries(), "KvIRegOpenKeyEx KvIRegQueryValueEx KvIRegCloseKey ");
}

TEST_F(Com_Mode, OneStartsFromEverybodyWithoutAQuery) {
  EXPECT_EQ(add({500, 501}, {}, 1, 1), 1);
  EXPECT_EQ(entries(), "KvIRegOpenKeyEx KvIRegSetValueEx KvIRegCloseKey ");
  EXPECT_BYTES(written_once(),
               "01 00 80 00 00*4  00 00 00 28 00*4  00 00 00 38 00*4  00*8  00*8 "
               "01 02 00*6 00 00 01 f4 00 00 01 f5  01 01 00*6 ff ff ff f0");
}

TEST_F(Com_Mode, OneWithNobodyStoresEverybody) {
  EXPECT_EQ(add({}, {}, 1, 1), 1);
  EXPECT_BYTES(written_once(), stored_everybody);
}

TEST_F(Com_Mode, OneDoesNotRemove) {
  EXPECT_EQ(remove({500}, {}, 1, 1), 0);
  EXPECT_EQ(GetLastError(), 0x80070057u);
  EXPECT_EQ(entries(), "KvIRegOpenKeyEx KvIRegCloseKey ");
}

TEST_F(Com_Mode, TwoNeedsTheStoredValue) {
  answer_missing();
  EXPECT_EQ(add({500}, {}, 1, 2), 0);
  EXPECT_EQ(GetLastError(), 2u);
  EXPECT_TRUE(written().empty());
}

TEST_F(Com_Mode, ZeroNeedsTheStoredValueToo) {
  answer_missing();
  EXPECT_EQ(add({500}, {}, 1, 0), 0);
  EXPECT_EQ(GetLastError(), 2u);
  recording.script("KvIRegOpenKeyEx", answer_key(key));
  answer_stored(bytes(stored_500_501));
  EXPECT_EQ(add({502}, {}, 1, 0), 1);
  EXPECT_EQ(hex(written_once()), hex(stored({"000001f4", "000001f5", "000001f6"}, {"00000064"})));
}

TEST_F(Com_Mode, ThreeTakesTheStoredValueWhenItIsThere) {
  answer_stored(bytes(stored_500_501));
  EXPECT_EQ(add({502}, {}, 1, 3), 1);
  EXPECT_EQ(hex(written_once()), hex(stored({"000001f4", "000001f5", "000001f6"}, {"00000064"})));
}

TEST_F(Com_Mode, ThreeStartsFromEverybodyWhenItCannotBeRead) {
  const std::string only_500 = hex(stored({"000001f4"}, {"fffffff0"}));
  answer_missing();
  EXPECT_EQ(add({500}, {}, 1, 3), 1);
  EXPECT_EQ(hex(written_once()), only_500);
  recording.reset();
  recording.script("KvIRegOpenKeyEx", answer_key(key));
  answer_stored(bytes(stored_500_501), REG_SZ);
  EXPECT_EQ(add({500}, {}, 1, 3), 1);
  EXPECT_EQ(hex(written_once()), only_500);
}

TEST_F(Com_Mode, ThreeDoesNotRemoveFromWhatCannotBeRead) {
  answer_missing();
  EXPECT_EQ(remove({500}, {}, 1, 3), 0);
  EXPECT_EQ(GetLastError(), 0x80070057u);
  EXPECT_TRUE(written().empty());
}

TEST_F(Com_Edit, AddsUsersAndGroupsInTheirOrder) {
  answer_stored(bytes(stored_500_501));
  EXPECT_EQ(add({7, 6, 0x01020304}, {3, 2}), 1);
  EXPECT_EQ(hex(written_once()), hex(stored({"000001f4", "000001f5", "00000007", "00000006", "01020304"},
                                            {"00000064", "00000003", "00000002"})));
  EXPECT_EQ(GetLastError(), 0x5A5Au);
}

TEST_F(Com_Edit, RemovesUsersAndGroups) {
  answer_stored(bytes(stored_500_501));
  EXPECT_EQ(remove({500}, {100}), 1);
  EXPECT_EQ(hex(written_once()), hex(stored({"000001f5"}, {"fffffff0"})));
  EXPECT_EQ(GetLastError(), 0x5A5Au);
}

TEST_F(Com_Edit, TheLastUserLeavesAPlaceholderThatTheNextReplaces) {
  answer_stored(stored({"000001f4"}, {"00000064"}));
  EXPECT_EQ(remove({500}, {}), 1);
  const std::string nobody = stored({"fffffff0"}, {"00000064"});
  EXPECT_EQ(hex(written_once()), hex(nobody));
  recording.reset();
  recording.script("KvIRegOpenKeyEx", answer_key(key));
  answer_stored(nobody);
  EXPECT_EQ(add({7}, {}), 1);
  EXPECT_EQ(hex(written_once()), hex(stored({"00000007"}, {"00000064"})));
}

TEST_F(Com_Edit, AddingWhoIsThereSucceedsWithTheCodeAsLastError) {
  answer_stored(bytes(stored_500_501));
  EXPECT_EQ(add({500, 502}, {}), 1);
  EXPECT_EQ(GetLastError(), 1316u);
  EXPECT_EQ(hex(written_once()), hex(stored({"000001f4", "000001f5", "000001f6"}, {"00000064"})));
  recording.reset();
  recording.script("KvIRegOpenKeyEx", answer_key(key));
  answer_stored(bytes(stored_500_501));
  EXPECT_EQ(add({500}, {100}), 1);
  EXPECT_EQ(GetLastError(), 1318u);
  EXPECT_BYTES(written_once(), stored_500_501);
}

TEST_F(Com_Edit, RemovingWhoIsNotThereSucceedsWithTheCodeAsLastError) {
  answer_stored(bytes(stored_500_501));
  EXPECT_EQ(remove({7, 501}, {8}), 1);
  EXPECT_EQ(GetLastError(), 1168u);
  EXPECT_EQ(hex(written_once()), hex(stored({"000001f4"}, {"00000064"})));
}

TEST_F(Com_Edit, EverybodyIsAddedInPlaceOfAllUsersAndGroups) {
  answer_stored(bytes(stored_500_501));
  EXPECT_EQ(KvSecDescAddPrincipal(nullptr, nullptr, everybody, nullptr, everybody, 1, 2), 1);
  EXPECT_BYTES(written_once(), stored_everybody);
}

TEST_F(Com_Edit, EverybodyIsAddedToEverybody) {
  answer_stored(bytes(stored_everybody));
  EXPECT_EQ(KvSecDescAddPrincipal(nullptr, nullptr, everybody, nullptr, everybody, 1, 2), 1);
  EXPECT_BYTES(written_once(), stored_everybody);
  EXPECT_EQ(GetLastError(), 0x5A5Au);
}

TEST_F(Com_Edit, AGroupAddedToEverybodyClosesItToAllOthers) {
  answer_stored(bytes(stored_everybody));
  EXPECT_EQ(add({}, {100, 101}), 1);
  EXPECT_EQ(hex(written_once()), hex(stored({"fffffff0"}, {"00000064", "00000065"})));
}

TEST_F(Com_Edit, RemovingFromEverybodyOrRemovingEverybodyFails) {
  answer_stored(bytes(stored_everybody));
  EXPECT_EQ(remove({500}, {}), 0);
  EXPECT_EQ(GetLastError(), 0x80070057u);
  SetLastError(0);
  recording.script("KvIRegOpenKeyEx", answer_key(key));
  answer_stored(bytes(stored_500_501));
  EXPECT_EQ(KvSecDescRemovePrincipal(nullptr, nullptr, everybody, nullptr, everybody, 1, 2), 0);
  EXPECT_EQ(GetLastError(), 0x80070057u);
  EXPECT_TRUE(written().empty());
}

TEST_F(Com_Edit, AFullListIs84AndNothingIsStored) {
  const std::string full =
      bytes("01 00 80 00 00*4  00 00 00 28 00*4  00 00 04 2c 00*4  00*16  01 ff 00*6 00 00 00 09") +
      std::string(4 * 254, '\x01') + bytes("01 01 00*6 00 00 00 64");
  answer_stored(full);
  EXPECT_EQ(add({7}, {}), 0);
  EXPECT_EQ(GetLastError(), 84u);
  EXPECT_TRUE(written().empty());
  recording.script("KvIRegOpenKeyEx", answer_key(key));
  answer_stored(full);
  EXPECT_EQ(remove({9}, {}), 1);
  EXPECT_EQ(hex(written_once()), hex(bytes("01 00 80 00 00*4  00 00 00 28 00*4  00 00 04 28 00*4  00*16  01 fe 00*6") +
                                     std::string(4 * 254, '\x01') + bytes("01 01 00*6 00 00 00 64")));
}

TEST_F(Com_Edit, KeepsTheDaclAndTheAuthoritiesAndDropsTheSacl) {
  answer_stored(
      bytes("01 77 80 3f dd*4  00 00 00 28 99*4  00 00 00 34 99*4  40 00 00 00 99*4  48 00 00 00 99*4 "
            "09 01 01 02 03 04 05 06 00 00 01 f4  09 01 11 12 13 14 15 16 00 00 00 64 "
            "02 00 08 00 00 00 00 00  02 00 0c 00 01 00 00 00 00 00 04 00"));
  EXPECT_EQ(add({7}, {}), 1);
  EXPECT_BYTES(written_once(),
               "01 77 80 3f 00*4  00 00 00 28 00*4  00 00 00 38 00*4  00*8  44 00 00 00 00*4 "
               "01 02 01 02 03 04 05 06 00 00 01 f4 00 00 00 07  01 01 11 12 13 14 15 16 00 00 00 64 "
               "02 00 0c 00 01 00 00 00 00 00 04 00");
}

TEST_F(Com_Edit, AValueThatCannotBeStoredIsToldByItsCode) {
  answer_stored(bytes(stored_500_501));
  answer_set(112);
  EXPECT_EQ(add({7}, {}), 0);
  EXPECT_EQ(GetLastError(), 112u);
}

TEST_F(Com_Edit, AnAccessPermissionThatFailsLeavesTheLaunchPermissionAlone) {
  answer_stored(bytes(stored_500_501));
  answer_set(5);
  EXPECT_EQ(add({7}, {}, 3), 0);
  EXPECT_EQ(GetLastError(), 5u);
  EXPECT_EQ(entries(), "KvIRegOpenKeyEx KvIRegQueryValueEx KvIRegSetValueEx KvIRegCloseKey ");
}

TEST_F(Com_Stored_Value, OfMoreThan256BytesIsAskedForAgainWithItsLength) {
  std::vector<std::string> many(60, "00000009");
  answer_stored(stored(many, {"00000064"}) + std::string(100, '\x55'));
  EXPECT_EQ(remove({}, {100}), 1);
  EXPECT_EQ(hex(written_once().substr(48, 240)), hex(stored(many, {"fffffff0"}).substr(48, 240)));
  EXPECT_EQ(call(1).entry, "KvIRegQueryValueEx");
  EXPECT_EQ(call(2).entry, "KvIRegQueryValueEx");
}

TEST_F(Com_Stored_Value, Of256BytesIsAskedForOnce) {
  std::vector<std::string> many(49, "00000009");
  const std::string value = stored(many, {"00000064"});
  ASSERT_EQ(value.size(), 256u);
  answer_stored(value);
  EXPECT_EQ(remove({}, {100}), 1);
  EXPECT_EQ(hex(written_once()), hex(stored(many, {"fffffff0"})));
  EXPECT_EQ(entries(), "KvIRegOpenKeyEx KvIRegQueryValueEx KvIRegSetValueEx KvIRegCloseKey ");
}

TEST_F(Com_Stored_Value, ThatCannotBeReadTheSecondTimeIsToldByItsCode) {
  for (const int code : {2, 234, 1018}) {
    recording.reset();
    recording.script("KvIRegOpenKeyEx", answer_key(key));
    recording.script("KvIRegQueryValueEx", answer_value_size(ERROR_MORE_DATA, REG_BINARY, 300));
    recording.script("KvIRegQueryValueEx", answer_value_size(static_cast<DWORD>(code), REG_BINARY, 400));
    EXPECT_EQ(add({7}, {}), 0);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(code));
    EXPECT_TRUE(written().empty());
  }
}

TEST_F(Com_Stored_Value, OfAnotherTypeOrTooShortIsInvalid) {
  const std::string value = bytes(stored_500_501);
  const auto expect_invalid = [this] {
    EXPECT_EQ(add({7}, {}), 0);
    EXPECT_EQ(GetLastError(), 0x80040153u);
    EXPECT_TRUE(written().empty());
    recording.reset();
    recording.script("KvIRegOpenKeyEx", answer_key(key));
  };
  answer_stored(value, REG_SZ);
  expect_invalid();
  answer_stored(value, REG_DWORD);
  expect_invalid();
  answer_stored(value.substr(0, 39));
  expect_invalid();
  answer_stored("");
  expect_invalid();
  recording.script("KvIRegQueryValueEx", answer_value_size(ERROR_MORE_DATA, REG_LINK, 300));
  expect_invalid();
  recording.script("KvIRegQueryValueEx", answer_value_size(ERROR_MORE_DATA, REG_BINARY, 300));
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, value.substr(0, 39)));
  expect_invalid();
  recording.script("KvIRegQueryValueEx", answer_value_size(ERROR_MORE_DATA, REG_BINARY, 300));
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_DWORD, value));
  expect_invalid();
  recording.reset();
}

TEST_F(Com_Stored_Value, OfAnotherRevisionIsInvalid) {
  for (const char revision : {'\0', '\2', '\xFF'}) {
    std::string value = bytes(stored_500_501);
    value[0] = revision;
    recording.reset();
    recording.script("KvIRegOpenKeyEx", answer_key(key));
    answer_stored(value);
    EXPECT_EQ(add({7}, {}), 0);
    EXPECT_EQ(GetLastError(), 0x80040153u);
  }
}

// A value of 76 bytes with these fields: offsets as they are stored.
std::string with_offsets(const char* owner, const char* group, const char* sacl, const char* dacl,
                         const char* list = "02 00 08 00 00 00 00 00") {
  return bytes("01 00 80 00 00*4 ") + bytes(owner) + bytes("00*4") + bytes(group) + bytes("00*4") + bytes(sacl) +
         bytes("00*4") + bytes(dacl) + bytes("00*4") +
         bytes("01 01 00*6 00 00 01 f4  01 02 00*6 00 00 00 64 00 00 00 65 ") + bytes(list);
}

struct Placed {
  const char* owner;
  const char* group;
  const char* sacl;
  const char* dacl;
  DWORD code;
};

TEST_F(Com_Stored_Value, WhosePartsLieOutsideIsRefused) {
  const Placed cases[] = {
      {"00 00 00 28", "00 00 00 34", "00*4", "44 00 00 00", 0},           // as they should be
      {"00 00 00 00", "00 00 00 34", "00*4", "00*4", 0x80070057},         // no owner
      {"00 00 00 28", "00 00 00 00", "00*4", "00*4", 0x80070057},         // no group
      {"00 00 00 41", "00 00 00 34", "00*4", "00*4", 0x80070057},         // owner + 12 beyond the value
      {"00 00 00 28", "00 00 00 41", "00*4", "00*4", 0x80070057},         // group + 12 beyond the value
      {"ff ff ff f8", "00 00 00 34", "00*4", "00*4", 0x80070057},         // owner wraps round
      {"00 00 00 28", "ff ff ff f8", "00*4", "00*4", 0x80070057},         // group wraps round
      {"00 00 08 1d", "00 00 00 34", "00*4", "00*4", 0x80070057},         // owner beyond every new descriptor
      {"00 00 00 28", "00 00 00 34", "45 00 00 00", "00*4", 0x80070057},  // SACL's header beyond the value
      {"00 00 00 28", "00 00 00 34", "44 00 00 00", "00*4", 0},           // SACL at its end
      {"00 00 00 28", "00 00 00 34", "00*4", "45 00 00 00", 0x80070057},  // DACL's header beyond the value
      {"00 00 00 28", "00 00 00 34", "ff*4", "00*4", 0x80070057},
      {"00 00 00 28", "00 00 00 34", "00*4", "ff*4", 0x80070057},
  };
  for (const Placed& c : cases) {
    recording.reset();
    recording.script("KvIRegOpenKeyEx", answer_key(key));
    answer_stored(with_offsets(c.owner, c.group, c.sacl, c.dacl));
    SetLastError(0);
    EXPECT_EQ(add({7}, {}), c.code == 0 ? 1 : 0) << c.owner << " " << c.group << " " << c.sacl << " " << c.dacl;
    EXPECT_EQ(GetLastError(), c.code) << c.owner << " " << c.group << " " << c.sacl << " " << c.dacl;
  }
}

TEST_F(Com_Stored_Value, WhoseSidsGoBeyondItIsRefused) {
  // The group counts three where two have room.
  std::string value = with_offsets("00 00 00 28", "00 00 00 34", "00*4", "00*4", "");
  value[53] = 3;
  answer_stored(value);
  EXPECT_EQ(add({7}, {}), 0);
  EXPECT_EQ(GetLastError(), 0x80070057u);
  value[53] = 2;
  value[41] = '\xFF';
  recording.script("KvIRegOpenKeyEx", answer_key(key));
  answer_stored(value);
  SetLastError(0);
  EXPECT_EQ(add({7}, {}), 0);
  EXPECT_EQ(GetLastError(), 0x80070057u);
}

TEST_F(Com_Stored_Value, WhoseDaclGoesBeyondItOrIsNoneIsInvalid) {
  struct Case {
    const char* list;
    BOOL done;
  };
  // 40 less than the value's size is the first bound, the end of the value the second.
  for (const Case& c : {Case{"02 00 08 00 00 00 00 00", 1},
                        {"02 00 09 00 00 00 00 00", 0},
                        {"02 00 24 00 00 00 00 00", 0},
                        {"02 00 25 00 00 00 00 00", 0},
                        {"02 00 ff ff 00 00 00 00", 0},
                        {"02 00 07 00 00 00 00 00", 0},
                        {"02 00 00 00 00 00 00 00", 0}}) {
    recording.reset();
    recording.script("KvIRegOpenKeyEx", answer_key(key));
    answer_stored(with_offsets("00 00 00 28", "00 00 00 34", "00*4", "44 00 00 00", c.list));
    SetLastError(0);
    EXPECT_EQ(add({7}, {}), c.done) << c.list;
    EXPECT_EQ(GetLastError(), c.done ? 0 : 0x80040153u) << c.list;
  }
}

TEST_F(Com_Stored_Value, WithAListNeedsFortyEightBytes) {
  // SIDs inside the header, so that forty bytes are enough for all but a list.
  const std::string inside = bytes("01 00 80 00 00*4  00 00 00 18 00*4  00 00 00 18 00*4  00*8  00*8");
  answer_stored(inside);
  EXPECT_EQ(add({7}, {}), 1);
  std::string with_list = inside + bytes("02 00 08 00 00 00 00");
  with_list[32] = 39;
  recording.script("KvIRegOpenKeyEx", answer_key(key));
  answer_stored(with_list);
  EXPECT_EQ(add({7}, {}), 0);
  EXPECT_EQ(GetLastError(), 0x80070057u);
  with_list.push_back('\0');
  with_list[32] = 40;
  recording.script("KvIRegOpenKeyEx", answer_key(key));
  answer_stored(with_list);
  EXPECT_EQ(add({7}, {}), 1);
}

TEST_F(Com_Stored_Value, WithFarOffsetsKeepsItsSubAuthoritiesAsTheyAre) {
  // The group lies at 2077: no sub-authority is turned round, and the owner reads 0xF4010000.
  const std::string value =
      bytes("01 00 80 00 00*4  00 00 00 28 00*4  00 00 08 1d 00*4  00*16  01 01 00*6 00 00 01 f4 ") +
      std::string(2077 - 52, '\0') + bytes("01 01 00*6 00 00 00 64");
  answer_stored(value);
  EXPECT_EQ(add({7}, {}), 1);
  EXPECT_EQ(hex(written_once()), hex(stored({"f4010000", "00000007"}, {"64000000"})));
  recording.reset();
  recording.script("KvIRegOpenKeyEx", answer_key(key));
  std::string near = value;
  near.erase(100, 1);
  near[19] = 0x1C;
  answer_stored(near);
  EXPECT_EQ(add({7}, {}), 1);
  EXPECT_EQ(hex(written_once()), hex(stored({"000001f4", "00000007"}, {"00000064"})));
}

TEST_F(Com_Stored_Value, CutAtAnyByteOrWithAnyByteChangedIsEditedOrRefused) {
  const std::string value = with_offsets("00 00 00 28", "00 00 00 34", "00*4", "44 00 00 00");
  const auto edit_all_ways = [this](const std::string& damaged, std::size_t at) {
    for (const bool adding : {true, false}) {
      recording.reset();
      recording.script("KvIRegOpenKeyEx", answer_key(key));
      answer_stored(damaged);
      SetLastError(0);
      const BOOL done = adding ? add({500, 7}, {100}) : remove({500, 7}, {100});
      EXPECT_EQ(written().size(), done ? 1u : 0u) << at;
      EXPECT_TRUE(done || GetLastError() == 0x80070057 || GetLastError() == 0x80040153) << at << GetLastError();
    }
  };
  for (std::size_t at = 0; at < value.size(); ++at) {
    edit_all_ways(value.substr(0, at), at);
    for (const int flip : {0x01, 0x04, 0x10, 0x40, 0x80, 0xFF}) {
      std::string damaged = value;
      damaged[at] = static_cast<char>(damaged[at] ^ flip);
      edit_all_ways(damaged, at);
    }
  }
}

TEST_F(Com_Undo, AFailedLaunchPermissionBringsTheAccessPermissionBack) {
  answer_stored(bytes(stored_500_501));
  answer_set();
  answer_stored(bytes(stored_500_501));
  answer_set(112);
  EXPECT_EQ(add({7}, {}, 3), 0);
  EXPECT_EQ(GetLastError(), 112u);
  EXPECT_EQ(entries(),
            "KvIRegOpenKeyEx KvIRegQueryValueEx KvIRegSetValueEx KvIRegQueryValueEx KvIRegSetValueEx KvIRegSetValueEx "
            "KvIRegCloseKey ");
  const auto sets = written();
  EXPECT_EQ(hex(sets[0].second), hex(stored({"000001f4", "000001f5", "00000007"}, {"00000064"})));
  EXPECT_EQ(sets[1].first, u"DefaultLaunchPermission");
  EXPECT_EQ(sets[2].first, u"DefaultAccessPermission");
  EXPECT_BYTES(sets[2].second, stored_500_501);
}

TEST_F(Com_Undo, BringsBackEveryByteOfWhatWasStored) {
  application = &application_id;
  // The group lies inside the owner.
  const std::string odd = bytes(
      "01 77 80 3f dd*4  00 00 00 28 99*4  00 00 00 30 98*4  40 00 00 00 97*4  40 00 00 00 96*4 "
      "09 03 01 02 03 04 05 06  09 01 01 09 13 14 15 16 00 00 00 64  05 06 07 08 "
      "02 00 08 00 00 00 00 00  ee*5");
  answer_stored(odd);
  answer_set();
  answer_missing();
  EXPECT_EQ(add({7}, {}, 3), 0);
  EXPECT_EQ(GetLastError(), 2u);
  const auto sets = written();
  ASSERT_EQ(sets.size(), 2u);
  EXPECT_EQ(sets[1].first, u"AccessPermission");
  EXPECT_EQ(hex(sets[1].second), hex(odd));
}

TEST_F(Com_Undo, AlsoFollowsALaunchPermissionThatIsNoDescriptor) {
  answer_stored(bytes(stored_500_501));
  answer_set();
  answer_stored("short");
  EXPECT_EQ(remove({500}, {}, 3), 0);
  EXPECT_EQ(GetLastError(), 0x80040153u);
  ASSERT_EQ(written().size(), 2u);
  EXPECT_BYTES(written()[1].second, stored_500_501);
}

TEST_F(Com_Undo, ThatFailsItselfTellsTheFirstFailure) {
  answer_stored(bytes(stored_500_501));
  answer_set();
  answer_stored(bytes(stored_500_501));
  answer_set(112);
  answer_set(5);
  EXPECT_EQ(add({7}, {}, 3), 0);
  EXPECT_EQ(GetLastError(), 112u);
}

// QUIRK com-undo-opens
TEST_F(Com_Undo, WhereNothingWasStoredWritesEverybody) {
  answer_missing();
  answer_set();
  answer_missing();
  answer_set(5);
  EXPECT_EQ(add({500}, {}, 3, 3), 0);
  EXPECT_EQ(GetLastError(), 5u);
  const auto sets = written();
  ASSERT_EQ(sets.size(), 3u);
  EXPECT_EQ(sets[2].first, u"DefaultAccessPermission");
  EXPECT_EQ(sets[2].second.size(), 2076u);
  EXPECT_BYTES(sets[2].second, new_everybody);
}

TEST_F(Com_Undo, OfModeOneWritesEverybodyWhateverWasStored) {
  answer_set();
  answer_set(5);
  EXPECT_EQ(add({500}, {}, 3, 1), 0);
  EXPECT_EQ(GetLastError(), 5u);
  ASSERT_EQ(written().size(), 3u);
  EXPECT_BYTES(written()[2].second, new_everybody);
}

TEST_F(Com_Undo, DoesNotTouchAnAccessPermissionThatWasNotEdited) {
  answer_stored(bytes(stored_500_501));
  answer_set(112);
  EXPECT_EQ(add({7}, {}, 2), 0);
  ASSERT_EQ(written().size(), 1u);
  EXPECT_EQ(written()[0].first, u"DefaultLaunchPermission");
}

TEST_F(Com_Undo, WhatItWroteIsReadAsEverybody) {
  answer_stored(bytes(new_everybody));
  EXPECT_EQ(add({500}, {}), 1);
  EXPECT_EQ(hex(written_once()), hex(stored({"000001f4"}, {"fffffff0"})));
}

}  // namespace
}  // namespace kvtest
