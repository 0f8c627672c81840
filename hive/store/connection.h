// One SQLite connection with everything that belongs to it: its statements, the descriptors it has open, the
// process it was opened in, its block of ids, and the first failure of the transaction at hand.
//
// SQLite may only be called while a Connection::Use lives, and by one thread at a time.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "hive/identity.h"
#include "hive/status.h"
#include "hive/store/batch_part.h"
#include "hive/store/errors.h"
#include "hive/store/growth.h"
#include "hive/store/system_calls.h"

struct sqlite3;
struct sqlite3_stmt;

namespace hive {

enum class Query {
#define QUERY(name, text) name,
#include "hive/store/queries.def"
#undef QUERY
  count
};

// Whether changes were logged, and whether the log is to be looked after.
struct Logged_Changes {
  bool any = false;
  bool cut_is_due = false;
};

class Connection {
 public:
  enum class Mode {
    shared,     // a hive among other processes; what is forbidden to write is opened for reading
    immutable,  // a hive that nobody has open for writing
    alone,      // a hive that nobody else may use meanwhile, without shared memory
    fresh,      // a file that this process has just made
    reading,    // a hive, maybe of others, that is only read: no file of it is made or changed
    memory,     // private to the process
  };

  // Opens without looking at the content. On failure *out is null and *reason is told.
  static Status open(const std::string& file, Mode mode, std::unique_ptr<Connection>* out, std::string* reason);
  // Closes. When its descriptors are no longer its own, or another process made it, without touching any.
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Around every use. Where nobody has asked before whether it is intact, each descriptor is asked when SQLite first
  // has a use for it: there is none for what lies in memory.
  class Use {
   public:
    explicit Use(Connection& connection, Recording::Kind kind = Recording::of_known_descriptors)
        : recording_(connection.descriptors_, kind) {}

   private:
    Recording recording_;
  };

  Mode mode() const { return mode_; }
  bool read_only() const { return read_only_; }
  // Opened in this process, and every descriptor is what it was. A private hive always is: a forked process
  // has a copy of it.
  bool intact() const;
  // The same but for the files' names.
  bool still_holds() const;
  // Nothing of it is touched any more, whatever its descriptors are.
  void distrust() { is_distrusted_ = true; }
  const Descriptors& descriptors() const { return descriptors_; }
  // The last closing of a hive brings its log into it and shortens it; not with this.
  void leave_log_alone();

  sqlite3* handle() { return db_; }
  // Null with a failure noted when it cannot be prepared.
  sqlite3_stmt* prepared(Query query);
  // Runs statements that are not kept; none after a failure that is noted.
  Status run_text(const char* text);

  // The first failure since it was cleared.
  void note(int code);
  void clear_failure();
  const Failure& failure() const { return failure_; }
  Status status() const { return status_of(failure_); }
  // The failure's status, or the given one when there was none.
  Status failed_or(Status otherwise) const { return failure_.code == 0 ? otherwise : status(); }

  // A number that no key and no state of a key in this hive ever had. Within a writing transaction; 0 with a
  // failure noted when there is none to be had.
  std::int64_t take_id();
  // Whether a writing transaction's ids are kept with it or forgotten.
  void keep_ids() { kept_ids_ = ids_; }
  void forget_ids() { ids_ = kept_ids_; }

  // A writing transaction that stays open from operation to operation, as a batch's part.
  void begin_batch(std::shared_ptr<const Batch_Part> part);
  void end_batch() { part_ = nullptr; }
  bool is_in_batch() const { return part_ != nullptr; }
  // The part in which the number was taken, so that it is given out anew when the part is lost; null for any other.
  std::shared_ptr<const Batch_Part> part_of(std::int64_t number) const;
  // Whether rows were changed, and not taken back by a savepoint.
  void mark_changes();
  bool changed_since_mark() const;

  // All of a private hive; and what such a hive is to hold. Outside of transactions.
  std::unique_ptr<std::vector<unsigned char>> content() const;
  Status take_content(const std::vector<unsigned char>& content);

  // What a writing transaction changes, for those who hold copies of it: the keys by their numbers, as long as
  // they are few. A transaction that notes nothing is taken to have changed everything.
  void note_changed(std::int64_t key);
  void note_all_changed() { all_changed_ = true; }
  void note_no_key_changed() { note_changed(0); }
  void forget_changes();
  bool changed_all() const { return all_changed_ || changed_keys_.empty(); }
  const std::vector<std::int64_t>& changed_keys() const { return changed_keys_; }

  // Whether what a reading transaction finds may be kept in memory, and under which numbers.
  struct Keeping {
    bool allowed = false;
    std::uint64_t hive = 0;
    std::uint64_t generation = 0;
  };
  Keeping keeping;

  // What a new sub-key needs to know of the key above it.
  struct Parent {
    std::int64_t key = 0;  // 0: of none
    bool is_volatile = false;
    std::uint32_t children = 0;
    std::uint32_t max_child_units = 0;
    std::uint32_t max_class_units = 0;
    std::uint32_t mode = 0;
    std::uint32_t owner = 0;
    std::uint32_t group = 0;
  };

  // Facts that hold as long as nobody else commits and this connection does not change them.
  struct Known {
    std::uint64_t commits_of_others = 0;  // as the hive's coherence counts them
    bool number_is_raised = false;
    bool is_unwatched = false;
    std::int64_t key_of_depth = 0;  // whose depth is known
    int depth = 0;
    Parent parent;  // below which the last sub-key was made
  };
  Known known;

  // What a batch has put off, see there.
  Growth growth;

  // How many frames the log had after the last commit of this connection; negative when it has written none since
  // the transaction began.
  std::int64_t frames_committed() const { return frames_committed_; }

  // After a writing transaction: what SQLite does by itself where nobody is told of commits.
  void shorten_log_if_due();

  // Of the hive that this connection is to; known before the first operation on its content.
  Hive_Identity identity{};

  // What the transaction at hand has added to the log of changes, see hive/watch/change_log.h.
  Logged_Changes logged;

  // Tells this connection from every other of the process.
  std::uint64_t serial() const { return serial_; }

  // Volatile keys of an earlier run of the machine are still in the hive and must not be shown.
  bool shows_volatile = true;

 private:
  struct Id_Block {
    std::int64_t next = 0;
    std::int64_t end = 0;
  };

  friend class Savepoint;

  Connection() = default;
  Status set_up(std::string* reason);
  void finalize();
  static int note_commit(void* connection, sqlite3* database, const char* name, int frames);
  void abandon();
  bool is_of_this_process() const;

  sqlite3* db_ = nullptr;
  sqlite3_stmt* statements_[static_cast<int>(Query::count)] = {};
  Descriptors descriptors_;
  Failure failure_;
  Id_Block ids_;
  Id_Block kept_ids_;
  Id_Block ids_before_batch_;
  std::int64_t first_block_of_batch_ = 0;  // 0: none was taken yet
  std::shared_ptr<const Batch_Part> part_;
  std::int64_t marked_changes_ = 0;
  std::vector<std::int64_t> changed_keys_;
  bool all_changed_ = false;
  std::uint64_t serial_ = 0;
  std::int64_t frames_committed_ = -1;
  pid_t process_ = 0;
  int process_number_ = 0;
  Mode mode_ = Mode::shared;
  bool read_only_ = false;
  bool is_distrusted_ = false;
};

}  // namespace hive
