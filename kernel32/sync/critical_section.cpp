// Critical sections: a recursive mutex inside the caller's own 40 bytes.
#include <pthread.h>
#include <winbase.h>

static_assert(sizeof(CRITICAL_SECTION) == 40);
static_assert(sizeof(pthread_mutex_t) <= sizeof(CRITICAL_SECTION));
static_assert(alignof(pthread_mutex_t) <= alignof(CRITICAL_SECTION));

namespace {

pthread_mutex_t* mutex_of(LPCRITICAL_SECTION section) { return reinterpret_cast<pthread_mutex_t*>(section); }

}  // namespace

void InitializeCriticalSection(LPCRITICAL_SECTION section) {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(mutex_of(section), &attributes);
  pthread_mutexattr_destroy(&attributes);
}

void EnterCriticalSection(LPCRITICAL_SECTION section) { pthread_mutex_lock(mutex_of(section)); }

void LeaveCriticalSection(LPCRITICAL_SECTION section) { pthread_mutex_unlock(mutex_of(section)); }

void DeleteCriticalSection(LPCRITICAL_SECTION section) { pthread_mutex_destroy(mutex_of(section)); }
