// A profile: named settings that a component asks for, each with a default.
//
// The text is a frame in a file. Every question is also written, with its default, to the stream that the
// setting "profile-defaults-file" names, so that one run of a program gives a whole profile of what it asks.
#pragma once

#include <kelvane/frames.h>

inline namespace kelvane {

// Opened by file name: the settings of $HOME/<last part of the name>, over them those of the file itself; the
// frame "[empty]" when neither can be read. Without HOME, only the file counts; in a program with raised rights
// neither does. The files are read once.
//
// A number where a text is asked for, or something else where a number is, counts as missing (as a boolean it
// is 0).
class Profiler final : public Bone {
 public:
  explicit Profiler(const char* file);
  ~Profiler() override;
  Profiler(const Profiler&) = delete;
  Profiler& operator=(const Profiler&) = delete;

  // Numbers are cut toward zero, and to the nearest int when they are too large for one.
  int read_int(const clAtom& name, int fallback) const;
  double read_double(const clAtom& name, double fallback) const;

  // QUIRK boolean-cases: the defaults say "true" and "false", but only "TRUE" reads as 1.
  unsigned char read_boolean(const clAtom& name, unsigned char fallback) const;

  // The text of the setting, owned by the profile, or the fallback, which may be null.
  const char* read_string(const clAtom& name, const char* fallback) const;

  // The setting's value of whatever type, owned by the profile, or the fallback, which may be null.
  Bone* read_atom(const clAtom& name, clAtom* fallback) const;
  Bone* read_frame(const clAtom& name, Frame* fallback) const;
  Bone* read_list(const clAtom& name, Container* fallback) const;

 private:
  bool begin_line(const char* opening, const clAtom& name) const;
  Bone* read_bone(const clAtom& name, Bone* fallback, const char* kind) const;

  Frame* settings_ = nullptr;
  kvostream* defaults_ = nullptr;  // null while the profile is opened: nothing is recorded then
};

// A stream on the file that the setting names ("/dev/null" without it, standard output for "-"), owned by the
// caller.
kvostream* read_stream(const Profiler& profile, const clAtom& name);

// The setting of that name, else the environment variable, else the fallback.
const char* get_env(const Profiler& profile, const char* name, const char* fallback);

// What follows the last "/".
const char* base_name(const char* path);

}  // namespace kelvane
