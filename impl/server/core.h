// What the server has: the store, its clients with their connections, what they wait for. On one thread; others reach
// it through its mail.
#pragma once

#include <chrono>
#include <list>
#include <map>
#include <memory>
#include <unordered_map>
#include <vector>

#include "hive/registry.h"
#include "impl/server/changes.h"
#include "impl/server/client_batch.h"
#include "impl/server/connection.h"
#include "impl/server/dispatch.h"
#include "impl/server/mail.h"
#include "impl/server/reply.h"
#include "impl/server/requests.h"
#include "impl/server/scratch.h"
#include "impl/server/session.h"
#include "impl/server/worker.h"

namespace impl::server {

struct Settings {
  bool machine_wide = false;
  std::string data_folder;
};

class Core {
 public:
  Core(hive::Registry& registry, Settings settings);
  ~Core();
  Core(const Core&) = delete;
  Core& operator=(const Core&) = delete;

  // False with errno.
  bool open();

  // Takes a client's socket, or closes it when its user may not come or has too many.
  void admit(wire::Unique_Fd socket);
  // Serves each connection that is ready, once, and commits what they write.
  void serve();
  // Parts from the connections that began no session in time; whether any such is left.
  bool end_silent_connections();
  void end();

  // Readable when there is something to serve.
  int ready_fd() const { return ready_.get(); }
  Mail& mail() { return *mail_; }
  std::size_t connection_count() const { return connections_.size(); }
  bool is_to_end() const { return is_to_end_; }

  // For connections.
  void watch(Connection& connection, std::uint32_t events, bool is_new);
  void ask(Connection& connection, sd_bus_message* message, const Row& row);
  void commit();
  // Questions wait that somebody else's hold on a hive keeps from being done: to be tried again soon.
  bool has_waiting() const { return !waiting_.empty(); }
  void try_again();
  void note_ended() { has_ended_connections_ = true; }

  // For calls.
  hive::Registry& registry() { return registry_; }
  Changes& changes() { return changes_; }
  Worker& worker() { return worker_; }
  const Settings& settings() const { return settings_; }
  const std::shared_ptr<Mail>& shared_mail() { return mail_; }
  std::map<Session_Id, std::shared_ptr<Session>>& sessions() { return sessions_; }
  Requests& requests() { return requests_; }
  void shut_down() { is_to_end_ = true; }

  // Keeps a question that is answered later, by its number.
  std::uint64_t park(const Caller& caller) { return park(*caller.connection, caller.message); }
  void unpark(std::uint64_t number);
  bool is_parked(std::uint64_t number) const { return parked_.contains(number); }
  // Answers it; false when who asked it is not there any more.
  template <class Answer>
  bool finish(std::uint64_t number, Answer& answer) {
    Reply reply;
    const auto parked = parked_.find(number);
    if (parked == parked_.end()) return false;
    make_reply(parked->second.message, answer, &reply);  // without memory there is none
    if (reply.message != nullptr) parked->second.connection->send(reply);
    unpark(number);
    return true;
  }

 private:
  struct Parked {
    Connection* connection;
    sd_bus_message* message;
  };
  using Clock = std::chrono::steady_clock;
  // A question on the server's thread.
  struct Call {
    Connection* connection;
    sd_bus_message* message;
    const Row* row;
    Reply reply{};
    wire::Number made = 0;      // the handle that it made
    bool waits = false;         // it is to be tried again
    Clock::time_point since{};  // of its waiting
  };

  std::uint64_t park(Connection& connection, sd_bus_message* message);
  Reply answer(Connection& connection, sd_bus_message* message, const Row& row, wire::Number* out_made);
  void refuse(Connection& connection, sd_bus_message* message, int error);
  void attempt(Call& call);
  void attempt_now(Call& call);
  static bool has_waited_enough(const Call& call);
  void conclude(Call& call);
  bool write_together(std::vector<Call>& writes, DWORD* out_code);
  void write_alone(std::vector<Call>& writes);
  void take_back(std::vector<Call>& writes);
  void refuse(std::vector<Call>& writes, DWORD code);
  static bool is_of_batch(const Connection& connection, const Row& row);
  bool make_batch(Connection& connection);
  void ask_in_batch(Connection& connection, sd_bus_message* message, const Row& row);
  void answer_from_batch(std::uint64_t number, Batch_Question& question);
  bool note_answered(Connection& connection, Kind kind);
  void end_batch(std::unique_ptr<Client_Batch> batch);
  void forget_ended_batches();
  void sweep();
  void drop(Connection& connection);
  void end_session(Session& session);

  hive::Registry& registry_;
  const Settings settings_;
  Changes changes_{registry_};
  const std::shared_ptr<Mail> mail_ = std::make_shared<Mail>();
  wire::Unique_Fd ready_;
  sd_id128_t id_{};
  Scratch scratch_;
  std::list<std::unique_ptr<Connection>> connections_;
  std::unordered_map<uid_t, std::size_t> connections_of_;
  std::map<Session_Id, std::shared_ptr<Session>> sessions_;
  std::unordered_map<std::uint64_t, Parked> parked_;
  std::uint64_t next_parked_ = 1;
  Requests requests_;
  std::vector<Call> writes_;
  std::vector<Call> waiting_;
  std::unordered_map<uid_t, std::size_t> batches_of_;  // those included that are ending
  bool has_ended_connections_ = false;
  bool is_to_end_ = false;
  // Last: they end before what their jobs use.
  std::vector<std::unique_ptr<Client_Batch>> ending_batches_;
  Worker worker_{"registry-work"};
};

}  // namespace impl::server
