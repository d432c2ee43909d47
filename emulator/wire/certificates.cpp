// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/wire/certificates.h"

#include "rest/request/servicehosts.h"

#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

namespace KelEmulator {

namespace {

template <auto function>
struct Deleter
{
    template <typename T>
    void operator()(T* object) const
    {
        function(object);
    }
};
using Key = std::unique_ptr<EVP_PKEY, Deleter<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Deleter<X509_free>>;
using BigNumber = std::unique_ptr<BIGNUM, Deleter<BN_free>>;
using Bio = std::unique_ptr<BIO, Deleter<BIO_free>>;
using Extension = std::unique_ptr<X509_EXTENSION, Deleter<X509_EXTENSION_free>>;

/// Who signs; for the authority itself it is the certificate in the making.
struct Issuer
{
    X509* certificate;
    EVP_PKEY* key;
    int days; ///< until what it signs ends
};

bool setSerial(X509* certificate)
{
    constexpr int bits = 127;
    const BigNumber number(BN_new());
    return number && BN_rand(number.get(), bits, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ANY) == 1 &&
           BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate));
}

bool setName(X509* certificate, const char* commonName)
{
    X509_NAME* const name = X509_get_subject_name(certificate);
    return X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                                      reinterpret_cast<const unsigned char*>(commonName), -1, -1,
                                      0) == 1;
}

bool addExtension(X509* certificate, X509* issuer, int nid, const std::string& value)
{
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    const Extension extension(X509V3_EXT_conf_nid(nullptr, &context, nid, value.c_str()));
    return extension && X509_add_ext(certificate, extension.get(), -1) == 1;
}

constexpr int authorityDays = 30;

/// A certificate with everything but extensions and signature.
Certificate blankCertificate(EVP_PKEY* key, const char* commonName, int days)
{
    constexpr long day = 24L * 60 * 60;
    Certificate certificate(X509_new());
    // A day back: another machine's clock may lag.
    const bool good = certificate && X509_set_version(certificate.get(), X509_VERSION_3) == 1 &&
                      setSerial(certificate.get()) &&
                      X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -day) &&
                      X509_gmtime_adj(X509_getm_notAfter(certificate.get()), days * day) &&
                      X509_set_pubkey(certificate.get(), key) == 1 &&
                      setName(certificate.get(), commonName);
    return good ? std::move(certificate) : nullptr;
}

bool sign(X509* certificate, const Issuer& issuer)
{
    return X509_set_issuer_name(certificate, X509_get_subject_name(issuer.certificate)) == 1 &&
           X509_sign(certificate, issuer.key, EVP_sha256()) > 0;
}

Certificate makeAuthority(EVP_PKEY* key)
{
    Certificate authority = blankCertificate(key, "kelaccount-emulator authority", authorityDays);
    X509* const self = authority.get();
    const bool good = self && addExtension(self, self, NID_basic_constraints, "critical,CA:TRUE") &&
                      addExtension(self, self, NID_key_usage, "critical,keyCertSign,cRLSign") &&
                      addExtension(self, self, NID_subject_key_identifier, "hash") &&
                      sign(self, {self, key, authorityDays});
    return good ? std::move(authority) : nullptr;
}

Certificate makeHostCertificate(EVP_PKEY* key, const std::string& names, const Issuer& issuer)
{
    // Clients read the alternative names; the common name has no room for every host.
    Certificate host = blankCertificate(key, "kelaccount-emulator", issuer.days);
    X509* const self = host.get();
    X509* const above = issuer.certificate;
    const bool good = self &&
                      addExtension(self, above, NID_basic_constraints, "critical,CA:FALSE") &&
                      addExtension(self, above, NID_key_usage, "critical,digitalSignature") &&
                      addExtension(self, above, NID_ext_key_usage, "serverAuth") &&
                      addExtension(self, above, NID_subject_key_identifier, "hash") &&
                      addExtension(self, above, NID_authority_key_identifier, "keyid") &&
                      addExtension(self, above, NID_subject_alt_name, names) && sign(self, issuer);
    return good ? std::move(host) : nullptr;
}

TlsContext makeContext(const std::string& names, const Issuer& issuer)
{
    const Key key(EVP_EC_gen("P-256"));
    const Certificate certificate = key ? makeHostCertificate(key.get(), names, issuer) : nullptr;
    TlsContext context(SSL_CTX_new(TLS_server_method()));
    if (!certificate || !context ||
        SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION) != 1 ||
        SSL_CTX_use_certificate(context.get(), certificate.get()) != 1 ||
        SSL_CTX_use_PrivateKey(context.get(), key.get()) != 1)
        return nullptr;
    // Sessions are resumed by tickets, whose key is this context's own: one that was made under the
    // right certificate is worth nothing under a wrong one.
    SSL_CTX_set_session_cache_mode(context.get(), SSL_SESS_CACHE_OFF);
    SSL_CTX_set_mode(context.get(), SSL_MODE_AUTO_RETRY);
    return context;
}

std::string pemOf(X509* certificate)
{
    const Bio bio(BIO_new(BIO_s_mem()));
    char* text = nullptr;
    if (!bio || PEM_write_bio_X509(bio.get(), certificate) != 1)
        return {};
    const long length = BIO_get_mem_data(bio.get(), &text);
    return {text, length > 0 ? static_cast<size_t>(length) : 0};
}

} // namespace

bool makeCertificates(Certificates& certificates, int days, std::string& problem)
{
    const Key key(EVP_EC_gen("P-256"));
    const Certificate authority = key ? makeAuthority(key.get()) : nullptr;
    if (authority) {
        const Issuer issuer{authority.get(), key.get(), days};
        certificates.authorityPem = pemOf(authority.get());
        certificates.serviceHosts =
            makeContext("DNS:" KELACCOUNT_HOST_TEST_A ",DNS:" KELACCOUNT_HOST_TEST_B
                        ",DNS:" KELACCOUNT_HOST_PRODUCTION ",DNS:" KELACCOUNT_HOST_STAGING
                        ",DNS:" KELACCOUNT_HOST_TEST_C ",DNS:" KELACCOUNT_HOST_TEST_D,
                        issuer);
        certificates.otherHost = makeContext("DNS:other-host.invalid", issuer);
    }
    if (!certificates.authorityPem.empty() && certificates.serviceHosts && certificates.otherHost)
        return true;
    char text[256];
    ERR_error_string_n(ERR_get_error(), text, sizeof text);
    problem = std::string("cannot make certificates: ") + text;
    return false;
}

} // namespace KelEmulator
