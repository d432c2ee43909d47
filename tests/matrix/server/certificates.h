// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <openssl/ssl.h>

#include <string>

/// An authority, and certificates by it with the flaw that is asked for.
namespace Matrix {

class Authority
{
public:
    Authority();
    ~Authority();
    Authority(const Authority&) = delete;
    Authority& operator=(const Authority&) = delete;

    /// Its certificate, as text.
    std::string text() const;
    /// A certificate for the host in `ssl`, by this authority or as the flaw says; empty for none.
    bool equip(SSL* ssl, const std::string& host, const std::string& flaw) const;

private:
    struct Own;
    Own* const mOwn;
};

} // namespace Matrix
