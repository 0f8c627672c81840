#include "bench/processes.h"

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <new>
#include <utility>

namespace bench {
namespace {

constexpr long nanoseconds_of_a_second = 1000000000;

struct Pipe {
  int out, in;
  Pipe() {
    int ends[2];
    if (pipe(ends) != 0) std::abort();
    out = ends[0];
    in = ends[1];
  }
};

double seconds_of(clockid_t clock) {
  timespec time;
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// 0 in the child, which ends with its parent.
pid_t fork_bound() {
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child < 0) std::abort();
  if (child != 0) return child;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);
  return 0;
}

void advance(timespec& time, long nanoseconds) {
  time.tv_nsec += nanoseconds;
  for (; time.tv_nsec >= nanoseconds_of_a_second; ++time.tv_sec) time.tv_nsec -= nanoseconds_of_a_second;
}

}  // namespace

double now() { return seconds_of(CLOCK_MONOTONIC); }

Shared_Memory::Shared_Memory(std::size_t size)
    : data_(mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)), size_(size) {
  if (data_ == MAP_FAILED) std::abort();
}

Shared_Memory::~Shared_Memory() { munmap(data_, size_); }

Crowd::Crowd(unsigned count, std::function<void(unsigned)> work)
    : work_(std::move(work)), times_(count * sizeof(Time)) {
  for (unsigned i = 0; i < count; ++i) {
    const Pipe to, from;
    const pid_t process = fork_bound();
    if (process == 0) {
      close(to.in);
      for (const Member& member : members_) close(member.to);
      serve(i, to.out, from.in);
    }
    close(to.out);
    close(from.in);
    members_.push_back({process, to.in, from.out});
  }
}

Crowd::~Crowd() {
  for (const Member& member : members_) close(member.to);
  for (const Member& member : members_) {
    close(member.from);
    waitpid(member.process, nullptr, 0);
  }
}

void Crowd::serve(unsigned number, int from, int to) {
  Time& time = static_cast<Time*>(times_.data())[number];
  char word;
  while (read(from, &word, 1) == 1) {
    const double worked = seconds_of(CLOCK_PROCESS_CPUTIME_ID);
    time.begin = now();
    work_(number);
    time.end = now();
    time.worked = seconds_of(CLOCK_PROCESS_CPUTIME_ID) - worked;
    if (write(to, &word, 1) != 1) break;
  }
  _exit(0);
}

double Crowd::run_round() {
  char word = 0;
  for (const Member& member : members_) {
    if (write(member.to, &word, 1) != 1) return -1;
  }
  double begin = std::numeric_limits<double>::max();
  double end = 0;
  const Time* time = static_cast<const Time*>(times_.data());
  for (const Member& member : members_) {
    if (read(member.from, &word, 1) != 1) return -1;
    begin = std::min(begin, time->begin);
    end = std::max(end, time->end);
    processor_time_ += time->worked;
    ++time;
  }
  return end - begin;
}

Companion::Companion(unsigned steps_a_second, std::function<void()> step) : memory_(sizeof(Word)), begin_(now()) {
  new (memory_.data()) Word{};
  process_ = fork_bound();
  if (process_ == 0) serve(steps_a_second, step);
}

Companion::~Companion() {
  word().ends = true;
  waitpid(process_, nullptr, 0);
}

double Companion::steps_a_second() const { return static_cast<double>(word().steps) / (now() - begin_); }

void Companion::serve(unsigned steps_a_second, const std::function<void()>& step) {
  timespec next;
  clock_gettime(CLOCK_MONOTONIC, &next);
  while (!word().ends) {
    step();
    ++word().steps;
    advance(next, nanoseconds_of_a_second / static_cast<long>(steps_a_second));
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &next, nullptr);
  }
  _exit(0);
}

}  // namespace bench
