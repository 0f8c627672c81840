// A name without suffix has the published default, ".dll".
#include "kernel32/module/windows_name.h"

#include <strings.h>

#include "kernel32/module/search.h"

namespace {

bool same_without_case(std::string_view first, std::string_view second) {
  return first.size() == second.size() && strncasecmp(first.data(), second.data(), first.size()) == 0;
}

constexpr std::string_view suffix = ".dll";

std::string_view without_suffix(std::string_view name) {
  const bool has_suffix =
      name.size() > suffix.size() && same_without_case(name.substr(name.size() - suffix.size()), suffix);
  return has_suffix ? name.substr(0, name.size() - suffix.size()) : name;
}

}  // namespace

bool kelvane::is_windows_name_of(std::string_view name, std::string_view file) {
  if (name.find('/') != name.npos) return name == file;
  if (name.empty()) return false;
  const std::string_view base = file.substr(file.rfind('/') + 1);
  const std::string stem(without_suffix(name));
  return same_without_case(base, name) || same_without_case(base, stem + std::string(suffix)) ||
         same_without_case(base, "lib" + stem + ".so");
}

std::string kelvane::own_library(std::string_view name) {
  for (const char* ours : {"libkernel32.so", "libadvapi32.so"}) {
    if (name.find('/') == name.npos && is_windows_name_of(name, ours)) return library_folder() + ours;
  }
  return "";
}
