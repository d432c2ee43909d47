// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "matrix/server/certificates.h"
#include "matrix/state.h"

namespace Matrix {

/// What connections are made safe with, for as long as the process lives.
struct Tls
{
    Tls();
    Authority authority;
    SSL_CTX* const modern;
    SSL_CTX* const old;
};

/// One connection, from its beginning to its end, as the slot's fault wants it.
void serve(int socket, Slot& slot, bool isProxy, Tls& tls);

} // namespace Matrix
