// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/emulatorprocess.h"
#include "emulator/signedrequest.h"
#include "emulator/wireclient.h"
#include "rest/request/servicehosts.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QDateTime>
#include <QJsonObject>
#include <QtTest>

#include <functional>

namespace {

using Spoil = std::function<void(QByteArray& header)>;

/// What a client may sign instead of what it should.
struct Mistake
{
    SignedRequest request;
    QByteArray verb = "POST";
    QByteArray address;
    QByteArray parameters; ///< joined; encoded as a whole unless `finished` is set
    QByteArray key;
    QByteArray finished; ///< the base string itself, when the parts do not make it

    QByteArray signature() const
    {
        const QByteArray base = finished.isEmpty() ? verb + '&' + SignedRequest::encoded(address) +
                                                         '&' + SignedRequest::encoded(parameters)
                                                   : finished;
        return SignedRequest::hmac(base, key);
    }
};
using MakeMistake = std::function<void(Mistake&)>;

const QByteArray document = "<a><b>one & \xc3\xbc</b></a>";

/// A request that has everything a mistake can be made with.
SignedRequest richRequest()
{
    SignedRequest request("/rest/1.0/availability/bob@example.org");
    request.query = {{"lang", "en GB"}, {"country", "\xc3\xbc"}};
    request.document = document;
    request.token = "a/token+of=mine";
    return request;
}

SignedRequest::Pairs without(SignedRequest::Pairs pairs, const QByteArray& name)
{
    pairs.erase(std::remove_if(pairs.begin(), pairs.end(),
                               [&](const auto& pair) { return pair.first == name; }),
                pairs.end());
    return pairs;
}

QByteArray lowerCaseDigits(QByteArray text)
{
    for (int at = 0; at + 2 < text.size(); ++at) {
        if (text.at(at) == '%')
            text.replace(at + 1, 2, text.mid(at + 1, 2).toLower());
    }
    return text;
}

} // namespace

Q_DECLARE_METATYPE(MakeMistake)
Q_DECLARE_METATYPE(Spoil)

class TestEmulatorSignatures : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(mEmulator.start({"--verbose"_s}), mEmulator.log().constData());
        // A secret that encoding changes, for mistakes about the key.
        QTemporaryFile file;
        QVERIFY(file.open() && file.write("demo /secret\n") > 0 && file.flush());
        QVERIFY(mOther.start({"--consumer-secret-file"_s, file.fileName()}));
    }

    void acceptsWhatIsSignedAsItShould_data()
    {
        const auto row = rows<QByteArray, QByteArray, QByteArray, bool>("path", "document", "token",
                                                                        "withQuery");

        const QByteArray path = "/rest/1.0/availability/bob";
        row("nothing but a name", path, {}, {}, false);
        row("document", path, document, {}, false);
        row("token", path, {}, "a/token+of=mine", false);
        row("empty token", path, {}, "", false);
        row("query", path, {}, {}, true);
        row("everything", path, document, "{t}", true);
        row("odd name", "/rest/1.0/availability/a+b@c", document, {}, false);
        row("large document", path, "<a>" + QByteArray(1000000, '&') + "</a>", {}, false);
    }
    void acceptsWhatIsSignedAsItShould()
    {
        const auto [path, document, token, withQuery] =
            fetch<QByteArray, QByteArray, QByteArray, bool>("path", "document", "token",
                                                            "withQuery");

        SignedRequest request(path);
        request.document = document;
        request.token = token;
        if (withQuery)
            request.query = {{"lang", "en GB"}, {"Zone", "1+1=2"}, {"country", "\xc3\xbc"}};
        const WireReply reply = ask(request.bytes());
        // The operation itself wants neither document nor token, which is found after the
        // signature.
        const bool hasTooMuch = !document.isEmpty() || !token.isEmpty();
        QCOMPARE(reply.status, hasTooMuch ? 400 : 200);
        QVERIFY(reply.body.contains(hasTooMuch ? "<errorCode>invalidMessageFormat</errorCode>"
                                               : "<userNameAvailabilityResponse"));
    }

    void namesTheMistakeBehindASignature_data()
    {
        const auto row = rows<QByteArray, MakeMistake>("explanation", "make");
        const auto encoded = SignedRequest::encoded;
        const auto parts = [encoded](const Mistake& mistake) {
            return "POST&" + encoded(mistake.address) + '&';
        };

        row("document missing", "XMLContent is missing from the base string", [](Mistake& m) {
            m.parameters = SignedRequest::joined(without(m.request.parameters(), "XMLContent"));
        });
        row("document encoded once", "XMLContent is encoded once instead of twice",
            [=](Mistake& m) { m.parameters.replace(encoded(document), document); });
        row("document not encoded", "XMLContent is not encoded", [=](Mistake& m) {
            m.finished =
                parts(m) + encoded(m.parameters).replace(encoded(encoded(document)), document);
        });
        row("plus for a blank", "XMLContent has \"+\" for a blank instead of \"%20\"",
            [=](Mistake& m) {
                m.parameters.replace(encoded(document), encoded(document).replace("%20", "+"));
            });
        row("document last", "XMLContent stands last; it goes first", [](Mistake& m) {
            SignedRequest::Pairs pairs = m.request.parameters();
            pairs.append(pairs.takeFirst());
            m.parameters = SignedRequest::joined(pairs);
        });
        row("REST verb", "the verb is the REST verb instead of POST",
            [](Mistake& m) { m.verb = "GET"; });
        row("lower-case verb", "the verb is in lower case", [](Mistake& m) { m.verb = "post"; });
        row("port", "the port is left in the base address",
            [](Mistake& m) { m.address = "https://" + m.request.host + ":443" + m.request.path; });
        row("query in the address", "the query is left in the base address",
            [](Mistake& m) { m.address += "?lang=en GB&country=\xc3\xbc"; });
        row("http", "the base address has the scheme http",
            [](Mistake& m) { m.address.replace("https:", "http:"); });
        row("address not encoded", "the base address is not encoded",
            [=](Mistake& m) { m.finished = "POST&" + m.address + '&' + encoded(m.parameters); });
        row("path as on the wire", "the service signs the decoded path", [](Mistake& m) {
            m.address = "https://" + m.request.host + "/rest/1.0/availability/bob%40example.org";
        });
        row("unsorted", "the parameters are not sorted by name but stand as in the header",
            [](Mistake& m) {
                const SignedRequest& r = m.request;
                m.parameters = SignedRequest::joined({{"XMLContent", document},
                                                      {"oauth_consumer_key", r.consumerKey},
                                                      {"oauth_nonce", r.nonce},
                                                      {"oauth_timestamp", r.timeStamp},
                                                      {"oauth_signature_method", r.signatureMethod},
                                                      {"oauth_version", r.version},
                                                      {"oauth_token", r.token},
                                                      {"lang", "en GB"},
                                                      {"country", "\xc3\xbc"}});
            });
        row("document among the names", "XMLContent is sorted among the other names",
            [](Mistake& m) {
                m.request.query.push_back(qMakePair("Area"_ba, "1"_ba));
                SignedRequest::Pairs pairs = m.request.parameters();
                std::sort(pairs.begin(), pairs.end());
                m.parameters = SignedRequest::joined(pairs);
            });
        row("no ampersand", "the key has no trailing \"&\"",
            [](Mistake& m) { m.key = "demo%20%2Fsecret"; });
        row("raw secret", "the consumer secret in the key is not percent-encoded",
            [](Mistake& m) { m.key = "demo /secret&"; });
        row("token in the key", "the token is appended to the key",
            [](Mistake& m) { m.key = "demo%20%2Fsecret&a%2Ftoken%2Bof%3Dmine"; });
        row("not encoded as a whole", "the joined parameters are not encoded as a whole",
            [=](Mistake& m) { m.finished = parts(m) + m.parameters; });
        row("lower-case digits", "lower-case digits instead of upper-case", [](Mistake& m) {
            // Encoded a second time, the digits of the first encoding are text like any other.
            m.finished = "POST&" + lowerCaseDigits(SignedRequest::encoded(m.address)) + '&' +
                         lowerCaseDigits(SignedRequest::encoded(lowerCaseDigits(m.parameters)));
        });
        row("no query", "the query's parameters are missing from the base string", [](Mistake& m) {
            m.parameters =
                SignedRequest::joined(without(without(m.request.parameters(), "lang"), "country"));
        });
        row("query not decoded", "the query's values are not decoded before they are encoded",
            [=](Mistake& m) {
                SignedRequest::Pairs pairs = m.request.parameters();
                for (auto& pair : pairs) {
                    if (pair.first == "lang" || pair.first == "country")
                        pair.second = encoded(pair.second);
                }
                m.parameters = SignedRequest::joined(pairs);
            });
        for (const char* name :
             {"oauth_consumer_key", "oauth_nonce", "oauth_timestamp", "oauth_signature_method",
              "oauth_version", "oauth_token", "lang"}) {
            row(name,
                QByteArray("the parameter " + QByteArray(name) +
                           " is missing from the base string"),
                MakeMistake([name](Mistake& m) {
                    m.parameters = SignedRequest::joined(without(m.request.parameters(), name));
                }));
        }
        row("realm", "the base string has the parameter realm, which does not belong there",
            [](Mistake& m) {
                SignedRequest::Pairs pairs = m.request.parameters();
                pairs.push_back(
                    qMakePair("realm"_ba, QByteArray("https://" KELACCOUNT_HOST_PRODUCTION)));
                m.parameters = SignedRequest::joined(pairs);
            });
    }
    void namesTheMistakeBehindASignature()
    {
        const auto [make, explanation] = fetch<MakeMistake, QByteArray>("make", "explanation");

        Mistake mistake;
        mistake.request = richRequest();
        mistake.request.secret = "demo /secret";
        mistake.address = mistake.request.address();
        mistake.parameters = SignedRequest::joined(mistake.request.parameters());
        mistake.key = mistake.request.key();
        make(mistake);

        const QByteArray problem = problemOf(
            mOther,
            ask(mOther, mistake.request.bytes(mistake.request.authorization(mistake.signature()))));
        QVERIFY2(problem.contains("oauth_signature does not fit: "), problem);
        QVERIFY2(problem.contains(explanation), problem);
    }

    void namesTwoMistakesAtOnce()
    {
        const SignedRequest request = richRequest();
        const QByteArray parameters = SignedRequest::joined(request.parameters())
                                          .replace(SignedRequest::encoded(document), document);
        const QByteArray base = "GET&" + SignedRequest::encoded(request.address()) + '&' +
                                SignedRequest::encoded(parameters);
        const QByteArray problem = problemOf(
            ask(request.bytes(request.authorization(SignedRequest::hmac(base, request.key())))));
        QVERIFY2(problem.contains("XMLContent is encoded once instead of twice"), problem);
        QVERIFY2(problem.contains("the verb is the REST verb instead of POST"), problem);
    }

    void printsTheExpectedBaseStringWhenNothingExplainsIt()
    {
        SignedRequest request = richRequest();
        request.secret = "another secret";
        const QByteArray problem = problemOf(ask(request.bytes()));
        QVERIFY2(problem.contains("is the consumer secret the same on both sides?"), problem);
        // The base string as liboauth makes it, but for document and token.
        SignedRequest hidden = request;
        hidden.document = "<document of " + QByteArray::number(document.size()) + " bytes>";
        hidden.token = "<token of " + QByteArray::number(request.token.size()) + " bytes>";
        QVERIFY2(problem.endsWith(hidden.baseString()), problem);
    }

    void namesWhatIsWrongWithAHeader_data()
    {
        const auto row = rows<QByteArray, Spoil>("explanation", "spoil");
        const auto replace = [](const char* what, const char* with) {
            return [what, with](QByteArray& header) { header.replace(what, with); };
        };
        const auto drop = [](const char* name) {
            return [name](QByteArray& header) {
                const int from = header.indexOf(name + "=\""_ba);
                const int to = header.indexOf("\", ", from);
                header.remove(from, to + 3 - from);
            };
        };
        row("one quote after the realm", "two quotes in a row",
            replace("\"\", oauth", "\", oauth"));
        row("no realm", "does not begin with OAuth realm=\"", replace("OAuth realm", "OAuth zone"));
        row("another realm", "realm is \"https://elsewhere.example\"",
            replace("https://" KELACCOUNT_HOST_PRODUCTION, "https://elsewhere.example"));
        for (const char* name : {"oauth_consumer_key", "oauth_nonce", "oauth_timestamp",
                                 "oauth_signature", "oauth_signature_method"}) {
            row(name, QByteArray(QByteArray(name) + " is missing from the header"), drop(name));
        }
        row("oauth_version", "oauth_version is missing from the header", [](QByteArray& header) {
            header.remove(header.indexOf("oauth_version"),
                          header.indexOf(", oauth_token") - header.indexOf("oauth_version"));
        });
        row("other order", "\"oauth_signature_method\" stands where oauth_consumer_key belongs",
            [](QByteArray& header) {
                header.replace("oauth_signature_method=\"HMAC-SHA1\", ", "");
                header.replace("oauth_consumer_key",
                               "oauth_signature_method=\"HMAC-SHA1\", oauth_consumer_key");
            });
        row("encoded signature", "oauth_signature is percent-encoded; it travels as plain base64",
            [](QByteArray& header) {
                header.replace("=\", oauth_signature_m", "%3D\", oauth_signature_m");
            });
        row("signature in digits", "oauth_signature is not base64", [](QByteArray& header) {
            header.replace("oauth_signature=\"", "oauth_signature=\"-_");
        });
        row("braces not encoded", "oauth_nonce is not percent-encoded",
            [](QByteArray& header) { header.replace("%7B", "{").replace("%7D", "}"); });
        row("lower-case digits", "oauth_nonce is not percent-encoded",
            [](QByteArray& header) { header.replace("%7B", "%7b"); });
        row("no blank", "oauth_nonce must be followed by a quote, a comma and a blank",
            replace(", oauth_timestamp", ",oauth_timestamp"));
        row("closed token", "no quote closes oauth_token",
            [](QByteArray& header) { header += '"'; });
        row("another method", "oauth_signature_method is \"HMAC-SHA256\"",
            replace("HMAC-SHA1", "HMAC-SHA256"));
        row("another version", "oauth_version is \"2.0\"", replace("\"1.0\"", "\"2.0\""));
        row("another key", "oauth_consumer_key is \"stolen\"", replace("demo-key", "stolen"));
        row("time stamp with letters", "oauth_timestamp is not a whole number of seconds",
            [](QByteArray& header) {
                header.replace("oauth_timestamp=\"", "oauth_timestamp=\"x");
            });
        row("empty time stamp", "oauth_timestamp is not a whole number of seconds",
            [](QByteArray& header) {
                const int from = header.indexOf("oauth_timestamp=\"") + 17;
                header.remove(from, header.indexOf('"', from) - from);
            });
    }
    void namesWhatIsWrongWithAHeader()
    {
        const auto [spoil, explanation] = fetch<Spoil, QByteArray>("spoil", "explanation");
        const SignedRequest request = richRequest();
        QByteArray header = request.authorization();
        const QByteArray good = header;
        spoil(header);
        QVERIFY(header != good);
        const QByteArray problem = problemOf(ask(request.bytes(header)));
        QVERIFY2(problem.contains(explanation), problem);
    }

    void judgesTimeStampsByItsClock_data()
    {
        const auto row = rows<int, int, QByteArray>("skew", "offset", "explanation");
        row("now", 0, 0, {});
        row("a little late", 0, -240, {});
        row("a little early", 0, 240, {});
        row("late", 0, -360, " s behind the service's clock");
        row("early", 0, 360, " s ahead of the service's clock");
        row("moved clock, device's time", 7200, 0, " s behind the service's clock");
        row("moved clock, its time", 7200, 7200, {});
        row("clock moved back", -7200, -7200, {});
    }
    void judgesTimeStampsByItsClock()
    {
        const auto [skew, offset, explanation] =
            fetch<int, int, QByteArray>("skew", "offset", "explanation");
        EmulatorProcess moved;
        QVERIFY(skew == 0 || moved.start({"--clock-skew"_s, QString::number(skew)}));
        EmulatorProcess& emulator = skew == 0 ? mEmulator : moved;
        SignedRequest request;
        request.timeStamp = QByteArray::number(QDateTime::currentSecsSinceEpoch() + offset);
        const WireReply reply = ask(emulator, request.bytes());
        QCOMPARE(reply.status, explanation.isEmpty() ? 200 : 401);
        QVERIFY(problemOf(emulator, reply).contains(explanation));
    }

    void refusesANonceUsedBefore()
    {
        const SignedRequest request;
        QCOMPARE(ask(request.bytes()).status, 200);
        const QByteArray problem = problemOf(ask(request.bytes()));
        QVERIFY2(problem.contains("oauth_nonce was used before"), problem);
        // The same nonce is as good as new with another time stamp.
        SignedRequest later = request;
        later.timeStamp = QByteArray::number(request.timeStamp.toLongLong() + 1);
        QCOMPARE(ask(later.bytes()).status, 200);
    }

    void takesANonceOfARefusedRequestForUnused()
    {
        const SignedRequest request;
        const QByteArray wrong = request.authorization("AAAAAAAAAAAAAAAAAAAAAAAAAAA=");
        QCOMPARE(ask(request.bytes(wrong)).status, 401);
        QCOMPARE(ask(request.bytes()).status, 200);
    }

    void logsNoSecretAndNoBody()
    {
        SignedRequest request("/rest/1.0/tokens/pathtokenplanted");
        request.document = "<password>documentplanted</password>";
        request.token = "headertokenplanted";
        QCOMPARE(ask(request.bytes()).status, 405);
        request.secret = "wrongsecretplanted";
        QCOMPARE(ask(request.bytes()).status, 401);
        QVERIFY(mEmulator.logHas("/rest/1.0/tokens/<token>: oauth_signature does not fit"));
        const QByteArray all = mEmulator.log() + mEmulator.admin("GET", "/requests"_s).body;
        QVERIFY(all.contains("document%2520of%252036%2520bytes"));
        QVERIFY(!all.contains("planted"));
        QVERIFY(!all.contains("demo-secret"));
    }

private:
    static WireReply ask(EmulatorProcess& emulator, const QByteArray& bytes)
    {
        WireClient client;
        return client.open(emulator) ? client.ask(bytes) : WireReply();
    }
    WireReply ask(const QByteArray& bytes) { return ask(mEmulator, bytes); }

    /// Why the latest request was refused; empty when it was not.
    static QByteArray problemOf(EmulatorProcess& emulator, const WireReply& reply)
    {
        const QJsonArray requests = emulator.requests();
        const QByteArray problem =
            requests.last().toObject().value("problem"_s).toString().toLatin1();
        const bool refused = reply.status == 401 && reply.body.contains("<errorResponse") &&
                             reply.body.contains("<errorCode>notAuthorized</errorCode>");
        // The reply, the list of requests and the log must tell the same.
        return refused && emulator.logHas(problem) ? problem : QByteArray();
    }
    QByteArray problemOf(const WireReply& reply) { return problemOf(mEmulator, reply); }

    EmulatorProcess mEmulator;
    EmulatorProcess mOther;
};

QTEST_GUILESS_MAIN(TestEmulatorSignatures)
#include "tst_emulator_signatures.moc"
