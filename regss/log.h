// What regss says: lines on standard error, with their priority where that is the journal; in the background lines of
// the registry's log. Any thread may say something at any time.
#pragma once

#include <string>

namespace regss {

inline constexpr int lowest_level = 0;   // why it cannot serve
inline constexpr int usual_level = 1;    // what happens to the server
inline constexpr int highest_level = 2;  // every step

// Lines above the level are dropped.
void set_log_level(int level);

// From now on into the registry's log.
void log_in_background();

void say(int level, const std::string& line);

}  // namespace regss
