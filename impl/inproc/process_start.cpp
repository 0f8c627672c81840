// The 22nd field of the process's "stat" file, the 20th behind the name, which may hold anything.
#include "impl/inproc/process_start.h"

#include <sstream>

#include "impl/inproc/whole_file.h"

namespace impl {
namespace {

constexpr int fields_before_start = 19;

}  // namespace

std::string start_of_process(pid_t pid) {
  const std::string all = content_of("/proc/" + std::to_string(pid) + "/stat").value_or("");
  const std::size_t name_end = all.rfind(')');
  if (name_end == all.npos) return "";
  std::istringstream fields(all.substr(name_end + 1));
  std::string field;
  for (int i = 0; i < fields_before_start; ++i) fields >> field;
  fields >> field;
  return field;
}

}  // namespace impl
