// A writer killed at any moment: the hive opens, and holds every write that was told to be done.
#include <csignal>
#include <random>

#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;

// Writes numbers to a value and to a new key each, and tells each through the pipe when both are done.
[[noreturn]] void write_for_ever(const std::string& folder, int tell, int from) {
  std::unique_ptr<Registry> registry = registry_on(folder);
  Key key = make_key(*registry, root_of(*registry), u"a");
  for (int i = from;; ++i) {
    std::string number = std::to_string(i);
    Key child;
    Status status = put(*registry, key, u"last", number + std::string(static_cast<std::size_t>(i % 3000), 'x'));
    if (status == Status::ok) {
      status = create(*registry, key, std::u16string(number.begin(), number.end()), &child);
    }
    if (status != Status::ok || write(tell, &i, sizeof i) != sizeof i) _exit(1);
  }
}

// The last number that was told; the child is killed after some of them.
int kill_after(const std::string& folder, int from, int numbers, useconds_t then) {
  int told[2];
  if (pipe(told) != 0) return -1;
  fflush(nullptr);
  pid_t child = fork();
  if (child == 0) {
    close(told[0]);
    write_for_ever(folder, told[1], from);
  }
  close(told[1]);
  int last = -1;
  for (int i = 0; i < numbers && read(told[0], &last, sizeof last) == sizeof last; ++i) {
  }
  usleep(then);  // which moment of a write it is shall be chance
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  while (read(told[0], &last, sizeof last) == sizeof last) {
  }
  close(told[0]);
  return last;
}

TEST(Kill, TwentyKillsLoseNothingThatWasDone) {
  Temp_Folder folder;
  std::mt19937 random(7);
  int from = 0;
  for (int round = 0; round < 20; ++round) {
    int last = kill_after(folder.path(), from, 1 + static_cast<int>(random() % 60), random() % 900);
    ASSERT_GE(last, from) << "the writer wrote nothing in round " << round;
    std::unique_ptr<Registry> registry = registry_on(folder.path());
    Key key;
    ASSERT_EQ(registry->open(root_of(*registry), u"a", &key), Status::ok);
    EXPECT_GE(std::stoi(get(*registry, key, u"last")), last);
    hive::Key_Counts counts = counts_of(*registry, key);
    EXPECT_GE(counts.sub_keys, static_cast<std::uint32_t>(last + 1));
    EXPECT_EQ(counts.sub_keys, key_names(*registry, key).size());
    from = last + 1;
  }
}

}  // namespace
