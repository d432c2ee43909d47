// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/wire/statustext.h"

namespace KelEmulator {

namespace {

struct Row
{
    int status;
    const char* text;
};

constexpr Row rows[] = {
    {200, "OK"},
    {204, "No Content"},
    {400, "Bad Request"},
    {401, "Unauthorized"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {409, "Conflict"},
    {411, "Length Required"},
    {413, "Payload Too Large"},
    {414, "URI Too Long"},
    {415, "Unsupported Media Type"},
    {422, "Unprocessable Entity"},
    {500, "Internal Server Error"},
    {502, "Bad Gateway"},
    {503, "Service Unavailable"},
};

} // namespace

const char* statusText(int status)
{
    for (const Row& row : rows) {
        if (row.status == status)
            return row.text;
    }
    return "Ordered";
}

} // namespace KelEmulator
