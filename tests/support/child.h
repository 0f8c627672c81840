// What ends, parks or changes a process runs in a child: run_child forks and runs a function, run_program
// starts a program. Both wait for the end and give the exit status and everything that was written to
// standard output and standard error, by the child and by whatever it left running. Standard input is empty.
//
// An EXPECT inside the child is lost: let the child report by its status or its output.
#ifndef KELVANE_TESTS_SUPPORT_CHILD_H
#define KELVANE_TESTS_SUPPORT_CHILD_H

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace kvtest {

struct Child_Result {
  int exit_status = -1;  // -1 when the child was ended by a signal
  int signal = 0;        // that signal, else 0
  std::string out;
  std::string err;
};

// A folder of its own, removed with all that is in it at the end.
class Temp_Folder {
 public:
  Temp_Folder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "kvtest.XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp: " + pattern);
    path_ = pattern;
  }
  ~Temp_Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  Temp_Folder(const Temp_Folder&) = delete;
  Temp_Folder& operator=(const Temp_Folder&) = delete;

  const std::string& path() const { return path_; }
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

namespace detail {

struct Pipe {
  int read_end = -1;
  int write_end = -1;
  Pipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("pipe2");
    read_end = ends[0];
    write_end = ends[1];
  }
};

// In the child: the pipes become standard output and standard error.
inline void take_outputs(const Pipe& out, const Pipe& err) {
  int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
  dup2(nothing, STDIN_FILENO);
  dup2(out.write_end, STDOUT_FILENO);
  dup2(err.write_end, STDERR_FILENO);
  for (int fd : {nothing, out.read_end, out.write_end, err.read_end, err.write_end}) close(fd);
}

// One read; false at the end of the pipe.
inline bool drain(int fd, std::string& text) {
  char block[4096];
  ssize_t got = read(fd, block, sizeof block);
  if (got > 0) text.append(block, static_cast<size_t>(got));
  return got > 0 || (got < 0 && errno == EINTR);
}

inline void collect(const Pipe& out, const Pipe& err, Child_Result& result) {
  pollfd ends[2] = {{out.read_end, POLLIN, 0}, {err.read_end, POLLIN, 0}};
  while (ends[0].fd >= 0 || ends[1].fd >= 0) {
    if (poll(ends, 2, -1) < 0) continue;
    if (ends[0].revents != 0 && !drain(out.read_end, result.out)) ends[0].fd = -1;
    if (ends[1].revents != 0 && !drain(err.read_end, result.err)) ends[1].fd = -1;
  }
}

inline void reap(pid_t child, Child_Result& result) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status)) result.exit_status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
}

template <typename Body>
Child_Result run_forked(const Body& body) {
  fflush(nullptr);
  Pipe out;
  Pipe err;
  pid_t child = fork();
  if (child < 0) throw std::runtime_error("fork");
  if (child == 0) {
    take_outputs(out, err);
    body();
    fflush(nullptr);
    _exit(0);
  }
  close(out.write_end);
  close(err.write_end);
  Child_Result result;
  collect(out, err, result);
  close(out.read_end);
  close(err.read_end);
  reap(child, result);
  return result;
}

// In the child: "NAME=value" sets a variable, "NAME" removes it.
inline void change_environment(const std::vector<std::string>& changes) {
  for (const std::string& change : changes) {
    size_t equals = change.find('=');
    if (equals == std::string::npos) {
      unsetenv(change.c_str());
    } else {
      setenv(change.substr(0, equals).c_str(), change.c_str() + equals + 1, 1);
    }
  }
}

}  // namespace detail

// Why a test must not fork beside threads that use the heap; null when it may. The sanitizers' heaps, unlike the
// system's, are not made ready for a fork: the child may wait for ever for a lock of a thread that it lacks.
inline const char* why_not_fork_beside_threads() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return "the sanitizer's heap may stay locked in a child that is forked beside working threads";
#else
  return nullptr;
#endif
}

// Runs the function in a forked child, which ends by _exit(0) when the function returns.
inline Child_Result run_child(const std::function<void()>& function) { return detail::run_forked(function); }

// Runs the program argv[0] with these arguments, in this process's environment with the changes. A program
// that cannot be started gives status 127 and the reason on standard error.
inline Child_Result run_program(const std::vector<std::string>& argv,
                                const std::vector<std::string>& env_changes = {}) {
  return detail::run_forked([&] {
    detail::change_environment(env_changes);
    std::vector<char*> arguments;
    for (const std::string& argument : argv) arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    execv(arguments[0], arguments.data());
    fprintf(stderr, "%s: %s\n", arguments[0], strerror(errno));
    fflush(stderr);
    _exit(127);
  });
}

}  // namespace kvtest

#endif
