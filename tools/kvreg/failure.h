// What keeps a verb from its work: thrown where it is met, told once by main.
#pragma once

#include <windef.h>

#include <stdexcept>
#include <string>

namespace kvreg {

// A registry code with what it is about: a key, a file, or both; either may be empty.
struct Failure {
  std::string key;
  std::string file;
  DWORD code;
};

// Everything else that can be said in a sentence, without newline.
class Complaint : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The arguments do not make sense; the verb's help is pointed at.
class Bad_Arguments : public Complaint {
 public:
  using Complaint::Complaint;
};

// The reader of standard output is gone: nothing is left to tell anybody.
struct Closed_Output {};

// SIGINT, SIGTERM or SIGHUP came; what was begun is taken back by whoever began it.
struct Interrupted {
  int signal;
};

// "HKEY_LOCAL_MACHINE\Software: no such key or value (ERROR_FILE_NOT_FOUND, 2)", with the files that are known.
std::string describe(const Failure& failure);
// "no such key or value (ERROR_FILE_NOT_FOUND, 2)".
std::string describe_code(DWORD code);
// "ERROR_FILE_NOT_FOUND", or "code 4711" for one without a name here.
std::string symbol_of(DWORD code);

}  // namespace kvreg
