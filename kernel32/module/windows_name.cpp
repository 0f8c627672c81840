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

// A library's file name without the number of its binary interface: "libadvapi32.so" of "libadvapi32.so.1".
std::string_view without_interface_number(std::string_view file) {
  const std::size_t digits = file.find_last_not_of("0123456789") + 1;
  constexpr std::string_view library_end = ".so.";
  const bool is_numbered = digits < file.size() && file.substr(0, digits).ends_with(library_end);
  return is_numbered ? file.substr(0, digits - 1) : file;
}

}  // namespace

bool kelvane::is_windows_name_of(std::string_view name, std::string_view file) {
  if (name.find('/') != name.npos) return name == file;
  if (name.empty()) return false;
  const std::string_view base = file.substr(file.rfind('/') + 1);
  const std::string_view library = without_interface_number(base);
  const std::string stem(without_suffix(name));
  return same_without_case(base, name) || same_without_case(library, name) ||
         same_without_case(base, stem + std::string(suffix)) || same_without_case(library, "lib" + stem + ".so");
}

std::string kelvane::own_library(std::string_view name) {
  for (const char* ours : {"libkernel32.so." KV_INTERFACE_NUMBER, "libadvapi32.so." KV_INTERFACE_NUMBER}) {
    if (name.find('/') == name.npos && is_windows_name_of(name, ours)) return library_folder() + ours;
  }
  return "";
}
