// Our handler stands in front of the program's. A program may put its own in front of ours later; ours then
// goes in front again, as another layer: a function of its own with that one handler behind it. So a program
// that gives up its handler and restores what it had found reaches the layer below, never itself again. A
// handler that calls what it had found may come back to the layer that called it, which then passes on to the
// layer below.
#include "kernel32/seh/fault_handler.h"

#include <atomic>
#include <utility>

#include "kernel32/seh/previous_action.h"

inline namespace kelvane {
namespace {

// Handlers beyond these are not called any more while ours is in front.
constexpr int layer_count = 8;

enum Layer_State { layer_is_free, layer_is_being_made, layer_is_ready };

struct Layer {
  std::atomic<int> state;
  std::atomic<bool> is_spent; /* the handler behind was to be called once, and was */
  struct sigaction previous;  /* constant while the layer is ready */
};

constinit Layer segv_layers[layer_count] = {};
constinit Layer bus_layers[layer_count] = {};

Layer* layers_of(int signal) { return signal == SIGBUS ? bus_layers : segv_layers; }

// The fault that a layer of this thread is passing on, by its context and the place of the handler.
struct Dispatch {
  const void* context;
  const void* frame;
};

// Of the initial-exec kind because the first use may be inside the handler, where nothing may be allocated.
thread_local Dispatch dispatches[layer_count] __attribute__((tls_model("initial-exec")));

// Whether the handler behind this layer has called us back with the fault that it got from the layer.
bool is_passing_on(int layer, const Fault& fault) {
  const Dispatch& dispatch = dispatches[layer];
  return dispatch.context == fault.context && fault.frame < dispatch.frame;
}

void pass_on_behind(int layer, const Fault& fault) {
  while (layer >= 0 && is_passing_on(layer, fault)) --layer;
  if (layer < 0) {
    take_default_action(fault);
    return;
  }
  Layer& behind = layers_of(fault.signal)[layer];
  const bool only_once = (behind.previous.sa_flags & static_cast<int>(SA_RESETHAND)) != 0;
  if (only_once && behind.is_spent.exchange(true)) {
    take_default_action(fault);
    return;
  }
  const Dispatch outer = dispatches[layer];
  dispatches[layer] = {fault.context, fault.frame};
  pass_on(behind.previous, fault);
  dispatches[layer] = outer;
}

template <int layer>
void on_fault(int signal, siginfo_t* info, void* context) {
  const Fault fault{signal, info, context, __builtin_frame_address(0)};
  leave_guarded_region(fault);
  pass_on_behind(layer, fault);
}

using Handler = void (*)(int, siginfo_t*, void*);

struct Handlers {
  Handler of_layer[layer_count];
};

template <int... layer>
constexpr Handlers make_handlers(std::integer_sequence<int, layer...>) {
  return {{on_fault<layer>...}};
}

constexpr Handlers handlers = make_handlers(std::make_integer_sequence<int, layer_count>());

bool is_ours(const struct sigaction& action) {
  if ((action.sa_flags & SA_SIGINFO) == 0) return false;
  for (Handler handler : handlers.of_layer) {
    if (action.sa_sigaction == handler) return true;
  }
  return false;
}

bool is_same(const struct sigaction& a, const struct sigaction& b) {
  return a.sa_flags == b.sa_flags && a.sa_handler == b.sa_handler;
}

// Takes a layer for the handler that is to stand behind it; false when another thread is at it.
bool make_layer(Layer& layer, const struct sigaction& previous) {
  int expected = layer_is_free;
  if (!layer.state.compare_exchange_strong(expected, layer_is_being_made)) return false;
  layer.previous = previous;
  layer.state.store(layer_is_ready, std::memory_order_release);
  return true;
}

// The layer with this handler behind it; the last one when there are no more.
int layer_before(int signal, const struct sigaction& previous) {
  Layer* const layers = layers_of(signal);
  for (int i = 0; i < layer_count; ++i) {
    if (make_layer(layers[i], previous)) return i;
    const bool ready = layers[i].state.load(std::memory_order_acquire) == layer_is_ready;
    if (ready && is_same(layers[i].previous, previous)) {
      layers[i].is_spent.store(false);
      return i;
    }
  }
  return layer_count - 1;
}

void keep_in_front(int signal) {
  struct sigaction found;
  sigaction(signal, nullptr, &found);
  while (!is_ours(found)) {
    const struct sigaction behind = found;
    struct sigaction ours {};
    ours.sa_sigaction = handlers.of_layer[layer_before(signal, behind)];
    ours.sa_flags = SA_SIGINFO | SA_NODEFER | SA_ONSTACK;
    sigemptyset(&ours.sa_mask);
    sigaction(signal, &ours, &found);
    if (is_same(found, behind)) return;
  }
}

}  // namespace

void keep_fault_handler_in_front() {
  keep_in_front(SIGSEGV);
  keep_in_front(SIGBUS);
}

}  // namespace kelvane
