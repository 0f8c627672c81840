#include "impl/client/this_program.h"

#include <limits.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace impl::client {
namespace {

wire::Bytes bytes_of(const std::string& text) {
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

std::string host_name() {
  char name[HOST_NAME_MAX + 1] = {};
  return gethostname(name, sizeof name - 1) == 0 ? name : "";
}

}  // namespace

wire::Bytes bytes_of_program() {
  static const std::string& program = *new std::string(program_invocation_short_name);
  return bytes_of(program);
}

wire::Bytes bytes_of_host() {
  static const std::string& host = *new std::string(host_name());
  return bytes_of(host);
}

}  // namespace impl::client
