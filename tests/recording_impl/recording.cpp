// The entries of the recording implementation library, all made from the list of slots, and its log.
//
// The log and the queues are guarded by one mutex; behaviours run outside of it, so that they may call the
// registry again.
#include "tests/recording_impl/recording.h"

#include <kelvane/registry_entries.h>

#include <algorithm>
#include <deque>
#include <iterator>
#include <map>
#include <mutex>
#include <type_traits>

namespace {

using kvrecording::Argument;
using kvrecording::Behaviour;
using kvrecording::Call;

constexpr std::uint64_t max_copied_bytes = 1 << 20;

class Recorder final : public kvrecording::Control {
 public:
  const char* library_name() const override { return KV_RECORDING_NAME; }

  void script(const char* entry, Behaviour behaviour) override {
    std::lock_guard lock(mutex_);
    queues_[entry].push_back(std::move(behaviour));
  }

  std::vector<Call> calls() const override {
    std::lock_guard lock(mutex_);
    return calls_;
  }

  std::size_t waiting() const override {
    std::lock_guard lock(mutex_);
    std::size_t sum = 0;
    for (const auto& [entry, queue] : queues_) sum += queue.size();
    return sum;
  }

  void reset() override {
    std::lock_guard lock(mutex_);
    calls_.clear();
    queues_.clear();
  }

  std::uint64_t answer(const Call& call) {
    Behaviour behaviour = take(call);
    return behaviour ? behaviour(call) : 0;
  }

 private:
  Behaviour take(const Call& call) {
    std::lock_guard lock(mutex_);
    calls_.push_back(call);
    std::deque<Behaviour>& queue = queues_[call.entry];
    if (queue.empty()) return nullptr;
    Behaviour behaviour = std::move(queue.front());
    queue.pop_front();
    return behaviour;
  }

  mutable std::mutex mutex_;
  std::vector<Call> calls_;
  std::map<std::string, std::deque<Behaviour>> queues_;
};

// Never destroyed: the close of the registry calls an entry after static objects are gone.
Recorder& recorder() {
  static Recorder& instance = *new Recorder;
  return instance;
}

// Raw values, copies of text and counts, one overload a kind of parameter.
template <class T>
std::uint64_t raw_value(T value) {
  if constexpr (std::is_pointer_v<T>) {
    return reinterpret_cast<std::uintptr_t>(value);
  } else {
    return static_cast<std::make_unsigned_t<T>>(value);
  }
}

template <class T>
void copy_content(Argument&, T) {}

void copy_content(Argument& argument, const WinChar* text) {
  if (text == nullptr) return;
  argument.has_text = true;
  for (; text->high != 0 || text->low != 0; ++text) {
    argument.text.push_back(static_cast<char16_t>(text->high << 8 | text->low));
  }
}

void copy_content(Argument& argument, DWORD* number) {
  static const char* const counts[] = {"name_count", "class_count", "data_size", "size", "count", "domain_length"};
  const bool is_count = std::find(std::begin(counts), std::end(counts), argument.name) != std::end(counts);
  if (!is_count || number == nullptr) return;
  argument.has_count = true;
  argument.count = *number;
}

template <class T>
Argument argument_of(const std::string& name, T value) {
  Argument argument;
  argument.name = name;
  argument.raw = raw_value(value);
  copy_content(argument, value);
  return argument;
}

// Value data needs the size beside it, which is another argument.
void copy_value_data(Call& call) {
  if (call.entry != "KvIRegSetValueEx") return;
  const std::uint64_t size = call.raw("data_size");
  for (Argument& argument : call.arguments) {
    if (argument.name != "data" || argument.raw == 0 || size > max_copied_bytes) continue;
    argument.has_bytes = true;
    argument.bytes.assign(reinterpret_cast<const char*>(static_cast<std::uintptr_t>(argument.raw)), size);
  }
}

// The names in "(key, sub_key, null)", one after the other.
class Names {
 public:
  explicit Names(const char* list) : rest_(list) {}
  std::string next() {
    while (*rest_ == '(' || *rest_ == ',' || *rest_ == ' ') ++rest_;
    const std::size_t length = std::strcspn(rest_, ",)");
    std::string name(rest_, length);
    rest_ += length;
    return name;
  }

 private:
  const char* rest_;
};

template <class Result>
struct Entry {
  const char* name;
  const char* argument_names;

  template <class... Arguments>
  Result operator()(Arguments... values) const {
    Call call;
    call.entry = name;
    Names names(argument_names);
    (call.arguments.push_back(argument_of(names.next(), values)), ...);
    copy_value_data(call);
    [[maybe_unused]] const std::uint64_t result = recorder().answer(call);
    if constexpr (!std::is_void_v<Result>) return static_cast<Result>(result);
  }
};

}  // namespace

extern "C" {

#define KV_SLOT(number, name, result, parameters, arguments) \
  KV_EXPORT result name parameters { return Entry<result>{#name, #arguments} arguments; }
#include <kelvane/registry_slots.def>
#undef KV_SLOT

kvrecording::Control* kv_recording_control() { return &recorder(); }
}
