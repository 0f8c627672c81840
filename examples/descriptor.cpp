// Keeps in the registry who may use something, and asks whether two users may:  descriptor [uid [uid]]
//
// The descriptor's owner SID lists the Unix users, its group SID the Unix groups; here the first user is listed, and
// no group. Without arguments the users are the one who runs the program and "nobody" (65534).

#include <windows.h>

#include <kelvane/security.h>
#include <kelvane/token.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static const TCHAR kPath[] = TEXT("Software\\Example Corporation\\Descriptor Demo");
static const TCHAR kValue[] = TEXT("Users");
static const DWORD kRoom = 256;

static BOOL MakeDescriptor(DWORD user, BYTE* relative, DWORD* size) {
  SID_IDENTIFIER_AUTHORITY nobodys = SECURITY_NULL_SID_AUTHORITY;
  SECURITY_DESCRIPTOR descriptor;
  PSID owner = NULL, group = NULL;
  AllocateAndInitializeSid(&nobodys, 1, user, 0, 0, 0, 0, 0, 0, 0, &owner);
  AllocateAndInitializeSid(&nobodys, 0, 0, 0, 0, 0, 0, 0, 0, 0, &group);
  BOOL made = InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION) &&
              SetSecurityDescriptorOwner(&descriptor, owner, FALSE) &&
              SetSecurityDescriptorGroup(&descriptor, group, FALSE) && MakeSelfRelativeSD(&descriptor, relative, size);
  if (made) *size = GetSecurityDescriptorLength(&descriptor);
  FreeSid(owner);
  FreeSid(group);
  return made;
}

// As it is stored the descriptor is 20 bytes shorter.
static LONG Store(HKEY key, BYTE* relative, DWORD size) {
  return RegSetSDEx(key, kValue, 0, REG_BINARY, relative, size - 20);
}

static LONG Load(HKEY key, BYTE* relative, DWORD* size) {
  *size = kRoom;
  LONG error = RegQuerySDEx(key, kValue, NULL, NULL, NULL, size);
  if (error != ERROR_SUCCESS) return error;
  return *size > kRoom ? ERROR_MORE_DATA : RegQuerySDEx(key, kValue, NULL, NULL, relative, size);
}

// Checks are made with an absolute descriptor: its fields are pointers, where those of the loaded one are offsets.
static void MakeAbsolute(BYTE* relative, SECURITY_DESCRIPTOR* descriptor) {
  BOOL defaulted;
  PSID owner, group;
  GetSecurityDescriptorOwner(relative, &owner, &defaulted);
  GetSecurityDescriptorGroup(relative, &group, &defaulted);
  InitializeSecurityDescriptor(descriptor, SECURITY_DESCRIPTOR_REVISION);
  SetSecurityDescriptorOwner(descriptor, relative + (ULONG_PTR)owner, FALSE);
  SetSecurityDescriptorGroup(descriptor, relative + (ULONG_PTR)group, FALSE);
}

static void PrintAnswer(SECURITY_DESCRIPTOR* descriptor, DWORD user) {
  GENERIC_MAPPING mapping = {};
  DWORD granted = 0, privileges = 0;
  BOOL status = FALSE;
  KvAccessCheck(descriptor, (HANDLE)(ULONG_PTR)user, GENERIC_READ, &mapping, NULL, &privileges, &granted, &status);
  printf("user %u: %s\n", user, status ? "granted" : "denied");
}

int main(int argc, char** argv) {
  const DWORD first = argc > 1 ? (DWORD)strtoul(argv[1], NULL, 10) : KvGetClientId();
  const DWORD second = argc > 2 ? (DWORD)strtoul(argv[2], NULL, 10) : 65534;
  BYTE made[kRoom], loaded[kRoom];
  DWORD size = sizeof(made), loaded_size = 0;
  HKEY key = NULL;
  if (!MakeDescriptor(first, made, &size)) {
    fprintf(stderr, "descriptor: error %u\n", GetLastError());
    return 1;
  }
  LONG error = RegCreateKey(HKEY_CURRENT_USER, kPath, &key);
  if (error == ERROR_SUCCESS) error = Store(key, made, size);
  if (error == ERROR_SUCCESS) error = Load(key, loaded, &loaded_size);
  if (error != ERROR_SUCCESS) {
    fprintf(stderr, "descriptor: error %d\n", error);
    return 1;
  }
  RegCloseKey(key);
  printf("a descriptor of %u bytes, stored and read back: %s\n", size,
         loaded_size == size && memcmp(made, loaded, size) == 0 ? "the same" : "another");

  SECURITY_DESCRIPTOR descriptor;
  MakeAbsolute(loaded, &descriptor);
  PrintAnswer(&descriptor, first);
  PrintAnswer(&descriptor, second);
  return 0;
}
