// Short forms for tests of events, and what can be seen of them outside.
#ifndef KELVANE_TESTS_KERNEL32_SYNC_EVENTS_H
#define KELVANE_TESTS_KERNEL32_SYNC_EVENTS_H

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <winbase.h>

#include <filesystem>
#include <set>
#include <string>

namespace kvtest {

inline HANDLE current_process() { return reinterpret_cast<HANDLE>(INT_PTR{-1}); }

inline HANDLE make_event(bool manual_reset, bool signalled, const char* name = nullptr) {
  return CreateEventA(nullptr, manual_reset ? TRUE : FALSE, signalled ? TRUE : FALSE, name);
}

inline HANDLE open_event(const char* name, DWORD access = EVENT_ALL_ACCESS) { return OpenEventA(access, FALSE, name); }

// A look at an object: 0, or 258 when it is not signalled.
inline DWORD look_at(HANDLE object) { return WaitForSingleObject(object, 0); }

// The folder of this user's events.
inline std::filesystem::path event_folder() {
  return std::filesystem::temp_directory_path() / ("kv-events-" + std::to_string(geteuid()));
}

// What lies in it, however deep.
inline std::set<std::string> event_files() {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(event_folder())) {
    names.insert(std::filesystem::relative(entry.path(), event_folder()).string());
  }
  return names;
}

inline std::set<std::string> open_descriptors() {
  std::set<std::string> numbers;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    numbers.insert(entry.path().filename().string());
  }
  // The look's own is closed by now.
  std::erase_if(numbers, [](const std::string& number) { return fcntl(std::stoi(number), F_GETFD) == -1; });
  return numbers;
}

// Events with and without a name do the same: each such test runs with both.
class Any_Event : public testing::TestWithParam<const char*> {
 protected:
  HANDLE made(bool manual_reset, bool signalled) {
    const HANDLE event = make_event(manual_reset, signalled, GetParam());
    EXPECT_NE(event, nullptr);
    return event;
  }
};

inline std::string name_of_kind(const testing::TestParamInfo<const char*>& info) {
  return info.param == nullptr ? "Unnamed" : "Named";
}

}  // namespace kvtest

#endif
