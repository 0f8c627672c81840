// How an operation on the registry's storage ended. The edge of each implementation library maps these to
// Win32 codes, in one place.
#pragma once

namespace hive {

enum class Status {
  ok,
  more_data,         // the room given is too small; the size needed is told
  no_more_items,     // an index past the last
  not_found,         // no such key or value
  denied,            // the file, or later the key, does not allow it
  invalid,           // an argument that no registry has: too long a name or class, too deep a key
  has_children,      // a key with sub-keys is not deleted
  key_deleted,       // the key of this handle is gone
  must_be_volatile,  // a lasting key below a volatile one
  too_large,         // a value above the limit
  exists,            // the file to be written stands already
  busy,              // another process held the hive for longer than the time-out
  disk_full,
  damaged,        // the hive's content does not hold together
  not_a_hive,     // the file is something else
  newer_version,  // a hive of a later version of this library, left alone
  io_failed,
  no_memory,
  unsupported,
  no_batch,    // the thread has none
  in_batch,    // the thread has one, in which this cannot be done
  batch_lost,  // the thread's batch was abandoned, and nothing of it stays
  not_tried,   // given up since something before it had failed
};

}  // namespace hive
