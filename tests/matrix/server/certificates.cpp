// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/server/certificates.h"

#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <atomic>
#include <memory>
#include <utility>
#include <vector>

namespace Matrix {

namespace {

struct Release
{
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(X509* certificate) const { X509_free(certificate); }
    void operator()(BIO* bio) const { BIO_free(bio); }
};
using Key = std::unique_ptr<EVP_PKEY, Release>;
using Certificate = std::unique_ptr<X509, Release>;
using Extensions = std::vector<std::pair<int, std::string>>;

const Extensions ofAnAuthority = {{NID_basic_constraints, "critical,CA:TRUE"},
                                  {NID_key_usage, "critical,keyCertSign,cRLSign"},
                                  {NID_subject_key_identifier, "hash"}};

struct Issued
{
    Key key;
    Certificate certificate;
};

struct Wanted
{
    std::string commonName;
    Extensions extensions;
    const char* begins = "19700101000000Z"; // good at any time, whatever a clock says
    const char* ends = "99991231235959Z";
    long beginsInSeconds = 0; ///< from now, where not 0
    long endsInSeconds = 0;
};

Issued issue(const Wanted& wanted, const Issued* by)
{
    static std::atomic<long> serial{1};
    Issued made{Key(EVP_EC_gen("P-256")), Certificate(X509_new())};
    X509* const self = made.certificate.get();
    X509* const above = by ? by->certificate.get() : self;
    X509_set_version(self, X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(self), ++serial);
    ASN1_TIME_set_string_X509(X509_getm_notBefore(self), wanted.begins);
    ASN1_TIME_set_string_X509(X509_getm_notAfter(self), wanted.ends);
    if (wanted.beginsInSeconds != 0)
        X509_gmtime_adj(X509_getm_notBefore(self), wanted.beginsInSeconds);
    if (wanted.endsInSeconds != 0)
        X509_gmtime_adj(X509_getm_notAfter(self), wanted.endsInSeconds);
    X509_set_pubkey(self, made.key.get());
    X509_NAME_add_entry_by_txt(X509_get_subject_name(self), "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>(wanted.commonName.c_str()),
                               -1, -1, 0);
    X509_set_issuer_name(self, X509_get_subject_name(above));
    for (const auto& [id, value] : wanted.extensions) {
        X509V3_CTX context;
        X509V3_set_ctx(&context, above, self, nullptr, nullptr, 0);
        X509_EXTENSION* const extension = X509V3_EXT_conf_nid(nullptr, &context, id, value.c_str());
        X509_add_ext(self, extension, -1);
        X509_EXTENSION_free(extension);
    }
    X509_sign(self, by ? by->key.get() : made.key.get(), EVP_sha256());
    return made;
}

} // namespace

struct Authority::Own
{
    Issued known = issue({"matrix authority", ofAnAuthority}, nullptr);
    Issued unknown = issue({"matrix authority nobody knows", ofAnAuthority}, nullptr);
    Issued none = issue({"no authority", {{NID_basic_constraints, "critical,CA:FALSE"}}}, &known);
};

Authority::Authority() : mOwn(new Own)
{
}

Authority::~Authority()
{
    delete mOwn;
}

std::string Authority::text() const
{
    const std::unique_ptr<BIO, Release> bio(BIO_new(BIO_s_mem()));
    PEM_write_bio_X509(bio.get(), mOwn->known.certificate.get());
    char* text = nullptr;
    const long length = BIO_get_mem_data(bio.get(), &text);
    return std::string(text, static_cast<size_t>(length));
}

bool Authority::equip(SSL* ssl, const std::string& host, const std::string& flaw) const
{
    constexpr long day = 24L * 60 * 60;
    Wanted wanted;
    wanted.commonName = host.substr(0, 64);
    const std::string name = flaw == "wrong-name" ? "other.example" : host;
    wanted.extensions = {{NID_basic_constraints, "critical,CA:FALSE"},
                         {NID_key_usage, "critical,digitalSignature"},
                         {NID_ext_key_usage, flaw == "for-clients" ? "clientAuth" : "serverAuth"}};
    if (flaw == "no-name")
        wanted.commonName = "nobody";
    if (flaw != "no-name" && flaw != "common-name-only")
        wanted.extensions.push_back({NID_subject_alt_name, "DNS:" + name});
    if (flaw == "expired") {
        wanted.beginsInSeconds = -2 * day;
        wanted.endsInSeconds = -day;
    }
    if (flaw == "future")
        wanted.beginsInSeconds = day;
    const Issued* const by = flaw == "self-signed"        ? nullptr
                             : flaw == "other-authority"  ? &mOwn->unknown
                             : flaw == "not-an-authority" ? &mOwn->none
                                                          : &mOwn->known;
    const Issued issued = issue(wanted, by);
    const bool good = SSL_use_certificate(ssl, issued.certificate.get()) == 1 &&
                      SSL_use_PrivateKey(ssl, issued.key.get()) == 1;
    if (flaw == "not-an-authority")
        SSL_add1_chain_cert(ssl, mOwn->none.certificate.get());
    return good;
}

} // namespace Matrix
