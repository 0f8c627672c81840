#include "regss/settings.h"

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string_view>

#include "regss/log.h"

namespace regss {
namespace {

constexpr char machine_settings[] = "/etc/kelvane.conf";
constexpr char user_settings[] = "/.kv/regss.conf";
constexpr unsigned usual_user_idle = 300;
constexpr std::string_view white_space = " \t\r\n\v\f";

struct Lines {
  std::optional<std::string> core_data, log_level, idle_seconds;
};

void keep_first(std::string_view line, std::string_view name, std::optional<std::string>& place) {
  if (place || line.substr(0, name.size()) != name) return;
  line.remove_prefix(name.size());
  line.remove_prefix(std::min(line.find_first_not_of(white_space), line.size()));
  const std::string_view value = line.substr(0, line.find_first_of(white_space));
  if (!value.empty()) place = value;
}

bool read_lines(const std::string& file, Lines* out_lines, std::string* out_reason) {
  errno = 0;
  std::ifstream stream(file);
  if (!stream) {
    if (errno == ENOENT) return true;
    *out_reason = file + " cannot be read: " + std::strerror(errno);
    return false;
  }
  for (std::string line; std::getline(stream, line);) {
    keep_first(line, "CORE_DATA=", out_lines->core_data);
    keep_first(line, "LOG_LEVEL=", out_lines->log_level);
    keep_first(line, "IDLE_SECONDS=", out_lines->idle_seconds);
  }
  return true;
}

template <class Number>
bool parse(const std::optional<std::string>& text, Number highest, Number* number) {
  if (!text) return true;
  const char* const end = text->data() + text->size();
  const auto result = std::from_chars(text->data(), end, *number);
  return result.ec == std::errc() && result.ptr == end && *number <= highest && *number >= Number{0};
}

}  // namespace

std::string settings_file(const Options& options) {
  if (!options.settings.empty()) return options.settings;
  if (options.machine_wide) return machine_settings;
  const char* const home = std::getenv("HOME");
  return home != nullptr && *home != '\0' ? std::string(home) + user_settings : std::string();
}

bool read_settings(const Options& options, Settings* out_settings, std::string* out_reason) {
  const std::string file = settings_file(options);
  Lines lines;
  if (!file.empty() && !read_lines(file, &lines, out_reason)) return false;
  Settings found{lines.core_data.value_or(""), usual_level, options.machine_wide ? 0 : usual_user_idle};
  if (!parse(lines.log_level, highest_level, &found.log_level)) {
    *out_reason = file + ": LOG_LEVEL=" + *lines.log_level + " is no level from 0 to 2";
    return false;
  }
  if (!parse(lines.idle_seconds, max_idle_seconds, &found.idle_seconds)) {
    *out_reason = file + ": IDLE_SECONDS=" + *lines.idle_seconds + " is no number of seconds";
    return false;
  }
  if (!options.core_data.empty()) found.core_data = options.core_data;
  if (options.log_level) found.log_level = *options.log_level;
  if (options.idle_seconds) found.idle_seconds = *options.idle_seconds;
  *out_settings = found;
  return true;
}

}  // namespace regss
