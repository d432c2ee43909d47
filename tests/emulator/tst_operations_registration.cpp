// SPDX-License-Identifier: LGPL-2.1-or-later
// Signing in and registering.
#include "emulator/serviceclient.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QCryptographicHash>
#include <QDate>
#include <QtTest>

namespace {

const QByteArray goodTag = "dGFn";            // tag
const QByteArray revokedTag = "cmV2b2tlZDE="; // revoked1

/// "13 years ago" and the like, moved by some days.
QByteArray birthdayYearsAgo(int years, int days = 0)
{
    return QDateTime::currentDateTimeUtc()
        .date()
        .addYears(-years)
        .addDays(days)
        .toString(Qt::ISODate)
        .toLatin1();
}

/// What a registration says; what is empty is left out, but for password and country.
struct Registration
{
    QByteArray proof = "<serviceTag>" + goodTag + "</serviceTag>";
    QByteArray facts; ///< of a device
    QByteArray userName;
    QByteArray email;
    QByteArray mobile;
    QByteArray password = "secret";
    QByteArray more; ///< between password and country
    QByteArray country;
    QByteArray afterCountry;

    static QByteArray element(const char* name, const QByteArray& text)
    {
        return text.isEmpty() ? QByteArray()
                              : '<' + QByteArray(name) + '>' + text + "</" + name + '>';
    }
    QByteArray document() const
    {
        const QByteArray content =
            proof + facts + element("username", userName) + "<userData>" +
            element("mobile", mobile) + element("email", email) + "<password>" +
            password.toBase64() + "</password>" + more + "<country>" + country + "</country>" +
            afterCountry +
            "</userData><marketingConsent><email>true</email><mobile>false</mobile>"
            "<serviceId>OneConsent</serviceId></marketingConsent>";
        return ServiceClient::document(facts.isEmpty() ? "registrationRequest"
                                                       : "phoneActivationRegistrationRequest",
                                       content);
    }
};

QByteArray deviceFacts(const QByteArray& msin)
{
    return "<mobilePhoneSerialNumber>356938035643809</mobilePhoneSerialNumber><mcc>244</mcc>"
           "<mnc>05</mnc><hashedMSIN>" +
           QCryptographicHash::hash(msin, QCryptographicHash::Sha1).toBase64() + "</hashedMSIN>";
}

} // namespace

using Change = void (*)(Registration&);
Q_DECLARE_METATYPE(Change)

class TestOperationsRegistration : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        const QStringList options{"--pre-account=1234567890"_s};
        QVERIFY2(mService.start(options), mService.emulator().log().constData());
        QVERIFY(mService.addAccount(
            R"([{"userName": "kim", "email": "kim@mail.example", "mobile": "+358401234567",
                 "password": "p\u00e4ssw\u00f6rd", "emailVerified": false},
                {"userName": "nowhere"},
                {"userName": "pet", "email": "pet@xn--bcher-kva.example"}])"));
    }

    void signsInByNameAddressOrNumber_data()
    {
        const auto row = rows<QByteArray, QByteArray>("user", "password");
        const QByteArray password = "p\xc3\xa4ssw\xc3\xb6rd";
        row("name", "kim", password);
        row("name in capitals", "KIM", password);
        row("address", "kim@mail.example", password);
        row("number", "+358401234567", password);
        row("made by option", "alice", "secret");
        row("address of one made by option", "alice@example.org", "secret");
        row("domain in ASCII", "pet@xn--bcher-kva.example", "secret");
        row("domain in letters",
            "pet@b\xc3\xbc"
            "cher.example",
            "secret");
    }
    void signsInByNameAddressOrNumber()
    {
        const auto [user, password] = fetch<QByteArray, QByteArray>("user", "password");
        const Answer answer = mService.signIn(user, password);
        QCOMPARE(answer.status, 200);
        QCOMPARE(answer.tag(), "tokenCreationResponse"_s);
    }

    void tellsWhatComesWithAToken()
    {
        const Answer answer = mService.signIn("kim", "p\xc3\xa4ssw\xc3\xb6rd");
        const QString token = answer.at("tokenInfo/token");
        const QString secret = answer.at("tokenInfo/tokenSecret");
        QVERIFY(token.size() >= 20 && secret.size() >= 20 && token != secret);
        QCOMPARE(answer.at("tokenInfo/conditions/ttl"), "86400"_s);
        const QString format = "yyyy-MM-ddThh:mm:ss.zzzZ"_s;
        const auto time =
            QDateTime::fromString(answer.at("tokenInfo/authenticationInfo/time"), format);
        const auto end = QDateTime::fromString(answer.at("tokenInfo/conditions/expires"), format);
        QCOMPARE(time.secsTo(end), 86400);
        QDateTime utc = time;
        utc.setTimeSpec(Qt::UTC);
        QVERIFY(qAbs(utc.secsTo(QDateTime::currentDateTimeUtc())) < 60);
        QVERIFY(!answer.at("tokenInfo/authenticationInfo/level").isEmpty());
        QCOMPARE(answer.leaves("userInfo"),
                 "username=kim accountId=%1 mobile=+358401234567 email=kim@mail.example "
                 "emailVerified=false mobileVerified=true"_s.arg(answer.at("userInfo/accountId")));
        QCOMPARE(answer.leaves("termsInfo"), "hasAcceptedTos=true hasAcceptedPrivacyPolicy=true "
                                             "hasAcceptedServiceSpecificTos=true"_s);
        // Another sign-in has a token of its own.
        QVERIFY(mService.tokenOf("kim", "p\xc3\xa4ssw\xc3\xb6rd").token != token.toLatin1());
    }

    void refusesAWrongPasswordAndAnUnknownUserAlike()
    {
        const Answer wrong = mService.signIn("nowhere", "Secret");
        QCOMPARE(wrong.status, 401);
        QCOMPARE(wrong.errorCode(), "notAuthorized"_s);
        QCOMPARE(mService.signIn("no such user", "Secret").body, wrong.body);
        QCOMPARE(mService.signIn("", "").body, wrong.body);
    }

    void letsACaptchaBeSolvedOnce()
    {
        const auto [id, text] = mService.captcha();
        const auto solved = [](const QByteArray& captchaId, const QByteArray& imageText) {
            return "<captchaId>" + captchaId + "</captchaId><imageText>" + imageText +
                   "</imageText>";
        };
        Registration registration;
        registration.email = "captcha1@mail.example";
        registration.proof = solved(id, text.toLower());
        QCOMPARE(registerWith(registration).status, 200);
        registration.email = "captcha2@mail.example";
        QVERIFY(!registerWith(registration).at("registrationError/captchaError").isEmpty());

        // A wrong text uses it up as well.
        const auto [other, otherText] = mService.captcha();
        registration.proof = solved(other, "WRONG");
        QVERIFY(!registerWith(registration).at("registrationError/captchaError").isEmpty());
        registration.proof = solved(other, otherText);
        QVERIFY(!registerWith(registration).at("registrationError/captchaError").isEmpty());
        registration.proof = solved("", otherText);
        QVERIFY(!registerWith(registration).at("registrationError/captchaError").isEmpty());
    }

    void registersAccounts()
    {
        Registration registration;
        registration.userName = "jorg";
        registration.email = "j\xc3\xb6rg@xn--bcher-kva.example";
        registration.mobile = "+358402222222";
        registration.password = "Secret 1!";
        registration.more = "<passwordQuestion>3</passwordQuestion>"
                            "<passwordAnswer>Rex &amp; Co</passwordAnswer><language>fi</language>";
        registration.country = "FI";
        registration.afterCountry = "<dateOfBirth>1980-02-29</dateOfBirth><firstName>J\xc3\xb6rg"
                                    "</firstName><lastName>&lt;B\xc3\xbc"
                                    "cher&gt;</lastName>";
        const Answer answer = registerWith(registration);
        QVERIFY2(answer.status == 200, answer.body.constData());
        QCOMPARE(answer.tag(), "registrationResponse"_s);
        QCOMPARE(answer.at("userInfo/username"), "jorg"_s);
        QCOMPARE(answer.at("userInfo/emailVerified"), "false"_s);
        QVERIFY(!answer.at("tokenInfo/token").isEmpty());
        QVERIFY(!answer.at("tokenInfo/tokenSecret").isEmpty());

        // The token that came along is good, and everything was kept.
        const QByteArray id = answer.at("userInfo/accountId").toLatin1();
        const Answer profile = mService.ask("GET", "accounts/" + id + "/profile", {},
                                            answer.at("tokenInfo/token").toLatin1());
        QCOMPARE(profile.leaves("profile"),
                 QString::fromUtf8("username=jorg accountId=" + id +
                                   " mobile=+358402222222 email=j\xc3\xb6rg@xn--bcher-kva.example "
                                   "mobileVerified=false emailVerified=false passwordQuestion=3 "
                                   "language=fi country=FI dateOfBirth=1980-02-29Z "
                                   "firstName=J\xc3\xb6rg lastName=<B\xc3\xbc"
                                   "cher>"));
        const Answer consent = mService.ask("GET", "accounts/" + id + "/marketing", {},
                                            answer.at("tokenInfo/token").toLatin1());
        QCOMPARE(consent.leaves("marketingConsent"), "email=true mobile=false"_s);
        QCOMPARE(mService.signIn("jorg", "Secret 1!").status, 200);
        // The name is taken now.
        QCOMPARE(mService.ask("GET", "availability/jorg").status, 422);
    }

    void registersByPhoneWithThePreAccountOnce()
    {
        Registration registration;
        registration.userName = "phone1";
        registration.mobile = "+358403333333";
        registration.facts = deviceFacts("1234567890");
        const Answer answer = registerWith(registration);
        QVERIFY2(answer.status == 200, answer.body.constData());
        QCOMPARE(answer.tag(), "phoneActivationRegistrationResponse"_s);
        registration.userName = "phone2";
        QCOMPARE(registerWith(registration).errorCode(), "userPreregistered"_s);
        QCOMPARE(mService.ask("GET", "availability/phone2").status, 200);
        // A subscriber of whom nothing was known may come as often as he likes.
        registration.facts = deviceFacts("99");
        QCOMPARE(registerWith(registration).status, 200);
        registration.userName = "phone3";
        QCOMPARE(registerWith(registration).status, 200);
    }

    void refusesRegistrations_data()
    {
        // The cause is where the error document has it.
        const auto row = rows<int, QByteArray, Change>("status", "cause", "change");
        const char* const syntax = "registrationError/attributeSyntaxError";
        row("no proof", 400, "registrationError/captchaError",
            [](Registration& r) { r.proof.clear(); });
        row("unknown captcha", 400, "registrationError/captchaError", [](Registration& r) {
            r.proof = "<captchaId>0123</captchaId><imageText>A</imageText>";
        });
        row("revoked tag", 400, "registrationError/serviceTagError",
            [](Registration& r) { r.proof = "<serviceTag>" + revokedTag + "</serviceTag>"; });
        row("tag not base64", 400, "registrationError/serviceTagError",
            [](Registration& r) { r.proof = "<serviceTag>tag!</serviceTag>"; });
        row("name taken", 409, "registrationError/usernameReserved",
            [](Registration& r) { r.userName = "Alice"; });
        row("name reserved", 409, "registrationError/usernameReserved",
            [](Registration& r) { r.userName = "admin"; });
        row("address taken", 409, "extensions/detailedErrorCode",
            [](Registration& r) { r.email = "KIM@mail.example"; });
        row("name malformed", 400, syntax, [](Registration& r) { r.userName = "a b"; });
        row("name too long", 400, syntax,
            [](Registration& r) { r.userName = QByteArray(65, 'a'); });
        row("address malformed", 400, syntax, [](Registration& r) { r.email = "a@"; });
        row("address without at-sign", 400, syntax, [](Registration& r) { r.email = "a.example"; });
        row("domain not in ASCII", 400, syntax, [](Registration& r) {
            r.email = "a@b\xc3\xbc"
                      "cher.example";
        });
        row("number without plus", 400, syntax, [](Registration& r) { r.mobile = "358401234567"; });
        row("number too short", 400, syntax, [](Registration& r) { r.mobile = "+12345"; });
        row("number too long", 400, syntax,
            [](Registration& r) { r.mobile = "+1234567890123456"; });
        row("password too short", 400, syntax, [](Registration& r) { r.password = "abc"; });
        row("no password", 400, syntax, [](Registration& r) { r.password.clear(); });
        row("password with a control character", 400, syntax,
            [](Registration& r) { r.password = "secret\n"; });
        row("country in small letters", 400, syntax, [](Registration& r) { r.country = "fi"; });
        row("country of three letters", 400, syntax, [](Registration& r) { r.country = "FIN"; });
        row("language", 400, syntax,
            [](Registration& r) { r.more = "<language>Finnish</language>"; });
        row("no such question", 400, syntax, [](Registration& r) {
            r.more = "<passwordQuestion>99</passwordQuestion><passwordAnswer>a</passwordAnswer>";
        });
        row("question without answer", 400, syntax,
            [](Registration& r) { r.more = "<passwordQuestion>1</passwordQuestion>"; });
        row("answer without question", 400, syntax,
            [](Registration& r) { r.more = "<passwordAnswer>1</passwordAnswer>"; });
        row("birthday to come", 400, syntax, [](Registration& r) {
            r.afterCountry = "<dateOfBirth>" + birthdayYearsAgo(-1) + "</dateOfBirth>";
        });
        row("nobody", 400, syntax, [](Registration& r) {
            r.email.clear();
            r.userName.clear();
        });
        row("name alone", 400, syntax, [](Registration& r) {
            r.email.clear();
            r.mobile.clear();
        });
    }
    void refusesRegistrations()
    {
        const auto [change, status, cause] =
            fetch<Change, int, QByteArray>("change", "status", "cause");
        Registration registration;
        registration.userName = "refused";
        registration.email = "refused@mail.example";
        registration.mobile = "+358404444444";
        change(registration);
        const Answer answer = registerWith(registration);
        QCOMPARE(answer.status, status);
        QCOMPARE(answer.tag(), "errorResponse"_s);
        QVERIFY2(!answer.at(cause.constData()).isEmpty(), answer.body.constData());
        if (cause.startsWith("extensions/"))
            QCOMPARE(answer.at(cause.constData()), "emailAddressReserved"_s);
        // Nothing of it was kept.
        QCOMPARE(mService.ask("GET", "availability/refused").status, 200);
    }

    void asksForConsentByAge_data()
    {
        const auto row = rows<QByteArray, QByteArray, QString>("birthday", "country", "expected");
        const QString simple = "SIMPLECONSENT"_s;
        const QString young = "too young"_s;
        row("16 today", birthdayYearsAgo(16), "FI", {});
        row("16 tomorrow", birthdayYearsAgo(16, 1), "FI", simple);
        row("13 today", birthdayYearsAgo(13), "FI", simple);
        row("13 tomorrow", birthdayYearsAgo(13, 1), "FI", young);
        row("born today", birthdayYearsAgo(0), "FI", young);
        row("14 where it is not allowed", birthdayYearsAgo(14), "US", "DISALLOWED");
        row("12 where it is not allowed", birthdayYearsAgo(12), "US", young);
    }
    void asksForConsentByAge()
    {
        const auto [birthday, country, expected] =
            fetch<QByteArray, QByteArray, QString>("birthday", "country", "expected");
        Registration registration;
        registration.email = "child-" + birthday + "@mail.example";
        registration.country = country;
        registration.afterCountry = "<dateOfBirth>" + birthday + "</dateOfBirth>";
        const Answer answer = registerWith(registration);
        if (expected.isEmpty()) {
            QCOMPARE(answer.status, 200);
            return;
        }
        QCOMPARE(answer.status, 403);
        const QString method =
            answer.at("registrationError/extensions/ageVerificationNeeded/ageVerificationMethod");
        const bool isYoung = !answer.at("registrationError/extensions/errorCode").isEmpty();
        QCOMPARE(isYoung ? "too young"_s : method, expected);
    }

    void namesPhoneActivationInItsErrors()
    {
        Registration registration;
        registration.facts = deviceFacts("1");
        registration.userName = "alice";
        registration.email = "activation@mail.example";
        const Answer answer = registerWith(registration);
        QCOMPARE(answer.status, 409);
        QVERIFY(!answer.at("phoneActivationRegistrationError/usernameReserved").isEmpty());
    }

    void hidesTheWordThatMarksErrors()
    {
        Registration registration;
        registration.userName = "terror.Errors";
        registration.email = "error@mail.example";
        registration.afterCountry = "<firstName>Error</firstName>";
        const Answer answer = registerWith(registration);
        QCOMPARE(answer.status, 200);
        QVERIFY2(!answer.body.contains("error") && !answer.body.contains("Error"),
                 answer.body.constData());
        QCOMPARE(answer.at("userInfo/username"), "terror.Errors"_s);
        QCOMPARE(answer.at("userInfo/email"), "error@mail.example"_s);
    }

private:
    Answer registerWith(const Registration& registration)
    {
        return mService.ask(
            "POST", registration.facts.isEmpty() ? "accounts" : "phoneactivationregistration",
            registration.document());
    }

    ServiceClient mService;
};

QTEST_GUILESS_MAIN(TestOperationsRegistration)
#include "tst_operations_registration.moc"
