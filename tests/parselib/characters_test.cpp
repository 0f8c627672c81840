// Each of the 256 bytes: inside and in front of a name, behind a number, in strings and comments; and tokens that
// are cut by the border of a block.
#include <gtest/gtest.h>

#include "tests/parselib/reading.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

// All that may stand in a name, but for the digits and the minus sign.
const std::string name_starts = "!#$%*+,./:<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ\\_abcdefghijklmnopqrstuvwxyz{}~";
const std::string name_characters = name_starts + "-0123456789";

// Keeps the stream from being at its end.
const std::string more(9000, '\n');

std::string text_of(int byte) { return std::string(1, static_cast<char>(byte)); }

bool is_in_name(int byte) { return name_characters.find(static_cast<char>(byte)) != std::string::npos; }

// Neither in a name nor with a meaning of its own.
std::vector<int> foreign_bytes() {
  std::vector<int> bytes = {'&', '\'', '^', '`', '|'};
  for (int byte = 0; byte < 256; ++byte) {
    if ((byte < 0x20 || byte > 0x7E) && byte != '\t' && byte != '\n') bytes.push_back(byte);
  }
  return bytes;
}

TEST(Characters, OfANameMayStandAnywhereInIt) {
  for (const char character : name_characters) {
    const std::string name = std::string("x") + character + "y";
    EXPECT_EQ(list_read("(" + name + ")"), "<" + name + ">");
  }
}

TEST(Characters, OfANameButDigitsAndTheMinusSignMayBeginIt) {
  for (const char character : name_starts) {
    const std::string name(1, character);
    EXPECT_EQ(frame_read("(" + name + ")"), name + "{}");
  }
  for (const char character : std::string("-0123456789")) {
    EXPECT_EQ(frame_read("(" + text_of(character) + ")"), "null") << character;
  }
}

TEST(Characters, ThatAreNotOfANameEndIt) {
  for (int byte = 0; byte < 256; ++byte) {
    const std::string text = "(x" + text_of(byte) + "y\n)";
    const std::string wanted = is_in_name(byte) ? "<x" + text_of(byte) + "y>" : "<x y>";
    if (std::string("()[];\"").find(text_of(byte)) != std::string::npos && byte != 0) continue;
    EXPECT_EQ(list_read(text), wanted) << byte;
  }
}

TEST(Characters, ThatAreForeignAreReportedAndSkipped) {
  const std::vector<int> bytes = foreign_bytes();
  const Child_Result child = run_child([&] {
    for (const int byte : bytes) printf("%s\n", list_read("(x\n" + text_of(byte) + "y)" + more).c_str());
  });
  EXPECT_EQ(bytes.size(), 164u);
  EXPECT_EQ(child.out, times(bytes.size(), "Parselib : line 2 - unrecognized symbol.\n<x y>\n"));
}

TEST(Characters, ThatAreForeignEndANumber) {
  for (const int byte : foreign_bytes()) {
    EXPECT_EQ(list_read("(12" + text_of(byte) + "3)"), "<12 3>") << byte;
    EXPECT_EQ(list_read("(-2.5" + text_of(byte) + "3)"), "<-2.5 3>") << byte;
  }
}

TEST(Characters, OfEveryKindAreContentOfAString) {
  for (int byte = 1; byte < 256; ++byte) {
    if (byte == '"' || byte == '\n') continue;
    EXPECT_EQ(list_read("(\"a" + text_of(byte) + "b\" 1)"), "<\"a" + text_of(byte) + "b\" 1>") << byte;
  }
}

TEST(Characters, OfEveryKindAreContentOfAComment) {
  const Child_Result child = run_child([] {
    for (int byte = 0; byte < 256; ++byte) {
      if (byte != '\n') printf("%s\n", list_read("(1 ;a" + text_of(byte) + "b\n2)" + more).c_str());
    }
  });
  EXPECT_EQ(child.out, times(255, "<1 2>\n"));
}

TEST(Characters, OnlyBlanksTabsAndNewlinesStandSilentlyBetweenTokens) {
  const Child_Result child = run_child([] { printf("%s\n", list_read(" \t\n(\t1 \n\t2\n)" + more).c_str()); });
  EXPECT_EQ(child.out, "<1 2>\n");
}

TEST(Lines, AreCountedBehindCommentsToo) {
  const Child_Result child = run_child([] { list_read("; one\n(1 ; two\n; three\n|)" + more); });
  EXPECT_EQ(child.out, "Parselib : line 4 - unrecognized symbol.\n");
}

TEST(Lines, AreNotCountedByOtherEndsOfLines) {
  const Child_Result child = run_child([] { list_read("(1\f\v|)" + more); });
  EXPECT_EQ(child.out, times(3, "Parselib : line 1 - unrecognized symbol.\n"));
}

// The text begins so far before the border that each of its bytes is once the first of the next block.
TEST(Borders, OfBlocksCutNoToken) {
  const std::string text = "(name -12 2.5e-3 \"a \\\"b\" ; note\n(x) 1.5e+ \"open\n)";
  for (size_t before = 0; before <= text.size(); ++before) {
    EXPECT_EQ(list_read(std::string(8192 - before, ' ') + text + std::string(9000, ' ')),
              "<name -12 0.0025 \"a \\\"b\" <x> 1.5e+ open>")
        << before;
  }
}

TEST(Reading, OfTheSameStreamAgainBeginsBehindWhatWasReadAhead) {
  const std::string first = "(a 1) (b 2)";
  Text_In in(first + std::string(8192 - first.size(), ' ') + "(c 3)");
  EXPECT_EQ(frame_read(in), "a{a=1}");
  EXPECT_EQ(frame_read(in), "c{c=3}");
  EXPECT_EQ(frame_read(in), "null");
}

TEST(Reading, OfTheSameStreamByTheOtherReaderBeginsThereToo) {
  const std::string first = "(1 2) (3)";
  Text_In in(first + std::string(8192 - first.size(), ' ') + "(c 3)");
  EXPECT_EQ(list_read(in), "<1 2>");
  EXPECT_EQ(frame_read(in), "c{c=3}");
}

TEST(Reading, AfterAFailureBeginsAfresh) {
  const std::string first = "\n\n(a (b))";
  Text_In in(first + std::string(8192 - first.size(), ' ') + "(c |)" + std::string(9000, ' '));
  const Child_Result child = run_child([&] {
    frame_read(in);
    printf("%s\n", frame_read(in).c_str());
  });
  EXPECT_EQ(child.out,
            "Parselib : line 3 - parse error\n"
            "Parselib Error: read_frame failed.\n"
            "Please confirm that your env variable KVREGISTRY points to a correct registry file.\n"
            "Parselib : line 1 - unrecognized symbol.\n"
            "c{}\n");
}

}  // namespace
}  // namespace kvtest
