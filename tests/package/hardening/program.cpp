// SPDX-License-Identifier: LGPL-2.1-or-later
#include <cstdio>
#include <cstring>

namespace {

// Takes more of the stack at once than the page that guards its end.
[[gnu::noinline]] int sizeOf(const char* text)
{
    volatile char copy[1 << 16];
    int size = 0;
    for (; text[size] != '\0'; ++size)
        copy[size] = text[size];
    return copy[0] == '\0' ? 0 : size;
}

} // namespace

// Copies what it does not know the length of into a buffer on the stack.
int main(int count, char** arguments)
{
    char text[16];
    std::strcpy(text, arguments[count - 1]);
    return std::puts(text) < 0 || sizeOf(text) < 0;
}
