// SPDX-License-Identifier: LGPL-2.1-or-later
// What an account's owner may do with a token.
#include "emulator/serviceclient.h"

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
    void initTestCase();
    void init();
    void replacesATokenByRefreshing();
    void forgetsADeletedToken();
    void wantsTheTokenInTheAddressToBeTheOneThatSigns();
    void showsTheProfile();
    void changesThePassword();
    void refusesMalformedPasswords_data();
    void refusesMalformedPasswords();
    void updatesTheProfile();
    void keepsWhatAnUpdateDoesNotMention();
    void refusesProfileUpdates_data();
    void refusesProfileUpdates();
    void updatesTheSecurityQuestion();
    void refusesQuestionUpdates_data();
    void refusesQuestionUpdates();
    void givesAUserNameOnce();
    void refusesUserNames_data();
    void refusesUserNames();
    void keepsMarketingConsent();
    void keepsContacts();
    void refusesContacts_data();
    void refusesContacts();
    void keepsTermsAcceptance();
    void keepsTermsOfOthersApart();
    void takesDeviceFacts();

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

void TestOperationsAccount::initTestCase()
{
    QVERIFY2(mService.start(), mService.emulator().log().constData());
}

void TestOperationsAccount::init()
{
    mEmail = "owner" + QByteArray::number(++mCount) + "@mail.example";
    QVERIFY(mService.addAccount(R"({"email": ")" + mEmail + R"(", "mobile": "+358401234567",
        "firstName": "Kim", "lastName": "Larsson", "language": "sv", "country": "SE",
        "dateOfBirth": "1980-02-29", "gender": "female"})"));
    mOwner = mService.tokenOf(mEmail);
    QVERIFY(!mOwner.token.isEmpty());
}

void TestOperationsAccount::replacesATokenByRefreshing()
{
    const Answer answer = mService.ask("PUT", "tokens/" + mOwner.token, {}, mOwner.token);
    QCOMPARE(answer.tag(), QStringLiteral("tokenRefreshResponse"));
    QCOMPARE(answer.at("userInfo/email"), QString::fromLatin1(mEmail));
    QCOMPARE(answer.at("termsInfo/hasAcceptedTos"), QStringLiteral("true"));
    QCOMPARE(answer.at("tokenInfo/conditions/ttl"), QStringLiteral("86400"));
    const QByteArray token = answer.at("tokenInfo/token").toLatin1();
    QVERIFY(token != mOwner.token);
    QCOMPARE(profile().errorCode(), QStringLiteral("invalidAccessToken"));
    mOwner.token = token;
    QCOMPARE(profile().status, 200);
}

void TestOperationsAccount::forgetsADeletedToken()
{
    const SignedIn other = mService.tokenOf(mEmail);
    QCOMPARE(mService.ask("DELETE", "tokens/" + mOwner.token, {}, mOwner.token).status, 200);
    QCOMPARE(profile().errorCode(), QStringLiteral("invalidAccessToken"));
    QCOMPARE(mService.ask("DELETE", "tokens/" + mOwner.token, {}, mOwner.token).errorCode(),
             QStringLiteral("invalidAccessToken"));
    // The account's other tokens stay good.
    mOwner = other;
    QCOMPARE(profile().status, 200);
}

void TestOperationsAccount::wantsTheTokenInTheAddressToBeTheOneThatSigns()
{
    const SignedIn other = mService.tokenOf(mEmail);
    for (const char* verb : {"PUT", "DELETE"}) {
        const Answer answer = mService.ask(verb, "tokens/" + other.token, {}, mOwner.token);
        QCOMPARE(answer.status, 401);
        QCOMPARE(answer.errorCode(), QStringLiteral("invalidAccessToken"));
    }
    mOwner = other;
    QCOMPARE(profile().status, 200);
}

void TestOperationsAccount::showsTheProfile()
{
    const Answer answer = profile();
    QCOMPARE(answer.tag(), QStringLiteral("profileQueryResponse"));
    QCOMPARE(answer.leaves("profile"),
             QString::fromLatin1("accountId=" + mOwner.accountId +
                                 " mobile=+358401234567 email=" + mEmail +
                                 " mobileVerified=true emailVerified=true language=sv country=SE "
                                 "dateOfBirth=1980-02-29Z firstName=Kim lastName=Larsson "
                                 "gender=female"));
    QCOMPARE(answer.leaves("services"), QStringLiteral("service=contacts service=sync"));
}

void TestOperationsAccount::changesThePassword()
{
    const Answer answer = put(
        profileDocument("<password>" + QByteArray("new s\xc3\xa4krit").toBase64() + "</password>"));
    QCOMPARE(answer.status, 200);
    QCOMPARE(mService.latestOperation(), 15);
    QCOMPARE(mService.signIn(mEmail, "secret").status, 401);
    QCOMPARE(mService.signIn(mEmail, "new s\xc3\xa4krit").status, 200);
    QVERIFY(!answer.body.contains("krit"));
}

void TestOperationsAccount::refusesMalformedPasswords_data()
{
    QTest::addColumn<QByteArray>("password");
    QTest::newRow("none") << QByteArray();
    QTest::newRow("3 bytes") << QByteArray("abc");
    QTest::newRow("129 bytes") << QByteArray(129, 'a');
    QTest::newRow("zero byte") << QByteArray("abc\0def", 7);
}

void TestOperationsAccount::refusesMalformedPasswords()
{
    QFETCH(QByteArray, password);
    const Answer answer = put(profileDocument("<password>" + password.toBase64() + "</password>"));
    QCOMPARE(answer.status, 400);
    QVERIFY(!answer.at("profileUpdateError/attributeSyntaxError").isEmpty());
    QCOMPARE(mService.signIn(mEmail, "secret").status, 200);
}

void TestOperationsAccount::updatesTheProfile()
{
    const Answer answer = put(profileDocument(
        "<mobile>+358405555555</mobile><email>j\xc3\xb6rg" + QByteArray::number(mCount) +
        "@b\xc3\xbc"
        "cher.example</email><language>fi</language>"
        "<country>FI</country><dateOfBirth>1999-12-31</dateOfBirth>"
        "<firstName>A &amp; B</firstName><lastName></lastName>"
        "<gender>unknown</gender>"));
    QVERIFY2(answer.status == 200, answer.body.constData());
    QCOMPARE(answer.tag(), QStringLiteral("profileUpdateResponse"));
    // The domain comes as people write it and is kept in its ASCII form.
    const QString expected =
        QString::fromUtf8("accountId=" + mOwner.accountId +
                          " mobile=+358405555555 email=j\xc3\xb6rg" + QByteArray::number(mCount) +
                          "@xn--bcher-kva.example mobileVerified=false emailVerified=false "
                          "language=fi country=FI dateOfBirth=1999-12-31Z firstName=A & B "
                          "gender=unknown");
    QCOMPARE(answer.leaves("userProfile"), expected);
    QCOMPARE(profile().leaves("profile"), expected);
}

void TestOperationsAccount::keepsWhatAnUpdateDoesNotMention()
{
    QCOMPARE(put(profileDocument("<mobile>+358401234567</mobile><email>" + mEmail +
                                 "</email><firstName>Kim</firstName><lastName>Berg</lastName>"))
                 .status,
             200);
    QCOMPARE(profile().leaves("profile"),
             QString::fromLatin1("accountId=" + mOwner.accountId +
                                 " mobile=+358401234567 email=" + mEmail +
                                 " mobileVerified=true emailVerified=true language=sv country=SE "
                                 "dateOfBirth=1980-02-29Z firstName=Kim lastName=Berg "
                                 "gender=female"));
}

void TestOperationsAccount::refusesProfileUpdates_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("cause");
    const QByteArray names = "<firstName></firstName><lastName></lastName>";
    const QByteArray syntax = "profileUpdateError/attributeSyntaxError";
    QTest::newRow("no address left") << "<mobile></mobile><email></email>" + names
                                     << QByteArray("profileUpdateError/illegalUpdate");
    QTest::newRow("malformed address") << "<mobile></mobile><email>kim</email>" + names << syntax;
    QTest::newRow("malformed number")
        << "<mobile>0401234567</mobile><email>kim@mail.example</email>" + names << syntax;
    QTest::newRow("country") << "<mobile></mobile><email>kim@mail.example</email>"
                                "<country>Finland</country>" +
                                    names
                             << syntax;
    QTest::newRow("long name") << "<mobile></mobile><email>kim@mail.example</email><firstName>" +
                                      QByteArray(129, 'a') + "</firstName><lastName></lastName>"
                               << syntax;
    QTest::newRow("address taken") << "<mobile></mobile><email>Alice@example.org</email>" + names
                                   << QByteArray("extensions/detailedErrorCode");
}

void TestOperationsAccount::refusesProfileUpdates()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, cause);
    const QByteArray before = profile().body;
    const Answer answer = put(profileDocument(content));
    QVERIFY2(!answer.at(cause.constData()).isEmpty(), answer.body.constData());
    QCOMPARE(mService.latestOperation(), 23);
    QCOMPARE(profile().body, before);
}

void TestOperationsAccount::updatesTheSecurityQuestion()
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
    QCOMPARE(question(), QStringLiteral("4"));
    QCOMPARE(put(profileDocument("<passwordQuestion>5</passwordQuestion>")).status, 200);
    QCOMPARE(question(), QStringLiteral("5"));
    const Answer answer = put(profileDocument("<passwordAnswer>Kimmy</passwordAnswer>"));
    QCOMPARE(answer.at("userProfile/passwordQuestion"), QStringLiteral("5"));
    QVERIFY(!answer.body.contains("Kimmy"));
}

void TestOperationsAccount::refusesQuestionUpdates_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("question without answer")
        << QByteArray("<passwordQuestion>1</passwordQuestion>");
    QTest::newRow("answer without question") << QByteArray("<passwordAnswer>1</passwordAnswer>");
    QTest::newRow("no such question")
        << QByteArray("<passwordQuestion>x</passwordQuestion><passwordAnswer>1</passwordAnswer>");
    QTest::newRow("long answer") << "<passwordQuestion>1</passwordQuestion><passwordAnswer>" +
                                        QByteArray(129, 'a') + "</passwordAnswer>";
}

void TestOperationsAccount::refusesQuestionUpdates()
{
    QFETCH(QByteArray, content);
    const Answer answer = put(profileDocument(content));
    QCOMPARE(answer.status, 400);
    QVERIFY(!answer.at("profileUpdateError/attributeSyntaxError").isEmpty());
    QCOMPARE(mService.latestOperation(), 24);
    QVERIFY(profile().at("profile/passwordQuestion").isEmpty());
}

void TestOperationsAccount::givesAUserNameOnce()
{
    const QByteArray name = "chosen" + QByteArray::number(mCount);
    const Answer answer = put(nameDocument(name));
    QCOMPARE(answer.status, 200);
    QCOMPARE(mService.latestOperation(), 25);
    QCOMPARE(answer.tag(), QStringLiteral("profileUpdateResponse"));
    QCOMPARE(answer.at("userProfile/username"), QString::fromLatin1(name));
    QCOMPARE(mService.signIn(name, "secret").status, 200);
    const Answer again = put(nameDocument("another"));
    QCOMPARE(again.status, 409);
    QVERIFY(!again.at("profileUpdateError/illegalUpdate").isEmpty());
    QCOMPARE(profile().at("profile/username"), QString::fromLatin1(name));
}

void TestOperationsAccount::refusesUserNames_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("cause");
    QTest::newRow("taken") << QByteArray("ALICE")
                           << QByteArray("profileUpdateError/usernameReserved");
    QTest::newRow("reserved") << QByteArray("admin")
                              << QByteArray("profileUpdateError/usernameReserved");
    QTest::newRow("none") << QByteArray() << QByteArray("profileUpdateError/attributeSyntaxError");
    QTest::newRow("malformed") << QByteArray("a b")
                               << QByteArray("profileUpdateError/attributeSyntaxError");
}

void TestOperationsAccount::refusesUserNames()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, cause);
    const Answer answer = put(nameDocument(name));
    QVERIFY2(!answer.at(cause.constData()).isEmpty(), answer.body.constData());
    QVERIFY(profile().at("profile/username").isEmpty());
}

void TestOperationsAccount::keepsMarketingConsent()
{
    const auto consent = [this] {
        return mService.ask("GET", account("/marketing"), {}, mOwner.token)
            .leaves("marketingConsent");
    };
    QCOMPARE(consent(), QStringLiteral("email=false mobile=false"));
    const QByteArray document = ServiceClient::document(
        "marketingConsentUpdateRequest",
        "<marketingConsent><email>false</email><mobile>true</mobile></marketingConsent>");
    QCOMPARE(mService.ask("PUT", account("/marketing"), document, mOwner.token).status, 200);
    QCOMPARE(consent(), QStringLiteral("email=false mobile=true"));
}

void TestOperationsAccount::keepsContacts()
{
    const QByteArray document = ServiceClient::document(
        "contactsUpdateRequest",
        "<mobileContacts><mobileContact><mobileNumber>+358401234567</mobileNumber>"
        "<preferred>true</preferred></mobileContact><mobileContact>"
        "<mobileNumber>+358407654321</mobileNumber><preferred>false</preferred></mobileContact>"
        "</mobileContacts><emailContacts><emailContact><emailAddress>a@b\xc3\xbc"
        "cher.example</emailAddress><preferred>true</preferred></emailContact></emailContacts>");
    const Answer update = mService.ask("PUT", account("/contacts"), document, mOwner.token);
    QVERIFY2(update.status == 200, update.body.constData());
    const Answer query = mService.ask("GET", account("/contacts"), {}, mOwner.token);
    QCOMPARE(query.body, update.body);
    const QDomElement contacts = query.root.firstChildElement();
    QCOMPARE(contacts.tagName(), QStringLiteral("contacts"));
    QStringList got;
    for (QDomElement contact = contacts.firstChildElement(); !contact.isNull();
         contact = contact.nextSiblingElement())
        got.append(contact.tagName() + QLatin1Char(' ') + Answer{0, {}, contact}.leaves(""));
    // The first number is the account's own, which is verified.
    QCOMPARE(got, QStringList({
                      QStringLiteral("mobileContactOutput mobileNumber=+358401234567 "
                                     "preferred=true verified=true"),
                      QStringLiteral("mobileContactOutput mobileNumber=+358407654321 "
                                     "preferred=false verified=false"),
                      QStringLiteral("emailContactOutput emailAddress=a@xn--bcher-kva.example "
                                     "preferred=true verified=false"),
                  }));
    // An update takes the place of everything before.
    const QByteArray none =
        ServiceClient::document("contactsUpdateRequest",
                                "<mobileContacts></mobileContacts><emailContacts></emailContacts>");
    QCOMPARE(mService.ask("PUT", account("/contacts"), none, mOwner.token).leaves(""),
             QStringLiteral("contacts="));
    QCOMPARE(mService.ask("GET", account("/contacts"), {}, mOwner.token).leaves(""),
             QStringLiteral("contacts="));
}

void TestOperationsAccount::refusesContacts_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("isSyntax");
    const auto mobile = [](const char* number, const char* preferred) {
        return "<mobileContact><mobileNumber>" + QByteArray(number) + "</mobileNumber><preferred>" +
               preferred + "</preferred></mobileContact>";
    };
    const auto mobiles = [](const QByteArray& list) {
        return "<mobileContacts>" + list + "</mobileContacts><emailContacts></emailContacts>";
    };
    QTest::newRow("number") << mobiles(mobile("12345", "true")) << true;
    QTest::newRow("empty number") << mobiles(mobile("", "false")) << true;
    QTest::newRow("address") << QByteArray(
                                    "<mobileContacts></mobileContacts><emailContacts>"
                                    "<emailContact><emailAddress>a</emailAddress>"
                                    "<preferred>false</preferred></emailContact></emailContacts>")
                             << true;
    QTest::newRow("two preferred")
        << mobiles(mobile("+3581234567", "true") + mobile("+3581234568", "true")) << false;
}

void TestOperationsAccount::refusesContacts()
{
    QFETCH(QByteArray, content);
    QFETCH(bool, isSyntax);
    const QByteArray before = mService.ask("GET", account("/contacts"), {}, mOwner.token).body;
    const Answer answer =
        mService.ask("PUT", account("/contacts"),
                     ServiceClient::document("contactsUpdateRequest", content), mOwner.token);
    QCOMPARE(answer.status, isSyntax ? 400 : 409);
    QVERIFY(!answer.at("contactUpdateError").isNull());
    QCOMPARE(answer.at("contactUpdateError/attributeSyntaxError").isEmpty(), !isSyntax);
    QCOMPARE(mService.ask("GET", account("/contacts"), {}, mOwner.token).body, before);
}

void TestOperationsAccount::keepsTermsAcceptance()
{
    const QByteArray document = ServiceClient::document(
        "termsUpdateRequest", "<hasAcceptedTos>false</hasAcceptedTos>"
                              "<hasAcceptedServiceSpecificTos>true</hasAcceptedServiceSpecificTos>"
                              "<hasAcceptedPrivacyPolicy>false</hasAcceptedPrivacyPolicy>");
    QCOMPARE(mService.ask("POST", "terms/" + mOwner.accountId, document, mOwner.token).status, 200);
    const QString expected = QStringLiteral("hasAcceptedTos=false hasAcceptedPrivacyPolicy=false "
                                            "hasAcceptedServiceSpecificTos=true");
    // By the account's number or by a service's name: the terms are the same.
    for (const QByteArray& identifier : {mOwner.accountId, QByteArray("music")})
        QCOMPARE(mService.ask("GET", "terms/" + identifier, {}, mOwner.token).leaves(""), expected);
    QCOMPARE(mService.signIn(mEmail, "secret").leaves("termsInfo"), expected);
}

void TestOperationsAccount::keepsTermsOfOthersApart()
{
    const QByteArray other = mService.tokenOf("alice").accountId;
    QCOMPARE(mService.ask("GET", "terms/" + other, {}, mOwner.token).errorCode(),
             QStringLiteral("notAuthorized"));
    QCOMPARE(mService.ask("GET", "terms/a b", {}, mOwner.token).errorCode(),
             QStringLiteral("resourceNotFound"));
}

void TestOperationsAccount::takesDeviceFacts()
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
    QCOMPARE(update("<preAccountId>held</preAccountId>").errorCode(),
             QStringLiteral("resourceNotFound"));
    QCOMPARE(mService.emulator()
                 .admin("POST", QStringLiteral("/pre-accounts"),
                        R"({"msin": "77", "preAccountId": "held"})")
                 .status,
             200);
    const Answer answer = update("<preAccountId>held</preAccountId>");
    QCOMPARE(answer.status, 200);
    QVERIFY(answer.body.isEmpty());
}

QTEST_GUILESS_MAIN(TestOperationsAccount)
#include "tst_operations_account.moc"
