// A program without the start object that loads a shared object with it, unloads it and loads it again.
#include <dlfcn.h>
#include <unistd.h>

#include <string_view>

namespace {

void say(std::string_view text) { [[maybe_unused]] ssize_t written = write(STDOUT_FILENO, text.data(), text.size()); }

}  // namespace

int main(int, char** argv) {
  say("main\n");
  for (int round = 0; round < 2; ++round) {
    void* plug_in = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (plug_in == nullptr) return 1;
    say("loaded\n");
    dlclose(plug_in);
  }
}
