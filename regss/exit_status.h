// How regss ends; its help tells the same.
#pragma once

namespace regss {

inline constexpr int ended = 0;
inline constexpr int could_not_serve = 1;
inline constexpr int wrong_command_line = 2;
inline constexpr int served_already = 3;

}  // namespace regss
