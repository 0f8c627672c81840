// Whether what is held of a hive is still true: the one place that decides it.
//
// What is held is true under a View: a generation, and the head of the log's index that was copied before the
// transaction in which it was read. Each node carries the generation in which it was last found true; a new
// View of the same generation means that nothing changed but what our own commit has dropped. A View is
// believed only while
// - a connection of this very process has the hive open: without one nobody holds the index still for us;
// - the head can tell states apart, and all of it is what it was;
// - for a connection that may only read, which holds no lock on the index: its file still has a name.
// A private hive has no index and changes only through us.
//
// When others have committed, they may have told which keys they changed, see hive/cache/commit_ring.h: when every
// commit that led from the View's head to the one that is there now was told of, those keys are dropped, and the rest
// stays what it was. Otherwise each node is looked at again when it is next touched.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "hive/cache/index_map.h"
#include "hive/cache/own_process.h"
#include "hive/cache/read_section.h"
#include "hive/cache/ring_file.h"
#include "hive/identity.h"

namespace hive {

class Connection;

class View final : public Shared_Object {
 public:
  // hive: a number that the nodes of the hive are held under.
  View(std::uint64_t generation, std::uint64_t hive, const Hive_Identity& identity, const Index_Map* index,
       const Index_Head& head, bool asks_for_name)
      : generation(generation),
        hive(hive),
        identity(identity),
        index_(index),
        head_(head),
        asks_for_name_(asks_for_name) {}

  const std::uint64_t generation;
  const std::uint64_t hive;
  const Hive_Identity identity;

  bool holds() const {
    if (index_ == nullptr) return true;
    return Own_Process::number() == process_ && index_->shows(head_) && (!asks_for_name_ || index_->has_name());
  }
  bool is_under(const Index_Head& head) const { return head_ == head; }
  const Index_Head& head() const { return head_; }

 private:
  const Index_Map* const index_;  // null for a private hive
  const Index_Head head_;
  const bool asks_for_name_;
  const int process_ = Own_Process::number();
};

class Coherence {
 public:
  // In a Read_Section, for as long as it lasts. Null when nothing that is held is known to be true.
  const View* current() const {
    const View* view = view_.load(std::memory_order_acquire);
    return view != nullptr && view->holds() ? view : nullptr;
  }

  // The rest with the hive's mutex held.

  // A connection was opened and has looked at the hive's content. made: when the hive's file was; 0 when that is
  // not known.
  void opened(Connection& connection, const std::string& file, std::int64_t made);
  // It is about to be closed, and was.
  void closing();
  void closed();
  // Before a reading transaction; tells the connection under which generation it reads.
  void before_read(Connection& connection);
  // In a writing transaction that has begun.
  void in_write(Connection& connection);
  // When all of it is done but the commit.
  void before_commit(const Connection& connection);
  // After its commit. What it changed is noted in the connection.
  void after_commit(Connection& connection);

 private:
  void show(std::unique_ptr<const View> view);
  std::unique_ptr<const View> view_of(const Connection& connection, const Index_Head& head) const;
  Commit_Ring::Way follow_others(const Connection& connection, const Index_Head& head);
  void believe_nothing(const Connection& connection, const Index_Head& head);
  void tell(const Connection& connection, const Index_Head& head, bool is_own);
  void drop(const std::vector<std::int64_t>& keys);
  bool is_own_commit(const Connection& connection, const Index_Head& head) const;

  std::atomic<const View*> view_{nullptr};
  std::uint64_t hive_ = 0;  // another one when what stands in the file is another hive
  Hive_Identity identity_{};
  std::int64_t made_ = 0;
  std::uint64_t generation_ = 0;
  Index_Map* index_ = nullptr;
  bool is_private_ = false;
  bool usable_ = false;  // there is an index, or the hive is private
  bool was_true_in_write_ = false;
  Index_Head head_in_write_;
  Ring_File ring_;
  Commit_Ring* telling_ = nullptr;       // where the commit at hand was announced
  unsigned waited_ = 0;                  // looks since a commit was seen that was only announced
  std::uint64_t commits_of_others_ = 0;  // raised whenever some were noticed
};

}  // namespace hive
