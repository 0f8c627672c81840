#include "impl/inproc/notifications.h"

#include <kelvane/notify.h>
#include <pthread.h>

#include <new>

#include "impl/inproc/process_identity.h"
#include "impl/inproc/process_locations.h"
#include "impl/quiet_thread.h"

namespace impl {
namespace {

constexpr int kind_count = 2;

bool is_known(int kind) { return kind >= 0 && kind < kind_count; }

// On the delivering thread, while a handler runs.
thread_local bool inside_handler = false;

void call_handler(Mail& mail) {
  inside_handler = true;
  char* const data = mail.data.empty() ? nullptr : mail.data.data();
  KvNotification(mail.pid, mail.kind, data, static_cast<int>(mail.data.size()));
  inside_handler = false;
}

}  // namespace

const Notification_Board* Notifications::board(bool make) {
  const std::lock_guard lock(mutex_);
  if (!board_ || (make && !core_data_made_)) {
    const std::string folder = core_data(make);
    if (folder.empty()) return nullptr;
    core_data_made_ = make;
    if (!board_) board_.emplace(folder + "/notifications");
  }
  return !make || board_->make() ? &*board_ : nullptr;
}

bool Notifications::request(int pid, int kind, bool on) {
  const std::string target = identity_of(pid);
  if (!is_known(kind) || target.empty()) return false;
  const std::string self = own_identity();
  const Notification_Board* const board = this->board(on);
  if (board == nullptr) return !on;
  if (!on) {
    board->take(target, kind, self);
    return true;
  }
  if (!has_mailbox() || !board->ask(target, kind, self)) return false;
  return !board->is_standing(target, kind) || answer(*board, target, kind, self, {});
}

bool Notifications::report(int kind, const char* data, int size) {
  if (!is_known(kind) || size < 0 || (size > 0 && data == nullptr)) return false;
  const Notification_Board* const board = this->board(false);
  if (board == nullptr) return true;
  const std::string self = own_identity();
  bool all_told = true;
  for (const std::string& asker : board->askers(self, kind)) {
    if (inside_handler && asker == self) continue;
    all_told &= answer(*board, self, kind, asker, std::string_view(data, static_cast<std::size_t>(size)));
  }
  return all_told;
}

// Whoever asks looks for the standing answer after the request was made, and we look for requests after the standing
// answer was: one of us sees the other.
bool Notifications::report_always(int kind, bool on) {
  if (!is_known(kind)) return false;
  const Notification_Board* const board = this->board(on);
  if (board == nullptr) return !on;
  {
    const std::lock_guard lock(mutex_);
    guard_forks();
    was_on_board_ = true;
  }
  if (!board->set_standing(own_identity(), kind, on)) return false;
  return !on || report(kind, nullptr, 0);
}

// An answer that cannot be written leaves the request as it was.
bool Notifications::answer(const Notification_Board& board, const std::string& target, int kind,
                           const std::string& asker, std::string_view data) {
  if (!board.take(target, kind, asker)) return true;
  if (board.post(asker, target, kind, data) != Posted::failed) return true;
  board.ask(target, kind, asker);
  return false;
}

void Notifications::end() {
  const std::lock_guard lock(mutex_);
  if (was_on_board_) board_->leave(own_identity());
  ended_ = true;
}

bool Notifications::has_mailbox() {
  const std::lock_guard lock(mutex_);
  return !ended_ && (mailbox_owner_ == own_identity() || open_mailbox());
}

bool Notifications::open_mailbox() {
  guard_forks();
  board_->sweep();
  const std::string self = own_identity();
  if (self.empty() || !board_->make_mailbox(self)) return false;
  was_on_board_ = true;
  if (!bell_.open(board_->mailbox_of(self) + "/bell") || !start_thread(self)) return false;
  mailbox_owner_ = self;
  return true;
}

bool Notifications::start_thread(const std::string& self) {
  return start_quiet_thread("registry-notify", [this, self] { deliver(self); });
}

void Notifications::deliver(const std::string& self) {
  while (bell_.wait()) {
    try {
      for (Mail& mail : board_->take_mail(self)) call_handler(mail);
    } catch (const std::bad_alloc&) {
      inside_handler = false;
    }
  }
  const std::lock_guard lock(mutex_);
  mailbox_owner_.clear();
}

// A forked child has neither the thread nor the mailbox: it is another process on the board.
void Notifications::guard_forks() {
  static Notifications* the_one = nullptr;
  if (the_one != nullptr) return;
  the_one = this;
  pthread_atfork([] { the_one->mutex_.lock(); }, [] { the_one->mutex_.unlock(); },
                 [] {
                   the_one->bell_.close();
                   the_one->mailbox_owner_.clear();
                   the_one->was_on_board_ = false;
                   the_one->ended_ = false;
                   the_one->mutex_.unlock();
                 });
}

}  // namespace impl
