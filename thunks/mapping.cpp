// The maps and the functions that register windows in them. Outside the time between start-up and shutdown there are no
// maps: nothing is registered then, and nothing is found.
#include "thunks/mapping.h"

#include <kelvane/pointer_map.h>
#include <winbase.h>

#include <memory>

#include "bootstrap/duvet.h"
#include "bootstrap/object_heap.h"

inline namespace kelvane {
namespace {

constexpr int map_size = 5;

CRITICAL_SECTION Handle_Map_Lock;

class Map_Lock {
 public:
  Map_Lock() { EnterCriticalSection(&Handle_Map_Lock); }
  ~Map_Lock() { LeaveCriticalSection(&Handle_Map_Lock); }
  Map_Lock(const Map_Lock&) = delete;
  Map_Lock& operator=(const Map_Lock&) = delete;
};

// Windows as keys: hashed by their low half, in the order of unsigned numbers.
class Window_Keys final : public Key_Methods {
 public:
  int compare(const void* first, const void* second) const override {
    return number_of(first) > number_of(second) ? 1 : number_of(first) < number_of(second) ? -1 : 0;
  }
  unsigned hash(const void* key) const override { return static_cast<unsigned>(number_of(key)); }

 private:
  static UINT_PTR number_of(const void* key) { return reinterpret_cast<UINT_PTR>(key); }
};

constexpr Window_Keys default_key_methods_uself;

// Empties its place among the maps when it goes.
class Handle_Map : public assoc<WndProc_And_Context*, void*> {
 public:
  explicit Handle_Map(int index)
      : assoc<WndProc_And_Context*, void*>(Use_Close_Hash(map_size), default_key_methods_uself), index_(index) {}
  ~Handle_Map();

 private:
  int index_;
};

Handle_Map* maps[map_count];

Handle_Map::~Handle_Map() {
  const Map_Lock lock;
  if (maps[index_] == this) maps[index_] = nullptr;
}

// With the lock held.
WndProc_And_Context* record_of(int index, HWND window) {
  return maps[index] == nullptr ? nullptr : maps[index]->lookup(window);
}

void* context_of(int index, HWND window) {
  const WndProc_And_Context* record = record_of(index, window);
  return record == nullptr ? nullptr : record->context;
}

}  // namespace

bool find_registration(int index, HWND window, WndProc_And_Context* out) {
  const Map_Lock lock;
  const WndProc_And_Context* record = record_of(index, window);
  if (record == nullptr) return false;
  *out = *record;
  return true;
}

}  // namespace kelvane

void AdvInitMapping() {
  InitializeCriticalSection(&Handle_Map_Lock);
  for (int index = 0; index < map_count; ++index) {
    auto map = std::make_unique<Handle_Map>(index);
    new (AdvApi_Global_Destructor) duvet<Handle_Map>(map.get());
    maps[index] = map.release();
  }
}

KvWindowProcedure hmap_addex(HWND window, void* context, KvContextProcedure procedure) {
  const Map_Lock lock;
  std::unique_ptr<WndProc_And_Context> record(new WndProc_And_Context{context, procedure});
  for (int index = 0; index < map_count; ++index) {
    if (maps[index] == nullptr || !maps[index]->insert(window, record.get())) continue;
    record.release();
    return WindowProcs[index];
  }
  return nullptr;
}

KvWindowProcedure hmap_add(HWND window, void* context) { return hmap_addex(window, context, nullptr); }

void* hmap_getex(HWND window, int map) {
  const Map_Lock lock;
  return context_of(map, window);
}

void* hmap_get(HWND window) { return hmap_getex(window, 0); }

void* hmap_removeex(HWND window, void* context) {
  const Map_Lock lock;
  for (int index = 0; index < map_count; ++index) {
    const WndProc_And_Context* record = record_of(index, window);
    if (record == nullptr || record->context != context) continue;
    delete maps[index]->remove(window);
    return context;
  }
  return nullptr;
}

void* hmap_remove(HWND window) {
  const Map_Lock lock;
  // QUIRK hmap-remove-null-context: without a registration in map 0, one with a null context in another map goes.
  return hmap_removeex(window, context_of(0, window));
}
