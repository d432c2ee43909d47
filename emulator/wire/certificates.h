// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <memory>
#include <openssl/ssl.h>
#include <string>

namespace KelEmulator {

struct ContextDeleter
{
    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
};
using TlsContext = std::unique_ptr<SSL_CTX, ContextDeleter>;

/// A certificate authority of this run and what it has signed. Keys never leave the process.
struct Certificates
{
    std::string authorityPem;
    TlsContext serviceHosts; ///< for the six hosts of the service
    TlsContext otherHost;    ///< from the same authority, for a host that nobody asks for
};

/// The service's end in so many days. False, and why in `problem`, when OpenSSL fails.
bool makeCertificates(Certificates& certificates, int days, std::string& problem);

} // namespace KelEmulator
