// Watching keys.
#include <winnt.h>

#include <memory>

#include "impl/inproc/root_handles.h"
#include "impl/inproc/status_code.h"
#include "impl/server/core.h"
#include "impl/server/held.h"
#include "impl/server/perform.h"

namespace impl::server {
namespace {

// Told by any thread, and may go in any.
class Waiting_Client final : public hive::Watch_Target {
 public:
  Waiting_Client(Core& core, std::uint64_t number, const std::shared_ptr<Session>& session)
      : core_(core), mail_(core.shared_mail()), number_(number), session_(session) {}

  void signal() override {
    mail_->post([&core = core_, number = number_, session = session_] {
      if (const auto here = session.lock()) --here->watches;
      wire::Watch_Key::Answer answer;
      core.finish(number, answer);
    });
  }

 private:
  Core& core_;  // used only by what its own mail delivers
  const std::shared_ptr<Mail> mail_;
  const std::uint64_t number_;
  const std::weak_ptr<Session> session_;
};

}  // namespace

DWORD perform(Caller& caller, wire::Watch_Key::Question& question, wire::Watch_Key::Answer*) {
  hive::Key key;
  if (predefined_root(question.key) == hive::Root::performance) return ERROR_INVALID_HANDLE;  // it never changes
  const DWORD code = held_key(caller, question.key, KEY_NOTIFY, &key);
  if (code != ERROR_SUCCESS) return code;
  if ((question.filter & hive::all_ways) == 0) return ERROR_INVALID_PARAMETER;
  if (caller.is_in_batch()) return ERROR_TRANSACTION_REQUEST_NOT_VALID;
  if (caller.session->watches >= wire::max_watches) return beyond_limit;
  const std::uint64_t number = caller.core.park(caller);
  const auto target = std::make_shared<Waiting_Client>(caller.core, number, caller.connection->shared_session());
  ++caller.session->watches;
  const hive::Status status = caller.core.registry().watch(key, question.subtree != 0, question.filter, target);
  if (status == hive::Status::ok) return answered_later;
  --caller.session->watches;
  caller.core.unpark(number);
  return code_of(status);
}

}  // namespace impl::server
