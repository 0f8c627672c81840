#include "hive/store/version.h"

#include "hive/store/rows.h"

namespace hive {

std::uint32_t stored_version(Connection& connection) {
  Rows version(connection, "PRAGMA user_version");
  return version.next() ? static_cast<std::uint32_t>(version.number(0)) : 0;
}

std::string newer_version_text() { return "this library knows versions up to " + std::to_string(schema_version); }

Status bring_up_to_date(Connection& connection, Schema_Steps steps) {
  const std::uint32_t version = stored_version(connection);
  if (version == 0 || version > steps.size()) return connection.status();
  for (const char* step : steps.subspan(version - 1)) connection.run_text(step);
  const std::string newest = std::to_string(1 + steps.size());
  return connection.run_text(("PRAGMA user_version = " + newest).c_str());
}

}  // namespace hive
