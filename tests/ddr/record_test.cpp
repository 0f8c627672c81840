// Each record with its fields in order: the bytes on the stream, the fields that come back, and the bytes of the
// record that are left alone.
#include <stddef.h>

#include "tests/ddr/converting.h"

extern "C" int encode_point_in_c(POINT point, unsigned char* buffer, int size);

namespace kvtest {
namespace {

TEST(Records, GuidIsThreeIntegersAndEightBytesInOrder) {
  const GUID guid = {0x01020304, 0x0506, 0x0708, {9, 10, 11, 12, 13, 14, 15, 16}};
  const Bytes bytes = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
  EXPECT_EQ(encoded<GUID>(ddr_GUID, guid, 16), bytes);
  EXPECT_EQ(bytes_of(decoded<GUID>(ddr_GUID, bytes)), bytes_of(guid));
}

TEST(Records, FileTimeIsItsLowHalfFirst) {
  const FILETIME time = {0x01020304, 0xF5060708};
  const Bytes bytes = {1, 2, 3, 4, 0xF5, 6, 7, 8};
  EXPECT_EQ(encoded<FILETIME>(ddr_FILETIME, time, 8), bytes);
  EXPECT_EQ(bytes_of(decoded<FILETIME>(ddr_FILETIME, bytes)), bytes_of(time));
}

TEST(Records, RectangleIsLeftTopRightBottom) {
  const RECTL rectangle = {-1, 2, 0x30, 0x400};
  const Bytes bytes = {0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 2, 0, 0, 0, 0x30, 0, 0, 4, 0};
  EXPECT_EQ(encoded<RECTL>(ddr_RECTL, rectangle, 16), bytes);
  EXPECT_EQ(bytes_of(decoded<RECTL>(ddr_RECTL, bytes)), bytes_of(rectangle));
}

TEST(Records, SizeIsWidthAndHeight) {
  const SIZEL size = {640, -480};
  const Bytes bytes = {0, 0, 0x02, 0x80, 0xFF, 0xFF, 0xFE, 0x20};
  EXPECT_EQ(encoded<SIZEL>(ddr_SIZEL, size, 8), bytes);
  EXPECT_EQ(bytes_of(decoded<SIZEL>(ddr_SIZEL, bytes)), bytes_of(size));
}

TEST(Records, PointsAreShort) {
  const POINTS point = {-1, 0x0203};
  const Bytes bytes = {0xFF, 0xFF, 2, 3};
  EXPECT_EQ(encoded<POINTS>(ddr_POINTS, point, 4), bytes);
  EXPECT_EQ(bytes_of(decoded<POINTS>(ddr_POINTS, bytes)), bytes_of(point));
}

TEST(Records, PointIsLong) {
  const POINT point = {-1, 0x0203};
  const Bytes bytes = {0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 2, 3};
  EXPECT_EQ(encoded<POINT>(ddr_POINT, point, 8), bytes);
  EXPECT_EQ(bytes_of(decoded<POINT>(ddr_POINT, bytes)), bytes_of(point));
}

TEST(Records, AreConvertedByProgramsInC) {
  Guarded_Block block(8);
  EXPECT_EQ(encode_point_in_c({1, -1}, block.data(), 8), 1);
  EXPECT_EQ(block.bytes(), (Bytes{0, 0, 0, 1, 0xFF, 0xFF, 0xFF, 0xFF}));
}

const Bytes format_bytes = {0x00, 0x0D, 0xBE, 0xEF, 9, 9, 9, 9, 0, 0, 0, 1, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 4};

TEST(Records, FormatIsEncodedWithAPlaceholderForItsPointer) {
  FORMATETC format = untouched_item<FORMATETC>();
  format.cfFormat = 13;
  format.dwAspect = 1;
  format.lindex = -1;
  format.tymed = 4;
  EXPECT_EQ(encoded<FORMATETC>(ddr_FORMATETC, format, 20),
            (Bytes{0x00, 0x0D, 0xAA, 0xAA, 0, 0, 0, 0, 0, 0, 0, 1, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 4}));
}

TEST(Records, FormatIsDecodedWithoutTouchingItsPointer) {
  const FORMATETC format = decoded<FORMATETC>(ddr_FORMATETC, format_bytes);
  EXPECT_EQ(format.cfFormat, 13);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(format.ptd), 0xAAAAAAAAAAAAAAAAu);
  EXPECT_EQ(format.dwAspect, 1u);
  EXPECT_EQ(format.lindex, -1);
  EXPECT_EQ(format.tymed, 4u);
}

// QUIRK format-gap-transferred
TEST(Records, FormatCarriesTheTwoBytesBehindItsFirstField) {
  const Bytes bytes = bytes_of(decoded<FORMATETC>(ddr_FORMATETC, format_bytes));
  EXPECT_EQ(bytes[2], 0xEF);
  EXPECT_EQ(bytes[3], 0xBE);
  for (size_t at : {4u, 5u, 6u, 7u, 28u, 29u, 30u, 31u}) EXPECT_EQ(bytes[at], 0xAA) << at;
}

TEST(Records, BitmapFileHeaderIsNotPackedInMemoryAndUnpaddedOnTheStream) {
  const Bytes bytes = {0x42, 0x4D, 0, 1, 2, 3, 0, 4, 0, 5, 0, 0, 0, 0x36};
  const BITMAPFILEHEADER header = decoded<BITMAPFILEHEADER>(ddr_BITMAPFILEHEADER, bytes);
  EXPECT_EQ(header.bfType, 0x424D);
  EXPECT_EQ(header.bfSize, 0x00010203u);
  EXPECT_EQ(header.bfReserved1, 4);
  EXPECT_EQ(header.bfReserved2, 5);
  EXPECT_EQ(header.bfOffBits, 0x36u);
  EXPECT_EQ(encoded<BITMAPFILEHEADER>(ddr_BITMAPFILEHEADER, header, 14), bytes);
  EXPECT_EQ(offsetof(BITMAPFILEHEADER, bfSize), 4u);
  EXPECT_EQ(bytes_of(header)[2], 0xAA);
  EXPECT_EQ(bytes_of(header)[3], 0xAA);
}

TEST(Records, BitmapCoreHeader) {
  const BITMAPCOREHEADER header = {12, 0x0102, 0x0304, 1, 24};
  const Bytes bytes = {0, 0, 0, 12, 1, 2, 3, 4, 0, 1, 0, 24};
  EXPECT_EQ(encoded<BITMAPCOREHEADER>(ddr_BITMAPCOREHEADER, header, 12), bytes);
  EXPECT_EQ(bytes_of(decoded<BITMAPCOREHEADER>(ddr_BITMAPCOREHEADER, bytes)), bytes_of(header));
}

TEST(Records, BitmapInfoHeader) {
  const BITMAPINFOHEADER header = {40, 0x0102, -1, 1, 32, 3, 0x00040000, 2835, 2834, 256, 16};
  const Bytes bytes = {0, 0, 0, 40, 0, 0, 1,    2,    0xFF, 0xFF, 0xFF, 0xFF, 0, 1, 0, 32, 0, 0, 0, 3,
                       0, 4, 0, 0,  0, 0, 0x0B, 0x13, 0,    0,    0x0B, 0x12, 0, 0, 1, 0,  0, 0, 0, 16};
  EXPECT_EQ(encoded<BITMAPINFOHEADER>(ddr_BITMAPINFOHEADER, header, 40), bytes);
  EXPECT_EQ(bytes_of(decoded<BITMAPINFOHEADER>(ddr_BITMAPINFOHEADER, bytes)), bytes_of(header));
}

TEST(Records, MetaHeaderSkipsItsGaps) {
  const Bytes bytes = {0, 1, 0, 9, 3, 0, 0, 1, 2, 3, 0, 4, 0, 5, 6, 7, 0, 8};
  const METAHEADER header = decoded<METAHEADER>(ddr_METAHEADER, bytes);
  EXPECT_EQ(header.mtType, 1);
  EXPECT_EQ(header.mtHeaderSize, 9);
  EXPECT_EQ(header.mtVersion, 0x0300);
  EXPECT_EQ(header.mtSize, 0x00010203u);
  EXPECT_EQ(header.mtNoObjects, 4);
  EXPECT_EQ(header.mtMaxRecord, 0x00050607u);
  EXPECT_EQ(header.mtNoParameters, 8);
  EXPECT_EQ(encoded<METAHEADER>(ddr_METAHEADER, header, 18), bytes);
  EXPECT_EQ(offsetof(METAHEADER, mtSize), 8u);
  EXPECT_EQ(offsetof(METAHEADER, mtMaxRecord), 16u);
  for (size_t at : {6u, 7u, 14u, 15u, 22u, 23u}) EXPECT_EQ(bytes_of(header)[at], 0xAA) << at;
}

const ENHMETAHEADER enhanced_header = {
    1, 108, {1, 2, 3, 4}, {-1, -2, -3, -4}, 0x464D4520, 0x00010000, 0x00000200, 5, 6, 7,
    8, 9,   10,           {1024, 768},      {320, 240}};

const Bytes enhanced_bytes = {
    0,    0,    0,    1,    0,    0,    0,    108,                                                    // type, size
    0,    0,    0,    1,    0,    0,    0,    2,    0,    0,    0,    3,    0,    0,    0,    4,      // bounds
    0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE, 0xFF, 0xFF, 0xFF, 0xFD, 0xFF, 0xFF, 0xFF, 0xFC,   // frame
    0x46, 0x4D, 0x45, 0x20, 0,    1,    0,    0,    0,    0,    2,    0,    0,    0,    0,    5,      // to records
    0,    6,    0,    7,    0,    0,    0,    8,    0,    0,    0,    9,    0,    0,    0,    10,     // to palette
    0,    0,    4,    0,    0,    0,    3,    0,    0,    0,    1,    0x40, 0,    0,    0,    0xF0};  // device

TEST(Records, EnhancedMetaHeader) {
  EXPECT_EQ(encoded<ENHMETAHEADER>(ddr_ENHMETAHEADER, enhanced_header, 88), enhanced_bytes);
  EXPECT_EQ(bytes_of(decoded<ENHMETAHEADER>(ddr_ENHMETAHEADER, enhanced_bytes)), bytes_of(enhanced_header));
}

TEST(Records, SucceedAndStayWhenFreed) {
  Guarded_Block block(0);
  DDR stream = open_on(block, DDR_FREE);
  ENHMETAHEADER header = enhanced_header;
  GUID guid = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
  EXPECT_EQ(ddr_ENHMETAHEADER(&stream, &header), 1);
  EXPECT_EQ(ddr_GUID(&stream, &guid), 1);
  EXPECT_EQ(bytes_of(header), bytes_of(enhanced_header));
  EXPECT_EQ(guid.Data4[7], 11);
}

}  // namespace
}  // namespace kvtest
