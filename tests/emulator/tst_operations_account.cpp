// SPDX-License-Identifier: LGPL-2.1-or-later
// What an account's owner may do with a token.
#include "emulator/serviceclient.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QtTest>

namespace {

QByteArray profileDocument(const QByteArray& content)
{
    return ServiceClient::document("profileUpdateRequest", "<userData>" + content + "</userData>");
}

QByteArray nameDocument(const QByteArray& name)
{
    return ServiceClient::document("profileUpdateRequest",
                                   "<username>" + name + "</username><userData></userData>");
}

} // namespace

class TestOperationsAccount : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY2(mService.start(), mService.emulator().log().constData()); }

    void init()
    {
        mEmail = "owner" + QByteArray::number(++mCount) + "@mail.example";
        QVERIFY(mService.addAccount(R"({"email": ")" + mEmail + R"(", "mobile": "+358401234567",
            "firstName": "Kim", "lastName": "Larsson", "language": "sv", "country": "SE",
            "dateOfBirth": "1980-02-29", "gender": "female"})"));
        mOwner = mService.tokenOf(mEmail);
        QVERIFY(!mOwner.token.isEmpty());
    }

    void replacesATokenByRefreshing()
    {
        const Answer answer = mService.ask("PUT", "tokens/" + mOwner.token, {}, mOwner.token);
        QCOMPARE(answer.tag(), "tokenRefreshResponse"_s);
        QCOMPARE(answer.at("userInfo/email"), QString::fromLatin1(mEmail));
        QCOMPARE(answer.at("termsInfo/hasAcceptedTos"), "true"_s);
        QCOMPARE(answer.at("tokenInfo/conditions/ttl"), "86400"_s);
        const QByteArray token = answer.at("tokenInfo/token").toLatin1();
        QVERIFY(token != mOwner.token);
        QCOMPARE(profile().errorCode(), "invalidAccessToken"_s);
        mOwner.token = token;
        QCOMPARE(profile().status, 200);
    }

    void forgetsADeletedToken()
    {
        const SignedIn other = mService.tokenOf(mEmail);
        QCOMPARE(mService.ask("DELETE", "tokens/" + mOwner.token, {}, mOwner.token).status, 200);
        QCOMPARE(profile().errorCode(), "invalidAccessToken"_s);
        QCOMPARE(mService.ask("DELETE", "tokens/" + mOwner.token, {}, mOwner.token).errorCode(),
                 "invalidAccessToken"_s);
        // The account's other tokens stay good.
        mOwner = other;
        QCOMPARE(profile().status, 200);
    }

    void wantsTheTokenInTheAddressToBeTheOneThatSigns()
    {
        const SignedIn other = mService.tokenOf(mEmail);
        for (const char* verb : {"PUT", "DELETE"}) {
            const Answer answer = mService.ask(verb, "tokens/" + other.token, {}, mOwner.token);
            QCOMPARE(answer.status, 401);
            QCOMPARE(answer.errorCode(), "invalidAccessToken"_s);
        }
        mOwner = other;
        QCOMPARE(profile().status, 200);
    }

    void showsTheProfile()
    {
        const Answer answer = profile();
        QCOMPARE(answer.tag(), "profileQueryResponse"_s);
        QCOMPARE(answer.leaves("profile"),
                 QString::fromLatin1(
                     "accountId=" + mOwner.accountId + " mobile=+358401234567 email=" + mEmail +
                     " mobileVerified=true emailVerified=true language=sv country=SE "
                     "dateOfBirth=1980-02-29Z firstName=Kim lastName=Larsson "
                     "gender=female"));
        QCOMPARE(answer.leaves("services"), "service=contacts service=sync"_s);
    }

    void changesThePassword()
    {
        const Answer answer =
            put(profileDocument("<password>" + "new s\xc3\xa4krit"_ba.toBase64() + "</password>"));
        QCOMPARE(answer.status, 200);
        QCOMPARE(mService.latestOperation(), 15);
        QCOMPARE(mService.signIn(mEmail, "secret").status, 401);
        QCOMPARE(mService.signIn(mEmail, "new s\xc3\xa4krit").status, 200);
        QVERIFY(!answer.body.contains("krit"));
    }

    void refusesMalformedPasswords_data()
    {
        QTest::addColumn<QByteArray>("password");
        QTest::newRow("none") << QByteArray();
        QTest::newRow("3 bytes") << "abc"_ba;
        QTest::newRow("129 bytes") << QByteArray(129, 'a');
        QTest::newRow("zero byte") << QByteArray("abc\0def", 7);
    }

    void refusesMalformedPasswords()
    {
        QFETCH(QByteArray, password);
        const Answer answer =
            put(profileDocument("<password>" + password.toBase64() + "</password>"));
        QCOMPARE(answer.status, 400);
        QVERIFY(!answer.at("profileUpdateError/attributeSyntaxError").isEmpty());
        QCOMPARE(mService.signIn(mEmail, "secret").status, 200);
    }

    void updatesTheProfile()
    {
        const Answer answer = put(profileDocument(
            "<mobile>+358405555555</mobile><email>j\xc3\xb6rg" + QByteArray::number(mCount) +
            "@b\xc3\xbc"
            "cher.example</email><language>fi</language>"
            "<country>FI</country><dateOfBirth>1999-12-31</dateOfBirth>"
            "<firstName>A &amp; B</firstName><lastName></lastName>"
            "<gender>unknown</gender>"));
        QVERIFY2(answer.status == 200, answer.body.constData());
        QCOMPARE(answer.tag(), "profileUpdateResponse"_s);
        // The domain comes as people write it and is kept in its ASCII form.
        const QString expected = QString::fromUtf8(
            "accountId=" + mOwner.accountId + " mobile=+358405555555 email=j\xc3\xb6rg" +
            QByteArray::number(mCount) +
            "@xn--bcher-kva.example mobileVerified=false emailVerified=false "
            "language=fi country=FI dateOfBirth=1999-12-31Z firstName=A & B "
            "gender=unknown");
        QCOMPARE(answer.leaves("userProfile"), expected);
        QCOMPARE(profile().leaves("profile"), expected);
    }

    void keepsWhatAnUpdateDoesNotMention()
    {
        QCOMPARE(put(profileDocument("<mobile>+358401234567</mobile><email>" + mEmail +
                                     "</email><firstName>Kim</firstName><lastName>Berg</lastName>"))
                     .status,
                 200);
        QCOMPARE(profile().leaves("profile"),
                 QString::fromLatin1(
                     "accountId=" + mOwner.accountId + " mobile=+358401234567 email=" + mEmail +
                     " mobileVerified=true emailVerified=true language=sv country=SE "
                     "dateOfBirth=1980-02-29Z firstName=Kim lastName=Berg "
                     "gender=female"));
    }

    void refusesProfileUpdates_data()
    {
        columns<QByteArray, QByteArray>("content", "cause");
        const QByteArray names = "<firstName></firstName><lastName></lastName>";
        const QByteArray syntax = "profileUpdateError/attributeSyntaxError";
        QTest::newRow("no address left")
            << "<mobile></mobile><email></email>" + names << "profileUpdateError/illegalUpdate"_ba;
        QTest::newRow("malformed address")
            << "<mobile></mobile><email>kim</email>" + names << syntax;
        QTest::newRow("malformed number")
            << "<mobile>0401234567</mobile><email>kim@mail.example</email>" + names << syntax;
        QTest::newRow("country") << "<mobile></mobile><email>kim@mail.example</email>"
                                    "<country>Finland</country>" +
                                        names
                                 << syntax;
        QTest::newRow("long name")
            << "<mobile></mobile><email>kim@mail.example</email><firstName>" +
                   QByteArray(129, 'a') + "</firstName><lastName></lastName>"
            << syntax;
        QTest::newRow("address taken")
            << "<mobile></mobile><email>Alice@example.org</email>" + names
            << "extensions/detailedErrorCode"_ba;
    }

    void refusesProfileUpdates()
    {
        const auto [content, cause] = fetch<QByteArray, QByteArray>("content", "cause");
        const QByteArray before = profile().body;
        const Answer answer = put(profileDocument(content));
        QVERIFY2(!answer.at(cause.constData()).isEmpty(), answer.body.constData());
        QCOMPARE(mService.latestOperation(), 23);
        QCOMPARE(profile().body, before);
    }

    void updatesTheSecurityQuestion()
    {
        const auto question = [this] {
            return mService.ask("GET", "simplifiedpasswordrecovery/" + mEmail + "/question")
                .at("passwordQuestionId");
        };
        QCOMPARE(put(profileDocument("<passwordQuestion>4</passwordQuestion>"
                                     "<passwordAnswer>Dune</passwordAnswer>"))
                     .status,
                 200);
        QCOMPARE(mService.latestOperation(), 24);
        QCOMPARE(question(), "4"_s);
        QCOMPARE(put(profileDocument("<passwordQuestion>5</passwordQuestion>")).status, 200);
        QCOMPARE(question(), "5"_s);
        const Answer answer = put(profileDocument("<passwordAnswer>Kimmy</passwordAnswer>"));
        QCOMPARE(answer.at("userProfile/passwordQuestion"), "5"_s);
        QVERIFY(!answer.body.contains("Kimmy"));
    }

    void refusesQuestionUpdates_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("question without answer") << "<passwordQuestion>1</passwordQuestion>"_ba;
        QTest::newRow("answer without question") << "<passwordAnswer>1</passwordAnswer>"_ba;
        QTest::newRow("no such question")
            << "<passwordQuestion>x</passwordQuestion><passwordAnswer>1</passwordAnswer>"_ba;
        QTest::newRow("long answer") << "<passwordQuestion>1</passwordQuestion><passwordAnswer>" +
                                            QByteArray(129, 'a') + "</passwordAnswer>";
    }

    void refusesQuestionUpdates()
    {
        QFETCH(QByteArray, content);
        const Answer answer = put(profileDocument(content));
        QCOMPARE(answer.status, 400);
        QVERIFY(!answer.at("profileUpdateError/attributeSyntaxError").isEmpty());
        QCOMPARE(mService.latestOperation(), 24);
        QVERIFY(profile().at("profile/passwordQuestion").isEmpty());
    }

    void givesAUserNameOnce()
    {
        const QByteArray name = "chosen" + QByteArray::number(mCount);
        const Answer answer = put(nameDocument(name));
        QCOMPARE(answer.status, 200);
        QCOMPARE(mService.latestOperation(), 25);
        QCOMPARE(answer.tag(), "profileUpdateResponse"_s);
        QCOMPARE(answer.at("userProfile/username"), QString::fromLatin1(name));
        QCOMPARE(mService.signIn(name, "secret").status, 200);
        const Answer again = put(nameDocument("another"));
        QCOMPARE(again.status, 409);
        QVERIFY(!again.at("profileUpdateError/illegalUpdate").isEmpty());
        QCOMPARE(profile().at("profile/username"), QString::fromLatin1(name));
    }

    void refusesUserNames_data()
    {
        columns<QByteArray, QByteArray>("name", "cause");
        QTest::newRow("taken") << "ALICE"_ba
                               << "profileUpdateError/usernameReserved"_ba;
        QTest::newRow("reserved") << "admin"_ba
                                  << "profileUpdateError/usernameReserved"_ba;
        QTest::newRow("none") << QByteArray() << "profileUpdateError/attributeSyntaxError"_ba;
        QTest::newRow("malformed") << "a b"_ba
                                   << "profileUpdateError/attributeSyntaxError"_ba;
    }

    void refusesUserNames()
    {
        const auto [name, cause] = fetch<QByteArray, QByteArray>("name", "cause");
        const Answer answer = put(nameDocument(name));
        QVERIFY2(!answer.at(cause.constData()).isEmpty(), answer.body.constData());
        QVERIFY(profile().at("profile/username").isEmpty());
    }

    void keepsMarketingConsent()
    {
        const auto consent = [this] {
            return mService.ask("GET", account("/marketing"), {}, mOwner.token)
                .leaves("marketingConsent");
        };
        QCOMPARE(consent(), "email=false mobile=false"_s);
        const QByteArray document = ServiceClient::document(
            "marketingConsentUpdateRequest",
            "<marketingConsent><email>false</email><mobile>true</mobile></marketingConsent>");
        QCOMPARE(mService.ask("PUT", account("/marketing"), document, mOwner.token).status, 200);
        QCOMPARE(consent(), "email=false mobile=true"_s);
    }

    void keepsContacts()
    {
        const QByteArray document = ServiceClient::document(
            "contactsUpdateRequest",
            "<mobileContacts><mobileContact><mobileNumber>+358401234567</mobileNumber>"
            "<preferred>true</preferred></mobileContact><mobileContact>"
            "<mobileNumber>+358407654321</mobileNumber><preferred>false</preferred></mobileContact>"
            "</mobileContacts><emailContacts><emailContact><emailAddress>a@b\xc3\xbc"
            "cher.example</emailAddress><preferred>true</preferred></emailContact></"
            "emailContacts>");
        const Answer update = mService.ask("PUT", account("/contacts"), document, mOwner.token);
        QVERIFY2(update.status == 200, update.body.constData());
        const Answer query = mService.ask("GET", account("/contacts"), {}, mOwner.token);
        QCOMPARE(query.body, update.body);
        const QDomElement contacts = query.root.firstChildElement();
        QCOMPARE(contacts.tagName(), "contacts"_s);
        QStringList got;
        for (QDomElement contact = contacts.firstChildElement(); !contact.isNull();
             contact = contact.nextSiblingElement())
            got.append(contact.tagName() + QLatin1Char(' ') + Answer{0, {}, contact}.leaves(""));
        // The first number is the account's own, which is verified.
        QCOMPARE(got, QStringList({
                          "mobileContactOutput mobileNumber=+358401234567 "
                          "preferred=true verified=true"_s,
                          "mobileContactOutput mobileNumber=+358407654321 "
                          "preferred=false verified=false"_s,
                          "emailContactOutput emailAddress=a@xn--bcher-kva.example "
                          "preferred=true verified=false"_s,
                      }));
        // An update takes the place of everything before.
        const QByteArray none = ServiceClient::document(
            "contactsUpdateRequest",
            "<mobileContacts></mobileContacts><emailContacts></emailContacts>");
        QCOMPARE(mService.ask("PUT", account("/contacts"), none, mOwner.token).leaves(""),
                 "contacts="_s);
        QCOMPARE(mService.ask("GET", account("/contacts"), {}, mOwner.token).leaves(""),
                 "contacts="_s);
    }

    void refusesContacts_data()
    {
        columns<QByteArray, bool>("content", "isSyntax");
        const auto mobile = [](const char* number, const char* preferred) {
            return "<mobileContact><mobileNumber>" + QByteArray(number) +
                   "</mobileNumber><preferred>" + preferred + "</preferred></mobileContact>";
        };
        const auto mobiles = [](const QByteArray& list) {
            return "<mobileContacts>" + list + "</mobileContacts><emailContacts></emailContacts>";
        };
        QTest::newRow("number") << mobiles(mobile("12345", "true")) << true;
        QTest::newRow("empty number") << mobiles(mobile("", "false")) << true;
        QTest::newRow("address") << "<mobileContacts></mobileContacts><emailContacts>"
                                    "<emailContact><emailAddress>a</emailAddress>"
                                    "<preferred>false</preferred></emailContact></emailContacts>"_ba
                                 << true;
        QTest::newRow("two preferred")
            << mobiles(mobile("+3581234567", "true") + mobile("+3581234568", "true")) << false;
    }

    void refusesContacts()
    {
        const auto [content, isSyntax] = fetch<QByteArray, bool>("content", "isSyntax");
        const QByteArray before = mService.ask("GET", account("/contacts"), {}, mOwner.token).body;
        const Answer answer =
            mService.ask("PUT", account("/contacts"),
                         ServiceClient::document("contactsUpdateRequest", content), mOwner.token);
        QCOMPARE(answer.status, isSyntax ? 400 : 409);
        QVERIFY(!answer.at("contactUpdateError").isNull());
        QCOMPARE(answer.at("contactUpdateError/attributeSyntaxError").isEmpty(), !isSyntax);
        QCOMPARE(mService.ask("GET", account("/contacts"), {}, mOwner.token).body, before);
    }

    void keepsTermsAcceptance()
    {
        const QByteArray document = ServiceClient::document(
            "termsUpdateRequest",
            "<hasAcceptedTos>false</hasAcceptedTos>"
            "<hasAcceptedServiceSpecificTos>true</hasAcceptedServiceSpecificTos>"
            "<hasAcceptedPrivacyPolicy>false</hasAcceptedPrivacyPolicy>");
        QCOMPARE(mService.ask("POST", "terms/" + mOwner.accountId, document, mOwner.token).status,
                 200);
        const QString expected = "hasAcceptedTos=false hasAcceptedPrivacyPolicy=false "
                                 "hasAcceptedServiceSpecificTos=true"_s;
        // By the account's number or by a service's name: the terms are the same.
        for (const QByteArray& identifier : {mOwner.accountId, "music"_ba})
            QCOMPARE(mService.ask("GET", "terms/" + identifier, {}, mOwner.token).leaves(""),
                     expected);
        QCOMPARE(mService.signIn(mEmail, "secret").leaves("termsInfo"), expected);
    }

    void keepsTermsOfOthersApart()
    {
        const QByteArray other = mService.tokenOf("alice").accountId;
        QCOMPARE(mService.ask("GET", "terms/" + other, {}, mOwner.token).errorCode(),
                 "notAuthorized"_s);
        QCOMPARE(mService.ask("GET", "terms/a b", {}, mOwner.token).errorCode(),
                 "resourceNotFound"_s);
    }

    void takesDeviceFacts()
    {
        const QByteArray facts =
            "<deviceInformation><mobilePhoneSerialNumber>1</mobilePhoneSerialNumber><mcc>244</mcc>"
            "<mnc>05</mnc><hashedMSIN></hashedMSIN></deviceInformation>";
        const auto update = [&](const QByteArray& preAccount) {
            return mService.ask("POST", account("/devices"),
                                ServiceClient::document("devicesUpdateRequest", preAccount + facts),
                                mOwner.token);
        };
        QCOMPARE(update({}).status, 200);
        QCOMPARE(update("<preAccountId>held</preAccountId>").errorCode(), "resourceNotFound"_s);
        QCOMPARE(mService.emulator()
                     .admin("POST", "/pre-accounts"_s, R"({"msin": "77", "preAccountId": "held"})")
                     .status,
                 200);
        const Answer answer = update("<preAccountId>held</preAccountId>");
        QCOMPARE(answer.status, 200);
        QVERIFY(answer.body.isEmpty());
    }

private:
    QByteArray account(const char* end) { return "accounts/" + mOwner.accountId + end; }
    Answer put(const QByteArray& document)
    {
        return mService.ask("PUT", account("/profile"), document, mOwner.token);
    }
    Answer profile() { return mService.ask("GET", account("/profile"), {}, mOwner.token); }

    ServiceClient mService;
    SignedIn mOwner; ///< of a fresh account without a name
    QByteArray mEmail;
    int mCount = 0;
};

QTEST_GUILESS_MAIN(TestOperationsAccount)
#include "tst_operations_account.moc"
