/*
 * Notifications between the processes of a user, and the wait until a process has become idle.
 *
 * A process asks for a notification of another one (KvRequestNotification). When the other makes a report of that kind
 * (KvReportNotification), the handler that the asking process has for the kind is called there, once for each request,
 * on a thread of the layer's. Kind 0 is input idle: the process waits for input; the library has a handler for it.
 *
 * Every function may be called from any thread, unless told otherwise. None but AdvWaitForInputIdle sets the last error
 * on purpose.
 */
#ifndef KELVANE_NOTIFY_H
#define KELVANE_NOTIFY_H

#include "../windef.h"

#ifdef __cplusplus
inline namespace kelvane {

/* A handler of notifications. */
class KV_EXPORT NotifOp {
 public:
  virtual ~NotifOp();

  /* A process (pid) has reported this kind, with length bytes of data or null, which last as long as the call. */
  virtual int operator()(int pid, int kind, char* data, int length) = 0;
};

}  // namespace kelvane
#else
typedef struct NotifOp NotifOp;
#endif

KV_BEGIN_C

/*
 * Registers the handler of a kind, 0 or 1 (not checked); null takes it away. It stays the caller's and must live as
 * long as it is registered. For use at the start of a program, before notifications arrive. Returns 1.
 */
KV_EXPORT int KvRegisterNotificationHandler(int kind, NotifOp* handler);

/*
 * Asks the process for its next report of a kind; with mode 0 takes the request back. A request is answered once, and
 * a second one before the answer is the same request. There must be a handler for the kind. Returns 1, also when the
 * request could not be made.
 */
KV_EXPORT int KvRequestNotification(int pid, int kind, int mode);

/*
 * Reports a kind, with length bytes of data or null, to every process that has asked for it. A report that is made
 * inside a handler does not come back to the process that makes it. Returns what the implementation of the registry
 * answers: 1, or 0 when the report may not have reached everybody.
 */
KV_EXPORT int KvReportNotification(int kind, char* data, int length);

/*
 * With on not 0 every request to this process for the kind is answered at once, without data, from now on; 0 ends
 * that. Returns 1, also when that could not be done.
 */
KV_EXPORT int KvAutoReportNotification(int kind, int on);

/*
 * Delivers a notification in this process: calls the handler of the kind, which must be registered, and returns its
 * result. The implementation of the registry calls it.
 */
KV_EXPORT int KvNotification(int pid, int kind, char* data, int length);

/*
 * Waits until the process has called AdvFlagWaitForInputIdle, for milliseconds at most: 0 when it has, also earlier;
 * WAIT_TIMEOUT; WAIT_FAILED when it has ended before, or the handle is no process's or lacks SYNCHRONIZE.
 */
KV_EXPORT DWORD AdvWaitForInputIdle(HANDLE process, unsigned milliseconds);

/* Declares the calling process idle, for the rest of its life. Returns the result of the report. */
KV_EXPORT int AdvFlagWaitForInputIdle(void);

/*
 * Signals the event on which processes wait for this one to become idle, and reports kind 0. The event stays signalled
 * while anybody has it open; with close_event 0 this process keeps it open. Returns the result of the report.
 */
KV_EXPORT int FlagWaitForInputIdle(int pid, int close_event);

/* Registers the library's handler of kind 0. Called by start-up. Returns 1. */
KV_EXPORT int AdvInitInputIdle(void);

KV_END_C

#endif
