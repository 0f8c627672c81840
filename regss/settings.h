// Settings that lie in a file, a line each; other lines are not read:
//
//   CORE_DATA=folder      of the machine-wide server
//   LOG_LEVEL=n           0 to 2
//   IDLE_SECONDS=n        0: never
//
// A value ends at the first white space. Of several lines the first counts.
#pragma once

#include <optional>
#include <string>

#include "regss/options.h"

namespace regss {

struct Settings {
  std::string core_data;
  int log_level = 0;
  unsigned idle_seconds = 0;
};

// The file with these options over it. A file that is missing has no lines. False with the reason when a line's value
// is none, or the file cannot be read.
bool read_settings(const Options& options, Settings* out_settings, std::string* out_reason);

// The file's name: "/etc/kelvane.conf", or "regss.conf" in the user's "~/.kv"; "" without HOME.
std::string settings_file(const Options& options);

}  // namespace regss
