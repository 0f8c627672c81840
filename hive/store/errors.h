// The one place that knows what SQLite's and the system's errors mean for a hive.
#pragma once

#include <string>
#include <string_view>

#include "hive/status.h"

namespace hive {

// How a call failed: SQLite's extended result code, and errno when the system was the reason.
struct Failure {
  int code = 0;
  int system = 0;
};

Status status_of(const Failure& failure);
Status status_of_errno(int error);

// For the line that is written about a hive: what a status means, and what lies behind it.
std::string text_of(Status status);
std::string text_of(const Failure& failure);
std::string text_of_errno(int error);
// A message of SQLite's about the structure of a file, without its heading and on one line.
std::string one_line(std::string_view message);

}  // namespace hive
