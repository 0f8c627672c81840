// Work in several processes at once. They are forked from the benchmark; none outlives it.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstddef>
#include <functional>
#include <vector>

namespace bench {

// Seconds since some moment, the same in all processes.
double now();

// Memory that forked processes share.
class Shared_Memory {
 public:
  explicit Shared_Memory(std::size_t size);
  ~Shared_Memory();
  Shared_Memory(const Shared_Memory&) = delete;
  Shared_Memory& operator=(const Shared_Memory&) = delete;

  void* data() const { return data_; }

 private:
  void* data_;
  std::size_t size_;
};

// Processes that do one round of work whenever they are told, all at once.
class Crowd {
 public:
  // work: is called in each process, with its number, once a round.
  Crowd(unsigned count, std::function<void(unsigned number)> work);
  ~Crowd();
  Crowd(const Crowd&) = delete;
  Crowd& operator=(const Crowd&) = delete;

  // Seconds from the beginning of the first process to the end of the last; less than 0 when one has died.
  double run_round();

  // Seconds that the processors have worked for all of them, in all rounds.
  double processor_time() const { return processor_time_; }

 private:
  struct Time {
    double begin, end, worked;
  };
  struct Member {
    pid_t process;
    int to, from;
  };

  [[noreturn]] void serve(unsigned number, int from, int to);

  std::function<void(unsigned)> work_;
  Shared_Memory times_;
  std::vector<Member> members_;
  double processor_time_ = 0;
};

// One process that repeats a step beside the benchmark, so many times a second, as long as this is there.
class Companion {
 public:
  Companion(unsigned steps_a_second, std::function<void()> step);
  ~Companion();
  Companion(const Companion&) = delete;
  Companion& operator=(const Companion&) = delete;

  // Since it began.
  double steps_a_second() const;

 private:
  struct Word {
    std::atomic<bool> ends;
    std::atomic<unsigned long> steps;
  };

  Word& word() const { return *static_cast<Word*>(memory_.data()); }
  [[noreturn]] void serve(unsigned steps_a_second, const std::function<void()>& step);

  Shared_Memory memory_;
  double begin_;
  pid_t process_;
};

}  // namespace bench
