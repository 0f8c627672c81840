// How a child of these tests chooses its registry, and how what it left is read. Modes, flags and heaps are
// settled once in a process, so each test runs its calls in a child.
#ifndef KELVANE_TESTS_BOOTSTRAP_IN_CHILD_H
#define KELVANE_TESTS_BOOTSTRAP_IN_CHILD_H

#include <stdlib.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <stdexcept>
#include <string>

#include <kelvane/advapi32.h>

#include "tests/bootstrap/doubles.h"
#include "tests/recording_impl/recording.h"
#include "tests/support/child.h"

namespace kvtest {

// In a child: the registry's mode and the folder of its implementation libraries.
inline void choose_registry(const char* mode, const std::string& folder) {
  setenv("KVREGISTRY_MODE", mode, 1);
  setenv("KVMODULE_PATH", folder.c_str(), 1);
}

inline void choose_witness(const char* mode, const char* folder = "whole") {
  choose_registry(mode, std::string(KVTEST_WITNESS_FOLDER "/") + folder);
}

// In a child: the recording library in this process, before the library is started.
inline kvrecording::Control& choose_recording() {
  choose_registry("1", KV_RECORDING_FOLDER);
  kvrecording::Control* control = kvrecording::control_of(LoadLibraryA("advapi32impl.dll"));
  if (control == nullptr) throw std::runtime_error("advapi32impl.dll is not the recording library");
  return *control;
}

inline std::string content_of(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

inline void write_file(const std::string& file, const std::string& content) {
  std::ofstream(file, std::ios::binary) << content;
}

// The text with the local time of every log record replaced by "TIME".
inline std::string without_times(const std::string& text) {
  return std::regex_replace(text, std::regex("[0-3][0-9]/[01][0-9] [0-2][0-9]:[0-5][0-9]:[0-6][0-9]"), "TIME");
}

}  // namespace kvtest

#endif
