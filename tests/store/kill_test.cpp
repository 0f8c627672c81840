// A program is killed at a random moment of its writing, again and again: the hive opens each time and holds
// every value that was reported done.
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <memory>
#include <random>

#include "tests/store/act.h"
#include "tests/store/store_test.h"

namespace kvtest {
namespace {

// The writer, its reports, and its end by kill -9.
class Writer {
 public:
  Writer(const char* root, DWORD first) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("pipe2");
    const std::string number = std::to_string(first);
    pid_ = fork();
    if (pid_ == 0) {
      dup2(ends[1], STDOUT_FILENO);
      execl(KVTEST_WRITER, KVTEST_WRITER, root, number.c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
    close(ends[1]);
    reports_ = ends[0];
  }
  ~Writer() { close(reports_); }

  // The next report; false when there will be no more.
  bool next(DWORD* out) { return read(reports_, out, sizeof *out) == sizeof *out; }
  // The signal it died of.
  int kill_now() {
    kill(pid_, SIGKILL);
    int status = 0;
    waitpid(pid_, &status, 0);
    return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  }

 private:
  pid_t pid_ = -1;
  int reports_ = -1;
};

bool is_whole(const Answer& answer, DWORD number) {
  return answer.code == 0 && answer.type == REG_BINARY &&
         answer.data() == std::string(1 + number % 3000, static_cast<char>('a' + number % 26));
}

// A moment of up to a few milliseconds that ends anywhere in a write.
void let_time_pass(unsigned turns) {
  for (std::atomic<unsigned> turn = 0; turn < turns; ++turn) {
  }
}

struct Totals {
  DWORD done = 0;       // reported by all writers so far
  DWORD in_flight = 0;  // written and not reported
};

// One writer's life; then the first opener after the kill sees all and can write on.
void kill_once(const char* root, std::mt19937& random, Totals& totals) {
  Writer writer(root, totals.done);
  DWORD reported = 0;
  for (unsigned reports = 1 + random() % 40; reports-- > 0;) ASSERT_TRUE(writer.next(&reported));
  let_time_pass(random() % 2000000);
  ASSERT_EQ(writer.kill_now(), SIGKILL);
  while (writer.next(&reported)) {
  }
  totals.done = reported + 1;

  Child_Result check = act({{"set", root + "\\Software\\Rounds"s, "r", "x"}, {"names", root + "\\Software\\Killed"s}});
  ASSERT_EQ(check.err, "");
  ASSERT_EQ(check.out.substr(0, 4), "0\n0 ");
  DWORD held = static_cast<DWORD>(std::stoul(check.out.substr(4)));
  // The one that was being written may be there, too.
  ASSERT_GE(held, totals.done);
  ASSERT_LE(held, totals.done + 1);
  totals.in_flight += held - totals.done;
}

void kill_again_and_again(const char* root, HKEY root_key) {
  constexpr int rounds = 25;
  std::mt19937 random(20);
  Totals totals;
  for (int round = 0; round < rounds; ++round) {
    kill_once(root, random, totals);
    if (testing::Test::HasFatalFailure()) return;
  }
  Key key = opened(root_key, "Software\\Killed", KEY_READ);
  DWORD lost = 0;
  for (DWORD number = 0; number < totals.done; ++number) {
    if (!is_whole(value_of(key, ("n" + std::to_string(number)).c_str()), number)) ++lost;
  }
  printf("%s: %d kills, %u values reported done, %u lost; %u kills fell between a write and its report\n", root, rounds,
         totals.done, lost, totals.in_flight);
  EXPECT_EQ(lost, 0u);
  EXPECT_GE(totals.done, static_cast<DWORD>(rounds));
}

TEST(Killed_Writer, LosesNothingOfTheMachinesThatWasReportedDone) { kill_again_and_again("HKLM", HKEY_LOCAL_MACHINE); }

TEST(Killed_Writer, LosesNothingOfTheUsersThatWasReportedDone) { kill_again_and_again("HKCU", HKEY_CURRENT_USER); }

// Numbers of several writers are apart.
constexpr DWORD numbers_each = 1000000;

TEST(Killed_Writer, AmongOthersLosesNothingAndStopsNobody) {
  std::mt19937 random(21);
  std::vector<std::unique_ptr<Writer>> writers;
  std::vector<DWORD> first, next;
  auto start = [&](DWORD number) {
    writers.push_back(std::make_unique<Writer>("HKLM", number));
    first.push_back(number);
    next.push_back(number);
  };
  for (DWORD i = 0; i < 3; ++i) start((i + 1) * numbers_each);
  for (int round = 0; round < 8; ++round) {
    // Those that live go on; the oldest of them is killed, and another takes its place.
    for (std::size_t i = writers.size() - 3; i < writers.size(); ++i) {
      DWORD reported = 0;
      for (unsigned reports = 1 + random() % 10; reports-- > 0;) ASSERT_TRUE(writers[i]->next(&reported));
      next[i] = reported + 1;
    }
    std::size_t victim = writers.size() - 3;
    ASSERT_EQ(writers[victim]->kill_now(), SIGKILL);
    for (DWORD reported; writers[victim]->next(&reported);) next[victim] = reported + 1;
    start(static_cast<DWORD>(writers.size() + 1) * numbers_each);
  }
  for (std::size_t i = writers.size() - 3; i < writers.size(); ++i) ASSERT_EQ(writers[i]->kill_now(), SIGKILL);
  Key key = opened(HKEY_LOCAL_MACHINE, "Software\\Killed", KEY_READ);
  DWORD lost = 0, done = 0;
  for (std::size_t i = 0; i < writers.size(); ++i) {
    for (DWORD number = first[i]; number < next[i]; ++number, ++done) {
      if (!is_whole(value_of(key, ("n" + std::to_string(number)).c_str()), number)) ++lost;
    }
  }
  printf("%zu writers killed, three at a time, %u values reported done, %u lost\n", writers.size(), done, lost);
  EXPECT_EQ(lost, 0u);
}

}  // namespace
}  // namespace kvtest
