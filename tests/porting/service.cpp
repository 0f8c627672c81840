// A service skeleton. Without arguments it is started by the service manager; -run runs it in the foreground until
// "-stop <pid>" of another instance stops it.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#ifdef __linux__
#include <kelvane/notify.h>
#endif

static char g_name[] = "ExampleService";
static SERVICE_STATUS g_status;
static SERVICE_STATUS_HANDLE g_statusHandle;
static HANDLE g_stopEvent;

static void EventName(char* name, size_t size, DWORD pid) {
    snprintf(name, size, "ExampleService.Stop.%lu", static_cast<unsigned long>(pid));
}

static void ReportStatus(DWORD state, DWORD exitCode) {
    g_status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    g_status.dwCurrentState = state;
    g_status.dwControlsAccepted = state == SERVICE_START_PENDING ? 0 : SERVICE_ACCEPT_STOP;
    g_status.dwWin32ExitCode = exitCode;
    SetServiceStatus(g_statusHandle, &g_status);
}

static VOID WINAPI Handler(DWORD control) {
    if (control == SERVICE_CONTROL_STOP) SetEvent(g_stopEvent);
}

static VOID WINAPI ServiceMain(DWORD, LPTSTR*) {
    g_statusHandle = RegisterServiceCtrlHandler(g_name, Handler);
    if (g_statusHandle == NULL) return;
    ReportStatus(SERVICE_START_PENDING, NO_ERROR);
    char name[64];
    EventName(name, sizeof(name), GetCurrentProcessId());
    g_stopEvent = CreateEvent(NULL, TRUE, FALSE, name);
    if (g_stopEvent == NULL) {
        ReportStatus(SERVICE_STOPPED, GetLastError());
        return;
    }
    ReportStatus(SERVICE_RUNNING, NO_ERROR);
    printf("running %lu\n", static_cast<unsigned long>(GetCurrentProcessId()));
    fflush(stdout);
    WaitForSingleObject(g_stopEvent, INFINITE);
    CloseHandle(g_stopEvent);
    ReportStatus(SERVICE_STOPPED, NO_ERROR);
    printf("stopped\n");
}

#ifdef __linux__
// Tells of notifications of kind 1 that other processes of the suite make.
class SuiteNotification : public NotifOp {
public:
    int operator()(int, int kind, char* data, int length) override {
        printf("notification %d: %.*s\n", kind, length, data);
        return 7;
    }
};
static SuiteNotification g_notification;
#endif

static int Stop(DWORD pid) {
    char name[64];
    EventName(name, sizeof(name), pid);
    HANDLE event = OpenEvent(EVENT_MODIFY_STATE, FALSE, name);
    if (event == NULL) {
        printf("not running: %lu\n", static_cast<unsigned long>(GetLastError()));
        return 1;
    }
    SetEvent(event);
    CloseHandle(event);
    HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, pid);
    if (process != NULL) {
        WaitForSingleObject(process, INFINITE);
        CloseHandle(process);
    }
    return 0;
}

int main(int argc, char** argv) {
#ifdef __linux__
    KvRegisterNotificationHandler(1, &g_notification);
    char hello[] = "hello";
    if (argc > 1 && strcmp(argv[1], "-notify") == 0)
        return KvNotification(static_cast<int>(GetCurrentProcessId()), 1, hello, 5) == 7 ? 0 : 1;
#endif
    if (argc > 2 && strcmp(argv[1], "-stop") == 0) return Stop(static_cast<DWORD>(atoi(argv[2])));
    if (argc > 1 && strcmp(argv[1], "-run") == 0) {
        ServiceMain(0, NULL);
        return static_cast<int>(g_status.dwWin32ExitCode);
    }
    SERVICE_TABLE_ENTRY table[] = {{g_name, ServiceMain}, {NULL, NULL}};
    if (!StartServiceCtrlDispatcher(table)) return static_cast<int>(GetLastError());
    return 0;
}
