// Texts and exactly what comes of them, from the files in cases/. A case:
//
//   === what it shows
//   frame                    or: list
//   the text, to the next mark; its last newline does not belong to it
//   >>> short                what is printed and read when the text stands alone
//   >>> long                 the same when more follows than the reader takes at once; left out when it is equal
//
// U+2400 stands for a zero byte in a text. The last line of a result is what was read.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

#include "tests/parselib/reading.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

struct Case {
  std::string title;
  std::string reader;
  std::string text;
  std::string alone;
  std::string followed;
};

std::string content_of(const std::filesystem::path& file) {
  std::stringstream content;
  content << std::ifstream(file, std::ios::binary).rdbuf();
  return content.str();
}

// The text up to the mark, which is taken out of the rest with it.
std::string taken_up_to(const std::string& mark, std::string& rest) {
  const size_t at = rest.find(mark);
  const std::string text = rest.substr(0, at);
  rest = at == std::string::npos ? "" : rest.substr(at + mark.size());
  return text;
}

Case parsed(std::string rest) {
  Case one;
  one.title = taken_up_to("\n", rest);
  one.reader = taken_up_to("\n", rest);
  one.text = std::regex_replace(taken_up_to("\n>>> short\n", rest), std::regex("\u2400"), std::string(1, '\0'));
  one.alone = taken_up_to(">>> long\n", rest);
  one.followed = rest.empty() ? one.alone : rest;
  return one;
}

std::vector<Case> all_cases() {
  std::vector<Case> cases;
  for (const auto& file : std::filesystem::directory_iterator(KVTEST_CASES)) {
    std::string rest = content_of(file);
    taken_up_to("=== ", rest);
    while (!rest.empty()) cases.push_back(parsed(taken_up_to("=== ", rest)));
  }
  return cases;
}

// What is printed and read for each of the texts, in one child.
std::vector<std::string> results_of(const std::vector<Case>& cases, const std::string& more) {
  const Child_Result child = run_child([&] {
    for (const Case& one : cases) {
      const std::string text = one.text + more;
      const std::string result = one.reader == "frame" ? frame_read(text) : list_read(text);
      printf("%s\n=== ", result.c_str());
    }
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  std::vector<std::string> results;
  std::string rest = child.out;
  while (!rest.empty()) results.push_back(taken_up_to("=== ", rest));
  return results;
}

TEST(CaseFiles, AreAllThere) { EXPECT_GE(all_cases().size(), 90u); }

TEST(CaseFiles, GiveWhatTheySayWhenTheTextStandsAlone) {
  const std::vector<Case> cases = all_cases();
  const std::vector<std::string> results = results_of(cases, "");
  ASSERT_EQ(results.size(), cases.size());
  for (size_t i = 0; i < cases.size(); ++i) EXPECT_EQ(results[i], cases[i].alone) << cases[i].title;
}

// In this process, where the sanitizer looks for what was not released.
TEST(CaseFiles, LeaveNothingBehindWhenTheTextIsGivenUp) {
  for (const Case& one : all_cases()) {
    const std::string result = one.reader == "frame" ? frame_read(one.text) : list_read(one.text);
    EXPECT_EQ(result + "\n", one.alone) << one.title;
  }
}

TEST(CaseFiles, GiveWhatTheySayWhenMoreFollows) {
  const std::vector<Case> cases = all_cases();
  const std::vector<std::string> results = results_of(cases, std::string(20000, '\n'));
  ASSERT_EQ(results.size(), cases.size());
  for (size_t i = 0; i < cases.size(); ++i) EXPECT_EQ(results[i], cases[i].followed) << cases[i].title;
}

}  // namespace
}  // namespace kvtest
