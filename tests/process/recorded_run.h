// A run of one of the programs, and what it asked of the implementation library. The lines of the record have
// the library's and the entries' long names cut, so that a run reads as one line:
//
//   load, create program-object, create program-function, close program-object, ..., end
#ifndef KELVANE_TESTS_PROCESS_RECORDED_RUN_H
#define KELVANE_TESTS_PROCESS_RECORDED_RUN_H

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/child.h"

namespace kvtest {

struct Recorded_Run {
  Child_Result result;
  std::string record;
};

inline std::string short_record(const std::string& file) {
  static const std::map<std::string, std::string> short_names = {{"KvIOnLoadDll", "load"},
                                                                 {"KvIRegCreateKeyEx", "create"},
                                                                 {"KvIRegCloseKey", "close"},
                                                                 {"KvIRegFlushKey", "flush"},
                                                                 {"KvIRegProcessEnding", "end"}};
  std::string joined;
  std::ifstream stream(file);
  for (std::string line; std::getline(stream, line);) {
    std::istringstream words(line);
    std::string library, entry, name;
    words >> library >> entry >> name;  // "host" stands in the library's place in lines of the host
    const auto found = short_names.find(entry);
    joined += (joined.empty() ? "" : ", ") + (found != short_names.end() ? found->second : entry);
    if (!name.empty()) joined += " " + name;
  }
  return joined;
}

// Runs in mode 1 over the library that writes its calls down. What the run left behind has ended too, since
// its outputs are read to their end.
inline Recorded_Run recorded_run(const std::vector<std::string>& argv, std::vector<std::string> env_changes = {}) {
  Temp_Folder folder;
  env_changes.push_back("KVTEST_RECORD=" + folder / "record");
  env_changes.push_back("KVMODULE_PATH=" KVTEST_WITNESS_FOLDER "/whole");
  env_changes.push_back("KVREGISTRY=" + folder / "hklm.bin" + ":" + folder / "hkcu.bin");
  Recorded_Run run;
  run.result = run_program(argv, env_changes);
  run.record = short_record(folder / "record");
  return run;
}

}  // namespace kvtest

#endif
