/*
 * INVENTORY - keeps a small parts list in the registry.
 *
 *   inventory add <part> <count>
 *   inventory list
 *   inventory remove <part>
 *   inventory clear
 */
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#include <tchar.h>
#include <stdio.h>
#include <stdlib.h>

#define ROOT_PATH TEXT("Software\\Initech\\Inventory")
#define PARTS_PATH ROOT_PATH TEXT("\\Parts")

static TCHAR szLastPart[] = TEXT("LastPart");

static void ShowError(LPCTSTR pszWhat, LONG lError)
{
    LPTSTR pszText = NULL;
    FormatMessage(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, NULL,
                  (DWORD)lError, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), (LPTSTR)&pszText, 0, NULL);
    _tprintf(TEXT("%") TEXT("s: error %d: %") TEXT("s"), pszWhat, (int)lError, pszText ? pszText : TEXT("?\n"));
    LocalFree(pszText);
}

static LONG OpenParts(PHKEY phKey)
{
    DWORD dwDisposition;
    return RegCreateKeyEx(HKEY_CURRENT_USER, PARTS_PATH, 0, NULL, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, NULL, phKey,
                          &dwDisposition);
}

static LONG AddPart(LPCTSTR pszPart, DWORD dwCount)
{
    HKEY hKey;
    LONG lError = OpenParts(&hKey);
    if (lError != ERROR_SUCCESS)
        return lError;
    lError = RegSetValueEx(hKey, pszPart, 0, REG_DWORD, (LPBYTE)&dwCount, sizeof(dwCount));
    RegCloseKey(hKey);
    if (lError == ERROR_SUCCESS)
        lError = RegSetKeyValue(HKEY_CURRENT_USER, ROOT_PATH, szLastPart, REG_SZ, pszPart,
                                (lstrlen(pszPart) + 1) * sizeof(TCHAR));
    return lError;
}

static LONG ListParts(void)
{
    HKEY hKey;
    DWORD dwIndex, cValues = 0, cb;
    TCHAR szLast[64];
    LPTSTR pszName;
    LONG lError = OpenParts(&hKey);
    if (lError != ERROR_SUCCESS)
        return lError;
    RegQueryInfoKey(hKey, NULL, NULL, NULL, NULL, NULL, NULL, &cValues, NULL, NULL, NULL, NULL);
    pszName = (LPTSTR)HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, MAX_PATH * sizeof(TCHAR));
    for (dwIndex = 0; dwIndex < cValues; dwIndex++) {
        DWORD cchName = MAX_PATH, dwType, dwCount;
        cb = sizeof(dwCount);
        lError = RegEnumValue(hKey, dwIndex, pszName, &cchName, NULL, &dwType, (LPBYTE)&dwCount, &cb);
        if (lError != ERROR_SUCCESS)
            break;
        if (dwType == REG_DWORD)
            _tprintf(TEXT("%6u  %") TEXT("s\n"), dwCount, pszName);
    }
    HeapFree(GetProcessHeap(), 0, pszName);
    RegCloseKey(hKey);
    cb = sizeof(szLast);
    if (RegGetValue(HKEY_CURRENT_USER, ROOT_PATH, szLastPart, RRF_RT_REG_SZ, NULL, szLast, &cb) == ERROR_SUCCESS)
        _tprintf(TEXT("last: %") TEXT("s\n"), szLast);
    return lError;
}

static LONG RemovePart(LPCTSTR pszPart)
{
    HKEY hKey;
    LONG lError = RegOpenKeyEx(HKEY_CURRENT_USER, PARTS_PATH, 0, KEY_SET_VALUE, &hKey);
    if (lError == ERROR_SUCCESS) {
        lError = RegDeleteValue(hKey, pszPart);
        RegCloseKey(hKey);
    }
    return lError;
}

int _tmain(int argc, TCHAR *argv[])
{
    LONG lError = ERROR_INVALID_PARAMETER;
    if (argc == 4 && _tcsicmp(argv[1], TEXT("add")) == 0)
        lError = AddPart(argv[2], (DWORD)_tcstoul(argv[3], NULL, 10));
    else if (argc == 2 && _tcsicmp(argv[1], TEXT("list")) == 0)
        lError = ListParts();
    else if (argc == 3 && _tcsicmp(argv[1], TEXT("remove")) == 0)
        lError = RemovePart(argv[2]);
    else if (argc == 2 && _tcsicmp(argv[1], TEXT("clear")) == 0)
        lError = RegDeleteTree(HKEY_CURRENT_USER, ROOT_PATH);
    if (lError != ERROR_SUCCESS)
        ShowError(argc > 1 ? argv[1] : TEXT("inventory"), lError);
    return lError == ERROR_SUCCESS ? 0 : 1;
}
