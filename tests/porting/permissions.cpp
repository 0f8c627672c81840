// Makes, stores and shows a list of permissions: two entries in a security descriptor, kept as a binary value.
#include <windows.h>

#include <stdio.h>
#include <stdlib.h>

#define SETTINGS_KEY "Software\\Fabrikam\\Permissions"

static void Fail(const char* what)
{
    printf("%s failed (%lu)\n", what, (unsigned long)GetLastError());
    exit(1);
}

static void EnablePrivilege(LPCTSTR name)
{
    HANDLE token;
    TOKEN_PRIVILEGES privileges;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token))
        return;
    privileges.PrivilegeCount = 1;
    privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    if (!LookupPrivilegeValue(NULL, name, &privileges.Privileges[0].Luid) ||
        !AdjustTokenPrivileges(token, FALSE, &privileges, 0, NULL, NULL))
        printf("going on without %s\n", name);
    CloseHandle(token);
}

static PSID MakeSid(BYTE authority, DWORD first, DWORD second, BYTE count)
{
    SID_IDENTIFIER_AUTHORITY identifier = {{0, 0, 0, 0, 0, authority}};
    PSID sid;
    if (!AllocateAndInitializeSid(&identifier, count, first, second, 0, 0, 0, 0, 0, 0, &sid))
        Fail("AllocateAndInitializeSid");
    return sid;
}

static void Store(void)
{
    PSID everyone = MakeSid(1, SECURITY_WORLD_RID, 0, 1);
    PSID administrators = MakeSid(5, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS, 2);
    SECURITY_DESCRIPTOR descriptor;
    DWORD aclSize = sizeof(ACL) + 2 * sizeof(ACCESS_ALLOWED_ACE) + GetLengthSid(everyone) + GetLengthSid(administrators);
    PACL acl = (PACL)LocalAlloc(LPTR, aclSize);
    DWORD size = 0;
    BYTE* packed;
    LONG error;

    if (!InitializeAcl(acl, aclSize, ACL_REVISION) ||
        !AddAccessAllowedAce(acl, ACL_REVISION, KEY_READ, everyone) ||
        !AddAccessAllowedAce(acl, ACL_REVISION, KEY_ALL_ACCESS, administrators))
        Fail("building the list");
    if (!InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION) ||
        !SetSecurityDescriptorOwner(&descriptor, administrators, FALSE) ||
        !SetSecurityDescriptorDacl(&descriptor, TRUE, acl, FALSE) || !IsValidSecurityDescriptor(&descriptor))
        Fail("building the descriptor");
    if (MakeSelfRelativeSD(&descriptor, NULL, &size) || size == 0)
        Fail("asking for the size");
    packed = (BYTE*)malloc(size);
    if (!MakeSelfRelativeSD(&descriptor, packed, &size))
        Fail("MakeSelfRelativeSD");
    error = RegSetKeyValue(HKEY_CURRENT_USER, SETTINGS_KEY, "Access", REG_BINARY, packed, size);
    printf("stored: %ld\n", (long)error);
    free(packed);
    LocalFree(acl);
    FreeSid(administrators);
    FreeSid(everyone);
}

static void ShowSid(PSID sid)
{
    char name[64], domain[64];
    DWORD nameSize = sizeof(name), domainSize = sizeof(domain), i;
    SID_NAME_USE use;
    if (LookupAccountSid(NULL, sid, name, &nameSize, domain, &domainSize, &use)) {
        printf("%s\\%s", domain, name);
        return;
    }
    printf("S-1-%d", GetSidIdentifierAuthority(sid)->Value[5]);
    for (i = 0; i < *GetSidSubAuthorityCount(sid); i++)
        printf("-%lu", (unsigned long)*GetSidSubAuthority(sid, i));
}

static void Show(void)
{
    BYTE buffer[1024];
    DWORD size = sizeof(buffer), type, i;
    LONG error = RegGetValue(HKEY_CURRENT_USER, SETTINGS_KEY, "Access", RRF_RT_REG_BINARY, &type, buffer, &size);
    SECURITY_DESCRIPTOR_CONTROL control;
    DWORD revision;
    PACL acl;
    ACL_SIZE_INFORMATION information;
    LPVOID ace;
    if (error != ERROR_SUCCESS) {
        printf("nothing stored (%ld)\n", (long)error);
        return;
    }
    GetSecurityDescriptorControl(buffer, &control, &revision);
    printf("%lu bytes, revision %lu, %s\n", (unsigned long)size, (unsigned long)revision,
           control & SE_SELF_RELATIVE ? "self-relative" : "absolute");
    acl = (PACL)(buffer + (ULONG_PTR)((SECURITY_DESCRIPTOR*)buffer)->Dacl);
    if (!IsValidAcl(acl) || !GetAclInformation(acl, &information, sizeof(information), AclSizeInformation) ||
        !GetAce(acl, 0, &ace))
        Fail("reading the list");
    for (i = 0; i < information.AceCount; i++) {
        ACCESS_ALLOWED_ACE* allowed = (ACCESS_ALLOWED_ACE*)ace;
        printf("%08lX ", (unsigned long)allowed->Mask);
        ShowSid(&allowed->SidStart);
        printf("\n");
        ace = (BYTE*)ace + allowed->Header.AceSize;
    }
}

static void CheckAccess(void)
{
    GENERIC_MAPPING mapping = {KEY_READ, KEY_WRITE, KEY_EXECUTE, KEY_ALL_ACCESS};
    PRIVILEGE_SET privileges;
    DWORD privilegesSize = sizeof(privileges), granted = 0;
    BOOL status = FALSE;
    SECURITY_DESCRIPTOR descriptor;
    HANDLE token;
    InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
    if (!OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token) ||
        !AccessCheck(&descriptor, token, KEY_READ, &mapping, &privileges, &privilegesSize, &granted, &status))
        Fail("AccessCheck");
    printf("access %s, %08lX\n", status ? "granted" : "denied", (unsigned long)granted);
}

int main(int argc, char** argv)
{
    char user[256];
    DWORD size = sizeof(user);
    EnablePrivilege("SeSecurityPrivilege");
    if (argc > 1 && lstrlen(argv[1]) == 5) /* store */
        Store();
    Show();
    CheckAccess();
    if (GetUserName(user, &size))
        printf("for %s\n", user);
    return 0;
}
