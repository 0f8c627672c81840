// Several processes change one hive at once: nothing is lost, nothing is made twice, and each sees what the
// others have done.
#include <sys/wait.h>
#include <unistd.h>

#include "tests/store/store_test.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

class Processes : public Store_Test {
 protected:
  // Children that begin together; the exit status of each, in no order.
  std::vector<int> run_together(int count, const std::function<int(int)>& body) {
    int gate[2];
    if (pipe(gate) != 0) throw std::runtime_error("pipe");
    for (int number = 0; number < count; ++number) {
      fflush(nullptr);
      if (fork() == 0) {
        close(gate[1]);
        char nothing;
        [[maybe_unused]] ssize_t opened_gate = read(gate[0], &nothing, 1);
        _exit(body(number));
      }
    }
    close(gate[0]);
    close(gate[1]);
    std::vector<int> statuses;
    for (int status = 0; wait(&status) > 0;) statuses.push_back(WIFEXITED(status) ? WEXITSTATUS(status) : -1);
    return statuses;
  }
};

TEST_F(Processes, TenAddKeysAndValuesAndNothingIsLostOrDoubled) {
  std::vector<int> made = run_together(10, [&](int number) {
    int made_first = 0, wrong = 0;
    for (int i = 0; i < 20; ++i) {
      std::string own = std::to_string(number) + "_" + std::to_string(i);
      wrong += set_value(key, own.c_str(), REG_SZ, own + '\0') != 0;
      wrong += created(key, "own" + own) == nullptr;
      Key shared;
      DWORD disposition = 0;
      wrong += RegCreateKeyEx(key, ("shared" + std::to_string(i)).c_str(), 0, nullptr, 0, KEY_READ, nullptr,
                              shared.out(), &disposition) != 0;
      made_first += disposition == REG_CREATED_NEW_KEY;
    }
    return wrong == 0 ? made_first : 100;
  });
  ASSERT_EQ(made.size(), 10u);
  int made_in_all = 0;
  for (int count : made) made_in_all += count;
  EXPECT_EQ(made_in_all, 20);

  EXPECT_EQ(value_names(key).size(), 200u);
  EXPECT_EQ(sub_keys(key).size(), 220u);
  for (int number = 0; number < 10; ++number) {
    for (int i = 0; i < 20; ++i) {
      std::string own = std::to_string(number) + "_" + std::to_string(i);
      EXPECT_EQ(value_of(key, own.c_str()).data(), own + '\0');
      EXPECT_EQ(open_result(key, "own" + own), 0);
    }
  }
  DWORD keys = 0, values = 0;
  EXPECT_EQ(RegQueryInfoKey(key, nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &values, nullptr, nullptr, nullptr,
                            nullptr),
            0);
  EXPECT_EQ(keys, 220u);
  EXPECT_EQ(values, 200u);
}

TEST_F(Processes, SeeAtOnceWhatAnotherHasDone) {
  ASSERT_EQ(set_number(key, "v", 1), 0);
  ASSERT_EQ(value_of(key, "v").data(), "\1\0\0\0"s);
  for (DWORD round = 2; round < 30; ++round) {
    EXPECT_EQ(run_together(1, [&](int) { return set_number(key, "v", round) == 0 ? 0 : 1; }), std::vector<int>{0});
    EXPECT_EQ(value_of(key, "v").data(), std::string(reinterpret_cast<char*>(&round), 4));
  }
}

TEST_F(Processes, FindAKeyGoneThatAnotherDeleted) {
  Key sub = created(key, "sub");
  ASSERT_EQ(set_number(sub, "v", 1), 0);
  EXPECT_EQ(run_together(1, [&](int) { return RegDeleteKey(key, "sub"); }), std::vector<int>{0});
  EXPECT_EQ(query_size(sub, "v").code, 1018);
  EXPECT_EQ(open_result(key, "sub"), 2);
  EXPECT_EQ(run_together(1, [&](int) { return created(key, "sub") == nullptr; }), std::vector<int>{0});
  EXPECT_EQ(query_size(sub, "v").code, 1018);
  EXPECT_EQ(open_result(key, "sub"), 0);
}

TEST_F(Processes, NeverSeeATornValue) {
  ASSERT_EQ(set_value(key, "v", REG_BINARY, std::string(4000, 'a')), 0);
  std::vector<int> torn = run_together(3, [&](int number) {
    int wrong = 0;
    for (int i = 0; i < 150; ++i) {
      if (number == 0) {
        wrong += set_value(key, "v", REG_BINARY, std::string(4000 + i, static_cast<char>('a' + i % 26))) != 0;
        continue;
      }
      Answer answer = query(key, "v", 5000);
      std::string data = answer.data();
      wrong += answer.code != 0 || data.find_first_not_of(data[0]) != std::string::npos || data.size() < 4000;
    }
    return wrong == 0 ? 0 : 1;
  });
  EXPECT_EQ(torn, (std::vector<int>{0, 0, 0}));
}

}  // namespace
}  // namespace kvtest
