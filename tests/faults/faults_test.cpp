// Each call that the system can refuse, refused once: the n-th of its kind for each n, until a scenario passes
// untouched. No program dies of it, what was reported done is there afterwards, and nothing that is there is torn.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/mman.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "tests/hive/trials.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

namespace fs = std::filesystem;

using Answers = std::map<std::string, std::vector<long>>;  // by the names of the steps, in order

Answers answers_of(const std::string& lines) {
  Answers answers;
  std::istringstream stream(lines);
  long code = 0;
  for (std::string step; stream >> step >> code;) answers[step].push_back(code);
  return answers;
}
bool was_done(const Answers& answers, const std::string& step) {
  const auto found = answers.find(step);
  return found != answers.end() && found->second.back() == 0;
}

// The two numbers that the failing calls share with their test.
class Counter {
 public:
  explicit Counter(const std::string& file) {
    std::ofstream(file, std::ios::binary) << std::string(2 * sizeof(unsigned), '\0');
    const int fd = open(file.c_str(), O_RDWR | O_CLOEXEC);
    numbers_ =
        static_cast<volatile unsigned*>(mmap(nullptr, 2 * sizeof(unsigned), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0));
    close(fd);
  }
  ~Counter() { munmap(const_cast<unsigned*>(numbers_), 2 * sizeof(unsigned)); }
  Counter(const Counter&) = delete;
  Counter& operator=(const Counter&) = delete;

  void fail_at(unsigned number) {
    numbers_[0] = number;
    numbers_[1] = 0;
  }
  unsigned seen() const { return numbers_[1]; }

 private:
  volatile unsigned* numbers_ = nullptr;
};

// One user's home, with the registry in it.
class Home {
 public:
  std::vector<std::string> environment() const {
    return {"HOME=" + folder_.path(), "TMPDIR=" + folder_.path(),
            "ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=0:" + std::string(getenv("ASAN_OPTIONS"))};
  }
  Child_Result run(const std::vector<std::string>& program, std::vector<std::string> more = {}) const {
    std::vector<std::string> all = environment();
    all.insert(all.end(), more.begin(), more.end());
    return run_program(program, all);
  }
  Answers see() const { return answers_of(run({KVTEST_SCENARIO, "see"}).out); }
  std::string operator/(const std::string& name) const { return folder_ / name; }

 private:
  const Temp_Folder folder_;
};

struct Scenario {
  const char* name;
  std::vector<std::string> (*program)(const Home&);
  void (*prepare)(const Home&);
  void (*check)(const Home&, const Child_Result&);
  const char* fails_in = "";  // a program in which all calls count
  std::vector<std::string> environment = {};
};

std::ostream& operator<<(std::ostream& out, const Scenario& scenario) { return out << scenario.name; }

std::vector<std::string> scenario_named(const char* name, const Home& home) {
  return {KVTEST_SCENARIO, name, home / "out"};
}
void nothing(const Home&) {}
void fill(const Home& home) {
  fs::create_directory(home / "out");
  ASSERT_EQ(home.run({KVTEST_SCENARIO, "values"}).exit_status, 0);
}

bool is_whole_hive(const std::string& file) {
  sqlite3* db = nullptr;
  std::string verdict;
  const auto take = [](void* out, int, char** columns, char**) {
    *static_cast<std::string*>(out) += columns[0];
    return 0;
  };
  const bool is_read = sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK &&
                       sqlite3_exec(db, "PRAGMA integrity_check", take, &verdict, nullptr) == SQLITE_OK;
  sqlite3_close(db);
  return is_read && verdict == "ok";
}

// Whether a program ended by itself, with a word where it could not go on: the library's at its start; the one of the
// system's library, which ends a thread's first use of thread-local data when there is no memory for it; and the one of
// a tool whose libraries find none for the objects that they have before main.
bool has_ended_by_itself(const Child_Result& result, bool is_tool) {
  if (result.exit_status == 0) return true;
  const bool ended_before_main = is_tool && result.signal == SIGABRT && result.out.empty();
  if (ended_before_main) return result.err.find("std::bad_alloc") != std::string::npos;
  return result.signal == 0 && !result.err.empty();
}

void check_start(const Home& home, const Child_Result& result) {
  if (was_done(answers_of(result.out), "create")) {
    EXPECT_TRUE(was_done(home.see(), "open"));
  }
  const Child_Result again = home.run({KVTEST_SCENARIO, "start"});
  EXPECT_EQ(again.out, "create 0\n") << again.err;
}

// What was reported done is there; what was not may be there, whole.
void check_values(const Home& home, const Child_Result& result) {
  const Answers told = answers_of(result.out), seen = home.see();
  EXPECT_EQ(seen.count("torn"), 0u);
  if (!was_done(told, "create")) return;
  ASSERT_TRUE(was_done(seen, "open"));
  const std::vector<long>& found = seen.at("query");
  ASSERT_EQ(found.size(), 6u);
  for (std::size_t number = 1; number < found.size(); ++number) {
    if (was_done(told, "n" + std::to_string(number))) {
      EXPECT_EQ(found[number], 0) << "value " << number;
    }
  }
  if (was_done(told, "delete")) {
    EXPECT_EQ(found[0], 2);
  } else if (was_done(told, "n0")) {
    EXPECT_TRUE(found[0] == 0 || found[0] == 2) << found[0];
  }
}

void expect_all_filled(const Home& home) {
  const Answers seen = home.see();
  EXPECT_EQ(seen.count("torn"), 0u);
  ASSERT_TRUE(was_done(seen, "open"));
  EXPECT_EQ(seen.at("query"), (std::vector<long>{2, 0, 0, 0, 0, 0}));
}

void check_saved(const Home& home, const Child_Result& result) {
  const std::string file = home / "out/saved";
  if (was_done(answers_of(result.out), "save")) {
    EXPECT_TRUE(is_whole_hive(file));
  } else if (fs::exists(file)) {
    EXPECT_TRUE(is_whole_hive(file)) << "half a file is left";
  }
  expect_all_filled(home);
}

void check_backup(const Home& home, const Child_Result& result) {
  std::size_t hives = 0;
  for (const auto& each : fs::recursive_directory_iterator(home / "out")) {
    if (!each.is_regular_file() || each.path().extension() != ".hive") continue;
    EXPECT_TRUE(is_whole_hive(each.path())) << each.path();
    ++hives;
  }
  if (was_done(answers_of(result.out), "backup")) {
    EXPECT_GT(hives, 0u);
  }
  expect_all_filled(home);
}

void prepare_import(const Home& home) {
  std::ofstream text(home / "settings.reg");
  text << "Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER\\Software\\Faults]\n";
  for (int number = 0; number < 30; ++number) text << "\"i" << number << "\"=\"text " << number << "\"\n";
}
void check_import(const Home& home, const Child_Result& result) {
  const Child_Result listed = home.run({KVTEST_KVREG, "query", "HKCU\\Software\\Faults"});
  std::size_t values = 0;
  for (std::size_t at = 0; (at = listed.out.find("REG_SZ", at)) != listed.out.npos; ++at) ++values;
  EXPECT_TRUE(values == 0 || values == 30) << listed.out;
  if (result.exit_status == 0) {
    EXPECT_EQ(values, 30u) << result.err;
  } else {
    EXPECT_NE(result.err, "") << "no reason is told";
  }
}

const Scenario scenarios[] = {
    {"start", [](const Home& home) { return scenario_named("start", home); }, nothing, check_start},
    {"values", [](const Home& home) { return scenario_named("values", home); }, nothing, check_values},
    {"save", [](const Home& home) { return scenario_named("save", home); }, fill, check_saved},
    {"backup", [](const Home& home) { return scenario_named("backup", home); }, fill, check_backup},
    {"log", [](const Home& home) { return scenario_named("log", home); }, fill,
     [](const Home& home, const Child_Result&) { expect_all_filled(home); }},
    {"import",
     [](const Home& home) {
       return std::vector<std::string>{KVTEST_KVREG, "import", home / "settings.reg"};
     },
     prepare_import, check_import, "kvreg"},
    {"server",
     [](const Home& home) { return scenario_named("values", home); },
     nothing,
     check_values,
     "regss",
     {"KVREGISTRY_MODE=3", "KVREGSS_PATH=" KVTEST_REGSS}},
};

class Faults : public testing::TestWithParam<std::tuple<Scenario, const char*>> {};

std::string name_of(const testing::TestParamInfo<Faults::ParamType>& info) {
  return std::string(std::get<0>(info.param).name) + "_" + std::get<1>(info.param);
}

// Few are tried of what there are thousands of, and few of the locks, for which others would be waited for.
unsigned next_trial(unsigned number, const std::string& kind) {
  constexpr unsigned all_until = 4;
  if (number < all_until) return number + 1;
  const int usual_step = kind == "memory" ? 61 : kind == "fcntl" ? 23 : 7;
  return number + static_cast<unsigned>(hivetest::trials(usual_step, 1));
}

bool has_server(const Home& home) {
  for (const auto& each : fs::recursive_directory_iterator(home / "")) {
    if (each.path().extension() == ".pid") return true;
  }
  return false;
}

// A server that went on serving ends, and takes its files with it.
void end_server(const Home& home, const Scenario& scenario) {
  if (!has_server(home)) return;
  home.run({KVTEST_SCENARIO, "shut-down"}, scenario.environment);
  constexpr int safety_net = 20000;  // milliseconds
  for (int waited = 0; waited < safety_net && has_server(home); ++waited) usleep(1000);
}

TEST_P(Faults, LeaveWhatWasDoneAndNothingHalf) {
  const auto& [scenario, kind] = GetParam();
  const Temp_Folder folder;
  Counter counter(folder / "counter");
  unsigned trials = 0;
  for (unsigned number = 1;; number = next_trial(number, kind), ++trials) {
    SCOPED_TRACE(std::string(scenario.name) + ", " + kind + " number " + std::to_string(number));
    const Home home;
    ASSERT_NO_FATAL_FAILURE(scenario.prepare(home));
    counter.fail_at(number);
    std::vector<std::string> environment = {"LD_PRELOAD=" KVTEST_FAILING_CALLS, "KV_FAIL_CALL=" + std::string(kind),
                                            "KV_FAIL_COUNTER=" + (folder / "counter"),
                                            "KV_FAIL_IN=" + std::string(scenario.fails_in)};
    environment.insert(environment.end(), scenario.environment.begin(), scenario.environment.end());
    const Child_Result result = home.run(scenario.program(home), environment);
    EXPECT_TRUE(has_ended_by_itself(result, scenario.fails_in[0] != '\0'))
        << result.exit_status << ", " << result.signal;
    EXPECT_EQ(result.out.find("torn"), result.out.npos) << result.out;
    scenario.check(home, result);
    end_server(home, scenario);
    if (HasFailure()) {
      std::printf("%s%s", result.out.c_str(), result.err.c_str());
      return;
    }
    if (counter.seen() < number) break;
  }
  std::printf("%u calls refused, one at a time, of %u\n", trials, counter.seen());
}

INSTANTIATE_TEST_SUITE_P(Of, Faults,
                         testing::Combine(testing::ValuesIn(scenarios),
                                          testing::Values("open", "write", "short_write", "resize", "rename", "link",
                                                          "fsync", "map", "fcntl", "memory")),
                         name_of);

}  // namespace
}  // namespace kvtest
