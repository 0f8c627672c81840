// A profile: named settings that a component asks for, each with a default.
#pragma once

#include <kelvane/atom.h>
#include <kelvane/container.h>
#include <kelvane/stream.h>

inline namespace kelvane {

// Opened by file name. Profiles are not read from files yet: every profile is the empty one, which knows no
// setting and answers every question with its default.
class Profiler final : public Bone {
 public:
  explicit Profiler(const char* file);
  ~Profiler() override;
  Profiler(const Profiler&) = delete;
  Profiler& operator=(const Profiler&) = delete;

  int read_int(const clAtom& name, int fallback) const;
  const char* read_string(const clAtom& name, const char* fallback) const;
  // The setting's list, owned by the profile, or the fallback, which may be null.
  const Sequence* read_list(const clAtom& name, const Sequence* fallback) const;
};

// A stream on the file that the setting names ("/dev/null" without it, standard output for "-"), owned by the
// caller.
kvostream* read_stream(const Profiler& profile, const clAtom& name);

}  // namespace kelvane
