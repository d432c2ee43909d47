// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/hexdump.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

constexpr unsigned bytesPerLine = 16;

struct Dump
{
    const unsigned char* data;
    unsigned length;
    int blanks;
    bool ascii;
};

Dump dumpOf(const void* data, unsigned length, int indentation, const void* indented, bool ascii)
{
    return {static_cast<const unsigned char*>(data), length,
            indented ? std::max(indentation, 0) : 0, ascii};
}

char asciiColumn(unsigned char byte)
{
    const bool shown = (byte >= '0' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
    return shown ? static_cast<char>(byte) : '.';
}

// Gives the sink, a function of text and length, one piece after the other.
template <typename Sink>
void write(const Dump& dump, Sink sink)
{
    constexpr char digits[] = "0123456789ABCDEF";
    // In size_t: the last line of a dump of nearly 4 GiB would step over the end of unsigned.
    for (std::size_t start = 0; start < dump.length; start += bytesPerLine) {
        for (int i = 0; i < dump.blanks; ++i)
            sink(" ", 1);
        const std::size_t count = std::min<std::size_t>(bytesPerLine, dump.length - start);
        for (std::size_t i = 0; i < bytesPerLine; ++i) {
            if (i >= count) {
                sink("   ", 3);
                continue;
            }
            const unsigned char byte = dump.data[start + i];
            const char hex[] = {digits[byte >> 4], digits[byte & 0xF], ' '};
            sink(hex, sizeof hex);
        }
        for (std::size_t i = 0; dump.ascii && i < count; ++i) {
            const char character = asciiColumn(dump.data[start + i]);
            sink(&character, 1);
        }
        sink("\n", 1);
    }
}

int writeToFile(const Dump& dump, std::FILE* file)
{
    bool complete = true;
    write(dump, [&](const char* text, std::size_t size) {
        complete = std::fwrite(text, 1, size, file) == size && complete;
    });
    return complete ? 1 : 0;
}

int writeToBuffer(const Dump& dump, char** cursor)
{
    if (!cursor || !*cursor || (!dump.data && dump.length > 0))
        return 0;
    write(dump, [&](const char* text, std::size_t size) {
        std::memcpy(*cursor, text, size);
        *cursor += size;
    });
    **cursor = '\0';
    return 1;
}

} // namespace

int print_hex(const void* data, unsigned length, int indentation, const void* indented)
{
    if (!data && length > 0)
        return 0;
    return writeToFile(dumpOf(data, length, indentation, indented, true), stdout);
}

int print_hex_file(const char* path, int enabled, const void* data, unsigned length,
                   int indentation, const void* indented)
{
    if (!enabled)
        return 1;
    if (!path || (!data && length > 0))
        return 0;
    // "e": not for programs that the application starts.
    std::FILE* file = std::fopen(path, "a+e");
    if (!file)
        return 0;
    const int written = writeToFile(dumpOf(data, length, indentation, indented, true), file);
    return std::fclose(file) == 0 ? written : 0;
}

int print_hex_stored(char** cursor, const void* data, unsigned length, int indentation,
                     const void* indented)
{
    return writeToBuffer(dumpOf(data, length, indentation, indented, true), cursor);
}

int print_hex_stored_no_ascii(char** cursor, const void* data, unsigned length, int indentation,
                              const void* indented)
{
    return writeToBuffer(dumpOf(data, length, indentation, indented, false), cursor);
}
