// The page of change numbers, which the server writes and its clients see.
//
//   0     four bytes "KVCP", the layout (1), the server's identity (16 random bytes), the count of hives
//   64    the robust mutex that the server holds while it serves; its first word is the owner's thread number, to which
//         the system adds FUTEX_OWNER_DIED when that thread ends without letting go
//   128   62 hives of 64 bytes: identity (16 bytes, as the first ones of a key's id), change number
//
// A change number is even, from 2 on, while its hive stands still, and odd from before a change until behind it; it
// never falls. Each field is written before what makes it count: identity before count, mutex before the page is given.
#pragma once

#include <linux/futex.h>
#include <pthread.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace impl::wire {

struct alignas(64) Hive_Changes {
  static constexpr std::size_t identity_size = 16;

  unsigned char hive[identity_size];
  std::atomic<std::uint64_t> number;
};

struct Change_Page {
  static constexpr std::size_t max_hives = 62;
  static constexpr std::size_t identity_size = 16;
  static constexpr unsigned char mark_bytes[] = {'K', 'V', 'C', 'P'};
  static constexpr std::uint32_t layout_number = 1;

  unsigned char mark[sizeof mark_bytes];
  std::uint32_t layout;
  unsigned char server[identity_size];
  std::atomic<std::uint32_t> hive_count;
  union {
    alignas(64) pthread_mutex_t mutex{};
    std::atomic<std::uint32_t> owner;
  };
  Hive_Changes hives[max_hives];
};

static_assert(sizeof(Hive_Changes) == 64 && offsetof(Hive_Changes, number) == 16);
static_assert(sizeof(Change_Page) == 4096 && offsetof(Change_Page, hive_count) == 24);
static_assert(offsetof(Change_Page, mutex) == 64 && offsetof(Change_Page, hives) == 128);
static_assert(offsetof(pthread_mutex_t, __data.__lock) == 0 && sizeof(pthread_mutex_t) <= 64);
static_assert(std::atomic<std::uint64_t>::is_always_lock_free && sizeof(std::atomic<std::uint64_t>) == 8);

// Whether the thread that the word names is alive and holds the mutex.
constexpr bool is_held(std::uint32_t owner) { return (owner & FUTEX_TID_MASK) != 0 && (owner & FUTEX_OWNER_DIED) == 0; }

}  // namespace impl::wire
