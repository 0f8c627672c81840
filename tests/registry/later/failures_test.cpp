// Trees that cannot be copied or deleted to their end: whatever entry fails, its code comes back, no entry is asked
// behind it but to close, and every key that was opened on the way is closed.
#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

#include "tests/registry/fronts.h"

namespace kvtest {
namespace {

constexpr LSTATUS failure = 1450;
constexpr std::uint64_t no_more = 259;
const std::string stored_sub = "\0s\0u\0b\0\0"s;

// A name or a class "sub".
Behaviour answer_text(const char* text, const char* count) {
  return [=](const Call& call) {
    call.write(text, stored_sub);
    call.store<DWORD>(count, 3);
    return 0;
  };
}

// A value "sub" of two bytes.
std::uint64_t answer_named_value(const Call& call) {
  call.write("name", stored_sub);
  call.store<DWORD>("name_count", 3);
  call.store<DWORD>("out_type", REG_BINARY);
  call.store<DWORD>("data_size", 2);
  call.write("data", "ab");
  return 0;
}

using Steps = std::vector<std::pair<const char*, Behaviour>>;

class Failing_Tree : public Fronts {
 protected:
  // Runs the call once for each step, which fails then; and once without a failure.
  void fail_each(const Steps& steps, const std::function<LSTATUS()>& call) {
    for (std::size_t failing = 0; failing < steps.size(); ++failing) {
      recording.reset();
      for (std::size_t step = 0; step < failing; ++step) recording.script(steps[step].first, steps[step].second);
      recording.script(steps[failing].first, answer(failure));
      EXPECT_EQ(call(), failure) << failing;
      expect_calls(steps, failing + 1, steps[failing].first, failing);
    }
    recording.reset();
    for (const auto& [entry, behaviour] : steps) recording.script(entry, behaviour);
    EXPECT_EQ(call(), 0);
    expect_calls(steps, steps.size(), "", steps.size());
  }

 private:
  void expect_calls(const Steps& steps, std::size_t count, const std::string& failed, std::size_t failing) {
    std::vector<std::string> expected, called;
    for (std::size_t step = 0; step < count; ++step) expected.push_back(steps[step].first);
    for (const Call& call : recording.calls()) called.push_back(call.entry);
    const auto closes = std::count(called.begin(), called.end(), "KvIRegCloseKey");
    called.erase(std::remove(called.begin(), called.end(), "KvIRegCloseKey"), called.end());
    EXPECT_EQ(called, expected) << failing;
    const auto gives_a_key = [](const std::string& entry) {
      return entry == "KvIRegOpenKeyEx" || entry == "KvIRegCreateKeyEx";
    };
    const auto opened = std::count_if(expected.begin(), expected.end(), gives_a_key) - (gives_a_key(failed) ? 1 : 0);
    EXPECT_EQ(closes, opened) << failing;
    EXPECT_EQ(recording.waiting(), 0u) << failing;
  }
};

TEST_F(Failing_Tree, IsCopiedUpToTheFailureOnly) {
  const Behaviour sub_key = answer_text("name", "name_count"), sub_class = answer_text("class_name", "class_count");
  const Steps steps = {
      {"KvIRegEnumKeyEx", sub_key},
      {"KvIRegEnumKeyEx", answer(no_more)},
      {"KvIRegOpenKeyEx", answer_key(key_of(0x101))},
      {"KvIRegEnumKeyEx", answer(no_more)},
      {"KvIRegOpenKeyEx", answer_key(key_of(0x102))},
      {"KvIRegQueryInfoKey", sub_class},
      {"KvIRegQueryInfoKey", sub_class},
      {"KvIRegCreateKeyEx", answer_key(key_of(0x103))},
      {"KvIRegOpenKeyEx", answer_key(key_of(0x104))},
      {"KvIRegOpenKeyEx", answer_key(key_of(0x105))},
      {"KvIRegEnumValue", answer_named_value},
      {"KvIRegSetValueEx", answer(0)},
      {"KvIRegEnumValue", answer(no_more)},
      {"KvIRegEnumValue", answer_named_value},
      {"KvIRegSetValueEx", answer(0)},
      {"KvIRegEnumValue", answer(no_more)},
  };
  fail_each(steps, [&] { return RegCopyTreeA(key, nullptr, key_of(0x200)); });
}

TEST_F(Failing_Tree, IsNotCopiedWhenItCannotBeOpened) {
  recording.script("KvIRegOpenKeyEx", answer(failure));
  EXPECT_EQ(RegCopyTreeW(key, L"sub", key_of(0x200)), failure);
  EXPECT_EQ(entries(), "KvIRegOpenKeyEx ");
}

TEST_F(Failing_Tree, IsDeletedUpToTheFailureOnly) {
  const Steps steps = {
      {"KvIRegEnumKeyEx", answer_text("name", "name_count")},
      {"KvIRegOpenKeyEx", answer_key(key_of(0x101))},
      {"KvIRegEnumKeyEx", answer(no_more)},
      {"KvIRegDeleteKey", answer(0)},
      {"KvIRegEnumKeyEx", answer(no_more)},
      {"KvIRegEnumValue", answer_named_value},
      {"KvIRegDeleteValue", answer(0)},
      {"KvIRegEnumValue", answer(no_more)},
  };
  fail_each(steps, [&] { return RegDeleteTreeA(key, nullptr); });
}

}  // namespace
}  // namespace kvtest
