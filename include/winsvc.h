/*
 * The service control manager: there is none.
 *
 * Every function reports its call (see KvStub in kelvane/report.h) and returns a fixed value: 0 (FALSE, null) unless
 * its own text says otherwise. None sets the last error, reads its arguments, touches an output or calls a function
 * that it was given; a service program runs as the ordinary program that it is. Any thread may call them.
 */
#ifndef KELVANE_WINSVC_H
#define KELVANE_WINSVC_H

#include "winnt.h"

#define SERVICES_ACTIVE_DATABASEA "ServicesActive"
#define SERVICES_ACTIVE_DATABASEW L"ServicesActive"
#define SC_GROUP_IDENTIFIERA '+'
#define SC_GROUP_IDENTIFIERW L'+'

#define SERVICE_NO_CHANGE 0xFFFFFFFFu

/* Types of services, and how they start. */
#define SERVICE_KERNEL_DRIVER 0x00000001u
#define SERVICE_FILE_SYSTEM_DRIVER 0x00000002u
#define SERVICE_ADAPTER 0x00000004u
#define SERVICE_RECOGNIZER_DRIVER 0x00000008u
#define SERVICE_DRIVER 0x0000000Bu
#define SERVICE_WIN32_OWN_PROCESS 0x00000010u
#define SERVICE_WIN32_SHARE_PROCESS 0x00000020u
#define SERVICE_WIN32 0x00000030u
#define SERVICE_INTERACTIVE_PROCESS 0x00000100u
#define SERVICE_BOOT_START 0u
#define SERVICE_SYSTEM_START 1u
#define SERVICE_AUTO_START 2u
#define SERVICE_DEMAND_START 3u
#define SERVICE_DISABLED 4u
#define SERVICE_ERROR_IGNORE 0u
#define SERVICE_ERROR_NORMAL 1u
#define SERVICE_ERROR_SEVERE 2u
#define SERVICE_ERROR_CRITICAL 3u

/* Controls. */
#define SERVICE_CONTROL_STOP 1u
#define SERVICE_CONTROL_PAUSE 2u
#define SERVICE_CONTROL_CONTINUE 3u
#define SERVICE_CONTROL_INTERROGATE 4u
#define SERVICE_CONTROL_SHUTDOWN 5u

/* States, and the controls that are accepted in them. */
#define SERVICE_ACTIVE 0x00000001u
#define SERVICE_INACTIVE 0x00000002u
#define SERVICE_STATE_ALL 0x00000003u
#define SERVICE_STOPPED 1u
#define SERVICE_START_PENDING 2u
#define SERVICE_STOP_PENDING 3u
#define SERVICE_RUNNING 4u
#define SERVICE_CONTINUE_PENDING 5u
#define SERVICE_PAUSE_PENDING 6u
#define SERVICE_PAUSED 7u
#define SERVICE_ACCEPT_STOP 0x00000001u
#define SERVICE_ACCEPT_PAUSE_CONTINUE 0x00000002u
#define SERVICE_ACCEPT_SHUTDOWN 0x00000004u

/* Rights. */
#define SC_MANAGER_CONNECT 0x0001u
#define SC_MANAGER_CREATE_SERVICE 0x0002u
#define SC_MANAGER_ENUMERATE_SERVICE 0x0004u
#define SC_MANAGER_LOCK 0x0008u
#define SC_MANAGER_QUERY_LOCK_STATUS 0x0010u
#define SC_MANAGER_MODIFY_BOOT_CONFIG 0x0020u
#define SC_MANAGER_ALL_ACCESS 0x000F003Fu
#define SERVICE_QUERY_CONFIG 0x0001u
#define SERVICE_CHANGE_CONFIG 0x0002u
#define SERVICE_QUERY_STATUS 0x0004u
#define SERVICE_ENUMERATE_DEPENDENTS 0x0008u
#define SERVICE_START 0x0010u
#define SERVICE_STOP 0x0020u
#define SERVICE_PAUSE_CONTINUE 0x0040u
#define SERVICE_INTERROGATE 0x0080u
#define SERVICE_USER_DEFINED_CONTROL 0x0100u
#define SERVICE_ALL_ACCESS 0x000F01FFu

KV_BEGIN_C

DECLARE_HANDLE(SC_HANDLE);
typedef SC_HANDLE* LPSC_HANDLE;
DECLARE_HANDLE(SERVICE_STATUS_HANDLE);
typedef LPVOID SC_LOCK;

typedef struct _SERVICE_STATUS {
  DWORD dwServiceType;
  DWORD dwCurrentState;
  DWORD dwControlsAccepted;
  DWORD dwWin32ExitCode;
  DWORD dwServiceSpecificExitCode;
  DWORD dwCheckPoint;
  DWORD dwWaitHint; /* milliseconds */
} SERVICE_STATUS, *LPSERVICE_STATUS;

typedef struct _ENUM_SERVICE_STATUSA {
  LPSTR lpServiceName;
  LPSTR lpDisplayName;
  SERVICE_STATUS ServiceStatus;
} ENUM_SERVICE_STATUSA, *LPENUM_SERVICE_STATUSA;

typedef struct _ENUM_SERVICE_STATUSW {
  LPWSTR lpServiceName;
  LPWSTR lpDisplayName;
  SERVICE_STATUS ServiceStatus;
} ENUM_SERVICE_STATUSW, *LPENUM_SERVICE_STATUSW;

typedef struct _QUERY_SERVICE_CONFIGA {
  DWORD dwServiceType;
  DWORD dwStartType;
  DWORD dwErrorControl;
  LPSTR lpBinaryPathName;
  LPSTR lpLoadOrderGroup;
  DWORD dwTagId;
  LPSTR lpDependencies;
  LPSTR lpServiceStartName;
  LPSTR lpDisplayName;
} QUERY_SERVICE_CONFIGA, *LPQUERY_SERVICE_CONFIGA;

typedef struct _QUERY_SERVICE_CONFIGW {
  DWORD dwServiceType;
  DWORD dwStartType;
  DWORD dwErrorControl;
  LPWSTR lpBinaryPathName;
  LPWSTR lpLoadOrderGroup;
  DWORD dwTagId;
  LPWSTR lpDependencies;
  LPWSTR lpServiceStartName;
  LPWSTR lpDisplayName;
} QUERY_SERVICE_CONFIGW, *LPQUERY_SERVICE_CONFIGW;

typedef VOID(WINAPI* LPSERVICE_MAIN_FUNCTIONA)(DWORD argument_count, LPSTR* arguments);
typedef VOID(WINAPI* LPSERVICE_MAIN_FUNCTIONW)(DWORD argument_count, LPWSTR* arguments);
typedef VOID(WINAPI* LPHANDLER_FUNCTION)(DWORD control);

typedef struct _SERVICE_TABLE_ENTRYA {
  LPSTR lpServiceName;
  LPSERVICE_MAIN_FUNCTIONA lpServiceProc;
} SERVICE_TABLE_ENTRYA, *LPSERVICE_TABLE_ENTRYA;

typedef struct _SERVICE_TABLE_ENTRYW {
  LPWSTR lpServiceName;
  LPSERVICE_MAIN_FUNCTIONW lpServiceProc;
} SERVICE_TABLE_ENTRYW, *LPSERVICE_TABLE_ENTRYW;

/* In a service program. The dispatchers return 1 at once and call no service; the registrations return 4. */
KV_EXPORT BOOL WINAPI StartServiceCtrlDispatcherA(const SERVICE_TABLE_ENTRYA* service_table);
KV_EXPORT BOOL WINAPI StartServiceCtrlDispatcherW(const SERVICE_TABLE_ENTRYW* service_table);
KV_EXPORT SERVICE_STATUS_HANDLE WINAPI RegisterServiceCtrlHandlerA(LPCSTR service_name, LPHANDLER_FUNCTION handler);
KV_EXPORT SERVICE_STATUS_HANDLE WINAPI RegisterServiceCtrlHandlerW(LPCWSTR service_name, LPHANDLER_FUNCTION handler);
KV_EXPORT BOOL WINAPI SetServiceStatus(SERVICE_STATUS_HANDLE service, LPSERVICE_STATUS status);

/* The manager and its services. SetServiceObjectSecurity returns 1. */
KV_EXPORT SC_HANDLE WINAPI OpenSCManagerA(LPCSTR machine_name, LPCSTR database_name, DWORD access);
KV_EXPORT SC_HANDLE WINAPI OpenSCManagerW(LPCWSTR machine_name, LPCWSTR database_name, DWORD access);
KV_EXPORT SC_HANDLE WINAPI OpenServiceA(SC_HANDLE manager, LPCSTR service_name, DWORD access);
KV_EXPORT SC_HANDLE WINAPI OpenServiceW(SC_HANDLE manager, LPCWSTR service_name, DWORD access);
KV_EXPORT BOOL WINAPI CloseServiceHandle(SC_HANDLE object);
KV_EXPORT SC_HANDLE WINAPI CreateServiceA(SC_HANDLE manager, LPCSTR service_name, LPCSTR display_name, DWORD access,
                                          DWORD service_type, DWORD start_type, DWORD error_control,
                                          LPCSTR binary_path_name, LPCSTR load_order_group, LPDWORD out_tag_id,
                                          LPCSTR dependencies, LPCSTR start_name, LPCSTR password);
KV_EXPORT SC_HANDLE WINAPI CreateServiceW(SC_HANDLE manager, LPCWSTR service_name, LPCWSTR display_name, DWORD access,
                                          DWORD service_type, DWORD start_type, DWORD error_control,
                                          LPCWSTR binary_path_name, LPCWSTR load_order_group, LPDWORD out_tag_id,
                                          LPCWSTR dependencies, LPCWSTR start_name, LPCWSTR password);
KV_EXPORT BOOL WINAPI ChangeServiceConfigA(SC_HANDLE service, DWORD service_type, DWORD start_type, DWORD error_control,
                                           LPCSTR binary_path_name, LPCSTR load_order_group, LPDWORD out_tag_id,
                                           LPCSTR dependencies, LPCSTR start_name, LPCSTR password,
                                           LPCSTR display_name);
KV_EXPORT BOOL WINAPI ChangeServiceConfigW(SC_HANDLE service, DWORD service_type, DWORD start_type, DWORD error_control,
                                           LPCWSTR binary_path_name, LPCWSTR load_order_group, LPDWORD out_tag_id,
                                           LPCWSTR dependencies, LPCWSTR start_name, LPCWSTR password,
                                           LPCWSTR display_name);
KV_EXPORT BOOL WINAPI DeleteService(SC_HANDLE service);
KV_EXPORT BOOL WINAPI StartServiceA(SC_HANDLE service, DWORD argument_count, LPCSTR* arguments);
KV_EXPORT BOOL WINAPI StartServiceW(SC_HANDLE service, DWORD argument_count, LPCWSTR* arguments);
KV_EXPORT BOOL WINAPI ControlService(SC_HANDLE service, DWORD control, LPSERVICE_STATUS out_status);
KV_EXPORT BOOL WINAPI QueryServiceStatus(SC_HANDLE service, LPSERVICE_STATUS out_status);
KV_EXPORT BOOL WINAPI QueryServiceConfigA(SC_HANDLE service, LPQUERY_SERVICE_CONFIGA out_config, DWORD size,
                                          LPDWORD out_size);
KV_EXPORT BOOL WINAPI QueryServiceConfigW(SC_HANDLE service, LPQUERY_SERVICE_CONFIGW out_config, DWORD size,
                                          LPDWORD out_size);
KV_EXPORT BOOL WINAPI EnumServicesStatusA(SC_HANDLE manager, DWORD service_type, DWORD service_state,
                                          LPENUM_SERVICE_STATUSA out_services, DWORD size, LPDWORD out_size,
                                          LPDWORD out_count, LPDWORD resume_handle);
KV_EXPORT BOOL WINAPI EnumServicesStatusW(SC_HANDLE manager, DWORD service_type, DWORD service_state,
                                          LPENUM_SERVICE_STATUSW out_services, DWORD size, LPDWORD out_size,
                                          LPDWORD out_count, LPDWORD resume_handle);
KV_EXPORT SC_LOCK WINAPI LockServiceDatabase(SC_HANDLE manager);
KV_EXPORT BOOL WINAPI UnlockServiceDatabase(SC_LOCK lock);
KV_EXPORT BOOL WINAPI SetServiceObjectSecurity(SC_HANDLE service, SECURITY_INFORMATION information,
                                               PSECURITY_DESCRIPTOR descriptor);

KV_END_C

#if defined(UNICODE) || defined(_UNICODE)
#define KV_SERVICE_FORM(name) name##W
#else
#define KV_SERVICE_FORM(name) name##A
#endif
#define SERVICES_ACTIVE_DATABASE KV_SERVICE_FORM(SERVICES_ACTIVE_DATABASE)
#define SC_GROUP_IDENTIFIER KV_SERVICE_FORM(SC_GROUP_IDENTIFIER)
#define ENUM_SERVICE_STATUS KV_SERVICE_FORM(ENUM_SERVICE_STATUS)
#define LPENUM_SERVICE_STATUS KV_SERVICE_FORM(LPENUM_SERVICE_STATUS)
#define QUERY_SERVICE_CONFIG KV_SERVICE_FORM(QUERY_SERVICE_CONFIG)
#define LPQUERY_SERVICE_CONFIG KV_SERVICE_FORM(LPQUERY_SERVICE_CONFIG)
#define SERVICE_TABLE_ENTRY KV_SERVICE_FORM(SERVICE_TABLE_ENTRY)
#define LPSERVICE_TABLE_ENTRY KV_SERVICE_FORM(LPSERVICE_TABLE_ENTRY)
#define LPSERVICE_MAIN_FUNCTION KV_SERVICE_FORM(LPSERVICE_MAIN_FUNCTION)
#define StartServiceCtrlDispatcher KV_SERVICE_FORM(StartServiceCtrlDispatcher)
#define RegisterServiceCtrlHandler KV_SERVICE_FORM(RegisterServiceCtrlHandler)
#define OpenSCManager KV_SERVICE_FORM(OpenSCManager)
#define OpenService KV_SERVICE_FORM(OpenService)
#define CreateService KV_SERVICE_FORM(CreateService)
#define ChangeServiceConfig KV_SERVICE_FORM(ChangeServiceConfig)
#define StartService KV_SERVICE_FORM(StartService)
#define QueryServiceConfig KV_SERVICE_FORM(QueryServiceConfig)
#define EnumServicesStatus KV_SERVICE_FORM(EnumServicesStatus)

#ifdef __cplusplus
static_assert(sizeof(SERVICE_STATUS) == 28 && offsetof(SERVICE_STATUS, dwWaitHint) == 24, "the published layout");
static_assert(sizeof(ENUM_SERVICE_STATUSA) == 48 && offsetof(ENUM_SERVICE_STATUSA, ServiceStatus) == 16,
              "the published layout");
static_assert(sizeof(QUERY_SERVICE_CONFIGA) == 64 && offsetof(QUERY_SERVICE_CONFIGA, dwTagId) == 32,
              "the published layout");
static_assert(sizeof(QUERY_SERVICE_CONFIGW) == 64 && sizeof(ENUM_SERVICE_STATUSW) == 48, "the published layout");
static_assert(sizeof(SERVICE_TABLE_ENTRYA) == 16 && sizeof(SERVICE_TABLE_ENTRYW) == 16, "the published layout");
#endif

#endif
