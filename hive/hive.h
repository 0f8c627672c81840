// A hive by its path: finds the Store of the file that stands there at the moment, makes the file when there
// is none, waits for other processes, and tells once when the hive cannot be used.
#pragma once

#include <sys/stat.h>

#include <string>

#include "hive/registry.h"
#include "hive/store/folder_look.h"
#include "hive/store/store.h"
#include "hive/watch/watch_post.h"

namespace hive {

class Batch;

class Hive : public std::enable_shared_from_this<Hive> {
 public:
  // No path: private to the process.
  Hive(std::string path, Hive_Traits traits, Complain complain);
  ~Hive();
  Hive(const Hive&) = delete;
  Hive& operator=(const Hive&) = delete;

  // Runs a transaction, again when another process was in the way: a body does the same when it is run twice.
  Status read(Transaction_Body body) { return run(Access::read, body); }
  Status write(Transaction_Body body);
  // The same for what is no change of the hive's content: it counts for no image.
  Status write_aside(Transaction_Body body) { return run(Access::write, body); }
  // Without a transaction.
  Status use(Transaction_Body body) { return run(Access::bare, body); }

  // Keeps the part of a batch that a Store of this hive has, and tells its watchers.
  Status keep(Store& store, const std::shared_ptr<Batch_Part>& part);

  void note_orderly_end();

  // Whether this process has changed its content.
  bool has_written() const { return has_written_.load(std::memory_order_relaxed); }

  // From where this process watches its keys.
  Watch_Post& watch_post() { return *watch_post_; }

  // Whether what is held of it is true; null before its first use.
  const Coherence* coherence() const {
    const Store* store = store_.load(std::memory_order_acquire);
    return store == nullptr ? nullptr : &store->coherence();
  }

  const std::string& path() const { return path_; }
  bool is_private() const { return path_.empty(); }

 private:
  Status run(Access access, Transaction_Body body);
  Status run_alone(Access access, Transaction_Body body);
  Status run_in(Batch& batch, Access access, Transaction_Body body);
  Status join(Batch& batch, Store** out, Findings& findings);
  Status try_to_join(Batch& batch, Back_Off& back_off, Store** out, Findings& findings);
  Status attempt(Access access, Transaction_Body body, Back_Off& back_off, Findings& findings);
  bool knows_names(Folder_Look* out_look, Store** out);
  void remember_names(const Folder_Look& look, const Store* store);
  Status find_store(Store** out, Findings& findings);
  Status find_file(struct stat* out, std::string* reason);
  Status make_file(std::string* reason);
  void tell(Access access, Status status, const Findings& findings);
  std::string line_to_say(Access access, Status status, const std::string& reason);

  std::string path_;
  Hive_Traits traits_;
  Complain complain_;
  const std::shared_ptr<Watch_Post> watch_post_;
  std::atomic<Store*> store_ = nullptr;  // changed with the opening mutex held, which also guards what was said
  // With the same mutex: the folder of the hive's files, where no part of the path leads elsewhere, and how it was when
  // each of their names was right.
  Known_Folder folder_;
  Folder_Look right_names_;
  std::string said_[2];              // by access; empty while the hive works
  std::string said_of_damage_;       // of the file that stands there: parts of it may work in between
  std::atomic<bool> silent_ = true;  // nothing was said
  std::atomic<bool> has_written_ = false;
};

}  // namespace hive
