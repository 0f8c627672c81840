#include "hive/boot.h"

#include <fcntl.h>
#include <unistd.h>

#include <vector>

#include "hive/keys.h"
#include "hive/store/meta.h"
#include "hive/store/statement.h"

namespace hive {
namespace {

constexpr const char* boot_identity_file = "/proc/sys/kernel/random/boot_id";
// Where the system does not tell, every run looks the same.
constexpr const char* unknown_boot = "unknown";

std::string read_boot_identity() {
  char text[64];
  int fd = above_standard(open(boot_identity_file, O_RDONLY | O_CLOEXEC));
  if (fd < 0) return unknown_boot;
  ssize_t size = read(fd, text, sizeof text);
  close(fd);
  while (size > 0 && text[size - 1] == '\n') --size;
  return size > 0 ? std::string(text, static_cast<std::size_t>(size)) : unknown_boot;
}

std::string& known_boot_identity() {
  static std::string& identity = *new std::string(read_boot_identity());
  return identity;
}

std::vector<std::int64_t> parents_of_stale_keys(Connection& connection) {
  std::vector<std::int64_t> parents;
  Statement find(connection, Query::parents_of_stale);
  find.bind(1, boot_identity());
  while (find.row()) parents.push_back(find.number(0));
  return parents;
}

}  // namespace

const std::string& boot_identity() { return known_boot_identity(); }

void assume_boot_identity(const std::string& identity) { known_boot_identity() = identity; }

Status remove_stale_keys(Connection& connection) {
  if (meta_text(connection, "boot") == boot_identity()) return connection.status();
  std::vector<std::int64_t> parents = parents_of_stale_keys(connection);
  Statement(connection, Query::drop_large_of_stale).bind(1, boot_identity()).run();
  Statement(connection, Query::drop_stale).bind(1, boot_identity()).run();
  for (std::int64_t parent : parents) count_children_anew(connection, parent);
  return set_meta(connection, "boot", boot_identity());
}

}  // namespace hive
