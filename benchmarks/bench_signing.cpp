// SPDX-License-Identifier: LGPL-2.1-or-later
// Signing one request with a document of 722 bytes: this library beside a floor written straight on
// OpenSSL, Qt Network Authorization and liboauth. All make the same "Authorization" parameters for
// the same request, with a fresh nonce and the time of the moment.

// The floor takes the shortest way to SHA-1 there is, which OpenSSL 3 keeps but does not like.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "rest/request/clientidentification.h"
#include "rest/request/cryptographicutils.h"
#include "rest/request/oauthrequest.h"
#include "rest/request/resturlhelper.h"
#include "rest/request/serviceaddress.h"
#include "rest/request/timestampmanager.h"

#include <QOAuth1Signature>
#include <QUrl>
#include <QUuid>

#include <benchmark/benchmark.h>
#include <oauth.h>
#include <openssl/evp.h>
#include <openssl/sha.h>
#include <sys/random.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>

using namespace KelRestHandler;

namespace {

constexpr char document[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
    "<accountRegistrationRequest xmlns=\"https://account.example/schemas/rest/v1_0\">"
    "<account><userName>alice.liddell</userName><password>correct horse battery</password>"
    "<emailAddress>alice@wonderland.example</emailAddress><mobileNumber>+441632960123</"
    "mobileNumber>"
    "<firstName>Alice</firstName><lastName>Liddell</lastName><dateOfBirth>1852-05-04</dateOfBirth>"
    "<country>GBR</country><language>ENG</language><marketingConsent>false</marketingConsent>"
    "<securityQuestion><questionId>3</questionId><answer>a grin without cat</answer>"
    "</securityQuestion></account><device><imei>490154203237518</imei><imsi>234101234567890</imsi>"
    "</device><termsAccepted>true</termsAccepted></accountRegistrationRequest>";
static_assert(sizeof document - 1 == 722);

constexpr char address[] = "https://account.example/rest/1.0/accounts/4711/profile";
constexpr char consumerKey[] = "demo-key";
constexpr char secret[] = "kd94hf93k423kf44";
constexpr char token[] = "nnch734d00sl2jdk";

/// Nonce and time stamp come in, so that all can be asked for the same signature.
struct Moment
{
    QByteArray nonce;
    QByteArray timeStamp;
};

// --- The floor: plain character buffers, tables, SHA-1, nothing else
// ------------------------------

class Floor
{
public:
    /// The header's length; its text stands in header().
    size_t sign(const char* nonce, const char* timeStamp)
    {
        char* end = mBase.data();
        end = copy(end, "POST&");
        end = encode(end, address, strlen(address), mOnce);
        *end++ = '&';
        end = pair(end, "XMLContent", document, sizeof document - 1);
        end = copy(end, "%26");
        end = pair(end, "oauth_consumer_key", consumerKey, strlen(consumerKey));
        end = copy(end, "%26");
        end = pair(end, "oauth_nonce", nonce, strlen(nonce));
        end = copy(end, "%26oauth_signature_method%3DHMAC-SHA1%26");
        end = pair(end, "oauth_timestamp", timeStamp, strlen(timeStamp));
        end = copy(end, "%26");
        end = pair(end, "oauth_token", token, strlen(token));
        end = copy(end, "%26oauth_version%3D1.0");
        hmac(mBase.data(), static_cast<size_t>(end - mBase.data()));

        char* to = mHeader.data();
        to = copy(to, "OAuth realm=\"https://account.example\"\", oauth_consumer_key=\"");
        to = encode(to, consumerKey, strlen(consumerKey), mOnce);
        to = copy(to, "\", oauth_nonce=\"");
        to = encode(to, nonce, strlen(nonce), mOnce);
        to = copy(to, "\", oauth_timestamp=\"");
        to = encode(to, timeStamp, strlen(timeStamp), mOnce);
        to = copy(to, "\", oauth_signature=\"");
        to = copy(to, mSignature.data());
        to = copy(to, "\", oauth_signature_method=\"HMAC-SHA1\", oauth_version=\"1.0\", "
                      "oauth_token=\"");
        to = encode(to, token, strlen(token), mOnce);
        return static_cast<size_t>(to - mHeader.data());
    }

    size_t sign()
    {
        std::array<char, 39> nonce;
        std::array<unsigned char, 16> bits;
        // The kernel is quicker with them than libcrypto.
        if (getrandom(bits.data(), bits.size(), 0) != static_cast<ssize_t>(bits.size()))
            abort();
        bits[6] = static_cast<unsigned char>((bits[6] & 0x0F) | 0x40);
        bits[8] = static_cast<unsigned char>((bits[8] & 0x3F) | 0x80);
        char* to = nonce.data();
        *to++ = '{';
        for (size_t i = 0; i < bits.size(); ++i) {
            if (i == 4 || i == 6 || i == 8 || i == 10)
                *to++ = '-';
            *to++ = "0123456789abcdef"[bits[i] >> 4];
            *to++ = "0123456789abcdef"[bits[i] & 15];
        }
        *to++ = '}';
        *to = 0;
        std::array<char, 21> timeStamp;
        snprintf(timeStamp.data(), timeStamp.size(), "%lld", static_cast<long long>(time(nullptr)));
        return sign(nonce.data(), timeStamp.data());
    }

    const char* signature() const { return mSignature.data(); }
    const char* header() const { return mHeader.data(); }

private:
    struct Row
    {
        char text[7];
        unsigned char length;
    };
    using Table = std::array<Row, 256>;

    static Table makeTable(bool twice)
    {
        Table table{};
        for (int byte = 0; byte < 256; ++byte) {
            Row& row = table[static_cast<size_t>(byte)];
            const bool plain = byte < 128 && (isalnum(byte) || (byte && strchr("-._~", byte)));
            if (plain) {
                row.text[0] = static_cast<char>(byte);
                row.length = 1;
                continue;
            }
            std::array<char, 8> text{};
            const int length =
                snprintf(text.data(), text.size(), twice ? "%%25%02X" : "%%%02X", byte);
            memcpy(row.text, text.data(), sizeof row.text);
            row.length = static_cast<unsigned char>(length);
        }
        return table;
    }

    static char* copy(char* to, const char* text)
    {
        const size_t length = strlen(text);
        memcpy(to, text, length);
        return to + length;
    }

    static char* encode(char* to, const char* text, size_t length, const Table& table)
    {
        for (size_t i = 0; i < length; ++i) {
            const Row& row = table[static_cast<unsigned char>(text[i])];
            memcpy(to, &row, sizeof row);
            to += row.length;
        }
        return to;
    }

    char* pair(char* to, const char* name, const char* value, size_t length) const
    {
        to = copy(to, name);
        to = copy(to, "%3D");
        return encode(to, value, length, mTwice);
    }

    void hmac(const char* message, size_t length)
    {
        std::array<unsigned char, 64> pad{};
        char* const keyEnd =
            encode(reinterpret_cast<char*>(pad.data()), secret, strlen(secret), mOnce);
        memset(keyEnd, 0,
               pad.size() - static_cast<size_t>(keyEnd - reinterpret_cast<char*>(pad.data())));
        *keyEnd = '&';
        for (auto& byte : pad)
            byte ^= 0x36;
        std::array<unsigned char, SHA_DIGEST_LENGTH> digest;
        SHA_CTX context;
        SHA1_Init(&context);
        SHA1_Update(&context, pad.data(), pad.size());
        SHA1_Update(&context, message, length);
        SHA1_Final(digest.data(), &context);
        for (auto& byte : pad)
            byte ^= 0x36 ^ 0x5C;
        SHA1_Init(&context);
        SHA1_Update(&context, pad.data(), pad.size());
        SHA1_Update(&context, digest.data(), digest.size());
        SHA1_Final(digest.data(), &context);
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(mSignature.data()), digest.data(),
                        digest.size());
    }

    const Table mOnce = makeTable(false);
    const Table mTwice = makeTable(true);
    std::array<char, 8192> mBase;
    std::array<char, 1024> mHeader;
    std::array<char, 32> mSignature{};
};

// --- Qt Network Authorization
// -----------------------------------------------------------------------

// What QOAuth1 does for a request, in public calls.
QByteArray headerWithQt(const Moment& moment, QByteArray* signatureOnly = nullptr)
{
    const QUrl url(QString::fromLatin1(address));
    QVariantMap parameters;
    parameters.insert(QStringLiteral("oauth_consumer_key"), QString::fromLatin1(consumerKey));
    parameters.insert(QStringLiteral("oauth_nonce"), QString::fromLatin1(moment.nonce));
    parameters.insert(QStringLiteral("oauth_timestamp"), QString::fromLatin1(moment.timeStamp));
    parameters.insert(QStringLiteral("oauth_signature_method"), QStringLiteral("HMAC-SHA1"));
    parameters.insert(QStringLiteral("oauth_version"), QStringLiteral("1.0"));
    parameters.insert(QStringLiteral("oauth_token"), QString::fromLatin1(token));

    QVariantMap toSign = parameters;
    static const QString text = QString::fromLatin1(document);
    toSign.insert(QStringLiteral("XMLContent"), text);
    const QOAuth1Signature signature(url, QString::fromLatin1(secret), QString(),
                                     QOAuth1Signature::HttpRequestMethod::Post, toSign);
    const QByteArray result = signature.hmacSha1().toBase64();
    if (signatureOnly)
        *signatureOnly = result;
    parameters.insert(QStringLiteral("oauth_signature"), result);

    QByteArray header = "OAuth realm=\"https://account.example\"";
    for (auto it = parameters.cbegin(); it != parameters.cend(); ++it) {
        header += ", " + it.key().toLatin1() + "=\"" +
                  QUrl::toPercentEncoding(it.value().toString()) + '"';
    }
    return header;
}

// --- liboauth
// ---------------------------------------------------------------------------------------

QByteArray headerWithLiboauth(const Moment* moment, QByteArray* signatureOnly = nullptr)
{
    int count = 0;
    char** values = nullptr;
    oauth_add_param_to_array(&count, &values, address);
    static const QByteArray body = QByteArray("XMLContent=") + document;
    oauth_add_param_to_array(&count, &values, body.constData());
    if (moment) {
        oauth_add_param_to_array(&count, &values, QByteArray("oauth_nonce=" + moment->nonce));
        oauth_add_param_to_array(&count, &values,
                                 QByteArray("oauth_timestamp=" + moment->timeStamp));
    }
    oauth_sign_array2_process(&count, &values, nullptr, OA_HMAC, "POST", consumerKey, secret, token,
                              nullptr);
    for (int i = 0; signatureOnly && i < count; ++i) {
        if (strncmp(values[i], "oauth_signature=", 16) == 0)
            *signatureOnly = values[i] + 16;
    }
    // 2: only the "oauth_" parameters; 4: in quotes
    char separator[] = ", ";
    char* const joined = oauth_serialize_url_sep(count, 1, values, separator, 6);
    const QByteArray header =
        QByteArray("OAuth realm=\"https://account.example\", ").append(joined);
    free(joined);
    oauth_free_array(&count, &values);
    return header;
}

// --- This library
// -----------------------------------------------------------------------------------

/// Keys and clock as the account side keeps them.
class Keys : public ISignatureProvider
{
public:
    QString getToken(QString const& /*consumerKey*/) override { return mToken; }
    QString createSignature(QString const& /*consumerKey*/, QString const& baseString,
                            bool /*useToken*/) override
    {
        return CryptographicUtils::HMACSHA1(baseString,
                                            OAuthRequest::urlEncode(mSecret) + QLatin1Char('&'));
    }
    QString getTimeStamp() override { return TimeStampManager::getTimeStampManager()->timeStamp(); }

private:
    const QString mToken = QString::fromLatin1(token);
    const QString mSecret = QString::fromLatin1(secret);
};

/// An operation on the profile of an account, as operations are; its document is ready.
class ProfileOperation : public OAuthRequest
{
public:
    ProfileOperation(ISignatureProvider& provider, const QString& base, const QString& accountId,
                     const QString& text)
        : OAuthRequest(provider, QString::fromLatin1(consumerKey), base, UpdateProfile,
                       QStringLiteral("en-GB")),
          mAccountId(accountId), mDocument(text)
    {
        createOAuthRequest();
    }

    QString createXMLMessage() override { return mDocument; }
    QString getRestURL() override
    {
        return RestUrlHelper::registrationUrl(baseAddress()) + mAccountId +
               QLatin1String("/profile");
    }
    QString getHttpRequestType() override { return QStringLiteral("PUT"); }
    bool isTokenRequired() override { return true; }

private:
    QString mAccountId;
    QString mDocument;
};

DeviceDescription describeDevice()
{
    return {QStringLiteral("Acme"), QStringLiteral("Handset 9"), QStringLiteral("20.2012.32-1")};
}

// --- Measured
// ---------------------------------------------------------------------------------------

void opensslFloor(benchmark::State& state)
{
    const auto floor = std::make_unique<Floor>();
    for (auto _ : state)
        benchmark::DoNotOptimize(floor->sign());
}

void createOAuthHeader(benchmark::State& state)
{
    Keys keys;
    const QString url = QString::fromLatin1(address);
    const QString text = QString::fromLatin1(document);
    const auto verb = QStringLiteral("POST");
    ProfileOperation operation(keys, serverBaseAddress(2), QStringLiteral("4711"), text);
    for (auto _ : state)
        benchmark::DoNotOptimize(operation.createOAuthHeader(url, text, verb));
}

void wholeRequestObject(benchmark::State& state)
{
    Keys keys;
    const QString base = serverBaseAddress(2);
    const QString accountId = QStringLiteral("4711");
    const QString text = QString::fromLatin1(document);
    for (auto _ : state) {
        const ProfileOperation operation(keys, base, accountId, text);
        benchmark::DoNotOptimize(operation.getHttpBody());
    }
}

void qtNetworkAuthorization(benchmark::State& state)
{
    for (auto _ : state) {
        const Moment moment{QUuid::createUuid().toByteArray(),
                            QByteArray::number(qint64(time(nullptr)))};
        benchmark::DoNotOptimize(headerWithQt(moment));
    }
}

void liboauth(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(headerWithLiboauth(nullptr));
}

BENCHMARK(opensslFloor);
BENCHMARK(createOAuthHeader);
BENCHMARK(wholeRequestObject);
BENCHMARK(qtNetworkAuthorization);
BENCHMARK(liboauth);

// Figures for unequal work would be worth nothing.
bool allMakeTheSameSignature()
{
    const Moment moment{"{d2719f2f-4f4c-4a34-b8b5-6f4a2f1d9a6e}", "1137242096"};
    const auto floor = std::make_unique<Floor>();
    floor->sign(moment.nonce, moment.timeStamp);
    QByteArray fromQt;
    headerWithQt(moment, &fromQt);
    QByteArray fromLiboauth;
    headerWithLiboauth(&moment, &fromLiboauth);
    Keys keys;
    ProfileOperation operation(keys, serverBaseAddress(2), QStringLiteral("4711"),
                               QString::fromLatin1(document));
    const QString base = operation.createSignatureBase(
        QString::fromLatin1(moment.nonce), QString::fromLatin1(moment.timeStamp),
        operation.getRestURL(), QString::fromLatin1(document), QStringLiteral("POST"), true);
    const QByteArray ours = keys.createSignature(QString(), base, true).toLatin1();
    fprintf(stderr, "signature of the sample: floor %s, here %s, Qt %s, liboauth %s\n",
            floor->signature(), ours.constData(), fromQt.constData(), fromLiboauth.constData());
    return ours == floor->signature() && ours == fromQt && ours == fromLiboauth;
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    if (!allMakeTheSameSignature()) {
        fprintf(stderr, "The implementations disagree; nothing is measured.\n");
        return 1;
    }
    ClientIdentification::setDescriptionReader(&describeDevice);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
