// The output buffer of the ANSI functions at the edge of its room.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "registry/ansi_buffers.h"

namespace {

using namespace std::string_literals;

const std::string hello = "\0h\0e\0l\0l\0o"s;  // five units without a terminator

// A name of five units in the room of a caller's count, brought back under the same count.
struct Five_Units {
  explicit Five_Units(unsigned count) : room(count) {
    WinBuffer buffer(text, &room, 1, -1);
    memcpy(buffer.buffer.data, hello.data(), 10);
    buffer.count = 5;
    result = buffer.saveable_to_char(text, &room, 0);
  }
  char text[9] = "########";
  unsigned room;
  DWORD result;
};

TEST(BufferRoom, OfFiveCharactersHasNoneForTheTerminatorOfFive) {
  const Five_Units name(5);
  EXPECT_EQ(name.result, 234u);
  EXPECT_EQ(name.room, 5u);
  EXPECT_STREQ(name.text, "########");
}

TEST(BufferRoom, OfSixCharactersTakesFiveAndTheTerminator) {
  const Five_Units name(6);
  EXPECT_EQ(name.result, 0u);
  EXPECT_EQ(name.room, 5u);
  EXPECT_EQ(std::string(name.text, 8), "hello\0##"s);
}

TEST(BufferRoom, WithoutATerminatorInItEndsWithOneBehind) {
  char text[] = "########";
  unsigned room = 5;
  WinBuffer buffer(text, &room, 1, -1);
  memcpy(buffer.buffer.data, hello.data(), 10);
  buffer.count = 0xFFFFFFFE;
  room = 8;
  EXPECT_EQ(buffer.saveable_to_char(text, &room, 0), 0u);
  EXPECT_EQ(room, 5u);
  EXPECT_EQ(std::string(text, 8), "hello\0##"s);
}

TEST(BufferRoom, WithoutDestinationStartsWithACountOfZero) {
  unsigned room = 77;
  for (int in_win_chars : {0, 1}) {
    const WinBuffer buffer(nullptr, &room, in_win_chars, -1);
    EXPECT_EQ(buffer.count, 0u);
  }
  EXPECT_EQ(room, 77u);
}

TEST(BufferRoom, OfBytesBeyondItselfIs234AlsoWhenTheCallerHasMore) {
  char text[101];
  memset(text, '#', sizeof text);
  unsigned room = 2;
  WinBuffer buffer(text, &room, 0, -1);
  buffer.count = 5;
  room = 100;
  EXPECT_EQ(buffer.return_as_value(reinterpret_cast<BYTE*>(text), &room, REG_BINARY), 234u);
  EXPECT_EQ(room, 5u);
  EXPECT_EQ(std::string(text, 101), std::string(101, '#'));
}

TEST(BufferRoom, ExtendedToNothingIsStillABuffer) {
  char text[4];
  unsigned room = 4;
  for (unsigned count : {0u, 1u}) {
    WinBuffer buffer(text, &room, 0, -1);
    buffer.count = count;
    buffer.extend();
    EXPECT_NE(buffer.buffer.data, nullptr);
  }
}

}  // namespace
