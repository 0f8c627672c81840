// The program's own definitions of functions that the fronts call; see the header.
#include "tests/registry/doubles.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>

#include <kelvane/critical.h>
#include <kelvane/report.h>
#include <kelvane/seh.h>

namespace {

void (*report_hook)() = nullptr;
void (*guarded_fault_hook)() = nullptr;
void (*guarded_begin_hook)(SehFrame*) = nullptr;
void (*sleep_hook)(unsigned) = nullptr;
std::string (*look_around_hook)() = nullptr;
bool printing = false;
int sleeps = 0;

template <class Function>
Function* real(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

void print_sleep_and_end(unsigned seconds) {
  if (sleeps == 0 && look_around_hook != nullptr) printf("%s\n", look_around_hook().c_str());
  printf("sleep %u\n", seconds);
  if (++sleeps < 3) return;
  fflush(stdout);
  _exit(kvtest::Parking::parked_status);
}

}  // namespace

namespace kvtest {

std::vector<std::string>& reported_names() {
  static std::vector<std::string> names;
  return names;
}

std::string& guarded_regions() {
  static std::string calls;
  return calls;
}

void on_report(void (*function)()) { report_hook = function; }

void on_guarded_fault(void (*function)()) { guarded_fault_hook = function; }

void on_guarded_begin(void (*function)(SehFrame*)) { guarded_begin_hook = function; }

void Parking::print_and_end() { print_and_end(nullptr); }

void Parking::print_and_end(std::string (*look_around)()) {
  printing = true;
  look_around_hook = look_around;
  sleep_hook = print_sleep_and_end;
}

void Parking::instead_of_sleep(void (*function)(unsigned)) { sleep_hook = function; }

}  // namespace kvtest

extern "C" {

KV_EXPORT void KvTotalUnblockKernelCritical(void) {
  if (printing) printf("unblock\n");
  real<void()>("KvTotalUnblockKernelCritical")();
}

KV_EXPORT void KvNotYetImplemented(const char* name) {
  kvtest::reported_names().push_back(name);
  if (report_hook != nullptr) report_hook();
  real<void(const char*)>("KvNotYetImplemented")(name);
}

KV_EXPORT void SehBeginTry3(SehFrame* frame) {
  kvtest::guarded_regions() += "begin ";
  if (guarded_begin_hook != nullptr) return guarded_begin_hook(frame);
  real<void(SehFrame*)>("SehBeginTry3")(frame);
}

KV_EXPORT void SehEndTry(SehFrame* frame) {
  kvtest::guarded_regions() += "end ";
  real<void(SehFrame*)>("SehEndTry")(frame);
}

KV_EXPORT void SehExceptReturn2(int complete) {
  kvtest::guarded_regions() += "except " + std::to_string(complete) + " ";
  if (guarded_fault_hook != nullptr) guarded_fault_hook();
  real<void(int)>("SehExceptReturn2")(complete);
}

KV_EXPORT unsigned sleep(unsigned seconds) {
  if (sleep_hook == nullptr) return real<unsigned(unsigned)>("sleep")(seconds);
  sleep_hook(seconds);
  return seconds;
}
}
