// One hive file as this process has it: told from others by device and inode, whatever path led to it. One
// connection behind a mutex, opened at need and opened anew whenever it cannot be trusted any more. A private
// hive has no file. Stores are immortal: once known, a file's Store is there for every later opener.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "hive/cache/coherence.h"
#include "hive/store/connection.h"
#include "hive/store/presence.h"
#include "hive/store/queue.h"
#include "hive/store/schema.h"
#include "hive/store/transaction.h"
#include "hive/store/unclean_end.h"
#include "hive/store/version.h"

namespace hive {

// Whether the names of a hive's files still stand for those that are open.
enum class Names {
  to_be_asked,
  right,  // they were asked, and do
  known,  // to do: nothing is to be asked
};

// What came up while a hive was used: why it could not be (empty when it could), and lines to be said about
// it once no mutex is held.
struct Findings {
  Names names = Names::to_be_asked;  // as the caller knows them; to_be_asked becomes right
  std::string reason;
  std::vector<std::string> lines;
  Logged_Changes logged;  // by the transaction, if it was kept
};

// What a hive is made with, and what it is given before its first use.
struct Hive_Traits {
  mode_t file_mode = 0600;
  mode_t root_mode = 0700;
  bool counts_changes = false;  // images are made of it
  // Whether fill has something to do; in a reading transaction.
  std::function<bool(Connection&)> incomplete;
  // Puts in what the hive starts with; in a writing transaction.
  std::function<Status(Connection&, Findings& findings)> fill;
  // Told of every opening of the hive's file; null for a hive of which nobody must be alone.
  std::shared_ptr<Presence> presence = nullptr;
  Schema_Steps steps = schema_steps;  // to the newest version of its tables
};

class Store {
 public:
  // Every Store there is, in a fixed order. With the opening mutex held.
  static const std::vector<Store*>& all();

  // The Store of a file, which is this path's real one, or a private one; the caller is counted as a user.
  // With the opening mutex held.
  static Store* attach(const File_Identity& identity, const std::string& file, mode_t file_mode);
  static Store* attach_private();
  // One user less; the last one closes the connection. Without the opening mutex.
  void detach();

  const File_Identity& identity() const { return identity_; }
  bool is_used() const { return users_ > 0; }
  Writer_Queue& queue() { return queue_; }
  const Coherence& coherence() const { return coherence_; }

  // One attempt at a transaction. Status::busy: another process is in the way, and the whole is to be tried
  // again. The reason is told when the hive could not be used, and left alone when the body or its own rights
  // decided.
  Status run(Access access, const Hive_Traits& traits, Transaction_Body body, Findings& findings);

  // The same for the thread whose batch has this part of the hive, in the batch's transaction. Where the store itself
  // fails, or an operation that has failed cannot be taken back alone, the part is lost. batch_lost: it was before.
  Status run_within(const std::shared_ptr<Batch_Part>& part, Transaction_Body body, Findings& findings);
  // Begins a part, which has the turn until it ends. One attempt, as above.
  Status join(std::unique_ptr<Writer_Queue::Turn> turn, const Hive_Traits& traits, std::shared_ptr<Batch_Part>* out,
              Findings& findings);
  // Ends it. busy: it goes on, and the whole is to be tried again.
  Status commit(const std::shared_ptr<Batch_Part>& part, Findings& findings);
  void abandon(const std::shared_ptr<Batch_Part>& part);

  // The process ends as it should, and a later check of the hive is not needed.
  void note_orderly_end();

  void before_fork();
  void after_fork_in_parent();
  void after_fork_in_child();

 private:
  Store() = default;

  Status ready(Access access, const Hive_Traits& traits, Findings& findings);
  bool is_connection_good(Findings& findings) const;
  Status open(const Hive_Traits& traits, Findings& findings);
  Status open_file(const Hive_Traits& traits, Findings& findings);
  Status open_in_presence(const Hive_Traits& traits, Findings& findings);
  Status open_shared(const File_Look& look, const Hive_Traits& traits, Findings& findings);
  Status prepare_content(const Hive_Traits& traits, Findings& findings);
  Status look_through(Connection& connection, std::uint32_t version, std::uint32_t newest, Findings& findings);
  Status complete(const Hive_Traits& traits, Findings& findings);
  Status finish_run(Status status, Findings& findings);
  void move_to(const std::string& file, mode_t file_mode);
  void close();
  class Operation;
  void undo_batch();
  void undo_in_use();
  void end_batch();
  Status run_beside(Access access, Transaction_Body body, Findings& findings);
  Status open_beside(Findings& findings);
  void copy_private();
  Status run_with_memory(Access access, Transaction_Body body);

  bool may_write() const;
  bool has_no_log() const;
  bool is_own_file() const;
  bool stands_at_path() const;
  static bool spoils_connection(Status status, const Failure& failure);

  std::mutex mutex_;
  std::unique_ptr<Connection> connection_;
  std::shared_ptr<Batch_Part> batch_;  // whose transaction is open on the connection
  std::unique_ptr<Writer_Queue::Turn> batch_turn_;
  std::unique_ptr<Connection> beside_;  // for everybody else meanwhile
  std::unique_ptr<std::vector<unsigned char>> private_copy_;
  Writer_Queue queue_;
  Coherence coherence_;
  std::string file_;  // empty: private to the process
  File_Identity identity_;
  Unclean_End unclean_end_;
  bool was_writable_ = false;    // of a connection to this file
  std::int64_t hive_birth_ = 0;  // when the file was made in which a hive was last seen; 0 when unknown
  std::atomic<int> users_{0};
};

}  // namespace hive
