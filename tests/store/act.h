// Runs store_act, a ported program that does the steps it is given (see act.cpp), as a process of its own.
#ifndef KELVANE_TESTS_STORE_ACT_H
#define KELVANE_TESTS_STORE_ACT_H

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/support/child.h"

namespace kvtest {

using Step = std::vector<std::string>;

inline std::vector<std::string> act_arguments(const std::vector<Step>& steps) {
  std::vector<std::string> arguments = {KVTEST_ACT};
  for (const Step& step : steps) {
    if (arguments.size() > 1) arguments.emplace_back(",");
    arguments.insert(arguments.end(), step.begin(), step.end());
  }
  return arguments;
}

inline Child_Result act(const std::vector<Step>& steps, const std::vector<std::string>& environment = {}) {
  return run_program(act_arguments(steps), environment);
}

// A program that ended well, answered this for its steps, and wrote nothing else.
inline testing::AssertionResult answered(const Child_Result& result, const std::string& lines) {
  if (result.exit_status == 0 && result.out == lines && result.err.empty()) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "status " << result.exit_status << ", signal " << result.signal << "\noutput:\n"
                                     << result.out << "expected:\n"
                                     << lines << "errors:\n"
                                     << result.err;
}

inline std::string content_of(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}
inline void write_file(const std::string& file, const std::string& content) {
  std::ofstream(file, std::ios::binary | std::ios::trunc) << content;
}

}  // namespace kvtest

#endif
