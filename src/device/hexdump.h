// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>

/// Hex dumps for whoever looks into the tag server's frames by hand; nothing in the library calls
/// them.
///
/// A line shows 16 bytes: as many blanks as `indentation` says (none when `indented` is null or the
/// number is negative), each byte as two upper-case hex digits and a blank, three blanks for each
/// byte that the last line lacks, then, where there is an ASCII column, each byte that lies in
/// "0".."Z" or "a".."z" as itself and any other as ".", then a line feed. No data gives no line.
///
/// Each returns 1, or 0 when an argument is null or the file cannot be written.
extern "C" {

int print_hex(const void* data, unsigned length, int indentation, const void* indented);

/// Appends to the file. With enabled 0 it does nothing and returns 1.
int print_hex_file(const char* path, int enabled, const void* data, unsigned length,
                   int indentation, const void* indented);

/// Write at `*cursor` and advance it behind the last character, where they put a null character.
/// The buffer needs hexDumpSize() characters from the cursor on.
int print_hex_stored(char** cursor, const void* data, unsigned length, int indentation,
                     const void* indented);
int print_hex_stored_no_ascii(char** cursor, const void* data, unsigned length, int indentation,
                              const void* indented);
}

/// The characters that the stored variants write, the null character included. Each of the
/// (length + 15) / 16 lines takes the indentation, 48 characters of hex and a line feed; the ASCII
/// column takes one more character for each byte.
constexpr std::size_t hexDumpSize(unsigned length, int indentation, bool indented, bool ascii)
{
    const std::size_t bytes = length;
    const std::size_t blanks = indented && indentation > 0 ? indentation : 0;
    return (bytes + 15) / 16 * (blanks + 48 + 1) + (ascii ? bytes : 0) + 1;
}
