// How deep a text may be nested. The parser has 1,200 places.
#include <gtest/gtest.h>

#include "tests/parselib/reading.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

const std::string more(9000, '\n');

std::string output_of(std::string (*read)(const std::string&), const std::string& text) {
  const Child_Result child = run_child([&] {
    const std::string result = read(text);
    printf("%s\n", result == "null" ? "null" : "something");
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  return child.out;
}

const char* const overflow = "Parselib : line 1 - parser stack overflow\nnull\n";

TEST(Nesting, OfListsIsReadTo1100Levels) {
  EXPECT_EQ(list_read(times(1100, "(") + "x" + times(1100, ")")), times(1100, "<") + "x" + times(1100, ">"));
}

// QUIRK overflow-is-no-failure
TEST(Nesting, OfListsOverflowsWith1300Levels) {
  EXPECT_EQ(output_of(list_read, times(1300, "(") + times(1300, ")") + more), overflow);
}

TEST(Nesting, OfValuesIsReadTo1100Levels) {
  EXPECT_EQ(frame_read("(a (b " + times(1100, "(") + "x" + times(1100, ")") + "))"),
            "a{b=" + times(1100, "<") + "x" + times(1100, ">") + "}");
}

TEST(Nesting, OfValuesOverflowsWith1300Levels) {
  EXPECT_EQ(output_of(frame_read, "(a (b " + times(1300, "(") + times(1300, ")") + "))" + more), overflow);
}

TEST(Nesting, OfFramesIsReadTo300Levels) {
  EXPECT_EQ(frame_read("[a " + times(300, "[b ") + times(300, "]") + "]"),
            "a{" + times(299, "b:b{") + "b:b{}" + times(299, "}") + "}");
}

TEST(Nesting, OfFramesOverflowsWith1300Levels) {
  EXPECT_EQ(output_of(frame_read, "[a " + times(1300, "[b ") + times(1300, "]") + "]" + more), overflow);
}

TEST(Nesting, ThatOverflowsAtTheEndOfTheStreamIsSilent) {
  EXPECT_EQ(output_of(list_read, times(1300, "(") + times(1300, ")")), "null\n");
  EXPECT_EQ(output_of(frame_read, "(a (b " + times(1300, "(") + times(1300, ")") + "))"), "null\n");
}

TEST(Nesting, ThatOverflowsGivesUpWhatWasBuilt) {
  const std::string text = "(a (b 1 \"s\") [c (d x) (e 1 2 " + times(1300, "(x ");
  EXPECT_EQ(output_of(frame_read, text + more), overflow);
  EXPECT_EQ(output_of(list_read, "(1 \"s\" x () " + times(1300, "(x ") + more), overflow);
  // Once more in this process, where the sanitizer looks for what was not released.
  EXPECT_EQ(frame_read(text), "null");
  EXPECT_EQ(list_read("(1 \"s\" x () " + times(1300, "(x ")), "null");
}

TEST(Length, OfATokenHasNoLimit) {
  for (const std::size_t length : {16'383u, 16'384u, 32'768u, 65'536u, 1'000'000u}) {
    const std::string word(length, 'w');
    EXPECT_EQ(list_read("(" + word + " (x " + word + "))"), "<" + word + " <x " + word + ">>");
  }
}

TEST(Length, HasNoLimit) {
  EXPECT_EQ(list_read("(" + times(100'000, "1 ") + ")"), "<1" + times(99'999, " 1") + ">");
  EXPECT_EQ(frame_read("(a " + times(20'000, "(b 1)") + ")"), "a{b=1" + times(19'999, " b=1") + "}");
  EXPECT_EQ(frame_read("(a (b " + times(20'000, "1 ") + "))"), "a{b=<1" + times(19'999, " 1") + ">}");
}

}  // namespace
}  // namespace kvtest
