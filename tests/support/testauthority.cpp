// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/testauthority.h"

#include <QRandomGenerator>
#include <QSslKey>

#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

namespace {

using Bio = std::unique_ptr<BIO, decltype(&BIO_free)>;

QByteArray contents(BIO* bio)
{
    char* text = nullptr;
    const long length = BIO_get_mem_data(bio, &text);
    return QByteArray(text, static_cast<int>(length));
}

bool addExtension(X509* certificate, X509* issuer, int id, const QByteArray& value)
{
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    X509_EXTENSION* const extension = X509V3_EXT_conf_nid(nullptr, &context, id, value.constData());
    const bool added = extension && X509_add_ext(certificate, extension, -1) == 1;
    X509_EXTENSION_free(extension);
    return added;
}

} // namespace

void TestAuthority::KeyDeleter::operator()(evp_pkey_st* key) const
{
    EVP_PKEY_free(key);
}

void TestAuthority::CertificateDeleter::operator()(x509_st* certificate) const
{
    X509_free(certificate);
}

TestAuthority::TestAuthority()
    : mKey(EVP_EC_gen("P-256")), mBefore(QSslConfiguration::defaultConfiguration())
{
    mCertificate = make(mKey.get(), "test authority",
                        {{NID_basic_constraints, "critical,CA:TRUE"},
                         {NID_key_usage, "critical,keyCertSign,cRLSign"},
                         {NID_subject_key_identifier, "hash"}},
                        nullptr, mKey.get());
    QSslConfiguration trusting = mBefore;
    trusting.addCaCertificate(QSslCertificate(pem(mCertificate.get())));
    QSslConfiguration::setDefaultConfiguration(trusting);
}

TestAuthority::~TestAuthority()
{
    QSslConfiguration::setDefaultConfiguration(mBefore);
}

QSslConfiguration TestAuthority::serverFor(const QByteArray& commonName,
                                           const QByteArray& alternativeNames) const
{
    const Key key(EVP_EC_gen("P-256"));
    QList<QPair<int, QByteArray>> extensions = {{NID_basic_constraints, "critical,CA:FALSE"},
                                                {NID_key_usage, "critical,digitalSignature"},
                                                {NID_ext_key_usage, "serverAuth"}};
    if (!alternativeNames.isEmpty())
        extensions.append({NID_subject_alt_name, alternativeNames});
    const Certificate certificate =
        make(key.get(), commonName, extensions, mCertificate.get(), mKey.get());
    QSslConfiguration configuration;
    configuration.setLocalCertificate(QSslCertificate(pem(certificate.get())));
    configuration.setPrivateKey(QSslKey(pem(key.get()), QSsl::Ec));
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
    return configuration;
}

TestAuthority::Certificate TestAuthority::make(evp_pkey_st* key, const QByteArray& commonName,
                                               const QList<QPair<int, QByteArray>>& extensions,
                                               x509_st* issuer, evp_pkey_st* issuersKey)
{
    constexpr long day = 24 * 60 * 60;
    Certificate certificate(X509_new());
    X509* const self = certificate.get();
    X509* const above = issuer ? issuer : self;
    X509_set_version(self, X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(self),
                     static_cast<long>(QRandomGenerator::system()->bounded(1, 1 << 30)));
    X509_gmtime_adj(X509_getm_notBefore(self), -day);
    X509_gmtime_adj(X509_getm_notAfter(self), day);
    X509_set_pubkey(self, key);
    X509_NAME_add_entry_by_txt(X509_get_subject_name(self), "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>(commonName.constData()), -1,
                               -1, 0);
    X509_set_issuer_name(self, X509_get_subject_name(above));
    for (const auto& extension : extensions) {
        if (!addExtension(self, above, extension.first, extension.second))
            return nullptr;
    }
    return X509_sign(self, issuersKey, EVP_sha256()) > 0 ? std::move(certificate) : nullptr;
}

QByteArray TestAuthority::pem(x509_st* certificate)
{
    const Bio bio(BIO_new(BIO_s_mem()), &BIO_free);
    return certificate && PEM_write_bio_X509(bio.get(), certificate) == 1 ? contents(bio.get())
                                                                          : QByteArray();
}

QByteArray TestAuthority::pem(evp_pkey_st* key)
{
    const Bio bio(BIO_new(BIO_s_mem()), &BIO_free);
    // The older form of the key's file, which Qt reads.
    const bool written = key && PEM_write_bio_PrivateKey_traditional(
                                    bio.get(), key, nullptr, nullptr, 0, nullptr, nullptr) == 1;
    return written ? contents(bio.get()) : QByteArray();
}
