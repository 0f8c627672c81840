// The library's operator new and operator delete, which are this whole program's here. After the switch nothing
// is released, so each test that switches runs in a child.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include <kelvane/advapi32.h>

#include "tests/support/child.h"

// Not every compiler declares the sized forms by itself.
void operator delete(void* block, std::size_t size) noexcept;
void operator delete[](void* block, std::size_t size) noexcept;

namespace kvtest {
namespace {

constexpr std::size_t block_size = 1000;

// The compiler may not leave out what goes through here.
void* seen(void* block) {
  void* volatile copy = block;
  return copy;
}

bool is_zero(const void* block, std::size_t size) {
  const auto* bytes = static_cast<const unsigned char*>(block);
  for (std::size_t i = 0; i < size; ++i)
    if (bytes[i] != 0) return false;
  return true;
}

// Leaves blocks full of other bytes behind for the next allocation.
void soil_the_heap() {
  void* blocks[8];
  for (void*& block : blocks) block = seen(memset(malloc(block_size), 0xFF, block_size));
  for (void* block : blocks) free(block);
}

using Allocate = void* (*)(std::size_t);

void* one(std::size_t size) { return ::operator new(size); }
void* many(std::size_t size) { return ::operator new[](size); }
void* one_or_null(std::size_t size) { return ::operator new(size, std::nothrow); }
void* many_or_null(std::size_t size) { return ::operator new[](size, std::nothrow); }

constexpr Allocate all_forms_of_new[] = {one, many, one_or_null, many_or_null};

using Release = void (*)(void*);

void delete_one(void* block) { ::operator delete(block); }
void delete_many(void* block) { ::operator delete[](block); }
void delete_one_sized(void* block) { ::operator delete(block, block_size); }
void delete_many_sized(void* block) { ::operator delete[](block, block_size); }
void delete_one_nothrow(void* block) { ::operator delete(block, std::nothrow); }
void delete_many_nothrow(void* block) { ::operator delete[](block, std::nothrow); }

constexpr Release all_forms_of_delete[] = {delete_one,        delete_many,        delete_one_sized,
                                           delete_many_sized, delete_one_nothrow, delete_many_nothrow};

TEST(OperatorNew, GivesZeroedBlocksThatTheSystemCanRelease) {
  for (Allocate allocate : all_forms_of_new) {
    soil_the_heap();
    void* block = seen(allocate(block_size));
    EXPECT_TRUE(is_zero(block, block_size));
    free(block);
  }
}

TEST(OperatorNew, ABlockOfNoBytesIsNotNull) {
  for (Allocate allocate : all_forms_of_new) {
    void* block = seen(allocate(0));
    EXPECT_NE(block, nullptr);
    free(block);
  }
}

TEST(OperatorNew, ThrowsWhenMemoryIsShort) {
  EXPECT_THROW(seen(one(SIZE_MAX / 2)), std::bad_alloc);
  EXPECT_THROW(seen(many(SIZE_MAX / 2)), std::bad_alloc);
}

TEST(OperatorNew, TheFormsThatDoNotThrowGiveNullWhenMemoryIsShort) {
  EXPECT_EQ(seen(one_or_null(SIZE_MAX / 2)), nullptr);
  EXPECT_EQ(seen(many_or_null(SIZE_MAX / 2)), nullptr);
}

TEST(OperatorNew, GivesZeroedAlignedBlocksAfterTheSwitch) {
  const Child_Result child = run_child([] {
    KvDllNoMoreMalloc(0, 0);
    for (Allocate allocate : all_forms_of_new) {
      for (int i = 0; i < 100; ++i) {
        void* block = seen(allocate(block_size));
        if (!is_zero(block, block_size) || reinterpret_cast<uintptr_t>(block) % 16 != 0) _exit(1);
        memset(block, 0xFF, block_size);
      }
    }
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
}

TEST(OperatorNew, ThrowsAfterTheSwitchWhenMemoryIsShort) {
  const Child_Result child = run_child([] {
    KvDllNoMoreMalloc(0, 0);
    try {
      seen(one(SIZE_MAX / 2));
    } catch (const std::bad_alloc&) {
      _exit(seen(one_or_null(SIZE_MAX / 2)) == nullptr ? 3 : 4);
    }
  });
  EXPECT_EQ(child.exit_status, 3) << child.err;
}

TEST(OperatorDelete, DoesNothingForNull) {
  for (Release release : all_forms_of_delete) release(nullptr);
  const Child_Result child = run_child([] {
    KvDllNoMoreMalloc(0, 0);
    for (Release release : all_forms_of_delete) release(nullptr);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
}

// A block that is released twice ends the process.
TEST(OperatorDelete, ReleasesToTheSystemsHeapBeforeTheSwitch) {
  for (Release release : all_forms_of_delete) {
    const Child_Result child = run_child([release] {
      void* block = seen(calloc(block_size, 1));
      release(block);
      free(seen(block));
    });
    EXPECT_TRUE(child.signal != 0 || child.exit_status != 0);
  }
}

TEST(OperatorDelete, ReleasesNoBlockOfTheSystemsHeapAfterTheSwitch) {
  for (Release release : all_forms_of_delete) {
    const Child_Result child = run_child([release] {
      void* block = seen(one(block_size));
      memset(block, 'x', block_size);
      KvDllNoMoreMalloc(0, 0);
      release(block);
      for (std::size_t i = 0; i < block_size; ++i)
        if (static_cast<volatile char*>(block)[i] != 'x') _exit(1);
      free(block);
    });
    EXPECT_EQ(child.exit_status, 0) << child.err;
  }
}

TEST(OperatorDelete, ReleasesNoBlockOfTheKernelHeap) {
  const Child_Result child = run_child([] {
    KvDllNoMoreMalloc(0, 0);
    for (Release release : all_forms_of_delete) {
      void* block = seen(one(block_size));
      memset(block, 'x', block_size);
      release(block);
      if (*static_cast<volatile char*>(block) != 'x' || seen(one(block_size)) == block) _exit(1);
    }
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
}

TEST(OperatorDelete, FollowsTheFlagWhateverItsValue) {
  const Child_Result child = run_child([] {
    KvDllUseMalloc = -1;
    void* block = seen(one(block_size));
    KvDllUseMalloc = 0;
    delete_one(seen(block));
    free(block);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
}

}  // namespace
}  // namespace kvtest
