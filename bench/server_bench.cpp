// The registry's server against its floors, each pair in the same run:
//   a round trip of the smallest call         against one of a bare sd-bus peer, both ends on one core and on two
//   rows that eight clients write in a second against eight bare SQLite connections, with the longest wait
//   an idle client's memory and time; the time from start to the first answer on a hive of 50,000 keys
//
// Server and clients are processes. Times are counted by the wall clock.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sqlite3.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>
#include <winnt.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "hive/registry.h"
#include "impl/server/server.h"
#include "impl/wire/message.h"
#include "impl/wire/names.h"

namespace {

namespace wire = impl::wire;
using Clock = std::chrono::steady_clock;

constexpr wire::Number machine = 0x80000002u;
constexpr int writers = 8;
constexpr auto writing_time = std::chrono::milliseconds(1500);

void stay_on(int core) {
  cpu_set_t set;
  CPU_ZERO(&set);
  CPU_SET(core, &set);
  sched_setaffinity(0, sizeof set, &set);
}

class Folder {
 public:
  Folder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "kvbench.XXXXXX").string();
    if (mkdtemp(pattern.data()) != nullptr) path_ = pattern;
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

class Bench_Locations : public hive::Locations {
 public:
  explicit Bench_Locations(std::string folder) : folder_(std::move(folder)) {}
  std::string machine_hive() override { return folder_ + "/machine"; }
  std::string user_hive() override { return folder_ + "/hkcu.hive"; }
  std::string user_image() override { return folder_ + "/hkcu.bin"; }
  mode_t machine_mask() override { return 022; }

 private:
  std::string folder_;
};

std::unique_ptr<hive::Registry> registry_in(const std::string& folder) {
  return std::make_unique<hive::Registry>(std::make_unique<Bench_Locations>(folder), [](const std::string&) {});
}

// A process that is ended with its owner.
class Process {
 public:
  explicit Process(const std::function<void()>& body) : id_(fork()) {
    if (id_ != 0) return;
    body();
    _exit(0);
  }
  ~Process() {
    kill(id_, SIGKILL);
    waitpid(id_, nullptr, 0);
  }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;
  void wait() const { waitpid(id_, nullptr, 0); }
  pid_t id() const { return id_; }

 private:
  pid_t id_;
};

class Listener {
 public:
  Listener() : fd_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    name_.sun_family = AF_UNIX;
    bind(fd_, reinterpret_cast<sockaddr*>(&name_), sizeof name_.sun_family);
    getsockname(fd_, reinterpret_cast<sockaddr*>(&name_), &size_);
    listen(fd_, 4096);
  }
  ~Listener() { close(fd_); }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  int fd() const { return fd_; }
  int connect() const {
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ::connect(fd, reinterpret_cast<const sockaddr*>(&name_), size_);
    return fd;
  }

 private:
  int fd_;
  sockaddr_un name_{};
  socklen_t size_ = sizeof name_;
};

void serve(int listener, const std::string& folder) {
  const auto registry = registry_in(folder);
  const Regss_Options options{&listener, 1, 0, folder.c_str(), 0, -1, nullptr, nullptr, nullptr};
  impl::server::Server(*registry, options).run();
}

class Bus {
 public:
  explicit Bus(int fd) {
    sd_bus_new(&bus_);
    sd_bus_set_fd(bus_, fd, fd);
    sd_bus_negotiate_fds(bus_, 1);
    sd_bus_start(bus_);
  }
  ~Bus() {
    sd_bus_close(bus_);
    sd_bus_unref(bus_);
  }
  Bus(const Bus&) = delete;
  Bus& operator=(const Bus&) = delete;
  operator sd_bus*() const { return bus_; }

  template <class Call>
  sd_bus_message* question(typename Call::Question asked) const {
    sd_bus_message* message = nullptr;
    sd_bus_message_new_method_call(bus_, &message, nullptr, wire::object_path, wire::interface_name, Call::member);
    wire::write(message, asked);
    return message;
  }
  template <class Call>
  typename Call::Answer ask(typename Call::Question asked) const {
    sd_bus_message* const message = question<Call>(asked);
    sd_bus_message* reply = nullptr;
    typename Call::Answer answer;
    if (sd_bus_call(bus_, message, 0, nullptr, &reply) < 0 || wire::read(reply, &answer) < 0) _exit(1);
    sd_bus_message_unref(message);
    sd_bus_message_unref(reply);
    return answer;
  }
  void begin() const { ask<wire::Begin_Session>({.version = wire::protocol_version}); }

 private:
  sd_bus* bus_ = nullptr;
};

// The floor: a peer that answers each call of one method with its number.
int answer_bare(sd_bus_message* message, void*, sd_bus_error*) {
  return sd_bus_message_is_method_call(message, wire::interface_name, "CloseKey") > 0
             ? sd_bus_reply_method_return(message, "u", 0)
             : 0;
}

void serve_bare(int listener) {
  const int fd = accept(listener, nullptr, nullptr);
  sd_bus* bus = nullptr;
  sd_bus_new(&bus);
  sd_bus_set_fd(bus, fd, fd);
  sd_bus_set_server(bus, 1, sd_id128_t{});
  sd_bus_add_filter(bus, nullptr, &answer_bare, nullptr);
  sd_bus_start(bus);
  for (int result = 0; result >= 0;) {
    result = sd_bus_process(bus, nullptr);
    if (result == 0) result = sd_bus_wait(bus, UINT64_MAX);
  }
}

// One round trip of each in turn, so that both have the same machine.
void Round_Trip(benchmark::State& state) {
  const int server_core = static_cast<int>(state.range(0));
  const Folder folder;
  const Listener listener, bare_listener;
  const Process server([&] {
    stay_on(server_core);
    serve(listener.fd(), folder.path());
  });
  const Process bare([&] {
    stay_on(server_core);
    serve_bare(bare_listener.fd());
  });
  stay_on(0);
  const Bus to_server(listener.connect()), to_bare(bare_listener.connect());
  to_server.begin();
  std::vector<double> ours, floors;
  const auto time = [](const Bus& bus) {
    const auto begin = Clock::now();
    bus.ask<wire::Close_Key>({.key = machine});
    return std::chrono::duration<double, std::micro>(Clock::now() - begin).count();
  };
  for (auto _ : state) {
    for (int i = 0; i < 200; ++i) {
      floors.push_back(time(to_bare));
      ours.push_back(time(to_server));
    }
  }
  const auto median = [](std::vector<double>& all) {
    std::nth_element(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(all.size() / 2), all.end());
    return all[all.size() / 2];
  };
  state.counters["server_us"] = median(ours);
  state.counters["bare_us"] = median(floors);
  state.counters["ratio"] = median(ours) / median(floors);
}
BENCHMARK(Round_Trip)->ArgName("core")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// What the writing processes share with this one.
struct Tally {
  std::atomic<bool> go{false};
  std::atomic<bool> end{false};
  std::atomic<int> ready{0};
  std::atomic<std::uint64_t> rows[writers];
  std::atomic<std::uint64_t> longest_us[writers];
};

Tally& shared_tally() {
  void* const room = mmap(nullptr, sizeof(Tally), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  return *new (room) Tally;
}

void note(Tally& tally, int writer, std::uint64_t rows, Clock::time_point begin) {
  const auto took = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin).count();
  tally.rows[writer] += rows;
  tally.longest_us[writer] = std::max<std::uint64_t>(tally.longest_us[writer], static_cast<std::uint64_t>(took));
}

void wait_for_go(Tally& tally) {
  ++tally.ready;
  while (!tally.go) usleep(100);
}

// Rows a second of all writers together, and the longest wait of any.
struct Rate {
  double rows = 0;
  double longest_ms = 0;
};

Rate rate_of(const std::function<void(Tally&, int)>& write) {
  Tally& tally = shared_tally();
  std::vector<std::unique_ptr<Process>> processes;
  for (int i = 0; i < writers; ++i) processes.push_back(std::make_unique<Process>([&, i] { write(tally, i); }));
  while (tally.ready < writers) usleep(100);
  const auto begin = Clock::now();
  tally.go = true;
  std::this_thread::sleep_for(writing_time);
  tally.end = true;
  const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
  for (const auto& process : processes) process->wait();
  Rate rate;
  for (int i = 0; i < writers; ++i) {
    rate.rows += static_cast<double>(tally.rows[i]) / seconds;
    rate.longest_ms = std::max(rate.longest_ms, static_cast<double>(tally.longest_us[i]) / 1000);
  }
  return rate;
}

void write_bare(const std::string& file, Tally& tally, int writer) {
  sqlite3* db = nullptr;
  sqlite3_open(file.c_str(), &db);
  sqlite3_busy_timeout(db, 60000);
  sqlite3_exec(db, "PRAGMA synchronous=NORMAL", nullptr, nullptr, nullptr);
  sqlite3_stmt* insert = nullptr;
  sqlite3_prepare_v2(db, "INSERT OR REPLACE INTO t VALUES(?1, ?2)", -1, &insert, nullptr);
  wait_for_go(tally);
  for (int i = 0; !tally.end; ++i) {
    const auto begin = Clock::now();
    sqlite3_bind_int64(insert, 1, writer * 1000 + i % 1000);
    sqlite3_bind_int64(insert, 2, i);
    while (sqlite3_step(insert) == SQLITE_BUSY) sqlite3_reset(insert);
    sqlite3_reset(insert);
    note(tally, writer, 1, begin);
  }
}

// Keeps this many calls under way.
void write_as_client(const Listener& listener, int under_way, Tally& tally, int writer) {
  const Bus bus(listener.connect());
  bus.begin();
  const std::u16string path = {u'W', static_cast<char16_t>(u'0' + writer)};
  const auto made = bus.ask<wire::Create_Key>({.key = machine, .path = wire::bytes_of(path), .access = KEY_ALL_ACCESS});
  wait_for_go(tally);
  for (int i = 0; !tally.end; ++i) {
    const auto begin = Clock::now();
    for (int j = 0; j < under_way; ++j) {
      const std::u16string name = {u'v', static_cast<char16_t>(u'0' + (i + j) % 1000)};
      const wire::Set_Value::Question asked{.key = made.handle,
                                            .name = wire::bytes_of(name),
                                            .type = REG_DWORD,
                                            .data = {reinterpret_cast<const unsigned char*>(&i), sizeof i}};
      if (under_way == 1) {
        bus.ask<wire::Set_Value>(asked);
        continue;
      }
      sd_bus_message* const message = bus.question<wire::Set_Value>(asked);
      std::uint64_t cookie = 0;
      sd_bus_send(bus, message, &cookie);
      sd_bus_message_unref(message);
    }
    for (int answers = under_way == 1 ? 1 : 0; answers < under_way;) {
      sd_bus_message* reply = nullptr;
      const int result = sd_bus_process(bus, &reply);
      if (reply != nullptr) ++answers;
      sd_bus_message_unref(reply);
      if (result == 0) sd_bus_wait(bus, UINT64_MAX);
    }
    note(tally, writer, static_cast<std::uint64_t>(under_way), begin);
  }
}

void Eight_Writers(benchmark::State& state) {
  const int under_way = static_cast<int>(state.range(0));
  Rate ours, floor;
  for (auto _ : state) {
    const Folder folder;
    const Listener listener;
    const Process server([&] { serve(listener.fd(), folder.path()); });
    ours = rate_of([&](Tally& tally, int i) { write_as_client(listener, under_way, tally, i); });
    const std::string file = folder.path() + "/bare";
    sqlite3* db = nullptr;
    sqlite3_open(file.c_str(), &db);
    sqlite3_exec(db, "PRAGMA journal_mode=WAL; CREATE TABLE t(k INTEGER PRIMARY KEY, v)", nullptr, nullptr, nullptr);
    sqlite3_close(db);
    floor = rate_of([&](Tally& tally, int i) { write_bare(file, tally, i); });
  }
  state.counters["rows"] = ours.rows;
  state.counters["bare_rows"] = floor.rows;
  state.counters["ratio"] = ours.rows / floor.rows;
  state.counters["longest_ms"] = ours.longest_ms;
  state.counters["bare_longest_ms"] = floor.longest_ms;
}
BENCHMARK(Eight_Writers)->ArgName("under_way")->Arg(1)->Arg(16)->Iterations(1)->Unit(benchmark::kMillisecond);

// A number of a process's status, in KiB.
double status_of(pid_t process, const std::string& field) {
  std::ifstream status("/proc/" + std::to_string(process) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.compare(0, field.size(), field) == 0) return std::stod(line.substr(field.size() + 1));
  }
  return 0;
}

// User and system time of a process, in ticks.
double time_of(pid_t process) {
  std::ifstream stat("/proc/" + std::to_string(process) + "/stat");
  std::string line;
  std::getline(stat, line);
  std::istringstream fields(line.substr(line.rfind(')') + 1));
  std::string field;
  for (int i = 0; i < 11; ++i) fields >> field;
  double user = 0, system = 0;
  fields >> user >> system;
  return user + system;
}

void Idle_Clients(benchmark::State& state) {
  constexpr int clients = 200;
  for (auto _ : state) {
    const Folder folder;
    const Listener listener;
    const Process server([&] { serve(listener.fd(), folder.path()); });
    std::vector<std::unique_ptr<Bus>> all;
    const auto connect = [&] {
      all.push_back(std::make_unique<Bus>(listener.connect()));
      all.back()->begin();
      all.back()->ask<wire::Open_Key>({.key = machine, .access = KEY_READ});
    };
    connect();
    const double before = status_of(server.id(), "VmRSS");
    for (int i = 0; i < clients; ++i) connect();
    state.counters["KiB_each"] = (status_of(server.id(), "VmRSS") - before) / clients;
    const double time_before = time_of(server.id());
    std::this_thread::sleep_for(std::chrono::seconds(1));
    state.counters["ticks_in_a_second"] = time_of(server.id()) - time_before;
  }
}
BENCHMARK(Idle_Clients)->Iterations(1)->Unit(benchmark::kMillisecond);

void make_keys(const std::string& folder, int count) {
  const auto registry = registry_in(folder);
  hive::Key root, key;
  bool created = false;
  registry->open_root(hive::Root::machine, &root);
  for (int first = 0; first < count; first += 1000) {
    registry->begin_batch();
    for (int i = first; i < first + 1000; ++i) {
      const std::string name = "Keys\\" + std::to_string(i / 100) + "\\" + std::to_string(i);
      registry->create(root, std::u16string(name.begin(), name.end()), {}, &key, &created);
    }
    std::vector<hive::Batch_Result> results;
    registry->commit_batch(&results);
  }
  registry->note_orderly_end();
}

void First_Answer(benchmark::State& state) {
  const Folder folder;
  Process([&] { make_keys(folder.path(), 50'000); }).wait();
  std::vector<double> times;
  for (auto _ : state) {
    const Listener listener;
    const auto begin = Clock::now();
    const Process server([&] { serve(listener.fd(), folder.path()); });
    const Bus bus(listener.connect());
    bus.begin();
    const std::u16string path = u"Keys\\77\\7700";
    bus.ask<wire::Open_Key>({.key = machine, .path = wire::bytes_of(path), .access = KEY_READ});
    times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - begin).count());
  }
  std::sort(times.begin(), times.end());
  state.counters["first_answer_ms"] = times[times.size() / 2];
}
BENCHMARK(First_Answer)->Iterations(11)->Unit(benchmark::kMillisecond);

}  // namespace
