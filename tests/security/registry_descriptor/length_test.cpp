// The length of a descriptor's value as it is told back, in either form.
#include <kelvane/security.h>

#include "tests/registry/fronts.h"
#include "tests/security/guarded.h"

namespace kvtest {
namespace {

class Descriptor_Value_Length : public Fronts {};

TEST_F(Descriptor_Value_Length, OfMoreDataIsToldWithoutADescriptorToo) {
  recording.script("KvIRegQueryValueEx", answer_value_size(234, REG_BINARY, 68));
  DWORD length = 30, type = 0;
  EXPECT_EQ(RegQuerySDExA(key, "n", nullptr, &type, nullptr, &length), 234);
  EXPECT_EQ(length, 88u);
  EXPECT_EQ(type, 3u);
}

TEST_F(Descriptor_Value_Length, IsToldToTheWideFormLikewise) {
  recording.script("KvIRegQueryValueEx", answer_value_size(0, REG_BINARY, 68));
  DWORD length = 0, type = 0;
  EXPECT_EQ(RegQuerySDExW(key, L"n", nullptr, &type, nullptr, &length), 0);
  EXPECT_EQ(length, 88u);
  EXPECT_EQ(type, 3u);
  Guarded descriptor(bytes("ee*68"));
  recording.script("KvIRegQueryValueEx", answer_value_size(234, REG_BINARY, 69));
  length = 68;
  EXPECT_EQ(RegQuerySDExW(key, L"n", nullptr, nullptr, descriptor, &length), 234);
  EXPECT_EQ(length, 89u);
  EXPECT_BYTES(descriptor.content(), "ee*68");
}

TEST_F(Descriptor_Value_Length, StaysWhenAShorterDescriptorIsRead) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY,
                                                      bytes("01 00 80 00  00 00 00 14  00 00 00 1c  00*8 "
                                                            "01 00 00 00 00 00 00 05  01 00 00 00 00 00 00 01")));
  Guarded descriptor(bytes("ee*100"));
  DWORD length = 100;
  EXPECT_EQ(RegQuerySDExA(key, "n", nullptr, nullptr, descriptor, &length), 0);
  EXPECT_EQ(length, 100u);
  EXPECT_BYTES(descriptor.content(),
               "01 00 00 80 00*4  28 00*7  30 00*7  00*16  01 00 00 00 00 00 00 05  01 00 00 00 00 00 00 01  ee*44");
}

TEST_F(Descriptor_Value_Length, OfAFailureOfTheWideFormStays) {
  recording.script("KvIRegQueryValueEx", answer_value_size(5, REG_BINARY, 7));
  DWORD length = 68;
  EXPECT_EQ(RegQuerySDExW(key, L"n", nullptr, nullptr, nullptr, &length), 5);
  EXPECT_EQ(length, 68u);
}

TEST_F(Descriptor_Value_Length, ThatCannotBeStoredIsToldByItsCodeInTheWideForm) {
  Guarded descriptor(bytes("01 00 00 80 00*4  28 00*7  28 00*7  00*16  01 00 00 00 00 00 00 05"));
  recording.script("KvIRegSetValueEx", answer(112));
  EXPECT_EQ(RegSetSDExW(key, L"n", 7, 99, descriptor, 28), 112);
  EXPECT_EQ(call().raw("reserved"), 7u);
  EXPECT_EQ(call().raw("type"), 99u);
  EXPECT_BYTES(call()["data"].bytes, "01 00 80 00  00 00 00 14  00 00 00 14  00*8  01 00 00 00 00 00 00 05");
}

}  // namespace
}  // namespace kvtest
