// Which primitives a converter calls, with what, and what it makes of their answers. The program has primitives of
// its own, which the library's calls meet before the base library's.
#include <stddef.h>

#include <string>
#include <utility>

#include "tests/ddr/converting.h"

namespace {

// "name at-offset" for each call: the offset into the record under test, or "local" for memory outside of it.
std::string calls;
const char* record_start = nullptr;
size_t record_size = 0;
int answer = 1;
int calls_until_failure = -1;

std::string place_of(const void* value) {
  const ptrdiff_t offset = static_cast<const char*>(value) - record_start;
  const bool is_inside = offset >= 0 && static_cast<size_t>(offset) < record_size;
  return is_inside ? std::to_string(offset) : "local";
}

int called(const char* name, const void* value) {
  calls += (calls.empty() ? "" : ", ") + std::string(name) + " " + place_of(value);
  return calls_until_failure-- == 0 ? 0 : answer;
}

}  // namespace

extern "C" {
#pragma GCC visibility push(default)
int ddr_char(DDR*, char* value) { return called("char", value); }
int ddr_u_char(DDR*, unsigned char* value) { return called("u_char", value); }
int ddr_short(DDR*, short* value) { return called("short", value); }
int ddr_u_short(DDR*, unsigned short* value) { return called("u_short", value); }
int ddr_int(DDR*, int* value) { return called("int", value); }
int ddr_u_int(DDR*, unsigned int* value) { return called("u_int", value); }
int ddr_long(DDR*, LONG* value) { return called("long", value); }
int ddr_u_long(DDR*, ULONG* value) { return called("u_long", value); }
int ddr_vector(DDR* stream, void* items, unsigned int count, unsigned int size, ddr_procedure procedure) {
  const int result = called(("vector of " + std::to_string(count) + " by " + std::to_string(size)).c_str(), items);
  procedure(stream, static_cast<char*>(items) + 3);
  return result;
}
#pragma GCC visibility pop
}

namespace kvtest {
namespace {

struct Outcome {
  int result;
  std::string calls;
};

// The primitives answer with this number; from the call of that index on, counted from 0, with 0.
template <class Item>
Outcome converted(int (*converter)(DDR*, Item*), int answering = 1, int failing_call = -1) {
  Item item = {};
  calls.clear();
  record_start = reinterpret_cast<const char*>(&item);
  record_size = sizeof item;
  answer = answering;
  calls_until_failure = failing_call;
  DDR stream = {};
  const int result = converter(&stream, &item);
  return {result, calls};
}

template <class Item>
void expect_calls(int (*converter)(DDR*, Item*), const std::string& wanted) {
  const Outcome outcome = converted(converter);
  EXPECT_EQ(outcome.calls, wanted);
  EXPECT_EQ(outcome.result, 1);
  EXPECT_EQ(converted(converter, 7).result, 1);
  EXPECT_EQ(converted(converter, -1).result, 1);
  EXPECT_EQ(converted(converter, 0).result, 0);
}

TEST(Primitives, OfScalarsAreOneEachWithItsAnswerMade1Or0) {
  expect_calls<BOOL>(ddr_BOOL, "int 0");
  expect_calls<CHAR>(ddr_CHAR, "char 0");
  expect_calls<UCHAR>(ddr_UCHAR, "u_char 0");
  expect_calls<BYTE>(ddr_BYTE, "u_char 0");
  expect_calls<SHORT>(ddr_SHORT, "short 0");
  expect_calls<USHORT>(ddr_USHORT, "u_short 0");
  expect_calls<WORD>(ddr_WORD, "u_short 0");
  expect_calls<CLIPFORMAT>(ddr_CLIPFORMAT, "u_short 0");
  expect_calls<DWORD>(ddr_DWORD, "u_int 0");
  expect_calls<UINT>(ddr_UINT, "u_int 0");
  expect_calls<COLORREF>(ddr_COLORREF, "u_int 0");
  expect_calls<LONG>(ddr_LONG, "long 0");
  expect_calls<SCODE>(ddr_SCODE, "long 0");
  expect_calls<HRESULT>(ddr_HRESULT, "long 0");
  expect_calls<ULONG>(ddr_ULONG, "u_long 0");
}

TEST(Primitives, OfCharactersWorkOnACopy) {
  expect_calls<WCHAR>(ddr_WCHAR, "u_short local");
  expect_calls<char>(ddr_WCHAR2char, "u_short local");
}

int convert_pointer(DDR* stream, void** field) { return ddr_Unbound_Pointer(stream, field); }

TEST(Primitives, OfAnUnboundPointerWorkOnALocal) { expect_calls<void*>(convert_pointer, "long local"); }

const char* const guid_calls = "u_int 0, u_short 4, u_short 6, vector of 8 by 1 8, u_char 11";

TEST(Primitives, OfAGuidEndWithAVectorOfBytes) {
  expect_calls<GUID>(ddr_GUID, guid_calls);
  expect_calls<CLSID>(ddr_CLSID, guid_calls);
  expect_calls<IID>(ddr_IID, guid_calls);
}

TEST(Primitives, OfPlainRecordsGoFieldByField) {
  expect_calls<FILETIME>(ddr_FILETIME, "u_int 0, u_int 4");
  expect_calls<RECTL>(ddr_RECTL, "long 0, long 4, long 8, long 12");
  expect_calls<SIZEL>(ddr_SIZEL, "long 0, long 4");
  expect_calls<POINTS>(ddr_POINTS, "short 0, short 2");
  expect_calls<POINT>(ddr_POINT, "long 0, long 4");
}

TEST(Primitives, OfAFormatConvertTheGapAndAPlaceholder) {
  expect_calls<FORMATETC>(ddr_FORMATETC, "u_short 0, u_short 2, long local, u_int 16, long 20, u_int 24");
}

TEST(Primitives, OfBitmapHeadersSkipTheirGaps) {
  expect_calls<BITMAPFILEHEADER>(ddr_BITMAPFILEHEADER, "u_short 0, u_int 4, u_short 8, u_short 10, u_int 12");
  expect_calls<BITMAPCOREHEADER>(ddr_BITMAPCOREHEADER, "u_int 0, u_short 4, u_short 6, u_short 8, u_short 10");
  expect_calls<BITMAPINFOHEADER>(ddr_BITMAPINFOHEADER,
                                 "u_int 0, long 4, long 8, u_short 12, u_short 14, u_int 16, u_int 20, long 24, "
                                 "long 28, u_int 32, u_int 36");
}

TEST(Primitives, OfMetaHeadersSkipTheirGaps) {
  expect_calls<METAHEADER>(ddr_METAHEADER,
                           "u_short 0, u_short 2, u_short 4, u_int 8, u_short 12, u_int 16, u_short 20");
  expect_calls<ENHMETAHEADER>(ddr_ENHMETAHEADER,
                              "u_int 0, u_int 4, long 8, long 12, long 16, long 20, long 24, long 28, long 32, "
                              "long 36, u_int 40, u_int 44, u_int 48, u_int 52, u_short 56, u_short 58, u_int 60, "
                              "u_int 64, u_int 68, long 72, long 76, long 80, long 84");
}

TEST(Primitives, AreNotCalledBehindAFieldThatFails) {
  EXPECT_EQ(converted<GUID>(ddr_GUID, 1, 2).calls, "u_int 0, u_short 4, u_short 6");
  EXPECT_EQ(converted<GUID>(ddr_GUID, 1, 2).result, 0);
  EXPECT_EQ(converted<GUID>(ddr_GUID, 1, 3).result, 0);
  EXPECT_EQ(converted<FORMATETC>(ddr_FORMATETC, 1, 2).calls, "u_short 0, u_short 2, long local");
  EXPECT_EQ(converted<FORMATETC>(ddr_FORMATETC, 1, 2).result, 0);
  EXPECT_EQ(converted<RECTL>(ddr_RECTL, 1, 1).calls, "long 0, long 4");
  EXPECT_EQ(converted<ENHMETAHEADER>(ddr_ENHMETAHEADER, 1, 5).calls,
            "u_int 0, u_int 4, long 8, long 12, long 16, long 20");
  EXPECT_EQ(converted<ENHMETAHEADER>(ddr_ENHMETAHEADER, 1, 22).result, 0);
}

}  // namespace
}  // namespace kvtest
