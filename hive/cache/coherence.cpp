#include "hive/cache/coherence.h"

#include "hive/cache/node_cache.h"
#include "hive/store/connection.h"
#include "hive/store/statement.h"

namespace hive {
namespace {

std::atomic<std::uint64_t> next_hive{1};

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
}

void Coherence::before_read(Connection& connection) {
  connection.keeping = {};
  if (!usable_ || !connection.shows_volatile) return show(nullptr);
  const Index_Head head = is_private_ ? Index_Head{} : index_->copy();
  if (!is_private_ && !head.tells_states_apart()) return show(nullptr);
  const View* view = view_.load(std::memory_order_relaxed);
  if (view == nullptr || !view->is_under(head)) {
    ++generation_;
    show(view_of(connection, head));
  }
  connection.keeping = {true, hive_, generation_};
}

void Coherence::in_write(Connection& connection) {
  const View* view = view_.load(std::memory_order_relaxed);
  connection.keeping = {};
  connection.forget_changes();
  if (usable_ && !is_private_) head_in_write_ = index_->copy();
  was_true_in_write_ = view != nullptr && view->holds();
  if (!was_true_in_write_ || connection.known.generation != generation_) connection.known = {};
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
  if (!is_private_ && !(head.tells_states_apart() && is_own_commit(connection, head))) return;
  if (!was_true_in_write_ || connection.changed_all()) {
    ++generation_;
  } else {
    drop_changed(connection);
  }
  connection.known.generation = generation_;
  if (!is_private_ || !was_true_in_write_ || connection.changed_all()) show(view_of(connection, head));
}

void Coherence::drop_changed(Connection& connection) {
  for (std::int64_t key : connection.changed_keys()) Node_Cache::of_process().drop(hive_, key);
}

}  // namespace hive
