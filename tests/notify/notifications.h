// The recording implementation library behind the table, and the events of input idle by their literal names.
#ifndef KELVANE_TESTS_NOTIFY_NOTIFICATIONS_H
#define KELVANE_TESTS_NOTIFY_NOTIFICATIONS_H

#include <gtest/gtest.h>
#include <kelvane/advapi32.h>
#include <kelvane/notify.h>
#include <stdlib.h>
#include <unistd.h>
#include <windows.h>

#include <cstdio>
#include <filesystem>
#include <set>
#include <stdexcept>
#include <string>

#include "tests/recording_impl/recording.h"

namespace kvtest {

inline kvrecording::Control& bound_recording() {
  static kvrecording::Control* const control = [] {
    setenv("KVMODULE_PATH", KV_RECORDING_FOLDER, 1);
    setenv("KVREGISTRY_MODE", "1", 1);
    HMODULE library = LoadLibraryA("advapi32impl.dll");
    KvRegInitializeWrappers(library, "advapi32impl.dll");
    kvrecording::Control* const found = kvrecording::control_of(library);
    if (found == nullptr) throw std::runtime_error("advapi32impl.dll is not the recording library");
    return found;
  }();
  return *control;
}

// "KvIRequestNotification 12 0 1; ..." with every argument as a signed 32-bit number, pointers as they are.
inline std::string written_calls() {
  std::string text;
  for (const kvrecording::Call& call : bound_recording().calls()) {
    text += text.empty() ? call.entry : "; " + call.entry;
    for (const kvrecording::Argument& argument : call.arguments) {
      const bool pointer = argument.name == "data";
      text += " " + (pointer ? std::to_string(argument.raw) : std::to_string(static_cast<int>(argument.raw)));
    }
  }
  return text;
}

inline std::string idle_event_name(int pid) {
  char name[64];
  std::snprintf(name, sizeof name, "Kv__WaitForInputIdleEvent_%08x", static_cast<unsigned>(pid));
  return name;
}

// "set" or "clear" as the event stands, "none" when nobody has it.
inline std::string state_of_event(const std::string& name) {
  const HANDLE event = OpenEventA(SYNCHRONIZE, FALSE, name.c_str());
  if (event == nullptr) return "none";
  const DWORD state = WaitForSingleObject(event, 0);
  CloseHandle(event);
  return state == WAIT_OBJECT_0 ? "set" : "clear";
}
inline std::string idle_state_of(int pid) { return state_of_event(idle_event_name(pid)); }

inline HANDLE open_process(pid_t pid, DWORD access = SYNCHRONIZE) {
  return OpenProcess(access, FALSE, static_cast<DWORD>(pid));
}

inline std::size_t descriptor_count() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

// Each test begins with an empty log and no scripted answer, and takes all that it scripts.
class Notifications : public testing::Test {
 protected:
  Notifications() : recording(bound_recording()) { recording.reset(); }
  ~Notifications() override { EXPECT_EQ(recording.waiting(), 0u); }

  void answer(const char* entry, int result) {
    recording.script(entry, [result](const kvrecording::Call&) { return static_cast<std::uint64_t>(result); });
  }

  kvrecording::Control& recording;
};

}  // namespace kvtest

#endif
