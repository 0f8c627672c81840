// Four programs that do everything at random, over many keys, each with a model beside: every answer is the model's,
// and neither memory nor descriptors nor the files grow once everything has been there.
#include <sstream>
#include <thread>

#include "tests/hive/trials.h"
#include "tests/store/store_test.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool is_memory_told = false;  // the sanitizer keeps what was given back
#else
constexpr bool is_memory_told = true;
#endif

struct Level {
  long memory = 0;  // KiB
  long descriptors = 0;
  long files = 0;  // bytes
};

struct Report {
  std::vector<Level> levels;
  long done = 0;
  std::string text;
};

Report report_of(const std::string& out) {
  Report report;
  report.text = out;
  std::istringstream lines(out);
  for (std::string word; lines >> word;) {
    if (word == "level") {
      Level& level = report.levels.emplace_back();
      lines >> level.memory >> level.descriptors >> level.files;
    }
    if (word == "done") lines >> report.done;
  }
  return report;
}

std::vector<Report> run_workers(long keys, long operations, long seconds) {
  std::vector<Report> reports(4);
  std::vector<std::thread> threads;
  for (std::size_t number = 0; number < reports.size(); ++number) {
    threads.emplace_back([&, number] {
      const Child_Result result = run_program({KVTEST_MIXED_LOAD, std::to_string(number), std::to_string(keys),
                                               std::to_string(operations), std::to_string(seconds)});
      reports[number] = report_of(result.out + result.err);
    });
  }
  for (std::thread& thread : threads) thread.join();
  return reports;
}

TEST(Mixed_Load, AnswersAreThoseOfTheModelAndNothingGrows) {
  const long keys = hivetest::trials(250, 25'000), operations = hivetest::trials(4'000, 2'000'000);
  const long seconds = hivetest::trials(0, 600);
  constexpr long few = 4, some_memory = 16 * 1024, some_bytes = 8 << 20;
  long done = 0;
  for (const Report& each : run_workers(keys, operations, seconds)) {
    ASSERT_GE(each.done, operations) << each.text;
    ASSERT_EQ(each.levels.size(), 4u) << each.text;
    done += each.done;
    const Level& early = each.levels.front();
    const Level& late = each.levels.back();
    EXPECT_LE(late.descriptors, early.descriptors + few) << each.text;
    if (is_memory_told) {
      EXPECT_LE(late.memory, early.memory + some_memory) << each.text;
    }
    EXPECT_LE(late.files, early.files + early.files / 4 + some_bytes) << each.text;
    std::printf("%s", each.text.c_str());
  }
  std::printf("%ld operations of four programs over %ld keys\n", done, 4 * keys);
}

}  // namespace
}  // namespace kvtest
