// Four writers, one of them killed again and again at a random moment, beside readers: every write reported done is
// there, and no reader ever sees an older state than one that it has seen.
#include <sys/mman.h>

#include <array>
#include <atomic>
#include <csignal>
#include <random>

#include "tests/hive/registry_on.h"
#include "tests/hive/trials.h"

namespace {

using namespace hivetest;

constexpr int writers = 4;
constexpr int readers = 2;

// What all processes of a test see.
struct Board {
  std::array<std::atomic<int>, writers> done;     // the last number that each writer reported done
  std::array<std::atomic<int>, writers> started;  // how often each writer has found its place and begun
  std::atomic<long> looks;                        // by all readers
  std::atomic<int> wrong;
  std::atomic<bool> over;
};

class Shared_Board {
 public:
  Shared_Board() {
    void* memory = mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::runtime_error("mmap");
    board_ = new (memory) Board{};
  }
  ~Shared_Board() { munmap(board_, sizeof(Board)); }
  Shared_Board(const Shared_Board&) = delete;
  Shared_Board& operator=(const Shared_Board&) = delete;
  Board* operator->() const { return board_; }
  Board& operator*() const { return *board_; }

 private:
  Board* board_;
};

std::u16string value_of_writer(int writer) { return u"w" + std::u16string(1, static_cast<char16_t>(u'0' + writer)); }

void tell_complaints() {
  for (const std::string& line : complaints()) fprintf(stderr, "%s\n", line.c_str());
}

// Each writer has a key of its own, so that readers go on holding those of the others.
Key key_of_writer(Registry& registry, int writer) {
  Key key;
  Status status = Status::busy;
  while (status == Status::busy) {
    status = create(registry, root_of(registry), u"numbers\\" + value_of_writer(writer), &key);
  }
  if (status == Status::ok) return key;
  fprintf(stderr, "no key of writer %d: %d\n", writer, static_cast<int>(status));
  tell_complaints();
  _exit(1);
}

int number_in(const std::string& text) { return text.empty() || text[0] == '(' ? -1 : std::stoi(text); }

void report(Board& board, const char* what, int writer, int found, int known) {
  fprintf(stderr, "%s of writer %d: %d, known %d\n", what, writer, found, known);
  ++board.wrong;
}

// Goes on from what is there, which is no less than what was reported.
[[noreturn]] void write_for_ever(const std::string& folder, Board& board, int writer) {
  Registry& registry = *registry_on(folder).release();
  Key key = key_of_writer(registry, writer);
  int number = number_in(get(registry, key, value_of_writer(writer)));
  if (number < board.done[writer]) report(board, "lost a write", writer, number, board.done[writer]);
  ++board.started[writer];
  for (;;) {
    ++number;
    const std::string text = std::to_string(number) + " " + std::string(static_cast<std::size_t>(number % 1500), 'x');
    Status status = Status::busy;  // while a disk is busy for longer than writers wait
    while (status == Status::busy) status = put(registry, key, value_of_writer(writer), text);
    if (status != Status::ok) {
      report(board, "refused", writer, number, static_cast<int>(status));
      tell_complaints();
      _exit(1);
    }
    board.done[writer] = number;
    if (number % 16 == 0) {
      Key child;
      const std::u16string name = u"k" + value_of_writer(writer);
      if (number % 32 == 0) {
        registry.remove(key, name);
      } else {
        create(registry, key, name, &child);
      }
    }
    if (number % 512 == 0) registry.flush(key);
  }
}

[[noreturn]] void read_for_ever(const std::string& folder, Board& board) {
  std::array<int, writers> seen{};
  seen.fill(-1);
  while (!board.over) {
    Registry& registry = *registry_on(folder).release();
    std::array<Key, writers> keys;
    for (int writer = 0; writer < writers; ++writer) keys[writer] = key_of_writer(registry, writer);
    for (int look = 0; look < 2000 && !board.over; ++look) {
      for (int writer = 0; writer < writers; ++writer) {
        const int reported = board.done[writer];
        const int number = number_in(get(registry, keys[writer], value_of_writer(writer)));
        if (number < seen[writer]) report(board, "an older state", writer, number, seen[writer]);
        if (number < reported) report(board, "not yet what was reported", writer, number, reported);
        seen[writer] = number;
      }
      ++board.looks;
    }
  }
  tell_complaints();
  _exit(complaints().empty() ? 0 : 1);
}

pid_t start(const std::function<void()>& body) {
  fflush(nullptr);
  pid_t child = fork();
  if (child == 0) body();
  return child;
}

TEST(Kill_Trials, FourWritersBesideReadersLoseNothingAndShowNoOlderState) {
  Temp_Folder folder;
  Shared_Board board;
  complaints().clear();
  std::mt19937 random(11);
  for (auto& done : board->done) done = -1;
  std::array<pid_t, writers> running{};
  std::array<pid_t, readers> reading{};
  for (int i = 0; i < writers; ++i) running[i] = start([&] { write_for_ever(folder.path(), *board, i); });
  for (pid_t& reader : reading) reader = start([&] { read_for_ever(folder.path(), *board); });
  const int wanted = trials(200, 10000);
  for (int kills = 0; kills < wanted; ++kills) {
    const int victim = static_cast<int>(random() % writers);
    usleep(random() % 25000);  // which moment of a write, or of the opening, it is shall be chance
    kill(running[victim], SIGKILL);
    int ended = 0;
    ASSERT_EQ(waitpid(running[victim], &ended, 0), running[victim]);
    ASSERT_TRUE(WIFSIGNALED(ended)) << "a writer ended by itself after " << board->started[victim] << " starts";
    if (board->wrong != 0) break;
    running[victim] = start([&] { write_for_ever(folder.path(), *board, victim); });
  }
  board->over = true;
  for (pid_t writer : running) kill(writer, SIGKILL);
  for (pid_t writer : running) waitpid(writer, nullptr, 0);
  for (pid_t reader : reading) {
    int ended = -1;
    EXPECT_EQ(waitpid(reader, &ended, 0), reader);
    EXPECT_EQ(ended, 0);
  }
  EXPECT_EQ(board->wrong, 0);
  long done = 0;
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  for (int i = 0; i < writers; ++i) {
    EXPECT_GE(number_in(get(*registry, key_of_writer(*registry, i), value_of_writer(i))), board->done[i]);
    done += board->done[i] + 1;
  }
  std::vector<hive::Found_Fault> faults;
  EXPECT_EQ(registry->check(root_of(*registry), &faults), Status::ok);
  for (const hive::Found_Fault& fault : faults) ADD_FAILURE() << fault.text;
  for (const std::string& line : complaints()) ADD_FAILURE() << line;
  printf("%d kills, %ld writes reported done, 0 lost, %ld looks of %d readers, no older state\n", wanted, done,
         board->looks.load(), readers);
}

}  // namespace
