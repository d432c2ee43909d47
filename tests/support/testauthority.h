// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QSslCertificate>
#include <QSslConfiguration>

#include <memory>

struct evp_pkey_st;
struct x509_st;

/// A certificate authority that is made for a test and trusted by this process while it exists.
class TestAuthority
{
public:
    TestAuthority();
    ~TestAuthority();
    TestAuthority(const TestAuthority&) = delete;
    TestAuthority& operator=(const TestAuthority&) = delete;

    /// For a server: its certificate and key. `alternativeNames` as OpenSSL writes them
    /// ("DNS:a.example,IP:127.0.0.1"); none when empty. Null when OpenSSL fails.
    QSslConfiguration serverFor(const QByteArray& commonName,
                                const QByteArray& alternativeNames) const;

private:
    struct KeyDeleter
    {
        void operator()(evp_pkey_st* key) const;
    };
    struct CertificateDeleter
    {
        void operator()(x509_st* certificate) const;
    };
    using Key = std::unique_ptr<evp_pkey_st, KeyDeleter>;
    using Certificate = std::unique_ptr<x509_st, CertificateDeleter>;

    static Certificate make(evp_pkey_st* key, const QByteArray& commonName,
                            const QList<QPair<int, QByteArray>>& extensions, x509_st* issuer,
                            evp_pkey_st* issuersKey);
    static QByteArray pem(x509_st* certificate);
    static QByteArray pem(evp_pkey_st* key);

    Key mKey;
    Certificate mCertificate;
    QSslConfiguration mBefore;
};
