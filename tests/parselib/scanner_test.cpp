// How the readers take their stream: blocks, growth, long tokens, streams that end or fail.
#include <gtest/gtest.h>

#include "tests/parselib/reading.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

using Sizes = std::vector<size_t>;

const std::string parse_error = "Parselib : line 1 - parse error\n";
const std::string failed_lines =
    "Parselib Error: read_frame failed.\n"
    "Please confirm that your env variable KVREGISTRY points to a correct registry file.\n";

TEST(Blocks, AShortTextIsTakenInOne) {
  Text_In in("(a 1)");
  EXPECT_EQ(frame_read(in), "a{a=1}");
  EXPECT_EQ(in.blocks(), Sizes({8192}));
  EXPECT_TRUE(in.at_end());
}

TEST(Blocks, NothingIsTakenBehindTheClosingBracket) {
  Text_In in(std::string(8187, ' ') + "(a 1)(b 2)");
  EXPECT_EQ(frame_read(in), "a{a=1}");
  EXPECT_EQ(in.blocks(), Sizes({8192}));
  EXPECT_FALSE(in.at_end());
}

TEST(Blocks, TheNextOneIsTakenWhenOneMoreByteIsNeeded) {
  Text_In in(std::string(8188, ' ') + "(a 1)(b 2)" + std::string(9000, ' '));
  EXPECT_EQ(frame_read(in), "a{a=1}");
  EXPECT_EQ(in.taken(), 2 * 8192u);
}

TEST(Blocks, AStringThatIsCompleteNeedsNoMore) {
  Text_In in(std::string(8186, ' ') + "(\"abc\"");
  EXPECT_EQ(list_read(in), "null");
  EXPECT_EQ(in.blocks(), Sizes({8192, 8192}));
}

// The buffer of 16,384 bytes keeps one of them free, and doubles.
TEST(Blocks, ATokenThatFillsTheBufferMakesItGrow) {
  const std::string name(40000, 'a');
  Text_In in("(" + name + ")" + std::string(9000, ' '));
  EXPECT_EQ(frame_read(in), name + "{}");
  EXPECT_EQ(in.blocks(), Sizes({8192, 8192, 8192, 8192, 8192}));
  Text_In unaligned(std::string(8192, ' ') + name.substr(0, 30000));
  EXPECT_EQ(frame_read(unaligned), "null");
  EXPECT_EQ(unaligned.blocks(), Sizes({8192, 8192, 8191, 8192, 8192}));
}

// QUIRK short-text-silent
TEST(Blocks, EndOfTheStreamIsSeenOnlyByAShortBlock) {
  Text_In whole_block(std::string(8191, ' ') + ")");
  const Child_Result not_at_end = run_child([&] { frame_read(whole_block); });
  EXPECT_EQ(not_at_end.out, parse_error + failed_lines);
  Text_In short_block(std::string(8190, ' ') + ")");
  const Child_Result at_end = run_child([&] { frame_read(short_block); });
  EXPECT_EQ(at_end.out, "");
}

TEST(Blocks, AnErrorBehindAWholeBlockIsSilentAtTheEnd) {
  const Child_Result child = run_child([] { frame_read(std::string(8192, '\n') + ")"); });
  EXPECT_EQ(child.out, "");
}

TEST(Lines, AreCountedAcrossBlocks) {
  const Child_Result child = run_child([] { frame_read(times(20000, "\n") + ")" + times(9000, " ")); });
  EXPECT_EQ(child.out, "Parselib : line 20001 - parse error\n" + failed_lines);
}

TEST(Lines, BeginAtOneInEveryRead) {
  const Child_Result child = run_child([] {
    for (int i = 0; i < 2; ++i) frame_read("\n\n)" + times(9000, " "));
  });
  EXPECT_EQ(child.out, times(2, "Parselib : line 3 - parse error\n" + failed_lines));
}

TEST(LongTokens, AreReadWhole) {
  for (const char* const form : {"(\"%\")", "(%)", "(;%\n1)"}) {
    const std::string shape = form;
    const std::string text = times(100'000, "abcdefghi ");
    const std::string token = shape[1] == '%' ? std::string(1'000'000, 'a') : text;
    const std::string whole = shape.substr(0, shape.find('%')) + token + shape.substr(shape.find('%') + 1);
    const std::string wanted = shape[1] == ';' ? "<1>" : shape[1] == '%' ? "<" + token + ">" : "<\"" + token + "\">";
    EXPECT_TRUE(list_read(whole) == wanted) << form;
  }
}

// A list of one atom, which takes no memory here.
class Atom_In final : public kvistream {
 public:
  explicit Atom_In(size_t length) : length_(length) {}

 private:
  ssize_t get(char* block, size_t size) override {
    const size_t piece = std::min(size, length_ + 2 - at_);
    memset(block, 'a', piece);
    if (at_ == 0) block[0] = '(';
    at_ += piece;
    if (at_ == length_ + 2 && piece > 0) block[piece - 1] = ')';
    return static_cast<ssize_t>(piece);
  }

  size_t length_;
  size_t at_ = 0;
};

TEST(LongTokens, OneOfAHundredMegabytesIsRead) {
  constexpr size_t size = 100'000'000;
  Atom_In in(size);
  const Tree<Sequence> list(read_list(in));
  ASSERT_NE(list, nullptr);
  ASSERT_EQ(list->count(), 1u);
  const char* const text = static_cast<const clAtom*>(list->at(0))->text();
  EXPECT_EQ(strlen(text), size);
  EXPECT_EQ(strspn(text, "a"), size);
}

TEST(LongTokens, SemicolonsWithoutANewlineTakeNoLongerThanTheirLength) {
  EXPECT_EQ(list_read("(1" + std::string(2'000'000, ';') + ")"), "<1>");
}

TEST(LongTokens, OpenQuotesTakeNoLongerThanTheirLength) {
  const std::string pairs = times(500'000, "\\\"");
  EXPECT_EQ(list_read("(1 \"" + pairs + " 2\n)"), "<1 \"" + pairs.substr(0, pairs.size() - 1) + "\" 2>");
  const Child_Result child = run_child([] {
    const std::string result = list_read("(1 " + times(20'000, "\"\n") + ")");
    fprintf(stderr, "%s", result.c_str());
  });
  EXPECT_EQ(child.err, "<1>");
}

// QUIRK empty-list-is-none
TEST(Lists, ThatAreEmptyAreNone) {
  const Child_Result child = run_child([] { printf("%s\n", list_read("()" + times(9000, "\n")).c_str()); });
  EXPECT_EQ(child.out, "null\n");
  EXPECT_EQ(list_read("(())"), "<<>>");
}

// QUIRK comment-needs-newline
TEST(Comments, InALastLineWithoutANewlineAreText) {
  EXPECT_EQ(list_read("(1 ; two 3)"), "<1 two 3>");
  EXPECT_EQ(list_read("(1 ; two 3)\n)"), "<1>");
  EXPECT_EQ(list_read("(1 ;(two) 3)"), "<1 <two> 3>");
}

TEST(Streams, ThatFailInTheMiddleEndThere) {
  for (const size_t fails_at : {0, 1, 4, 5000, 8192, 9000}) {
    Text_In in("(a (b 1)" + times(9000, " ") + "(c 2))", fails_at);
    const Child_Result child = run_child([&] { printf("%s\n", frame_read(in).c_str()); });
    EXPECT_EQ(child.out, "null\n") << fails_at;
  }
}

TEST(Streams, ThatFailBehindTheFrameDoNotMatter) {
  Text_In in("(a 1)" + times(9000, " "), 6);
  EXPECT_EQ(frame_read(in), "a{a=1}");
}

TEST(Streams, OnAMissingFileAreAtTheirEnd) {
  const Child_Result child = run_child([] {
    kvifstream frame("/nonexistent/file");
    kvifstream list("/nonexistent/file");
    printf("%s %s\n", frame_read(frame).c_str(), list_read(list).c_str());
  });
  EXPECT_EQ(child.out, "null null\n");
}

TEST(Streams, OnAFolderAreAtTheirEnd) {
  Temp_Folder folder;
  const Child_Result child = run_child([&] {
    kvifstream frame(folder.path().c_str());
    printf("%s\n", frame_read(frame).c_str());
  });
  EXPECT_EQ(child.out, "null\n");
}

__attribute__((no_sanitize("null"), noinline)) Sequence* frame_of_null(kvistream* none, clAtom*& name) {
  return read_frame(*none, One_Arm_Bandit(), name);
}

__attribute__((no_sanitize("null"), noinline)) Sequence* list_of_null(kvistream* none) { return read_list(*none); }

__attribute__((no_sanitize("null"), noinline)) bool is_nameless_of_null(kvistream* none) {
  return Frame(*none).get_key() == nullptr;
}

TEST(Streams, ThatAreNullMakeAFrameWithoutAName) {
  const Child_Result child = run_child([] { printf("%d\n", is_nameless_of_null(nullptr)); });
  EXPECT_EQ(child.out,
            "Parselib Error: stream for read_frame not good.\n"
            "Please confirm that your env variable KVREGISTRY points to a correct registry file.\n"
            "1\n");
}

TEST(Streams, ThatAreNullAreReported) {
  const Child_Result child = run_child([] {
    clAtom* name = new clAtom("old");
    printf("%d", frame_of_null(nullptr, name) == nullptr);
    printf("%d", name == nullptr);
    printf("%d\n", list_of_null(nullptr) == nullptr);
  });
  EXPECT_EQ(child.out,
            "Parselib Error: stream for read_frame not good.\n"
            "Please confirm that your env variable KVREGISTRY points to a correct registry file.\n"
            "11"
            "Parselib Error: stream in read_list not good.\n"
            "Please confirm that your env variable KVREGISTRY points to a correct registry file.\n"
            "1\n");
}

TEST(Streams, AReadThatFailsLeavesNoName) {
  clAtom* name = new clAtom("old");
  const Tree<clAtom> owned(name);
  Text_In in("");
  EXPECT_EQ(read_frame(in, One_Arm_Bandit(), name), nullptr);
  EXPECT_EQ(name, nullptr);
}

TEST(Digits, AreThoseFromZeroToNineOnly) {
  EXPECT_EQ(list_read("(09 1: 1/ :1 /1 1.: 1.5e/)"), "<9 1: 1/ :1 /1 1.: 1.5e/>");
}

TEST(Reals, DoNotDependOnTheLocale) {
  const Child_Result child = run_child([] {
    for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8"}) setlocale(LC_ALL, name);
    printf("%s\n", list_read("(2.5)").c_str());
  });
  EXPECT_EQ(child.out, "<2.5>\n");
}

}  // namespace
}  // namespace kvtest
