// The script "getgr.sh" of the search path, started through the shell with the login name as its only argument. It
// prints the user's numeric group ids, separated by blanks and newlines; the first 4,096 bytes are read.
//
// A login name that the shell would not hand on as it is gets no script.

#include "security/access_check_groups.h"

#include <errno.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "security/access_check_user.h"

inline namespace kelvane {
namespace {

constexpr std::size_t longest_name = 256;
constexpr std::size_t command_size = longest_name + 10;
constexpr std::size_t output_size = 4096;

bool is_plain(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
         (character >= '0' && character <= '9') || std::strchr("._-+@", character) != nullptr;
}

// A dollar may end a name: those of machines do.
bool is_plain_name(const char* name) {
  const std::size_t length = std::strlen(name);
  if (length > longest_name) return false;
  for (std::size_t i = 0; i < length; ++i) {
    const bool is_last_dollar = name[i] == '$' && i + 1 == length;
    if (!is_plain(name[i]) && !is_last_dollar) return false;
  }
  return true;
}

// The running script, whose end is waited for. Its status says nothing: the program may ignore its children.
class Group_Script {
 public:
  explicit Group_Script(const char* login_name) {
    char command[command_size];
    std::snprintf(command, sizeof command, "getgr.sh %s", login_name);
    pipe_ = popen(command, "r");
  }
  ~Group_Script() {
    if (pipe_ != nullptr) pclose(pipe_);
  }
  Group_Script(const Group_Script&) = delete;
  Group_Script& operator=(const Group_Script&) = delete;

  // Terminated text in a buffer of output_size and one byte; its size, 0 when there is none.
  std::size_t read(char* text) {
    const std::size_t size = pipe_ != nullptr ? std::fread(text, 1, output_size, pipe_) : 0;
    text[size] = '\0';
    return size;
  }

 private:
  FILE* pipe_;
};

// QUIRK group-words-as-numbers: a word that is no number counts as 0, one that is too large by its low 32 bits.
bool is_number(const char* word, DWORD gid) { return static_cast<DWORD>(std::atoi(word)) == gid && errno != EINVAL; }

bool lists_group(char* text, DWORD gid) {
  constexpr const char* separators = " \n";
  errno = 0;
  char* rest = nullptr;
  for (const char* word = strtok_r(text, separators, &rest); word != nullptr;
       word = strtok_r(nullptr, separators, &rest)) {
    if (is_number(word, gid)) return true;
  }
  return false;
}

}  // namespace

bool is_group_of_user(uid_t uid, DWORD gid) {
  Unix_User user;
  if (!user.find(uid) || !is_plain_name(user.login_name())) return false;
  char output[output_size + 1];
  Group_Script script(user.login_name());
  return script.read(output) != 0 && lists_group(output, gid);
}

}  // namespace kelvane
