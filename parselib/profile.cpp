// The empty profile.

#include "parselib/profile.h"

#include <cstring>

inline namespace kelvane {

Profiler::Profiler(const char*) {}

Profiler::~Profiler() = default;

int Profiler::read_int(const clAtom&, int fallback) const { return fallback; }

const char* Profiler::read_string(const clAtom&, const char* fallback) const { return fallback; }

const Sequence* Profiler::read_list(const clAtom&, const Sequence* fallback) const { return fallback; }

kvostream* read_stream(const Profiler& profile, const clAtom& name) {
  constexpr int standard_output = 1;
  const char* file = profile.read_string(name, "/dev/null");
  return std::strcmp(file, "-") == 0 ? new kvofstream(standard_output) : new kvofstream(file);
}

}  // namespace kelvane
