#include "impl/inproc/this_host.h"

#include <limits.h>
#include <unistd.h>

#include <algorithm>

namespace impl {
namespace {

char16_t lower_ascii(char16_t unit) { return unit >= u'A' && unit <= u'Z' ? unit + (u'a' - u'A') : unit; }

bool same_name(std::u16string_view machine, std::string_view host) {
  return std::equal(machine.begin(), machine.end(), host.begin(), host.end(), [](char16_t unit, char byte) {
    return lower_ascii(unit) == lower_ascii(static_cast<unsigned char>(byte));
  });
}

}  // namespace

bool is_this_host(std::u16string_view machine) {
  machine.remove_prefix(std::min(machine.find_first_not_of(u'\\'), machine.size()));
  if (machine.empty()) return true;
  char name[HOST_NAME_MAX + 1] = {};
  if (gethostname(name, sizeof name - 1) != 0) return false;
  const std::string_view host(name);
  return same_name(machine, host) || same_name(machine, host.substr(0, host.find('.')));
}

}  // namespace impl
