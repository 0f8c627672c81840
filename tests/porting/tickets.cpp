// Draws tickets from the counter library.
#include <windows.h>

#include <cstdio>
#include <string>

DWORD NextTicket();
std::wstring TicketPrefix();
bool WasClosedProperly();

int main(int argc, char** argv) {
    std::printf("closed properly before: %s\n", WasClosedProperly() ? "yes" : "no");
    int count = argc > 1 ? std::stoi(argv[1]) : 1;
    std::wstring prefix = TicketPrefix();
    char narrow[64];
    WideCharToMultiByte(CP_UTF8, 0, prefix.c_str(), -1, narrow, sizeof(narrow), NULL, NULL);
    for (int i = 0; i < count; ++i) std::printf("%s %lu\n", narrow, static_cast<unsigned long>(NextTicket()));
    return 0;
}
