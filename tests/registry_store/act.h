// Runs the ported program of act.cpp with hives in a folder, as a process of its own.
#ifndef KELVANE_TESTS_REGISTRY_STORE_ACT_H
#define KELVANE_TESTS_REGISTRY_STORE_ACT_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/child.h"

namespace kvtest {

// The variables that put the hives of a process into a folder.
inline std::vector<std::string> hives_in(const std::string& folder) {
  return {"KVREGISTRY=" + folder + "/hklm.bin:" + folder + "/hkcu.bin", "KVCORE_PRIVATE_DATA=" + folder + "/core"};
}

// The steps are separated by blanks and "," stands between two.
inline std::vector<std::string> act_arguments(const std::string& steps) {
  std::vector<std::string> arguments = {KVTEST_ACT};
  std::size_t start = 0;
  while (start <= steps.size()) {
    const std::size_t end = std::min(steps.find(' ', start), steps.size());
    arguments.push_back(steps.substr(start, end - start));
    start = end + 1;
  }
  return arguments;
}

// What the steps printed, with what went wrong behind it.
inline std::string act(const std::string& steps, const std::vector<std::string>& environment) {
  const Child_Result result = run_program(act_arguments(steps), environment);
  return result.out + result.err + (result.exit_status == 0 ? "" : "status " + std::to_string(result.exit_status));
}

}  // namespace kvtest

#endif
