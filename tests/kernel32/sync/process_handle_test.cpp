// Handles of processes.
#include <kelvane/process.h>

#include <thread>

#include "tests/kernel32/sync/events.h"
#include "tests/support/side_process.h"

namespace {

using namespace kvtest;

HANDLE open_process(pid_t pid, DWORD access = SYNCHRONIZE) {
  return OpenProcess(access, FALSE, static_cast<DWORD>(pid));
}

// Ends with the status that it is told.
int obey(const Talk& talk) { return talk.hear() - '0'; }

TEST(Process, IsSignalledOnceItHasEnded) {
  Side_Process target(obey);
  const HANDLE process = open_process(target.pid());
  EXPECT_EQ(look_at(process), 258u);
  target.say('0');
  EXPECT_EQ(WaitForSingleObject(process, INFINITE), 0u);
  EXPECT_EQ(look_at(process), 0u);
  target.status();
  EXPECT_EQ(look_at(process), 0u);
  CloseHandle(process);
}

TEST(Process, ThatHasEndedAndWasNotWaitedForCanBeOpened) {
  Side_Process target(obey);
  const HANDLE first = open_process(target.pid());
  target.say('0');
  WaitForSingleObject(first, INFINITE);
  const HANDLE second = open_process(target.pid());
  EXPECT_EQ(look_at(second), 0u);
  CloseHandle(first);
  CloseHandle(second);
}

TEST(Process, ThatIsKilledIsSignalled) {
  Side_Process target(obey);
  const HANDLE process = open_process(target.pid());
  target.end_by(SIGKILL);
  EXPECT_EQ(look_at(process), 0u);
  CloseHandle(process);
}

TEST(Process, ThatEndsFirstGivesItsIndexInAWait) {
  Side_Process target(obey);
  const HANDLE event = make_event(true, false);
  const HANDLE both[] = {event, open_process(target.pid())};
  EXPECT_EQ(WaitForMultipleObjects(2, both, FALSE, 0), 258u);
  target.say('0');
  EXPECT_EQ(WaitForMultipleObjects(2, both, FALSE, INFINITE), 1u);
  SetEvent(event);
  EXPECT_EQ(WaitForMultipleObjects(2, both, FALSE, INFINITE), 0u);
  EXPECT_EQ(WaitForMultipleObjects(2, both, TRUE, INFINITE), 0u);
  for (HANDLE each : both) CloseHandle(each);
}

TEST(Process, ThatIsUnknownIsRefusedWith87) {
  Side_Process target(obey);
  target.say('0');
  target.status();
  for (DWORD pid : {static_cast<DWORD>(target.pid()), 0u, 0xFFFFFFFFu, 0x7FFFFFFFu}) {
    SetLastError(0);
    EXPECT_EQ(OpenProcess(PROCESS_ALL_ACCESS, FALSE, pid), nullptr);
    EXPECT_EQ(GetLastError(), 87u);
  }
}

TEST(Process, IsWaitedForWithSynchronizeOnly) {
  Side_Process target(obey);
  const HANDLE asking = open_process(target.pid(), PROCESS_QUERY_INFORMATION);
  SetLastError(0);
  EXPECT_EQ(look_at(asking), 0xFFFFFFFFu);
  EXPECT_EQ(GetLastError(), 5u);
  const HANDLE whole = open_process(target.pid(), PROCESS_ALL_ACCESS);
  const HANDLE most = open_process(target.pid(), MAXIMUM_ALLOWED);
  const HANDLE running = open_process(target.pid(), GENERIC_EXECUTE);
  for (HANDLE process : {whole, most, running}) EXPECT_EQ(look_at(process), 258u);
  for (HANDLE process : {asking, whole, most, running}) CloseHandle(process);
}

TEST(Process, IsNoEvent) {
  const HANDLE process = open_process(getpid(), PROCESS_ALL_ACCESS);
  SetLastError(0);
  EXPECT_EQ(SetEvent(process), FALSE);
  EXPECT_EQ(GetLastError(), 6u);
  EXPECT_EQ(ResetEvent(process), FALSE);
  CloseHandle(process);
}

TEST(Process, ThatIsTheCallingOneIsNeverSignalled) {
  const HANDLE event = make_event(true, true);
  const HANDLE both[] = {current_process(), event};
  EXPECT_EQ(look_at(current_process()), 258u);
  EXPECT_EQ(WaitForMultipleObjects(2, both, FALSE, INFINITE), 1u);
  EXPECT_EQ(WaitForMultipleObjects(2, both, TRUE, 0), 258u);
  CloseHandle(event);
}

TEST(Process, TellsItsIdThroughItsHandle) {
  Side_Process target(obey);
  const HANDLE process = open_process(target.pid(), PROCESS_QUERY_INFORMATION);
  EXPECT_EQ(KvGetPidFromProcHandle(process, 0), static_cast<DWORD>(target.pid()));
  EXPECT_EQ(KvGetPidFromProcHandle(current_process(), 0), static_cast<DWORD>(getpid()));
  target.say('0');
  target.status();
  EXPECT_EQ(KvGetPidFromProcHandle(process, 0), static_cast<DWORD>(target.pid()));
  CloseHandle(process);
}

TEST(Process, IdOfAnythingElseIsMinus1) {
  const HANDLE event = make_event(true, false);
  SetLastError(77);
  for (HANDLE other : {event, static_cast<HANDLE>(nullptr), reinterpret_cast<HANDLE>(0x100000)}) {
    EXPECT_EQ(KvGetPidFromProcHandle(other, 0), 0xFFFFFFFFu);
  }
  EXPECT_EQ(GetLastError(), 77u);
  CloseHandle(event);
}

}  // namespace
