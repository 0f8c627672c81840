// The numbers of the operations, and frames whose items fail or are none.
#include "tests/ddr/converting.h"

namespace kvtest {
namespace {

TEST(Operations, HaveTheirNumbers) {
  EXPECT_EQ(static_cast<int>(DDR_ENCODE), 0);
  EXPECT_EQ(static_cast<int>(DDR_DECODE), 1);
  EXPECT_EQ(static_cast<int>(DDR_FREE), 2);
}

// Fails for the first item.
int fail_first(DDR* stream, void* item) {
  return *static_cast<BYTE*>(item) == 1 ? 0 : ddr_BYTE(stream, static_cast<BYTE*>(item));
}

TEST(FromDdr, GoesOnBehindAnItemThatFails) {
  BYTE items[] = {1, 2, 3};
  Guarded_Block block(Bytes{8, 9});
  {
    From_Ddr frame(block.data(), 2);
    frame.count = 3;
    frame.stride = 1;
    frame.item = items;
    frame.procedure = fail_first;
  }
  EXPECT_EQ(items[0], 1);
  EXPECT_EQ(items[1], 8);
  EXPECT_EQ(items[2], 9);
}

TEST(FromDdr, OfACountBelow0ConvertsNothing) {
  BYTE item = 2;
  Guarded_Block block(Bytes{8});
  {
    From_Ddr frame(block.data(), 1);
    frame.count = -1;
    frame.stride = 1;
    frame.item = &item;
    frame.procedure = fail_first;
  }
  EXPECT_EQ(item, 2);
}

TEST(FromDdr, ConvertsAfterItsOwnerHasReadSomethingFirst) {
  BYTE item = 2;
  Guarded_Block block(Bytes{8, 9});
  {
    From_Ddr frame(block.data(), 2);
    BYTE first = 0;
    EXPECT_EQ(ddr_BYTE(&frame.stream, &first), 1);
    EXPECT_EQ(first, 8);
    frame.count = 1;
    frame.stride = 1;
    frame.item = &item;
    frame.procedure = fail_first;
  }
  EXPECT_EQ(item, 9);
}

TEST(NarrowCharacter, StaysAsItIsWhenItIsEncodedOrFreed) {
  Guarded_Block block(2);
  for (const ddr_op op : {DDR_ENCODE, DDR_FREE}) {
    DDR stream = open_on(block, op);
    char character = static_cast<char>(0xE9);
    EXPECT_EQ(ddr_WCHAR2char(&stream, &character), 1);
    EXPECT_EQ(character, static_cast<char>(0xE9));
  }
}

TEST(NarrowCharacter, ThatDoesNotFitIsNotSent) {
  Guarded_Block block(1);
  DDR stream = open_on(block, DDR_ENCODE);
  char character = 'k';
  EXPECT_EQ(ddr_WCHAR2char(&stream, &character), 0);
  EXPECT_EQ(character, 'k');
  EXPECT_EQ(block.bytes(), (Bytes{0xAA}));
}

TEST(UnboundPointer, WithoutRoomFails) {
  Guarded_Block untouchable(0);
  Guarded_Block block(3);
  DDR stream = open_on(block, DDR_ENCODE);
  EXPECT_EQ(ddr_Unbound_Pointer(&stream, untouchable.data()), 0);
  EXPECT_EQ(block.bytes(), (Bytes{0xAA, 0xAA, 0xAA}));
}

TEST(Format, WithoutItsPlaceholderKeepsWhatIsBehindIt) {
  Guarded_Block block(Bytes{0, 13, 0, 0, 9, 9, 9});
  FORMATETC format = untouched_item<FORMATETC>();
  DDR stream = open_on(block, DDR_DECODE);
  EXPECT_EQ(ddr_FORMATETC(&stream, &format), 0);
  EXPECT_EQ(format.cfFormat, 13);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(format.ptd), 0xAAAAAAAAAAAAAAAAu);
  EXPECT_EQ(format.dwAspect, 0xAAAAAAAAu);
}

}  // namespace
}  // namespace kvtest
