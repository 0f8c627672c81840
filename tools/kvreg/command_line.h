// From the arguments of the program to the exit status: finds the verb, lets it read its arguments and run, and tells
// on standard error what went wrong.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace kvreg {

int run_command_line(const std::vector<std::string>& arguments);

// Runs a body and turns what it throws into a line, which begins with who complains, and a status.
int guarded_run(const std::string& who, const std::function<int()>& body);

}  // namespace kvreg
