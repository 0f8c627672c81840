// From the arguments of the program to the exit status: finds the verb, lets it read its arguments and run, and tells
// on standard error what went wrong.
#pragma once

#include <string>
#include <vector>

namespace kvreg {

int run_command_line(const std::vector<std::string>& arguments);

}  // namespace kvreg
