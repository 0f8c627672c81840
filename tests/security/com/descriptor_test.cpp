// The descriptor of a COM permission on its way into an edit.
#include "security/com_descriptor.h"

#include "security/com_edit.h"
#include "tests/security/com/com_test.h"

namespace kvtest {
namespace {

class Com_Descriptors : public Com_Permissions {
 protected:
  Com_Descriptors() { recording.reset(); }

  static Com_Descriptor holding(const std::string& content) {
    Com_Descriptor descriptor;
    descriptor.bytes.reset(static_cast<BYTE*>(std::malloc(content.size())));
    std::memcpy(descriptor.bytes.get(), content.data(), content.size());
    descriptor.size = static_cast<DWORD>(content.size());
    return descriptor;
  }
  static std::string content(const Com_Descriptor& descriptor) {
    return {reinterpret_cast<const char*>(descriptor.bytes.get()), descriptor.size};
  }
};

TEST_F(Com_Descriptors, AreMadeForEverybodyIn2076Bytes) {
  Com_Descriptor made;
  EXPECT_EQ(KvSDCreateNewSD(made), 0);
  EXPECT_BYTES(content(made),
               "01 00 00 00 00*4  28 00 00 00 00*4  34 00 00 00 00*4  00*16 "
               "00 01 00*6 ff*4  00 01 00*6 ff*4  00*2012");
}

TEST_F(Com_Descriptors, AreReadIntoHostOrderWithTheLengthOfTheValue) {
  Com_Descriptor read;
  answer_stored(
      bytes("01 77 80 3f dd*4  00 00 00 28 99*4  00 00 00 34 98*4  00*16 "
            "01 01 00 00 00 00 00 05 00 00 01 f4  01 01 00 00 00 00 00 05 00 00 00 64  ee*3"));
  EXPECT_EQ(KvSDGetRegistrySD(key, "AccessPermission", read), 0);
  EXPECT_BYTES(content(read),
               "01 77 3f 80 dd*4  28 00 00 00 99*4  34 00 00 00 98*4  00*16 "
               "01 01 00 00 00 00 00 05 f4 01 00 00  01 01 00 00 00 00 00 05 64 00 00 00  ee*3");
}

TEST_F(Com_Descriptors, ThatCannotBeReadAreNone) {
  const std::string value = bytes(stored_500_501);
  Com_Descriptor read;
  const auto expect_none = [&](LONG code) {
    EXPECT_EQ(KvSDGetRegistrySD(key, "AccessPermission", read), code);
    EXPECT_TRUE(read.bytes == nullptr);
    EXPECT_EQ(read.size, 0u);
  };
  answer_missing(5);
  expect_none(5);
  answer_stored(value, REG_DWORD);
  expect_none(static_cast<LONG>(0x80040153));
  answer_stored("\2" + value.substr(1));
  expect_none(static_cast<LONG>(0x80040153));
}

TEST_F(Com_Descriptors, OfAnotherRevisionAreNotEdited) {
  const DWORD user = 7;
  const Principals who = {&user, 1, nullptr, 0};
  const std::string good = bytes(
      "01 00 00 00 00*4  28 00 00 00 00*4  34 00 00 00 00*4  00*16 "
      "01 01 00*6 f4 01 00 00  01 01 00*6 64 00 00 00");
  EXPECT_EQ(KvSDHandleSingleSD(holding("\2" + good.substr(1)), key, who, true, true, false),
            static_cast<LONG>(0x80070057));
  EXPECT_TRUE(written().empty());
  EXPECT_EQ(KvSDHandleSingleSD(holding(good), key, who, true, true, false), 0);
  ASSERT_EQ(written().size(), 1u);
  EXPECT_EQ(written()[0].first, u"AccessPermission");
  EXPECT_EQ(hex(written_once()), hex(stored({"000001f4", "00000007"}, {"00000064"})));
}

TEST_F(Com_Descriptors, AreNotChangedByTheirEdit) {
  const DWORD user = 7;
  const std::string before = bytes(
      "01 00 00 80 00*4  28 00 00 00 00*4  34 00 00 00 00*4  40 00*7  40 00*7 "
      "01 01 00*6 f4 01 00 00  01 01 00*6 64 00 00 00  02 00 08 00 00 00 00 00");
  const Com_Descriptor descriptor = holding(before);
  EXPECT_EQ(KvSDHandleSingleSD(descriptor, key, {&user, 1, nullptr, 0}, true, false, true), 0);
  EXPECT_EQ(hex(content(descriptor)), hex(before));
  ASSERT_EQ(written().size(), 1u);
  EXPECT_EQ(written()[0].first, u"DefaultLaunchPermission");
}

}  // namespace
}  // namespace kvtest
