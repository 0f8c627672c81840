// A ticket counter as a library: the key is open as long as the library is loaded.
#include <windows.h>

#include <string>

namespace {

class CRegKey {
public:
    CRegKey(HKEY hParent, const wchar_t* path) : m_hKey(NULL) {
        if (RegCreateKeyExW(hParent, path, 0, NULL, REG_OPTION_NON_VOLATILE, KEY_READ | KEY_WRITE, NULL, &m_hKey,
                            NULL) != ERROR_SUCCESS)
            m_hKey = NULL;
    }
    ~CRegKey() {
        if (m_hKey != NULL) {
            SetDword(L"ClosedProperly", 1);
            RegCloseKey(m_hKey);
        }
    }

    DWORD GetDword(const wchar_t* name, DWORD fallback) const {
        DWORD value = 0, size = sizeof(value), type = 0;
        LONG result = RegQueryValueExW(m_hKey, name, NULL, &type, reinterpret_cast<BYTE*>(&value), &size);
        return result == ERROR_SUCCESS && type == REG_DWORD ? value : fallback;
    }
    bool SetDword(const wchar_t* name, DWORD value) {
        return RegSetValueExW(m_hKey, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof(value)) ==
               ERROR_SUCCESS;
    }
    std::wstring GetString(const wchar_t* name) const {
        DWORD size = 0;
        if (RegQueryValueExW(m_hKey, name, NULL, NULL, NULL, &size) != ERROR_SUCCESS) return L"";
        std::wstring text(size / sizeof(wchar_t), L'\0');
        RegQueryValueExW(m_hKey, name, NULL, NULL, reinterpret_cast<BYTE*>(&text[0]), &size);
        while (!text.empty() && text.back() == L'\0') text.pop_back();
        return text;
    }
    bool SetString(const wchar_t* name, const std::wstring& text) {
        return RegSetValueExW(m_hKey, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                              static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))) == ERROR_SUCCESS;
    }

private:
    HKEY m_hKey;
    CRegKey(const CRegKey&);
    CRegKey& operator=(const CRegKey&);
};

CRegKey g_settings(HKEY_CURRENT_USER, L"Software\\Contoso\\Tickets");
LONG g_calls = 0;

}  // namespace

DWORD NextTicket() {
    DWORD next = g_settings.GetDword(L"Next", 100);
    g_settings.SetDword(L"Next", next + 1);
    InterlockedIncrement(&g_calls);
    return next;
}

std::wstring TicketPrefix() {
    std::wstring prefix = g_settings.GetString(L"Prefix");
    if (prefix.empty()) {
        prefix = L"Nº";
        g_settings.SetString(L"Prefix", prefix);
    }
    return prefix;
}

bool WasClosedProperly() {
    bool was = g_settings.GetDword(L"ClosedProperly", 0) != 0;
    g_settings.SetDword(L"ClosedProperly", 0);
    return was;
}
