// Opening and closing a profile.

#include "parselib/profile.h"

#include <sys/auxv.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

inline namespace kelvane {
namespace {

// Whoever starts a program with raised rights chooses its folder and its HOME, and so what it would write to.
bool is_readable(const char* path) { return getauxval(AT_SECURE) == 0 && access(path, R_OK) == 0; }

// The path of the user's copy; false when there is none.
bool users_copy(const char* file, char (&out_path)[PATH_MAX]) {
  const char* const home = std::getenv("HOME");
  if (home == nullptr) return false;
  return std::snprintf(out_path, sizeof out_path, "%s/%s", home, base_name(file)) < PATH_MAX;
}

Frame* frame_of(const char* file) { return new Frame_Of_File(kvifstream(file)); }

void merge(Frame& frame, const char* file) {
  kvifstream in(file);
  const One_Arm_Bandit machine;
  clAtom* name = nullptr;
  Sequence* const slots = read_frame(in, machine, name);
  if (slots != nullptr) frame.update_slots(*slots);
  delete name;
}

// QUIRK given-file-wins: the file's settings win over those of the user's copy, not the other way round.
Frame* settings_of(const char* file) {
  char copy[PATH_MAX];
  const bool file_is_readable = is_readable(file);
  if (!users_copy(file, copy) || !is_readable(copy)) {
    return file_is_readable ? frame_of(file) : new Frame_Of_String(kvistrstream("[empty]"));
  }
  Frame* const frame = frame_of(copy);
  if (file_is_readable) merge(*frame, file);
  return frame;
}

}  // namespace

const char* base_name(const char* path) {
  const char* const slash = std::strrchr(path, '/');
  return slash != nullptr ? slash + 1 : path;
}

Profiler::Profiler(const char* file) {
  settings_ = settings_of(file);
  defaults_ = read_stream(*this, clAtom("profile-defaults-file"));
  if (settings_->get_key() != nullptr) {
    *defaults_ << '(' << settings_->get_key() << '\n' << kvflush;
  } else {
    *defaults_ << "(profile\n" << kvflush;
  }
}

// A fault of the scanner ends the process while the profile is being opened.
Profiler::~Profiler() {
  if (defaults_ != nullptr) *defaults_ << ")\n" << kvflush;
  delete settings_;
  delete defaults_;
}

}  // namespace kelvane
