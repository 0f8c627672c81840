#include "tools/kvreg/command_line.h"

#include <cstdio>
#include <new>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/output.h"
#include "tools/kvreg/reg_text/units.h"
#include "tools/kvreg/terminal.h"
#include "tools/kvreg/verb.h"

namespace kvreg {
namespace {

constexpr int exit_by_signal = 128;

std::string overview() {
  std::string text = "kvreg: looks into the registry and changes it\n\nUsage: kvreg VERB [ARGUMENTS...]\n\n";
  for (const Verb_Row& each : all_verbs()) {
    std::string word = each.word;
    word.resize(12, ' ');
    text += "  " + word + each.summary + "\n";
  }
  return text +
         "\nSwitches are written as /v or --value. kvreg VERB --help shows those of a verb, with examples.\n"
         "Keys begin with a root: HKLM, HKCU, HKCR, HKU, HKCC or their long names. Between quotes, a shell\n"
         "keeps their backslashes: 'HKCU\\Software'.\n"
         "Exit status: 0 done, 1 failed; comparing answers 2 for \"different\".\n";
}

const Verb_Row* find_verb(const std::string& word) {
  for (const Verb_Row& each : all_verbs())
    if (lower_case(word) == each.word) return &each;
  return nullptr;
}

int run_verb(const Verb_Row& row, const std::vector<std::string>& arguments) {
  const std::unique_ptr<Verb> verb = row.make();
  Options options(row.word, row.summary);
  verb->declare(options);
  const int status = options.parse(arguments) ? exit_good : verb->run();
  flush_output();
  return status;
}

void tell(const std::string& who, const std::string& what) {
  std::fprintf(stderr, "%s: %s\n", who.c_str(), what.c_str());
}

int run_word(const std::vector<std::string>& arguments) {
  const std::string word = arguments.empty() ? "--help" : arguments.front();
  if (word == "help" && arguments.size() > 1) return run_word({arguments[1], "--help"});
  if (word == "--help" || word == "-h" || word == "/?" || word == "help") {
    put(overview());
  } else if (word == "--version") {
    put_line("kvreg " KVREG_VERSION);
  } else if (const Verb_Row* const row = find_verb(word)) {
    return guarded_run(std::string("kvreg ") + row->word, [&] {
      return run_verb(*row, {arguments.begin() + 1, arguments.end()});
    });
  } else {
    tell("kvreg", "\"" + word + "\" is no verb; \"kvreg --help\" lists them");
    return exit_failed;
  }
  flush_output();
  return arguments.empty() ? exit_failed : exit_good;
}

}  // namespace

const std::vector<Verb_Row>& all_verbs() {
  static const std::vector<Verb_Row> rows = {
#define KVREG_VERB(word, maker, summary) {word, maker, summary},
#include "tools/kvreg/verbs.def"
#undef KVREG_VERB
  };
  return rows;
}

int guarded_run(const std::string& who, const std::function<int()>& body) {
  try {
    return body();
  } catch (const Failure& failure) {
    tell(who, describe(failure));
  } catch (const Bad_Arguments& error) {
    tell(who, std::string(error.what()) + "\nSee \"" + who + " --help\".");
  } catch (const Complaint& error) {
    tell(who, error.what());
  } catch (const Interrupted& interrupted) {
    return exit_by_signal + interrupted.signal;
  } catch (const std::bad_alloc&) {
    tell(who, "not enough memory");
  }
  flush_output();
  return exit_failed;
}

int run_command_line(const std::vector<std::string>& arguments) {
  note_signals();
  try {
    return run_word(arguments);
  } catch (const Closed_Output&) {
  } catch (const Complaint& error) {
    tell("kvreg", error.what());
  }
  return exit_failed;
}

}  // namespace kvreg
