// Many at once: twenty processes against a model, sixty-four threads, readers that stop in the middle of reading, a
// daemon's thread with a small stack, and a signal handler that interrupts every call.
#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <map>
#include <random>
#include <thread>

#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;

std::u16string wide(const std::string& text) { return {text.begin(), text.end()}; }

void expect_no_fault(Registry& registry) {
  std::vector<hive::Found_Fault> faults;
  EXPECT_EQ(registry.check(root_of(registry), &faults), Status::ok);
  for (const hive::Found_Fault& fault : faults) ADD_FAILURE() << fault.text;
}

constexpr int processes = 20;
constexpr int operations = 60;
constexpr int shared_names = 8;

// What a process leaves of names that only it uses.
struct Own {
  std::map<std::string, std::string> values;
  std::map<std::string, bool> keys;
};

// One process's operations on names of its own; the same for the process itself and for the model beside it.
template <typename Set, typename Unset, typename Make, typename Remove>
void own_operations(int process, Set set, Unset unset, Make make, Remove remove) {
  std::mt19937 random(static_cast<unsigned>(process));
  for (int i = 0; i < operations; ++i) {
    const std::string name = "p" + std::to_string(process) + "n" + std::to_string(random() % 12);
    const unsigned what = random() % 5;
    const std::string data(random() % 900, static_cast<char>('a' + random() % 26));
    if (what < 2) set(name, data);
    if (what == 2) unset(name);
    if (what == 3) make(name);
    if (what == 4) remove(name);
  }
}

Own model_of(int process) {
  Own own;
  own_operations(
      process, [&](const std::string& name, const std::string& data) { own.values[name] = data; },
      [&](const std::string& name) { own.values.erase(name); }, [&](const std::string& name) { own.keys[name] = true; },
      [&](const std::string& name) { own.keys.erase(name); });
  return own;
}

// How often keys of shared names were made and removed, by all processes.
struct Shared_Counts {
  std::atomic<int> made[shared_names];
  std::atomic<int> removed[shared_names];
  std::atomic<int> wrong;
};

class Crowd_Member {
 public:
  Crowd_Member(const std::string& folder, Shared_Counts& counts)
      : registry_(*registry_on(folder).release()), counts_(counts) {}

  void run(int process) {
    key_ = make_key(registry_, root_of(registry_), u"crowd");
    std::mt19937 random(static_cast<unsigned>(1000 + process));
    auto meet_others = [&] { use_shared(static_cast<int>(random() % shared_names)); };
    own_operations(
        process,
        [&](const std::string& name, const std::string& data) {
          meet_others();
          expect(put(registry_, key_, wide(name), data) == Status::ok);
        },
        [&](const std::string& name) { expect_gone(registry_.remove_value(key_, wide(name))); },
        [&](const std::string& name) {
          meet_others();
          Key made;
          expect(create(registry_, key_, wide(name), &made) == Status::ok);
        },
        [&](const std::string& name) { expect_gone(registry_.remove(key_, wide(name))); });
    expect(complaints().empty());
  }

 private:
  void expect(bool right) { counts_.wrong += !right; }
  void expect_gone(Status status) { expect(status == Status::ok || status == Status::not_found); }

  void use_shared(int name) {
    const std::u16string path = u"shared" + std::u16string(1, static_cast<char16_t>(u'0' + name));
    Key key;
    bool created = false;
    Status status = registry_.create(key_, path, {}, &key, &created);
    expect(status == Status::ok);
    counts_.made[name] += created;
    if (name % 2 == 0) return;
    status = registry_.remove(key_, path);
    counts_.removed[name] += status == Status::ok;
    expect_gone(status);
  }

  Registry& registry_;
  Shared_Counts& counts_;
  Key key_;
};

TEST(Crowd, OfTwentyProcessesLosesAndDoublesNothing) {
  Temp_Folder folder;
  complaints().clear();
  void* memory = mmap(nullptr, sizeof(Shared_Counts), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(memory, MAP_FAILED);
  Shared_Counts& counts = *new (memory) Shared_Counts{};
  std::vector<pid_t> children;
  fflush(nullptr);
  for (int process = 0; process < processes; ++process) {
    pid_t child = fork();
    if (child == 0) {
      Crowd_Member(folder.path(), counts).run(process);
      _exit(0);
    }
    children.push_back(child);
  }
  for (pid_t child : children) {
    int ended = -1;
    ASSERT_EQ(waitpid(child, &ended, 0), child);
    EXPECT_EQ(ended, 0);
  }
  EXPECT_EQ(counts.wrong, 0);

  std::unique_ptr<Registry> registry = registry_on(folder.path());
  Key key = make_key(*registry, root_of(*registry), u"crowd");
  std::map<std::u16string, bool> keys;
  std::size_t values = 0;
  for (int process = 0; process < processes; ++process) {
    const Own own = model_of(process);
    values += own.values.size();
    for (const auto& [name, data] : own.values) EXPECT_EQ(get(*registry, key, wide(name)), data) << name;
    for (const auto& [name, there] : own.keys) keys[wide(name)] = there;
  }
  for (int name = 0; name < shared_names; ++name) {
    const int there = counts.made[name] - counts.removed[name];
    EXPECT_TRUE(there == 0 || there == 1) << name << ": " << there;
    if (there == 1) keys[u"shared" + std::u16string(1, static_cast<char16_t>(u'0' + name))] = true;
  }
  Names names;
  for (const auto& [name, there] : keys) names.push_back(name);
  EXPECT_EQ(key_names(*registry, key), names);
  EXPECT_EQ(counts_of(*registry, key).sub_keys, names.size());
  EXPECT_EQ(counts_of(*registry, key).values, values);
  EXPECT_EQ(value_names(*registry, key).size(), values);
  expect_no_fault(*registry);
  munmap(memory, sizeof(Shared_Counts));
}

TEST(Crowd, OfSixtyFourThreadsOnOneHiveLosesAndDoublesNothing) {
  Temp_Folder folder;
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  Key key = make_key(*registry, root_of(*registry), u"threads");
  std::atomic<int> made = 0;
  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  for (int number = 0; number < 64; ++number) {
    threads.emplace_back([&, number] {
      for (int i = 0; i < 10; ++i) {
        const std::u16string own = wide(std::to_string(number) + "_" + std::to_string(i));
        Key shared;
        bool created = false;
        wrong += put(*registry, key, own, std::to_string(i)) != Status::ok;
        wrong += get(*registry, key, own) != std::to_string(i);
        wrong += registry->create(key, u"shared" + wide(std::to_string(i)), {}, &shared, &created) != Status::ok;
        made += created;
        Key mine = make_key(*registry, key, own);
        wrong += counts_of(*registry, mine).sub_keys != 0;
        wrong += registry->remove(key, own) != Status::ok;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(made, 10);
  EXPECT_EQ(value_names(*registry, key).size(), 640u);
  EXPECT_EQ(counts_of(*registry, key).values, 640u);
  EXPECT_EQ(key_names(*registry, key).size(), 10u);
  expect_no_fault(*registry);
}

// A reader that is stopped at any moment of its reading holds up nobody: who waited for it would answer busy.
TEST(Crowd, ReadersThatAreStoppedKeepNobodyWaiting) {
  Temp_Folder folder;
  complaints().clear();
  {
    std::unique_ptr<Registry> maker = registry_on(folder.path());
    put(*maker, make_key(*maker, root_of(*maker), u"a"), u"v", std::string(3000, 'x'));
  }
  std::vector<pid_t> readers;
  std::array<int, 2> begun{};  // who opens a hive may write, and is not to be stopped yet
  ASSERT_EQ(pipe(begun.data()), 0);
  for (int i = 0; i < 4; ++i) {
    pid_t child = fork();
    if (child == 0) {
      Registry& mine = *registry_on(folder.path()).release();
      for (bool is_first = true;; is_first = false) {
        Key key = make_key(mine, root_of(mine), u"a");
        if (get(mine, key, u"v").size() < 3000) _exit(1);
        value_names(mine, key);
        if (is_first && write(begun[1], "+", 1) != 1) _exit(2);
      }
    }
    readers.push_back(child);
  }
  close(begun[1]);
  for (std::size_t i = 0; i < readers.size(); ++i) {
    char byte = 0;
    ASSERT_EQ(read(begun[0], &byte, 1), 1);
  }
  close(begun[0]);
  std::mt19937 random(5);
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  Key key = make_key(*registry, root_of(*registry), u"a");
  for (int round = 0; round < 25; ++round) {
    usleep(random() % 3000);  // which moment of a reading it is shall be chance
    for (pid_t reader : readers) kill(reader, SIGSTOP);
    for (int i = 0; i < 20; ++i) EXPECT_EQ(get(*registry, key, u"v").size(), 3000u + static_cast<std::size_t>(round));
    EXPECT_EQ(put(*registry, key, u"v", std::string(3001 + static_cast<std::size_t>(round), 'x')), Status::ok);
    EXPECT_EQ(registry->flush(key), Status::ok);
    for (pid_t reader : readers) kill(reader, SIGCONT);
  }
  for (pid_t reader : readers) kill(reader, SIGKILL);
  for (pid_t reader : readers) {
    int ended = 0;
    EXPECT_EQ(waitpid(reader, &ended, 0), reader);
    EXPECT_TRUE(WIFSIGNALED(ended) && WTERMSIG(ended) == SIGKILL) << ended;
  }
  EXPECT_TRUE(complaints().empty());
}

// What a call needs of a thread's stack. Sanitizers make every frame larger.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t small_stack = 512 * 1024;
#else
constexpr std::size_t small_stack = 64 * 1024;
#endif

struct Thread_Work {
  Registry* registry;
  Key key;
  std::string folder;
  bool right = false;
};

void* work_on_a_small_stack(void* argument) {
  Thread_Work& work = *static_cast<Thread_Work*>(argument);
  Registry& registry = *work.registry;
  std::vector<hive::Found_Fault> faults;
  bool right = true;
  for (int i = 0; i < 20; ++i)
    right = right && put(registry, work.key, u"v" + wide(std::to_string(i)), "x") == Status::ok;
  make_key(registry, work.key, u"sub\\deeper\\still");
  right = right && registry.save(work.key, work.folder + "/saved") == Status::ok;
  right = right && registry.load(work.key, u"sub", work.folder + "/saved") == Status::ok;
  right = right && registry.check(work.key, &faults) == Status::ok && faults.empty();
  work.right = right && registry.flush(work.key) == Status::ok;
  return nullptr;
}

bool run_on_a_small_stack(Thread_Work& work) {
  pthread_attr_t attributes;
  pthread_t thread;
  pthread_attr_init(&attributes);
  bool started = pthread_attr_setstacksize(&attributes, small_stack) == 0 &&
                 pthread_create(&thread, &attributes, &work_on_a_small_stack, &work) == 0;
  if (started) pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  return started && work.right;
}

TEST(Crowd, ADaemonsThreadWithASmallStackUsesAllOfTheRegistry) {
  Temp_Folder folder;
  kvtest::Child_Result child = kvtest::run_child([&] {
    Registry& registry = *registry_on(folder.path()).release();
    Thread_Work work{&registry, make_key(registry, root_of(registry), u"daemon"), folder.path()};
    if (fork() != 0) _exit(0);
    setsid();
    pid_t daemon = fork();
    if (daemon != 0) {
      int ended = -1;
      _exit(waitpid(daemon, &ended, 0) == daemon && ended == 0 ? 0 : 1);
    }
    syscall(SYS_close_range, 3u, ~0u, 0u);
    const bool right = run_on_a_small_stack(work);
    if (right) fputs("done", stdout);
    fflush(stdout);
    _exit(right ? 0 : 1);
  });
  EXPECT_EQ(child.out, "done") << child.err;
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  Key key = make_key(*registry, root_of(*registry), u"daemon");
  EXPECT_EQ(counts_of(*registry, key).values, 20u);
  expect_no_fault(*registry);
}

// A handler that runs all the time, without SA_RESTART: system calls end early, with EINTR.
class Interruptions {
 public:
  Interruptions() {
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, &before_);
    const itimerval often = {{0, 200}, {0, 200}};
    setitimer(ITIMER_REAL, &often, nullptr);
  }
  ~Interruptions() {
    const itimerval never = {};
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &before_, nullptr);
  }

 private:
  struct sigaction before_ = {};
};

TEST(Crowd, ASignalHandlerMayInterruptAnyCall) {
  Temp_Folder folder;
  complaints().clear();
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  {
    Interruptions all_the_time;
    for (int round = 0; round < 12; ++round) {
      const std::string name = std::to_string(round);
      Key key = make_key(*registry, root_of(*registry), u"signals\\" + wide(name), {.class_name = u"class"});
      for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(
            put(*registry, key, u"v" + wide(std::to_string(i)), std::string(static_cast<std::size_t>(i) * 400, 's')),
            Status::ok);
      }
      EXPECT_EQ(value_names(*registry, key).size(), 10u);
      EXPECT_EQ(registry->remove_value(key, u"v0"), Status::ok);
      EXPECT_EQ(counts_of(*registry, key).values, 9u);
      EXPECT_EQ(registry->flush(key), Status::ok);
      EXPECT_EQ(registry->save(key, folder / ("saved" + name)), Status::ok);
      EXPECT_EQ(registry->load(key, u"copy", folder / ("saved" + name)), Status::ok);
      EXPECT_EQ(registry->backup(folder / "backup"), Status::ok);
      std::vector<hive::Found_Fault> faults;
      EXPECT_EQ(registry->check_file(folder / "backup/machine.hive", &faults), Status::ok);
      EXPECT_TRUE(faults.empty());
      EXPECT_EQ(registry->remove(key, u"copy"), Status::ok);
      make_key(*registry, root_of(*registry, Root::current_user), u"mine");
      std::vector<unsigned char> image;
      EXPECT_EQ(registry->user_image(&image), Status::ok);
      if (round % 4 == 3) registry = registry_on(folder.path());
    }
  }
  EXPECT_TRUE(complaints().empty());
  EXPECT_EQ(key_names(*registry, make_key(*registry, root_of(*registry), u"signals")).size(), 12u);
  expect_no_fault(*registry);
}

}  // namespace
