// One word of the command line: each verb is a file in verbs/ and a row in verbs.def.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tools/kvreg/options.h"

namespace kvreg {

// Exit statuses. Comparing has a third: 2 for "different".
inline constexpr int exit_good = 0;
inline constexpr int exit_failed = 1;
inline constexpr int exit_different = 2;

class Verb {
 public:
  virtual ~Verb() = default;
  virtual void declare(Options& options) = 0;
  // After the arguments were read; the exit status.
  virtual int run() = 0;
};

#define KVREG_VERB(word, maker, summary) std::unique_ptr<Verb> maker();
#include "tools/kvreg/verbs.def"
#undef KVREG_VERB

struct Verb_Row {
  const char* word;
  std::unique_ptr<Verb> (*make)();
  const char* summary;
};

// The list, from verbs.def.
const std::vector<Verb_Row>& all_verbs();

}  // namespace kvreg
