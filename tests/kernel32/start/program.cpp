// A program with the start object and with a constructor of the lowest priority that it can ask for.
#include <unistd.h>

#include <string_view>

namespace {

void say(std::string_view text) { [[maybe_unused]] ssize_t written = write(STDOUT_FILENO, text.data(), text.size()); }

__attribute__((constructor(101))) void first_constructor() { say("constructor\n"); }

}  // namespace

int main() { say("main\n"); }
