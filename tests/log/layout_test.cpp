// The order of a logger's virtual functions, counted from the two entries of the destructor.
#include <gtest/gtest.h>
#include <kelvane/log.h>
#include <string.h>

namespace kvtest {
namespace {

// On this platform the pointer to a virtual member holds its place in the table, in bytes and plus one.
template <class Member>
size_t place_of(Member member) {
  static_assert(sizeof member == 2 * sizeof(size_t));
  size_t words[2];
  memcpy(words, &member, sizeof words);
  return (words[0] - 1) / sizeof(void*);
}

TEST(Layout, OfALoggersOperations) {
  EXPECT_EQ(place_of(&KvLog::OutputV), 2u);
  EXPECT_EQ(place_of(&KvLog::Name), 3u);
  EXPECT_EQ(place_of(&KvLog::MaxSize), 4u);
  EXPECT_EQ(place_of(&KvLog::BaseSize), 5u);
  EXPECT_EQ(place_of(&KvLog::Level), 6u);
}

TEST(Layout, OfALoggerWithoutFieldsIsThePointerToItsTable) { EXPECT_EQ(sizeof(KvLog), 8u); }

}  // namespace
}  // namespace kvtest
