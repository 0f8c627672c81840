// A hive file that is not one of the registry's own, such as a saved key or a backup: it is read and never changed,
// nor is anything made beside it. A log beside it counts. Where the log has no index, as beside a copy, a copy of
// both in the temporary directory is read instead.
#pragma once

#include <memory>
#include <string>

#include "hive/store/connection.h"
#include "hive/store/transaction.h"

namespace hive {

class Foreign_Hive {
 public:
  Foreign_Hive() = default;
  ~Foreign_Hive();
  Foreign_Hive(const Foreign_Hive&) = delete;
  Foreign_Hive& operator=(const Foreign_Hive&) = delete;

  // Looks at the file; before anything else, and without a hive's mutex. not_found, denied, not_a_hive,
  // newer_version; busy when this process uses it as a hive of its registry.
  Status find(const std::string& file);
  // Runs a reading transaction on it, with the mutex of some hive held. A file that was never finished is damaged.
  Status read(Transaction_Body body, std::string* reason);

 private:
  Status look(const std::string& file);
  Status copy(const std::string& file);

  std::string file_;
  std::string copy_folder_;  // empty: the file itself is read
  Connection::Mode mode_ = Connection::Mode::reading;
};

}  // namespace hive
