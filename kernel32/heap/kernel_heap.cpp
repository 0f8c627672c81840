// The kernel heap: blocks are cut from the current chunk by an atomic addition, and a new chunk replaces a
// spent one. No lock is held at any time, so that the child of a process with several threads may go on
// allocating. Large blocks are mappings of their own.
#include <kelvane/heap.h>
#include <sys/mman.h>

#include <atomic>
#include <new>

namespace {

constexpr size_t alignment = 16;
constexpr size_t chunk_size = size_t{1} << 20;
constexpr size_t large_block = chunk_size / 4;

// The head of a mapping; the blocks stand behind it.
struct alignas(alignment) Chunk {
  std::atomic<size_t> used; /* grows beyond the chunk when it is spent */
};

static_assert(sizeof(Chunk) % alignment == 0, "the first block is aligned");

constexpr size_t chunk_room = chunk_size - sizeof(Chunk);

constinit std::atomic<Chunk*> current_chunk{nullptr};

void* map_zeroed(size_t size) {
  void* mapping = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return mapping == MAP_FAILED ? nullptr : mapping;
}

void* cut(Chunk* chunk, size_t size) {
  const size_t offset = chunk->used.fetch_add(size, std::memory_order_relaxed);
  if (offset > chunk_room - size) return nullptr;
  return reinterpret_cast<char*>(chunk + 1) + offset;
}

// Puts a fresh chunk in the place of a spent one, unless another thread did; false when memory is short.
bool replace_chunk(Chunk* spent) {
  void* mapping = map_zeroed(chunk_size);
  if (mapping == nullptr) return false;
  Chunk* fresh = new (mapping) Chunk{};
  if (!current_chunk.compare_exchange_strong(spent, fresh, std::memory_order_acq_rel)) munmap(mapping, chunk_size);
  return true;
}

}  // namespace

uintptr_t KvKernelMallocInit(uintptr_t, uintptr_t) { return 1; }

void* KvKernelCalloc(size_t size) {
  if (size > PTRDIFF_MAX) return nullptr;
  if (size >= large_block) return map_zeroed(size);
  const size_t rounded = size == 0 ? alignment : (size + alignment - 1) / alignment * alignment;
  for (;;) {
    Chunk* chunk = current_chunk.load(std::memory_order_acquire);
    void* block = chunk == nullptr ? nullptr : cut(chunk, rounded);
    if (block != nullptr) return block;
    if (!replace_chunk(chunk)) return nullptr;
  }
}
