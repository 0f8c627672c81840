// Characters, and the pointer that is not transferred.
#include "tests/ddr/converting.h"

namespace kvtest {
namespace {

TEST(WideCharacter, Is16BitsOnTheStream) {
  EXPECT_EQ(encoded<WCHAR>(ddr_WCHAR, L'\u20AC', 2), (Bytes{0x20, 0xAC}));
  EXPECT_EQ(decoded<WCHAR>(ddr_WCHAR, {0x20, 0xAC}), L'\u20AC');
}

TEST(WideCharacter, AboveFFFFIsTransferredWithoutItsUpperBits) {
  EXPECT_EQ(encoded<WCHAR>(ddr_WCHAR, L'\U0001F600', 2), (Bytes{0xF6, 0x00}));
}

TEST(WideCharacter, IsDecodedWithoutSign) {
  EXPECT_EQ(decoded<WCHAR>(ddr_WCHAR, {0xFF, 0xFE}), static_cast<WCHAR>(0xFFFE));
}

// QUIRK encode-stores-back
TEST(WideCharacter, LosesItsUpperBitsInMemoryWhenItIsEncodedOrFreed) {
  Guarded_Block block(2);
  DDR stream = open_on(block, DDR_ENCODE);
  WCHAR character = L'\U0001F600';
  EXPECT_EQ(ddr_WCHAR(&stream, &character), 1);
  EXPECT_EQ(character, static_cast<WCHAR>(0xF600));
  stream = open_on(block, DDR_FREE);
  character = L'\U0001F600';
  EXPECT_EQ(ddr_WCHAR(&stream, &character), 1);
  EXPECT_EQ(character, static_cast<WCHAR>(0xF600));
}

TEST(WideCharacter, ThatDoesNotFitStaysAsItIs) {
  Guarded_Block block(1);
  DDR stream = open_on(block, DDR_ENCODE);
  WCHAR character = L'\U0001F600';
  EXPECT_EQ(ddr_WCHAR(&stream, &character), 0);
  EXPECT_EQ(character, L'\U0001F600');
  EXPECT_EQ(block.bytes(), (Bytes{0xAA}));
}

TEST(WideCharacter, WithoutDataStaysAsItIs) {
  Guarded_Block block(Bytes{0x20});
  DDR stream = open_on(block, DDR_DECODE);
  WCHAR character = L'k';
  EXPECT_EQ(ddr_WCHAR(&stream, &character), 0);
  EXPECT_EQ(character, L'k');
}

// QUIRK narrow-sign-extended
TEST(NarrowCharacter, IsSignExtendedTo16BitsOnTheStream) {
  EXPECT_EQ(encoded<char>(ddr_WCHAR2char, static_cast<char>(0xE9), 2), (Bytes{0xFF, 0xE9}));
  EXPECT_EQ(encoded<char>(ddr_WCHAR2char, 'A', 2), (Bytes{0x00, 0x41}));
}

TEST(NarrowCharacter, TakesTheLow8BitsBack) {
  EXPECT_EQ(decoded<char>(ddr_WCHAR2char, {0xFF, 0xE9}), static_cast<char>(0xE9));
  EXPECT_EQ(decoded<char>(ddr_WCHAR2char, {0x20, 0xAC}), static_cast<char>(0xAC));
}

TEST(NarrowCharacter, ThatDoesNotFitStaysAsItIs) {
  Guarded_Block block(Bytes{0xFF});
  DDR stream = open_on(block, DDR_DECODE);
  char character = 'k';
  EXPECT_EQ(ddr_WCHAR2char(&stream, &character), 0);
  EXPECT_EQ(character, 'k');
}

TEST(NarrowText, IsExchangedWithAPeerThatHasWideText) {
  char sent[] = {'H', static_cast<char>(0xE9), 'y'};
  Guarded_Block block(6);
  inmemory_ddr(DDR_ENCODE, 6, block.data(), sent, reinterpret_cast<ddr_procedure>(ddr_WCHAR2char), 3, 1);
  EXPECT_EQ(block.bytes(), (Bytes{0, 'H', 0xFF, 0xE9, 0, 'y'}));
  WCHAR received[3] = {};
  inmemory_ddr(DDR_DECODE, 6, block.data(), received, reinterpret_cast<ddr_procedure>(ddr_WCHAR), 3, sizeof(WCHAR));
  EXPECT_EQ(received[0], L'H');
  EXPECT_EQ(received[1], static_cast<WCHAR>(0xFFE9));
  EXPECT_EQ(received[2], L'y');
}

TEST(UnboundPointer, IsFourZeroBytesAndIsNeitherReadNorWritten) {
  Guarded_Block untouchable(0);  // its data is the guard page
  Guarded_Block block(4);
  DDR stream = open_on(block, DDR_ENCODE);
  EXPECT_EQ(ddr_Unbound_Pointer(&stream, untouchable.data()), 1);
  EXPECT_EQ(block.bytes(), (Bytes{0, 0, 0, 0}));
}

TEST(UnboundPointer, PassesOverWhatIsOnTheStream) {
  Guarded_Block untouchable(0);
  Guarded_Block block(Bytes{1, 2, 3, 4});
  DDR stream = open_on(block, DDR_DECODE);
  EXPECT_EQ(ddr_Unbound_Pointer(&stream, untouchable.data()), 1);
  EXPECT_EQ(stream.next, stream.end);
  EXPECT_EQ(ddr_Unbound_Pointer(&stream, untouchable.data()), 0);
}

}  // namespace
}  // namespace kvtest
