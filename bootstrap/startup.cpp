// Start-up and shutdown of the library, step by step and in this order. Runs on the loading thread.

#include <kelvane/advapi32.h>
#include <kelvane/descriptor.h>
#include <kelvane/notify.h>
#include <kelvane/number.h>
#include <kelvane/process.h>
#include <kelvane/window_procedure.h>

#include <cstdlib>
#include <new>

#include "bootstrap/call_log.h"
#include "bootstrap/duvet.h"
#include "bootstrap/guard.h"
#include "bootstrap/object_heap.h"
#include "parselib/profile.h"

inline namespace kelvane {
namespace {

constexpr int out_of_memory = 255;  // the status of a process that cannot start

Clb_Globals* library_globals = nullptr;

// The start-up profile.
Profiler* Profile = nullptr;

// The thread-local slot reserved at start-up.
DWORD STIndex = TLS_OUT_OF_INDEXES;

// A number of bytes from a profile; what no size can be is none.
std::size_t size_of(const Number& number) {
  constexpr double max_size = 9.0e18;
  const double value = number.value();
  return value > 0 && value < max_size ? static_cast<std::size_t>(value) : 0;
}

// Takes blocks of one size from the system's heap. The compiler must not leave the calls out.
void warm_heap(Bone* element, void* how_often) {
  const auto* number = dynamic_cast<const Number*>(element);
  if (number == nullptr) return;
  for (int i = 0; i < *static_cast<int*>(how_often); ++i) {
    void* volatile kept = std::malloc(size_of(*number));
    static_cast<void>(kept);
  }
}

// The blocks are never given back, by design. A lone number is a list of one.
void warm_heap(Bone* sizes, int count) {
  if (sizes == nullptr || count == 0) return;
  if (const auto* list = dynamic_cast<const Sequence*>(sizes)) {
    list->apply({warm_heap, &count});
  } else {
    warm_heap(sizes, &count);
  }
}

void open_profile() {
  Profile = new (AdvApi_Global_Destructor) Profiler("com.pro");
  Log_Call = read_stream(*Profile, clAtom("calls-log-file"));
  new (AdvApi_Global_Destructor) duvet<kvostream>(Log_Call);
}

void warm_heap_as_profiled() {
  const int count = Profile->read_int(clAtom("number-of-allocs"), 0);
  warm_heap(Profile->read_list(clAtom("alloc-sizes"), nullptr), count);
}

void reserve_thread_slot() {
  STIndex = TlsAlloc();
  if (STIndex != TLS_OUT_OF_INDEXES) TlsSetValue(STIndex, nullptr);
}

}  // namespace
}  // namespace kelvane

void InitAdvapi32(void) {
  global_init(1);
  library_globals = new Clb_Globals;
  const Use_Stack_List heap_kind;
  AdvApi_Global_Destructor = heap_kind.make();
  open_profile();
  KelvaneInitializeRegistry();
  AdvInitMapping();
  AdvInitInputIdle();
  warm_heap_as_profiled();
  reserve_thread_slot();
}

void initialize_windows_stubs(void) {
  static const Com_Globals guard;
  InitAdvapi32();
}

// The process has not begun: without memory it ends here, with a word instead of a core.
void init_advapi32(void) {
  try {
    initialize_windows_stubs();
  } catch (const std::bad_alloc&) {
    KvConsoleMessage("Fatal Error: there is no memory to start libadvapi32.\n");
    Kv_Exit(out_of_memory);
  }
}

void KvDestroyAdvapi32(void) {
  // Null in a process that never started the library.
  if (AdvApi_Global_Destructor != nullptr) {
    AdvApi_Global_Destructor->apply(Delete_Bones);
    delete AdvApi_Global_Destructor;
    AdvApi_Global_Destructor = nullptr;
  }
  Profile = nullptr;
  Log_Call = nullptr;
  if (library_globals != nullptr) {
    delete library_globals;
    library_globals = nullptr;
  }
  global_init(0);
}
