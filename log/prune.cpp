// Cutting a log file down to its tail: the tail is copied to a temporary file, which takes the log's name.

#include "log/prune.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include "log/log_path.h"
#include "log/record.h"

inline namespace kelvane {
namespace {

constexpr int block_size = 1024;
constexpr char unique_part[] = "XXXXXX";

// Reads up to the first header, which is then in line; false at the end of the log. The record that the cut
// went through is passed over.
bool find_header(FILE* log, char (&line)[block_size]) {
  while (std::fgets(line, sizeof line, log) != nullptr) {
    if (is_record_header(line)) return true;
  }
  return false;
}

// Makes a file of its own beside the log, with its name in path; null when that is not possible.
FILE* open_temporary(const char* log_name, char (&path)[log_path_size + sizeof unique_part]) {
  std::snprintf(path, sizeof path, "%s%s", log_name, unique_part);
  const int file = mkostemp(path, O_CLOEXEC);
  if (file == -1) return nullptr;
  FILE* const stream = fdopen(file, "w");
  if (stream == nullptr) close(file);
  return stream;
}

bool copy_rest(FILE* log, FILE* out) {
  char block[block_size];
  std::size_t count;
  while ((count = std::fread(block, 1, sizeof block, log)) > 0) {
    if (std::fwrite(block, 1, count, out) != count) return false;
  }
  return std::ferror(log) == 0;
}

// Writes the header and the rest of the log to a temporary file; false, and nothing is left, when that fails.
bool write_tail(FILE* log, const char* header, FILE* out) {
  const bool copied = std::fputs(header, out) >= 0 && copy_rest(log, out);
  return std::fclose(out) == 0 && copied;
}

// The log from its header on, as a new stream under the log's name. It is left buffered and with the
// temporary file's permissions.
FILE* replace_log(FILE* log, const char* name, const char* header) {
  char path[log_path_size + sizeof unique_part];
  FILE* const out = open_temporary(name, path);
  if (out == nullptr) return nullptr;
  if (!write_tail(log, header, out)) {
    unlink(path);
    return nullptr;
  }
  unlink(name);
  std::rename(path, name);
  return std::fopen(name, log_open_mode);
}

}  // namespace

FILE* prune_log(FILE* log, const char* name, off_t from_end) {
  char line[block_size];
  FILE* pruned = nullptr;
  if (fseeko(log, from_end, SEEK_END) == 0 && find_header(log, line)) pruned = replace_log(log, name, line);
  if (pruned != nullptr) {
    std::fclose(log);
    return pruned;
  }
  std::clearerr(log);
  fseeko(log, 0, SEEK_END);
  return nullptr;
}

}  // namespace kelvane
