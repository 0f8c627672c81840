// Each scalar with its width, its sign and its bytes.
#include "tests/ddr/converting.h"

namespace kvtest {
namespace {

TEST(Scalars, Of8BitsAreOneByte) {
  EXPECT_EQ(encoded<CHAR>(ddr_CHAR, 'K', 1), (Bytes{0x4B}));
  EXPECT_EQ(encoded<UCHAR>(ddr_UCHAR, 0xE9, 1), (Bytes{0xE9}));
  EXPECT_EQ(encoded<BYTE>(ddr_BYTE, 0x80, 1), (Bytes{0x80}));
  EXPECT_EQ(decoded<CHAR>(ddr_CHAR, {0x4B}), 'K');
  EXPECT_EQ(decoded<UCHAR>(ddr_UCHAR, {0xE9}), 0xE9);
  EXPECT_EQ(decoded<BYTE>(ddr_BYTE, {0x80}), 0x80);
}

TEST(Scalars, Of16BitsAreTwoBytes) {
  EXPECT_EQ(encoded<SHORT>(ddr_SHORT, -2, 2), (Bytes{0xFF, 0xFE}));
  EXPECT_EQ(encoded<USHORT>(ddr_USHORT, 0xABCD, 2), (Bytes{0xAB, 0xCD}));
  EXPECT_EQ(encoded<WORD>(ddr_WORD, 0x0102, 2), (Bytes{0x01, 0x02}));
  EXPECT_EQ(encoded<CLIPFORMAT>(ddr_CLIPFORMAT, 0xC004, 2), (Bytes{0xC0, 0x04}));
  EXPECT_EQ(decoded<SHORT>(ddr_SHORT, {0xFF, 0xFE}), -2);
  EXPECT_EQ(decoded<USHORT>(ddr_USHORT, {0xAB, 0xCD}), 0xABCD);
  EXPECT_EQ(decoded<WORD>(ddr_WORD, {0x01, 0x02}), 0x0102);
  EXPECT_EQ(decoded<CLIPFORMAT>(ddr_CLIPFORMAT, {0xC0, 0x04}), 0xC004);
}

TEST(Scalars, Of32BitsAreFourBytes) {
  EXPECT_EQ(encoded<BOOL>(ddr_BOOL, TRUE, 4), (Bytes{0, 0, 0, 1}));
  EXPECT_EQ(encoded<DWORD>(ddr_DWORD, 0x01020304u, 4), (Bytes{1, 2, 3, 4}));
  EXPECT_EQ(encoded<UINT>(ddr_UINT, 0xFFFFFFFEu, 4), (Bytes{0xFF, 0xFF, 0xFF, 0xFE}));
  EXPECT_EQ(encoded<COLORREF>(ddr_COLORREF, 0x00FF8040u, 4), (Bytes{0x00, 0xFF, 0x80, 0x40}));
  EXPECT_EQ(encoded<LONG>(ddr_LONG, -3, 4), (Bytes{0xFF, 0xFF, 0xFF, 0xFD}));
  EXPECT_EQ(encoded<SCODE>(ddr_SCODE, static_cast<SCODE>(0x80070057u), 4), (Bytes{0x80, 0x07, 0x00, 0x57}));
  EXPECT_EQ(encoded<HRESULT>(ddr_HRESULT, static_cast<HRESULT>(0x80004005u), 4), (Bytes{0x80, 0x00, 0x40, 0x05}));
  EXPECT_EQ(encoded<ULONG>(ddr_ULONG, 0x80000000u, 4), (Bytes{0x80, 0, 0, 0}));
}

TEST(Scalars, Of32BitsComeBack) {
  EXPECT_EQ(decoded<BOOL>(ddr_BOOL, {0, 0, 0, 2}), 2);
  EXPECT_EQ(decoded<DWORD>(ddr_DWORD, {1, 2, 3, 4}), 0x01020304u);
  EXPECT_EQ(decoded<UINT>(ddr_UINT, {0xFF, 0xFF, 0xFF, 0xFE}), 0xFFFFFFFEu);
  EXPECT_EQ(decoded<COLORREF>(ddr_COLORREF, {0x00, 0xFF, 0x80, 0x40}), 0x00FF8040u);
  EXPECT_EQ(decoded<LONG>(ddr_LONG, {0xFF, 0xFF, 0xFF, 0xFD}), -3);
  EXPECT_EQ(decoded<SCODE>(ddr_SCODE, {0x80, 0x07, 0x00, 0x57}), static_cast<SCODE>(0x80070057u));
  EXPECT_EQ(decoded<HRESULT>(ddr_HRESULT, {0x80, 0x00, 0x40, 0x05}), static_cast<HRESULT>(0x80004005u));
  EXPECT_EQ(decoded<ULONG>(ddr_ULONG, {0x80, 0, 0, 0}), 0x80000000u);
}

TEST(Scalars, OfIdentifiersAreTheGuid) {
  const GUID identifier = {0x00020400, 0x1122, 0x3344, {0xC0, 1, 2, 3, 4, 5, 6, 0x46}};
  const Bytes bytes = {0x00, 0x02, 0x04, 0x00, 0x11, 0x22, 0x33, 0x44, 0xC0, 1, 2, 3, 4, 5, 6, 0x46};
  EXPECT_EQ(encoded<CLSID>(ddr_CLSID, identifier, 16), bytes);
  EXPECT_EQ(encoded<IID>(ddr_IID, identifier, 16), bytes);
  EXPECT_EQ(bytes_of(decoded<CLSID>(ddr_CLSID, bytes)), bytes_of(identifier));
  EXPECT_EQ(bytes_of(decoded<IID>(ddr_IID, bytes)), bytes_of(identifier));
}

TEST(Scalars, SucceedAndStayWhenFreed) {
  Guarded_Block block(0);
  DDR stream = open_on(block, DDR_FREE);
  DWORD value = 0x01020304;
  CHAR character = 'c';
  EXPECT_EQ(ddr_DWORD(&stream, &value), 1);
  EXPECT_EQ(ddr_CHAR(&stream, &character), 1);
  EXPECT_EQ(value, 0x01020304u);
  EXPECT_EQ(character, 'c');
}

}  // namespace
}  // namespace kvtest
