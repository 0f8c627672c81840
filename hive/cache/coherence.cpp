#include "hive/cache/coherence.h"

#include "hive/cache/node_cache.h"
#include "hive/store/connection.h"
#include "hive/store/statement.h"

namespace hive {
namespace {

std::atomic<std::uint64_t> next_hive{1};

// Who has announced to tell of a commit does so within microseconds, or was killed, or waits for a processor.
constexpr unsigned longest_wait = 256;  // looks, each of which asks the file meanwhile

}  // namespace

void Coherence::show(std::unique_ptr<const View> view) {
  retire(std::unique_ptr<const Shared_Object>(view_.exchange(view.release(), std::memory_order_acq_rel)));
}

std::unique_ptr<const View> Coherence::view_of(const Connection& connection, const Index_Head& head) const {
  return std::make_unique<const View>(generation_, hive_, connection.identity, index_, head, connection.read_only());
}

void Coherence::opened(Connection& connection, const std::string& file, std::int64_t made) {
  if (made == 0 || made != made_ || connection.identity != identity_) hive_ = next_hive++;
  made_ = made;
  identity_ = connection.identity;
  is_private_ = connection.mode() == Connection::Mode::memory;
  index_ = connection.mode() == Connection::Mode::shared ? Index_Map::of(file, connection.descriptors()) : nullptr;
  usable_ = (is_private_ || index_ != nullptr) && Own_Process::claim() != 0;
  if (index_ != nullptr) ring_.move_to(file);
  if (!usable_ || is_private_ || connection.read_only()) return;
  // A log that is empty tells nothing.
  if (!index_->copy().is_of_an_empty_log()) return;
  Statement begin(connection, Query::begin_write);
  if (begin.run() != Status::ok) return connection.clear_failure();
  Statement(connection, Query::touch).run();
  if (Statement(connection, Query::commit).run() == Status::ok) return;
  Statement(connection, Query::rollback).run();
  connection.clear_failure();
}

void Coherence::closing() {
  usable_ = false;
  show(nullptr);
}

void Coherence::closed() {
  if (index_ != nullptr) Index_Map::let_go(index_);
  index_ = nullptr;
  telling_ = nullptr;
  ring_.let_go();
}

void Coherence::before_read(Connection& connection) {
  connection.keeping = {};
  if (!usable_ || !connection.shows_volatile) return show(nullptr);
  const Index_Head head = is_private_ ? Index_Head{} : index_->copy();
  if (!is_private_ && !head.tells_states_apart()) return show(nullptr);
  const View* view = view_.load(std::memory_order_relaxed);
  if (view == nullptr || !view->is_under(head)) {
    const Commit_Ring::Way way = follow_others(connection, head);
    if (way == Commit_Ring::Way::soon) return;
    if (way == Commit_Ring::Way::unknown) believe_nothing(connection, head);
  }
  connection.keeping = {true, hive_, generation_};
}

// The commits that led from the view's head to this one, if each of them was told of: then a view of this head is
// shown.
Commit_Ring::Way Coherence::follow_others(const Connection& connection, const Index_Head& head) {
  const View* view = view_.load(std::memory_order_relaxed);
  const Commit_Ring* ring = view == nullptr || is_private_ ? nullptr : ring_.to_read();
  std::vector<std::int64_t> changed;
  Commit_Ring::Way way = Commit_Ring::Way::unknown;
  if (ring != nullptr) way = ring->between(view->head(), head, &changed);
  if (way == Commit_Ring::Way::soon && waited_++ < longest_wait) return way;
  waited_ = 0;
  if (way != Commit_Ring::Way::known) return Commit_Ring::Way::unknown;
  drop(changed);
  ++commits_of_others_;
  show(view_of(connection, head));
  return way;
}

void Coherence::believe_nothing(const Connection& connection, const Index_Head& head) {
  ++generation_;
  ++commits_of_others_;
  show(view_of(connection, head));
}

void Coherence::in_write(Connection& connection) {
  connection.keeping = {};
  connection.forget_changes();
  if (usable_ && !is_private_) {
    head_in_write_ = index_->copy();
    if (current() == nullptr && head_in_write_.tells_states_apart()) follow_others(connection, head_in_write_);
  }
  was_true_in_write_ = current() != nullptr;
  if (!was_true_in_write_ || connection.known.commits_of_others != commits_of_others_) connection.known = {};
}

// A commit that has changed too much is not told of.
void Coherence::before_commit(const Connection& connection) {
  telling_ = nullptr;
  if (!usable_ || is_private_ || connection.changed_all() || !head_in_write_.tells_states_apart()) return;
  if (connection.changed_keys().size() > Commit_Ring::most_keys) return;
  telling_ = ring_.to_tell();
  if (telling_ != nullptr) telling_->announce(head_in_write_);
}

// Nobody else has committed when the index tells of the very frames that our commit has written behind those it told
// of within the transaction: every commit adds some, until the log begins anew under other salts.
bool Coherence::is_own_commit(const Connection& connection, const Index_Head& head) const {
  const std::int64_t frames = connection.frames_committed();
  if (frames < 0) return head == head_in_write_;
  return head.is_of_same_log(head_in_write_) && head.frames() == static_cast<std::uint32_t>(frames);
}

void Coherence::after_commit(Connection& connection) {
  if (!usable_) return;
  const Index_Head head = is_private_ ? Index_Head{} : index_->copy();
  const bool is_own = is_private_ || (head.tells_states_apart() && is_own_commit(connection, head));
  tell(connection, head, is_own);
  if (!is_own) return;
  if (!was_true_in_write_ || connection.changed_all()) {
    ++generation_;
  } else {
    drop(connection.changed_keys());
  }
  connection.known.commits_of_others = commits_of_others_;
  if (!is_private_ || !was_true_in_write_ || connection.changed_all()) show(view_of(connection, head));
}

// Only when it is known to which state the commit has led.
void Coherence::tell(const Connection& connection, const Index_Head& head, bool is_own) {
  if (telling_ == nullptr) return;
  if (is_own && head != head_in_write_) {
    telling_->tell(head_in_write_, head, connection.changed_keys());
  } else {
    telling_->withdraw(head_in_write_);
  }
  telling_ = nullptr;
}

void Coherence::drop(const std::vector<std::int64_t>& keys) {
  for (std::int64_t key : keys) Node_Cache::of_process().drop(hive_, key);
}

}  // namespace hive
