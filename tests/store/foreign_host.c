/*
 * A host that knows nothing of the registry and loads a plug-in that uses it, as interpreters and virtual
 * machines do. Arguments: the plug-in, then what to do: "reload", "fault-first", "fault-later", "thread" with
 * the size of the thread's stack. Writes one line and ends with 0 when all was well, otherwise with the number
 * of what was not.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

typedef int (*Use)(unsigned);
typedef int (*Probe)(void);

static void* plug_in;
static char* volatile forbidden;
static volatile sig_atomic_t faults;
static volatile sig_atomic_t on_own_stack;
static char* own_stack;
static size_t own_stack_size;

static void load(const char* file) {
  plug_in = dlopen(file, RTLD_NOW | RTLD_LOCAL);
  if (plug_in == NULL) {
    fprintf(stderr, "%s\n", dlerror());
    exit(90);
  }
}

static int use(const char* name, unsigned number) {
  union {
    void* address;
    Use function;
  } symbol;
  symbol.address = dlsym(plug_in, name);
  return symbol.address == NULL ? 91 : symbol.function(number);
}

static int probe(void) {
  union {
    void* address;
    Probe function;
  } symbol;
  symbol.address = dlsym(plug_in, "plug_in_probes_page_end");
  return symbol.address == NULL ? 91 : symbol.function();
}

static int reload(const char* file) {
  for (unsigned round = 1; round <= 4; ++round) {
    load(file);
    int wrong = round > 1 ? use("plug_in_finds", round - 1) : 0;
    if (wrong == 0) wrong = use("plug_in_use", round);
    if (wrong != 0) return wrong;
    if (dlclose(plug_in) != 0) return 92;
  }
  return 0;
}

/* The host's own way with a fault: it opens the page and goes on. */
static void on_fault(int number, siginfo_t* information, void* context) {
  (void)number;
  (void)context;
  char here;
  ++faults;
  on_own_stack = &here >= own_stack && &here < own_stack + own_stack_size;
  if (information->si_addr != forbidden) _exit(93);
  mprotect(forbidden, (size_t)sysconf(_SC_PAGESIZE), PROT_READ | PROT_WRITE);
}

static void take_faults(void) {
  own_stack_size = 1 << 16;
  own_stack = mmap(NULL, own_stack_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  stack_t stack = {0};
  stack.ss_sp = own_stack;
  stack.ss_size = own_stack_size;
  sigaltstack(&stack, NULL);
  struct sigaction action;
  memset(&action, 0, sizeof action);
  action.sa_sigaction = on_fault;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  sigaction(SIGSEGV, &action, NULL);
}

static int fault_of_its_own(void) {
  size_t size = (size_t)sysconf(_SC_PAGESIZE);
  forbidden = mmap(NULL, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  int before = faults;
  *(volatile char*)forbidden = 'x';
  if (faults != before + 1) return 94;
  if (!on_own_stack) return 95;
  return *forbidden == 'x' ? 0 : 96;
}

/* The registry's probe and the host's own faults in turns. */
static int faults_in_turns(void) {
  for (int round = 0; round < 3; ++round) {
    int before = faults;
    int wrong = probe();
    if (wrong != 0) return wrong;
    if (faults != before) return 97;
    wrong = fault_of_its_own();
    if (wrong != 0) return wrong;
  }
  return 0;
}

static int fault_first(const char* file) {
  take_faults();
  load(file);
  return faults_in_turns();
}

static int fault_later(const char* file) {
  load(file);
  int wrong = use("plug_in_use", 1);
  if (wrong != 0) return wrong;
  take_faults();
  return faults_in_turns();
}

static void* in_thread(void* unused) {
  (void)unused;
  int wrong = use("plug_in_use", 5);
  if (wrong == 0) wrong = probe();
  if (wrong == 0) wrong = use("plug_in_finds", 5);
  return (void*)(long)wrong;
}

static int on_small_stack(const char* file, size_t stack_size) {
  load(file);
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  if (pthread_attr_setstacksize(&attributes, stack_size) != 0) return 98;
  for (int round = 0; round < 3; ++round) {
    pthread_t thread;
    void* wrong = NULL;
    if (pthread_create(&thread, &attributes, in_thread, NULL) != 0) return 99;
    pthread_join(thread, &wrong);
    if (wrong != NULL) return (int)(long)wrong;
  }
  return 0;
}

int main(int argc, char** argv) {
  int wrong = 100;
  if (argc > 2 && strcmp(argv[2], "reload") == 0) wrong = reload(argv[1]);
  if (argc > 2 && strcmp(argv[2], "fault-first") == 0) wrong = fault_first(argv[1]);
  if (argc > 2 && strcmp(argv[2], "fault-later") == 0) wrong = fault_later(argv[1]);
  if (argc > 3 && strcmp(argv[2], "thread") == 0) wrong = on_small_stack(argv[1], (size_t)atol(argv[3]));
  puts("host ends");
  return wrong;
}
