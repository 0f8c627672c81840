// COM permissions as they are stored: how much is asked for, offsets too far for an order of bytes, lists without
// entries; and what an edit of both permissions does to the first when the second is not there.
#include "tests/security/com/com_test.h"

namespace kvtest {
namespace {

class Com_Stored_Form : public Com_Permissions {};

TEST_F(Com_Stored_Form, IsAskedForWith256BytesAndThenWithTheLengthTold) {
  recording.script("KvIRegQueryValueEx", answer_value_size(ERROR_MORE_DATA, REG_BINARY, 257));
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, bytes(stored_500_501)));
  EXPECT_EQ(add({7}, {}), 1);
  // Twice the room crosses the table: the value might be text.
  EXPECT_EQ(call(1)["data_size"].count, 512u);
  EXPECT_EQ(call(2)["data_size"].count, 514u);
}

TEST_F(Com_Stored_Form, IsAsLongAsTheSecondQueryTells) {
  recording.script("KvIRegQueryValueEx", answer_value_size(ERROR_MORE_DATA, REG_BINARY, 300));
  // Shorter than its group's end, though the block was made for more.
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, bytes(stored_500_501).substr(0, 67)));
  EXPECT_EQ(add({7}, {}), 0);
  EXPECT_EQ(GetLastError(), 0x80070057u);
  EXPECT_TRUE(written().empty());
}

TEST_F(Com_Stored_Form, WithAFarOwnerKeepsAllSubAuthoritiesAsTheyAre) {
  const std::string value =
      bytes("01 00 80 00 00*4  00 00 08 1d 00*4  00 00 00 28 00*4  00*16  01 01 00*6 00 00 00 64 ") +
      std::string(2077 - 52, '\0') + bytes("01 01 00*6 00 00 01 f4");
  answer_stored(value);
  EXPECT_EQ(add({7}, {}), 1);
  EXPECT_EQ(hex(written_once()), hex(stored({"f4010000", "00000007"}, {"64000000"})));
}

TEST_F(Com_Stored_Form, WithFarOffsetsIsBroughtBackAsItWas) {
  const std::string value =
      bytes("01 00 80 00 00*4  00 00 00 28 00*4  00 00 08 1d 00*4  00*16  01 01 00*6 00 00 01 f4 ") +
      std::string(2077 - 52, '\0') + bytes("01 01 00*6 00 00 00 64");
  answer_stored(value);
  answer_set();
  answer_missing(5);
  EXPECT_EQ(add({7}, {}, 3), 0);
  EXPECT_EQ(GetLastError(), 5u);
  ASSERT_EQ(written().size(), 2u);
  EXPECT_EQ(hex(written()[1].second), hex(value));
}

TEST_F(Com_Stored_Form, NeedsTwelveBytesForEachListAlsoWhenItIsEmpty) {
  const std::string header = "01 00 80 00 00*4  00 00 00 28 00*4  00 00 00 34 00*4  00*16  01 01 00*6 00 00 01 f4 ";
  answer_stored(bytes(header + "01 00 00*6 00*3"));
  EXPECT_EQ(add({}, {100}), 0);
  EXPECT_EQ(GetLastError(), 0x80070057u);
  recording.script("KvIRegOpenKeyEx", answer_key(key));
  answer_stored(bytes(header + "01 00 00*6 00*4"));
  EXPECT_EQ(add({}, {100}), 1);
  EXPECT_EQ(hex(written_once()), hex(stored({"000001f4"}, {"00000064"})));
}

TEST_F(Com_Stored_Form, MayEndWithItsListsEntry) {
  // The owner behind the group: twelve bytes up to the value's last one.
  answer_stored(
      bytes("01 00 80 00 00*4  00 00 00 34 00*4  00 00 00 28 00*4  00*16 "
            "01 01 00*6 00 00 00 64  01 01 00*6 00 00 01 f4"));
  EXPECT_EQ(add({7}, {}), 1);
  EXPECT_EQ(hex(written_once()), hex(stored({"000001f4", "00000007"}, {"00000064"})));
}

TEST_F(Com_Stored_Form, WithAListMayHaveFortyEightBytes) {
  // Both SIDs lie in the header and count nobody; the list fills what is behind it.
  answer_stored(bytes("01 00 80 00 00*4  00 00 00 18 00*4  00 00 00 18 00*4  00*8  28 00*7  02 00 08 00 00 00 00 00"));
  EXPECT_EQ(add({7}, {}), 1);
  EXPECT_BYTES(written_once(),
               "01 00 80 00 00*4  00 00 00 28 00*4  00 00 00 34 00*4  00*8  3c 00*7 "
               "01 01 00*6 00 00 00 07  01 00 00*6  02 00 08 00 00 00 00 00");
}

TEST_F(Com_Stored_Form, WithADaclInTheHeaderHasRoomForItBehindTheHeader) {
  // The list begins in the upper half of its own field: 36 bytes of 76 are behind the header.
  struct Case {
    const char* size;
    BOOL done;
    DWORD code;
  };
  for (const Case& c : {Case{"24", 1, 0}, {"25", 0, 0x80040153}}) {
    recording.reset();
    recording.script("KvIRegOpenKeyEx", answer_key(key));
    answer_stored(bytes("01 00 80 00 00*4  00 00 00 28 00*4  00 00 00 34 00*4  00*8  24 00*3 02 00 ") + bytes(c.size) +
                  bytes("00  01 01 00*6 00 00 01 f4  01 01 00*6 00 00 00 64  00*12"));
    SetLastError(0);
    EXPECT_EQ(add({7}, {}), c.done) << c.size;
    EXPECT_EQ(GetLastError(), c.code) << c.size;
  }
}

TEST_F(Com_Stored_Form, OfAnEmptyListHasNobodyToRemove) {
  answer_stored(
      bytes("01 00 80 00 00*4  00 00 00 28 00*4  00 00 00 34 00*4  00*16 "
            "01 00 00*6 00*4  01 01 00*6 00 00 00 64"));
  EXPECT_EQ(remove({500}, {}), 1);
  EXPECT_EQ(GetLastError(), 1168u);
  EXPECT_BYTES(written_once(),
               "01 00 80 00 00*4  00 00 00 28 00*4  00 00 00 30 00*4  00*16  01 00 00*6  01 01 00*6 00 00 00 64");
}

TEST_F(Com_Stored_Form, IsBroughtBackWhenTheLaunchPermissionToRemoveFromIsMissing) {
  answer_stored(bytes(stored_500_501));
  answer_set();
  answer_missing();
  EXPECT_EQ(remove({500}, {}, 3, 3), 0);
  EXPECT_EQ(GetLastError(), 0x80070057u);
  ASSERT_EQ(written().size(), 2u);
  EXPECT_BYTES(written()[1].second, stored_500_501);
}

TEST_F(Com_Stored_Form, IsStoredAgainWhenNobodyIsAddedOrRemoved) {
  for (const auto function : {KvSecDescAddPrincipal, KvSecDescRemovePrincipal}) {
    recording.reset();
    recording.script("KvIRegOpenKeyEx", answer_key(key));
    answer_stored(bytes(stored_500_501));
    EXPECT_EQ(function(nullptr, nullptr, 0, nullptr, 0, 1, 2), 1);
    EXPECT_BYTES(written_once(), stored_500_501);
    EXPECT_EQ(GetLastError(), 0x5A5Au);
  }
}

TEST_F(Com_Stored_Form, LeavesTheLastCodeThatWasPassedOver) {
  answer_stored(bytes(stored_500_501));
  EXPECT_EQ(add({500}, {100, 101}), 1);
  EXPECT_EQ(GetLastError(), 1318u);
  recording.reset();
  recording.script("KvIRegOpenKeyEx", answer_key(key));
  SetLastError(0x5A5A);
  answer_stored(bytes(stored_500_501));
  EXPECT_EQ(add({501, 7}, {101}), 1);
  EXPECT_EQ(GetLastError(), 1316u);
}

TEST_F(Com_Stored_Form, StopsAtTheFirstPrincipalThatIsRefused) {
  answer_stored(bytes(stored_500_501));
  EXPECT_EQ(remove({500}, {0xFFFFFFFF, 7}), 0);
  EXPECT_EQ(GetLastError(), 0x80070057u);
  EXPECT_TRUE(written().empty());
}

}  // namespace
}  // namespace kvtest
