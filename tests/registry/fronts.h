// The fixture of the tests of the registry fronts: the real libadvapi32, its table bound to the recording
// implementation library. A test scripts what an entry answers, calls a published function and looks at what
// crossed the table.
//
// Around each test: the log is empty before it, and after it every scripted answer was taken and the last
// error is what it was.
#ifndef KELVANE_TESTS_REGISTRY_FRONTS_H
#define KELVANE_TESTS_REGISTRY_FRONTS_H

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

#include <kelvane/advapi32.h>
#include <windows.h>

#include "tests/recording_impl/recording.h"
#include "tests/registry/doubles.h"
#include "tests/registry/guarded_page.h"

namespace kvtest {

using kvrecording::Behaviour;
using kvrecording::Call;
using namespace std::string_literals;

// Sets up this process for the recording library and binds the table, once.
inline kvrecording::Control& bound_recording() {
  static kvrecording::Control* control = [] {
    setenv("LC_ALL", "C.UTF-8", 1);
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

inline HKEY key_of(std::uint64_t value) { return reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(value)); }

inline std::uint64_t number_of(const volatile void* pointer) { return reinterpret_cast<std::uintptr_t>(pointer); }

// A pointer that faults when it is followed, to show that it is only handed on.
template <class T>
T* unreadable(std::uintptr_t number) {
  return reinterpret_cast<T*>(number);
}

// A plain answer.
inline Behaviour answer(std::uint64_t code) {
  return [code](const Call&) { return code; };
}

// An answer with empty outputs: every count that was given is 0, and the type is REG_BINARY.
inline Behaviour answer_empty(std::uint64_t code) {
  return [code](const Call& call) {
    for (const kvrecording::Argument& argument : call.arguments) {
      if (argument.has_count) call.store<DWORD>(argument.name.c_str(), 0);
      if (argument.name == "out_type") call.store<DWORD>("out_type", REG_BINARY);
    }
    return code;
  };
}

// A key is opened or created.
inline Behaviour answer_key(HKEY key) {
  return [key](const Call& call) {
    call.store("out_key", key);
    return 0;
  };
}

// A value entry that tells type and size and delivers the bytes, whatever the room.
inline Behaviour answer_value(std::uint64_t code, DWORD type, const std::string& bytes) {
  return [=](const Call& call) {
    call.store("out_type", type);
    call.store<DWORD>("data_size", static_cast<DWORD>(bytes.size()));
    call.write("data", bytes);
    return code;
  };
}

// A value entry that tells type and size only, as one does when the room is too small.
inline Behaviour answer_value_size(std::uint64_t code, DWORD type, DWORD size) {
  return [=](const Call& call) {
    call.store("out_type", type);
    call.store("data_size", size);
    return code;
  };
}

// "hello" with its terminator as it crosses the table.
inline const std::string stored_hello = "\0h\0e\0l\0l\0o\0\0"s;

class Fronts : public ::testing::Test {
 protected:
  Fronts() : recording(bound_recording()) {
    recording.reset();
    reported_names().clear();
    guarded_regions().clear();
    SetLastError(0x5A5A);
  }

  void TearDown() override {
    EXPECT_EQ(GetLastError(), 0x5A5Au);
    EXPECT_EQ(recording.waiting(), 0u);
  }

  // The names of the entries that were called, in order, with a blank behind each.
  std::string entries() const {
    std::string names;
    for (const Call& call : recording.calls()) names += call.entry + " ";
    return names;
  }

  // The call at this place in the log; the test fails when there are fewer.
  Call call(std::size_t index = 0) const {
    const auto calls = recording.calls();
    if (index >= calls.size()) throw std::out_of_range("only " + std::to_string(calls.size()) + " calls");
    return calls[index];
  }

  kvrecording::Control& recording;
  const HKEY key = key_of(0x1122334455667788);
};

}  // namespace kvtest

#endif
