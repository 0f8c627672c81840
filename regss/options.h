// The command line of regss.
#pragma once

#include <optional>
#include <string>

namespace regss {

inline constexpr unsigned max_idle_seconds = 365 * 24 * 3600;

struct Options {
  bool machine_wide = false;
  std::string core_data;  // of the machine-wide server; empty: as the settings say
  std::string settings;   // file; empty: the usual one
  std::optional<int> log_level;
  std::optional<unsigned> idle_seconds;
  bool check = false;
  bool background = false;
  int lock_descriptor = -1;      // of a lock of start-up that was handed over
  std::string port_to_announce;  // not empty: write the endpoint file and end
};

// False when the program is to end with *out_status: it was asked for help or its version, which stand on standard
// output, or the command line is wrong, which stands on standard error.
bool read_options(int count, char** words, Options* out_options, int* out_status);

}  // namespace regss
