#include "hive/store/flush.h"

#include <sqlite3.h>

namespace hive {

// RESTART and never TRUNCATE: the log does not become empty.
Status flush_to_disk(Connection& connection) {
  if (connection.read_only() || connection.mode() == Connection::Mode::memory) return Status::ok;
  int code = sqlite3_wal_checkpoint_v2(connection.handle(), "main", SQLITE_CHECKPOINT_RESTART, nullptr, nullptr);
  if (code != SQLITE_OK && code != SQLITE_BUSY) connection.note(code);
  if (code == SQLITE_BUSY && !connection.descriptors().sync()) connection.note(SQLITE_IOERR_FSYNC);
  return connection.status();
}

}  // namespace hive
