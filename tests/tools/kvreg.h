// Runs the built kvreg on a registry of each test's own.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/support/child.h"
#include "tests/tools/test_registry.h"

class Kvreg : public testing::Test {
 protected:
  // kvreg with these arguments; nobody is at its standard input.
  kvtest::Child_Result run(const std::vector<std::string>& arguments) const {
    std::vector<std::string> argv = {KVTEST_KVREG};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    return kvtest::run_program(argv, environment());
  }

  // The same, which must succeed in silence on standard error; its output.
  std::string out(const std::vector<std::string>& arguments) const {
    const kvtest::Child_Result result = run(arguments);
    EXPECT_EQ(result.exit_status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return result.out;
  }

  // The same, which must fail with this status and tell nothing on standard output; its complaint.
  std::string complaint(const std::vector<std::string>& arguments, int status = 1) const {
    const kvtest::Child_Result result = run(arguments);
    EXPECT_EQ(result.exit_status, status) << result.err;
    EXPECT_EQ(result.out, "");
    return result.err;
  }

  void add(const std::string& key, const std::string& name, const std::string& data) const {
    EXPECT_EQ(out({"add", key, "/v", name, "/d", data, "/f"}), done);
  }

  std::vector<std::string> environment() const { return registry_.environment(); }
  std::string machine_file() const { return registry_.machine_file(); }
  std::string file(const std::string& name) const { return registry_.file(name); }

  static std::string content(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
  }
  static void write(const std::string& file, const std::string& text) { std::ofstream(file, std::ios::binary) << text; }

  static constexpr const char* done = "The operation completed successfully.\n";

 private:
  Test_Registry registry_;
};
