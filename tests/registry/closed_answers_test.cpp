// Fronts of a closed registry that would answer by themselves, and a registry that closes while a call looks at its
// arguments or while other threads are inside.
#include <semaphore.h>
#include <signal.h>

#include <thread>

#include "tests/registry/fronts.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

class Closed_Answers : public Fronts {
 protected:
  using Own_Answer = LSTATUS (*)();

  static void park_or_tell(Own_Answer call) {
    Parking::print_and_end();
    const LSTATUS result = call();
    printf("returned %d\n", result);
  }

  static void expect_parked(const Child_Result& child) {
    EXPECT_EQ(child.exit_status, Parking::parked_status) << child.err;
    EXPECT_EQ(child.out, "unblock\nsleep 100\nsleep 100\nsleep 100\n");
  }
};

// Eight bytes of zeros that cannot be read at first: at the first look the registry closes and they can.
class Closing_Bytes {
 public:
  Closing_Bytes() : size_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))) {
    page_ = mmap(nullptr, size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (page_ == MAP_FAILED) throw std::runtime_error("mmap");
  }
  ~Closing_Bytes() { munmap(page_, size_); }
  Closing_Bytes(const Closing_Bytes&) = delete;
  Closing_Bytes& operator=(const Closing_Bytes&) = delete;

  // For a child, which ends soon.
  void watch() {
    watched_ = this;
    struct sigaction action = {};
    action.sa_sigaction = [](int, siginfo_t*, void*) {
      KvRegistryClosed = 1;
      mprotect(watched_->page_, watched_->size_, PROT_READ | PROT_WRITE);
    };
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGSEGV, &action, nullptr);
  }
  static char* text() { return static_cast<char*>(watched_->page_); }
  static DWORD* number() { return static_cast<DWORD*>(watched_->page_); }

 private:
  static Closing_Bytes* watched_;
  std::size_t size_;
  void* page_;
};

Closing_Bytes* Closing_Bytes::watched_ = nullptr;

TEST_F(Closed_Answers, OfRefusedArgumentsAreNotGiven) {
  const Own_Answer refused[] = {
      [] { return RegOpenKeyA(HKEY_USERS, "s", nullptr); },
      [] { return RegCreateKeyA(HKEY_USERS, "s", nullptr); },
      [] { return RegSetValueA(HKEY_PERFORMANCE_DATA, nullptr, REG_SZ, nullptr, 0); },
      [] { return RegSetValueA(HKEY_USERS, nullptr, REG_BINARY, nullptr, 0); },
      [] { return RegSetValueA(nullptr, nullptr, REG_SZ, nullptr, 0); },
      [] { return RegQueryValueA(nullptr, nullptr, nullptr, nullptr); },
      [] { return RegQueryMultipleValuesA(HKEY_USERS, nullptr, 0, nullptr, nullptr); },
      [] { return RegEnumValueA(HKEY_USERS, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr); },
      [] { return RegEnumKeyA(HKEY_PERFORMANCE_DATA, 0, nullptr, 0); },
      [] { return RegQueryValueW(HKEY_PERFORMANCE_DATA, nullptr, nullptr, nullptr); },
      [] { return RegSetValueW(HKEY_USERS, nullptr, REG_BINARY, nullptr, 0); },
  };
  for (Own_Answer call : refused) {
    expect_parked(run_child([call] {
      KvRegistryClosed = 1;
      park_or_tell(call);
    }));
  }
}

TEST_F(Closed_Answers, OfKeysHandedBackAreNotGiven) {
  const Own_Answer handed_back[] = {
      [] {
        HKEY opened = nullptr;
        return RegOpenKeyA(key_of(0x1234), nullptr, &opened);
      },
      [] {
        HKEY created = nullptr;
        return RegCreateKeyA(HKEY_USERS, nullptr, &created);
      },
      [] {
        HKEY created = nullptr;
        return RegCreateKeyA(key_of(0x1234), nullptr, &created);
      },
  };
  for (Own_Answer call : handed_back) {
    expect_parked(run_child([call] {
      KvRegistryClosed = 1;
      park_or_tell(call);
    }));
  }
}

TEST_F(Closed_Answers, AreNotGivenWhenTheRegistryClosesWhileTheArgumentsAreLookedAt) {
  const Own_Answer calls[] = {
      [] { return RegGetKeySecurity(HKEY_USERS, 0, nullptr, Closing_Bytes::number()); },
      [] {
        char buffer[4];
        return RegQueryMultipleValuesA(HKEY_USERS, nullptr, 0, buffer, Closing_Bytes::number());
      },
      [] {
        wchar_t buffer[4];
        return RegQueryMultipleValuesW(HKEY_USERS, nullptr, 0, buffer, Closing_Bytes::number());
      },
      [] {
        HKEY opened = nullptr;
        return RegOpenKeyA(key_of(0x1234), Closing_Bytes::text(), &opened);
      },
      [] {
        HKEY opened = nullptr;
        return RegOpenKeyW(key_of(0x1234), reinterpret_cast<wchar_t*>(Closing_Bytes::text()), &opened);
      },
      [] {
        HKEY created = nullptr;
        return RegCreateKeyA(HKEY_USERS, Closing_Bytes::text(), &created);
      },
      [] {
        HKEY created = nullptr;
        return RegCreateKeyA(key_of(0x1234), Closing_Bytes::text(), &created);
      },
      [] { return RegLoadKeyW(HKEY_USERS, reinterpret_cast<wchar_t*>(Closing_Bytes::text()), nullptr); },
  };
  Closing_Bytes bytes;
  for (Own_Answer call : calls) {
    expect_parked(run_child([&bytes, call] {
      bytes.watch();
      park_or_tell(call);
    }));
  }
}

sem_t inside, go_on, parked;

TEST_F(Closed_Answers, AreNotGivenToAnyThreadThatWasInside) {
  const Child_Result child = run_child([] {
    for (sem_t* semaphore : {&inside, &go_on, &parked}) sem_init(semaphore, 0, 0);
    KvIRegFunctions[9].entry = reinterpret_cast<void*>(+[](HKEY, void*) -> DWORD {
      sem_post(&inside);
      sem_wait(&go_on);
      return 0;
    });
    Parking::instead_of_sleep([](unsigned) {
      sem_post(&parked);
      for (;;) pause();
    });
    alarm(60);
    for (int i = 0; i < 3; ++i) {
      std::thread([] {
        RegCloseKey(HKEY_USERS);
        _exit(5);
      }).detach();
    }
    for (int i = 0; i < 3; ++i) sem_wait(&inside);
    KvRegistryClosed = 1;
    for (int i = 0; i < 3; ++i) sem_post(&go_on);
    for (int i = 0; i < 3; ++i) sem_wait(&parked);
    printf("all are parked\n");
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "all are parked\n");
}

}  // namespace
}  // namespace kvtest
