// What a profile is asked. Each question writes its line first:
//
//   with a default       "  (name default)"
//   without one          ";  (name nil)" and two tabs with what is missing

#include <cstdlib>
#include <cstring>

#include "parselib/null_reference.h"
#include "parselib/profile.h"
#include "parselib/values.h"

inline namespace kelvane {
KV_MAY_BE_NULL bool Profiler::begin_line(const char* opening, const clAtom& name) const {
  if (defaults_ == nullptr) return false;
  *defaults_ << opening << &name;
  return true;
}

KV_MAY_BE_NULL int Profiler::read_int(const clAtom& name, int fallback) const {
  if (begin_line("  (", name)) *defaults_ << ' ' << fallback << ")\n" << kvflush;
  return int_of(settings_->slot_val(name, Nil), fallback);
}

KV_MAY_BE_NULL double Profiler::read_double(const clAtom& name, double fallback) const {
  if (begin_line("  (", name)) *defaults_ << ' ' << fallback << ")\n" << kvflush;
  const auto* number = dynamic_cast<const Number*>(settings_->slot_val(name, Nil));
  return number != nullptr ? number->value() : fallback;
}

KV_MAY_BE_NULL unsigned char Profiler::read_boolean(const clAtom& name, unsigned char fallback) const {
  if (begin_line("  (", name)) *defaults_ << ' ' << (fallback != 0 ? "true" : "false") << ")\n" << kvflush;
  const Bone* const value = settings_->slot_val(name, Nil);
  return value != nullptr ? has_text(value, "TRUE") : fallback;
}

KV_MAY_BE_NULL const char* Profiler::read_string(const clAtom& name, const char* fallback) const {
  if (fallback != nullptr) {
    if (begin_line("  (", name)) *defaults_ << " \"" << fallback << "\")\n" << kvflush;
  } else {
    if (begin_line(";  (", name)) *defaults_ << " NULL)\t\tno string\n" << kvflush;
  }
  const char* const text = text_of(settings_->slot_val(name, Nil));
  return text != nullptr ? text : fallback;
}

KV_MAY_BE_NULL Bone* Profiler::read_bone(const clAtom& name, Bone* fallback, const char* kind) const {
  if (fallback != nullptr) {
    if (begin_line("  (", name)) *defaults_ << ' ' << fallback << ")\n" << kvflush;
  } else {
    if (begin_line(";  (", name)) *defaults_ << " nil)\t\tno " << kind << '\n' << kvflush;
  }
  return settings_->slot_val(name, fallback);
}

KV_MAY_BE_NULL Bone* Profiler::read_atom(const clAtom& name, clAtom* fallback) const {
  return read_bone(name, fallback, "atom");
}

KV_MAY_BE_NULL Bone* Profiler::read_list(const clAtom& name, Container* fallback) const {
  return read_bone(name, fallback, "list");
}

KV_MAY_BE_NULL Bone* Profiler::read_frame(const clAtom& name, Frame* fallback) const {
  if (fallback == nullptr) return read_bone(name, nullptr, "frame");
  if (begin_line("  [", name)) {
    *defaults_ << '\n';
    fallback->slots().print(*defaults_, "\t", "\n");
    *defaults_ << "]\n" << kvflush;
  }
  return settings_->slot_val(name, fallback);
}

kvostream* read_stream(const Profiler& profile, const clAtom& name) {
  constexpr int standard_output = 1;
  const char* const file = profile.read_string(name, "/dev/null");
  return std::strcmp(file, "-") == 0 ? new kvofstream(standard_output) : new kvofstream(file);
}

const char* get_env(const Profiler& profile, const char* name, const char* fallback) {
  const char* const variable = std::getenv(name);
  return profile.read_string(clAtom(name), variable != nullptr ? variable : fallback);
}

}  // namespace kelvane
