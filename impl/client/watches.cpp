// A question is known to have been heard when the server has answered a ping that was sent behind it on the same
// connection. Each line takes only some watches, because servers bound the questions of one connection.
#include "impl/client/watches.h"

#include <poll.h>
#include <sys/socket.h>
#include <winerror.h>

#include <algorithm>
#include <cerrno>

#include "impl/quiet_thread.h"

namespace impl::client {
namespace {

constexpr std::size_t watches_of_line = wire::max_calls_under_way / 2 - 1;
constexpr int look_about = 1000;  // milliseconds: descriptors and rights may be lost without a sound

constexpr char ping_object[] = "/";
constexpr char ping_interface[] = "org.freedesktop.DBus.Peer";
constexpr char ping_member[] = "Ping";

enum class State { asked, standing, refused };

// Crews of a parent, whose threads wait for their conditions for ever in the eyes of the child.
template <class Crew>
void keep_for_ever(std::shared_ptr<Crew> crew) {
  static auto& kept = *new std::vector<std::shared_ptr<Crew>>;
  if (crew != nullptr) kept.push_back(std::move(crew));
}

}  // namespace

// Guarded by the client's lock.
struct Watches::Watch {
  wire::Watch_Key::Question question;
  std::shared_ptr<Watcher> watcher;
  State state = State::asked;
  DWORD code = ERROR_SUCCESS;
  bool is_pinged = false;
  Crew* crew = nullptr;

  // Nothing is called back any more.
  bool is_done() const { return watcher == nullptr && is_pinged; }
};

// One connection and the watches on it. The connection is the thread's alone.
struct Watches::Line {
  std::shared_ptr<Session> session;
  std::unique_ptr<Connection> connection;
  std::list<std::shared_ptr<Watch>> fresh;  // with the client's lock
  std::list<std::shared_ptr<Watch>> asked;  // the thread's; changed with the client's lock

  std::size_t size() const { return fresh.size() + asked.size(); }
};

// The thread with its lines, and what others leave for it. With the client's lock.
struct Watches::Crew {
  Crew() : process(process_number()) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends) != 0) return;
    bell = Own_Socket(ends[0]);
    rope = Own_Socket(ends[1]);
  }

  bool is_at_work() const { return !has_ended && process == process_number() && bell.is_ours() && rope.is_ours(); }
  void ring() const {
    if (rope.is_ours()) send(rope.fd(), "", 1, MSG_NOSIGNAL);
  }
  Line* line_with_room(const std::shared_ptr<Session>& session) {
    for (Line& each : lines) {
      if (each.session == session && each.size() < watches_of_line) return &each;
    }
    return nullptr;
  }

  bool serve(Line& line);
  bool ask(Line& line, Watch& watch);
  void give_up(Line& line);
  static int on_answer(sd_bus_message* answer, void* watch, sd_bus_error*);
  static int on_ping(sd_bus_message* answer, void* watch, sd_bus_error*);
  void settle(Watch& watch, State state, DWORD code);
  void finish(Watch& watch, DWORD code);

  const int process;
  Own_Socket bell;  // the thread's end
  Own_Socket rope;
  bool has_thread = false;
  bool has_ended = false;
  std::list<Line> lines;
  std::condition_variable settled;
};

// With the client's lock.
void Watches::Crew::settle(Watch& watch, State state, DWORD code) {
  if (watch.state != State::asked) return;
  watch.state = state;
  watch.code = code;
  settled.notify_all();
}

// The server has answered, or never will: who stands is told.
void Watches::Crew::finish(Watch& watch, DWORD code) {
  std::shared_ptr<Watcher> told;
  {
    const std::lock_guard lock(client_mutex());
    settle(watch, code == ERROR_SUCCESS ? State::standing : State::refused, code);
    if (watch.state == State::standing) told = std::move(watch.watcher);
    watch.watcher = nullptr;
  }
  if (told != nullptr) told->tell();
}

int Watches::Crew::on_answer(sd_bus_message* answer, void* userdata, sd_bus_error*) {
  auto& watch = *static_cast<Watch*>(userdata);
  wire::Watch_Key::Answer read;
  DWORD code = session_is_gone;
  if (sd_bus_message_is_method_error(answer, wire::error_limit) > 0) {
    code = ERROR_NO_SYSTEM_RESOURCES;
  } else if (sd_bus_message_is_method_error(answer, nullptr) == 0) {
    code = wire::read(answer, &read) < 0 ? wrong_answer : DWORD{read.code};
  }
  watch.crew->finish(watch, code);
  return 0;
}

int Watches::Crew::on_ping(sd_bus_message*, void* userdata, sd_bus_error*) {
  auto& watch = *static_cast<Watch*>(userdata);
  const std::lock_guard lock(client_mutex());
  watch.is_pinged = true;
  watch.crew->settle(watch, State::standing, ERROR_SUCCESS);
  return 0;
}

// False when the line is to be given up.
bool Watches::Crew::ask(Line& line, Watch& watch) {
  sd_bus* const bus = line.connection->bus();
  auto question = exchange<wire::Watch_Key>(watch.question);
  const Message message = line.connection->question(question, watch.question.key);
  sd_bus_message* made = nullptr;
  int result = sd_bus_message_new_method_call(bus, &made, nullptr, ping_object, ping_interface, ping_member);
  const Message ping(made);
  if (message == nullptr) result = -ENOMEM;
  if (result >= 0) result = sd_bus_call_async(bus, nullptr, message.get(), &on_answer, &watch, UINT64_MAX);
  if (result >= 0) result = sd_bus_call_async(bus, nullptr, made, &on_ping, &watch, UINT64_MAX);
  return result >= 0;
}

// False when the line is to be given up.
bool Watches::Crew::serve(Line& line) {
  if (!line.connection->is_good() || !is_same_process(line.session->caller)) return false;
  std::list<std::shared_ptr<Watch>> fresh;
  {
    const std::lock_guard lock(client_mutex());
    fresh = line.fresh;
    line.asked.splice(line.asked.end(), line.fresh);
  }
  for (const std::shared_ptr<Watch>& each : fresh) {
    if (!ask(line, *each)) return false;
  }
  int result = 0;
  while ((result = sd_bus_process(line.connection->bus(), nullptr)) > 0) {
  }
  const std::lock_guard lock(client_mutex());
  line.asked.remove_if([](const std::shared_ptr<Watch>& each) { return each->is_done(); });
  return result >= 0 && line.size() > 0 && !line.session->has_ended;
}

// Nothing is called back any more once the connection is closed.
void Watches::Crew::give_up(Line& line) {
  line.connection = nullptr;
  for (auto* watches : {&line.fresh, &line.asked}) {
    for (const std::shared_ptr<Watch>& each : *watches) {
      State state{};
      {
        const std::lock_guard lock(client_mutex());
        state = each->state;
      }
      finish(*each, state == State::standing ? ERROR_SUCCESS : session_is_gone);
    }
  }
}

void Watches::run(const std::shared_ptr<Crew>& crew) {
  for (;;) {
    std::vector<pollfd> ends{{crew->bell.fd(), POLLIN, 0}};
    std::vector<Line*> lines;
    {
      const std::lock_guard lock(client_mutex());
      for (Line& each : crew->lines) lines.push_back(&each);
      crew->has_ended = lines.empty() || !crew->is_at_work();
    }
    for (Line* each : lines) {
      const int events = sd_bus_get_events(each->connection->bus());
      ends.push_back({each->connection->fd(), static_cast<short>(events < 0 ? POLLIN : events), 0});
    }
    if (!crew->has_ended) poll(ends.data(), ends.size(), look_about);
    char rings[64];
    while (crew->bell.is_ours() && recv(crew->bell.fd(), rings, sizeof rings, MSG_DONTWAIT) > 0) {
    }
    for (Line* each : lines) {
      if (!crew->has_ended && crew->serve(*each)) continue;
      std::list<Line> gone;
      {
        const std::lock_guard lock(client_mutex());
        const auto place = std::find_if(crew->lines.begin(), crew->lines.end(), [&](Line& l) { return &l == each; });
        gone.splice(gone.end(), crew->lines, place);
      }
      crew->give_up(gone.front());
    }
    if (crew->has_ended) return;
  }
}

// The one at work, or a new one. With the client's lock.
std::shared_ptr<Watches::Crew> Watches::crew() {
  if (crew_ != nullptr && crew_->is_at_work()) return crew_;
  if (crew_ != nullptr && crew_->process != process_number()) {
    crew_->bell.close();
    crew_->rope.close();
    keep_for_ever(std::move(crew_));
  }
  crew_ = std::make_shared<Crew>();
  return crew_;
}

DWORD Watches::hand_over(const std::shared_ptr<Watch>& watch, const std::shared_ptr<Session>& session) {
  std::unique_ptr<Connection> own;
  std::unique_lock lock(client_mutex());
  if (crew()->line_with_room(session) == nullptr) {
    lock.unlock();
    const DWORD code = carrier_.sessions().take_own(session, &own);
    if (code != ERROR_SUCCESS) return code;
    lock.lock();
  }
  const std::shared_ptr<Crew> crew = this->crew();
  if (own != nullptr) crew->lines.push_back({session, std::move(own), {}, {}});
  Line* const line = crew->line_with_room(session);
  if (line == nullptr) return session_is_gone;
  watch->crew = crew.get();
  line->fresh.push_back(watch);
  if (!crew->has_thread && !(crew->has_thread = start_quiet_thread("registry-watch", [crew] { run(crew); }))) {
    return ERROR_NOT_ENOUGH_MEMORY;
  }
  crew->ring();
  const Deadline deadline = Clock::now() + carrier_.sessions().settings().answer;
  const bool is_settled = crew->settled.wait_until(lock, deadline, [&] { return watch->state != State::asked; });
  if (!is_settled) watch->state = State::refused;
  return is_settled ? watch->code : RPC_S_SERVER_UNAVAILABLE;
}

DWORD Watches::begin(const Subject& subject, bool subtree, DWORD filter, std::shared_ptr<Watcher> watcher) {
  constexpr int most_attempts = 8;
  DWORD code = session_is_gone;
  for (int attempt = 0; attempt < most_attempts && code == session_is_gone; ++attempt) {
    std::shared_ptr<Session> session;
    const auto watch = std::make_shared<Watch>();
    watch->watcher = watcher;
    watch->question = {0, subtree ? 1u : 0u, filter};
    code = carrier_.reach(subject, &session, &watch->question.key);
    if (code == ERROR_SUCCESS) code = hand_over(watch, session);
  }
  return code == session_is_gone ? RPC_S_SERVER_UNAVAILABLE : code;
}

}  // namespace impl::client
