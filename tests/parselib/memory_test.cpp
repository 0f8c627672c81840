// A reader that gets no memory ends the process with one line on standard error. The program is linked so that
// malloc and realloc of the readers come here first.
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/parselib/reading.h"
#include "tests/support/child.h"

namespace {

// Blocks of at least this size are refused.
size_t too_large = static_cast<size_t>(-1);

}  // namespace

extern "C" {
#pragma GCC visibility push(default)
void* __real_malloc(size_t size);
void* __real_realloc(void* block, size_t size);
void* __wrap_malloc(size_t size) { return size < too_large ? __real_malloc(size) : nullptr; }
void* __wrap_realloc(void* block, size_t size) { return size < too_large ? __real_realloc(block, size) : nullptr; }
#pragma GCC visibility pop
}

namespace kvtest {
namespace {

Child_Result child_with_limit(size_t limit, std::string (*read)(const std::string&), const std::string& text) {
  return run_child([&] {
    too_large = limit;
    read(text);
  });
}

TEST(Memory, WithoutABufferTheReadersEndTheProcess) {
  const Child_Result frame = child_with_limit(16384, frame_read, "(a)");
  EXPECT_EQ(frame.exit_status, 2);
  EXPECT_EQ(frame.err, "out of dynamic memory in yyframeio_create_buffer()\n");
  EXPECT_EQ(frame.out, "");
  const Child_Result list = child_with_limit(16384, list_read, "(a)");
  EXPECT_EQ(list.exit_status, 2);
  EXPECT_EQ(list.err, "out of dynamic memory in yylistio_create_buffer()\n");
}

TEST(Memory, WithoutRoomForATokenTheReadersEndTheProcess) {
  using Reader = std::string (*)(const std::string&);
  for (const Reader reader : {static_cast<Reader>(frame_read), static_cast<Reader>(list_read)}) {
    const Child_Result child = child_with_limit(32768, reader, "(" + std::string(20000, 'a') + ")");
    EXPECT_EQ(child.exit_status, 2);
    EXPECT_EQ(child.err, "fatal error - scanner input buffer overflow\n");
    EXPECT_EQ(child.out, "");
  }
}

TEST(Memory, OfTheBuffersSizeAndAByteIsEnoughForAShortText) {
  const Child_Result child = child_with_limit(16386, frame_read, "(a)");
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.err, "");
}

TEST(Memory, OfTwiceTheBuffersSizeAndAByteIsEnoughForALongerToken) {
  const Child_Result child = child_with_limit(32770, frame_read, "(" + std::string(20000, 'a') + ")");
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.err, "");
}

// The machine's objects: one that cannot be made.
class Poor_Machine final : public One_Arm_Bandit {
 public:
  int integer(Bone*&, char*) const override { throw std::bad_alloc(); }
};

TEST(Memory, WithoutRoomForAnObjectTheFrameReaderEndsTheProcess) {
  const Child_Result child = run_child([] {
    Text_In in("(a 5)");
    frame_read(in, Poor_Machine());
  });
  EXPECT_EQ(child.exit_status, 2);
  EXPECT_EQ(child.err, "out of dynamic memory in yyframeio_parse()\n");
}

}  // namespace
}  // namespace kvtest
