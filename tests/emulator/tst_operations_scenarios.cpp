// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs the scenarios of data/scenarios, each a row: what the service is asked there, and what it
// has to answer. The README there says how they are written.
#include "emulator/serviceclient.h"
#include "rest/request/servicehosts.h"
#include "support/literals.h"
#include "support/rows.h"
#include "support/scenarios.h"

#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>
#include <QUrl>

class TestOperationsScenarios : public QObject, private KelTest::Scenarios
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        const QStringList options{"--pre-account"_s, "1234567890,somebody,+358409876543,FI"_s,
                                  "--pre-account=5550001"_s, "--pre-account=5550002"_s,
                                  "--reserve=tom2"_s};
        QVERIFY2(mService.start(options), mService.emulator().log().constData());
        QVERIFY(mService.addAccount(
            R"([{"userName": "mailed", "email": "mailed@mail.example", "mobile": "+358401234599"},
                {"userName": "smsonly", "mobile": "+358401111111"},
                {"userName": "nowhere"},
                {"userName": "bounce", "email": "bounce@unreachable.example"},
                {"userName": "farnumber", "mobile": "+99912345678"}])"));
    }

    void init()
    {
        mValues = {{"site"_s, QStringLiteral("https://" KELACCOUNT_HOST_PRODUCTION)},
                   {"consent"_s, "<marketingConsent><email>true</email><mobile>false</mobile>"
                                 "<serviceId>OneConsent</serviceId></marketingConsent>"_s}};
        mLanguage = "en";
        mQuery.clear();
        mWatched.clear();
    }

    void everyScenario_data() { scenarioRows(QStringLiteral(KELACCOUNT_TEST_DATA "/scenarios")); }
    void everyScenario()
    {
        QFETCH(QStringList, lines);
        const QString problem = run(lines);
        QVERIFY2(problem.isEmpty(), qPrintable(problem + "\n"_s + QString::fromUtf8(mAnswer.body)));
    }

    void aScenarioThatDoesNotHoldFails_data()
    {
        rowsNamed("line", {"< 500",          "< 200 otherResponse",
                           "< 200 -",        "at nothing",
                           "at / = x",       "there nothing",
                           "leaves / = x",   "children 7",
                           "has nothing",    "lacks userName",
                           "operation 4",    "keep x = nothing",
                           "same a = b",     "differ a a",
                           "refused",        "at {unknown}",
                           "think about it", "admin GET /nowhere",
                           "message nobody", "owner of nothing",
                           "unchanged",      "9 times",
                           "for a in",       "each a"});
    }
    void aScenarioThatDoesNotHoldFails()
    {
        QFETCH(QByteArray, line);
        QCOMPARE(run({"ask GET availability/nobody"_s, "< 200 userNameAvailabilityResponse"_s}),
                 QString());
        QVERIFY(!run({QString::fromUtf8(line)}).isEmpty());
    }

    void everyLineOfAFileIsOfAScenario()
    {
        using Found = QVector<QStringList>;
        QCOMPARE(scenariosIn("# of all\n\n= one\na\n# b\n\n= two\nc = d\n"_s),
                 Found({{"one"_s, "a"_s, "# b"_s}, {"two"_s, "c = d"_s}}));
        // The first line names one like any other.
        QCOMPARE(scenariosIn("= one\na"_s), Found({{"one"_s, "a"_s}}));
        QCOMPARE(scenariosIn("a\n= one\nb"_s),
                 Found({{"without a name"_s, "a"_s}, {"one"_s, "b"_s}}));
        QCOMPARE(scenariosIn("= nothing"_s), Found({{"nothing"_s}}));
    }

    void loopsStandInLoops()
    {
        QCOMPARE(run({"let all = x"_s, "for a in 1 2"_s, "each b | c"_s, "| 3 | 4"_s, "# and"_s,
                      "| 5 | {a}"_s, "let all = {all} {a}{b}{c}"_s, "once"_s, "once"_s,
                      "same {all} = x 134 151 234 252"_s}),
                 QString());
        QVERIFY(!run({"each a | b"_s, "| 1"_s, "once"_s}).isEmpty());
    }

    void drawsCaptchasOfTheSizeWanted_data()
    {
        const auto row = rows<QByteArray, QByteArray, QSize>("width", "height", "size");
        row("usual", "200", "60", QSize(200, 60));
        row("odd", "201", "61", QSize(201, 61));
        row("smallest", "50", "20", QSize(50, 20));
        row("largest", "1000", "500", QSize(1000, 500));
        row("none", "0", "0", QSize(50, 20));
        row("negative", "-5", "-1", QSize(50, 20));
        row("enormous", "9999999999", "2147483648", QSize(1000, 500));
        row("narrow and high", "1", "500", QSize(50, 500));
    }
    void drawsCaptchasOfTheSizeWanted()
    {
        QFETCH(QByteArray, width);
        QFETCH(QByteArray, height);
        QFETCH(QSize, size);
        QCOMPARE(captcha(width, height).size(), size);
    }

    void drawsTheTextOfACaptcha()
    {
        const QImage picture = captcha("310", "90");
        // Black columns form one group for each character; the spots around are grey.
        int groups = 0;
        bool wasBlack = false;
        for (int x = 0; x < picture.width(); ++x) {
            bool isBlack = false;
            for (int y = 0; y < picture.height(); ++y)
                isBlack = isBlack || qGray(picture.pixel(x, y)) == 0;
            groups += isBlack && !wasBlack ? 1 : 0;
            wasBlack = isBlack;
        }
        const QString id = mAnswer.at("captchaId");
        QCOMPARE(mService.emulator().admin("GET", "/captchas/"_s + id).body.trimmed().size(), 5);
        QCOMPARE(groups, 5);
        QCOMPARE(mService.emulator().admin("GET", "/captchas/0123"_s).status, 404);
        QVERIFY(mService.captcha().second != mService.captcha().second);
    }

    void tellsWhatComesWithAToken()
    {
        const Answer answer = mService.signIn("mailed", "secret");
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
                 "username=mailed accountId=%1 mobile=+358401234599 email=mailed@mail.example "
                 "emailVerified=true mobileVerified=true"_s.arg(answer.at("userInfo/accountId")));
        QCOMPARE(answer.leaves("termsInfo"), "hasAcceptedTos=true hasAcceptedPrivacyPolicy=true "
                                             "hasAcceptedServiceSpecificTos=true"_s);
        // Another sign-in has a token of its own.
        QVERIFY(mService.tokenOf("mailed").token != token.toLatin1());
    }

private:
    QImage captcha(const QByteArray& width, const QByteArray& height)
    {
        mAnswer = mService.ask(
            "POST", "captchas",
            ServiceClient::document("captchaCreationRequest",
                                    "<width>" + width + "</width><height>" + height + "</height>"));
        if (mAnswer.status != 200 || mAnswer.at("imageType") != "image/png"_s ||
            mAnswer.at("captchaId").isEmpty())
            return {};
        return QImage::fromData(QByteArray::fromBase64(mAnswer.at("imageData").toLatin1()), "PNG");
    }

    QString ask(const QString& line, const QString& document, bool asOwner)
    {
        SignedRequest request(("/rest/1.0/"_s + line.section(QLatin1Char(' '), 1)).toUtf8());
        request.restVerb = line.section(QLatin1Char(' '), 0, 0).toLatin1();
        request.language = mLanguage;
        request.query = std::exchange(mQuery, {});
        if (asOwner)
            request.token = mValues.value("token"_s).toLatin1();
        if (!document.isEmpty())
            request.document =
                ServiceClient::document(document.section(QLatin1Char(' '), 0, 0).toLatin1(),
                                        document.section(QLatin1Char(' '), 1).toUtf8());
        mAnswer = mService.ask(request);
        return mAnswer.status == 0 ? "no answer"_s : QString();
    }

    QString step(const QString& word, const QString& rest, const QString& more) override
    {
        const bool isEquation = rest.contains(" = "_s) || rest.endsWith(" ="_s);
        const QString left = rest.section(" ="_s, 0, 0);
        const QString right = rest.section(" ="_s, 1).mid(1);
        const QByteArray path = left == "/"_s ? QByteArray() : left.toLatin1();
        // What is asked, and what is remembered.
        if (word == "ask"_s || word == "own"_s)
            return ask(rest, QString(more).remove(QLatin1Char('\n')), word == "own"_s);
        if (!more.isEmpty())
            return "what is the document for?"_s;
        if (word == "owner"_s)
            return rest.isEmpty() ? makeOwner() : "of what?"_s;
        if (word == "sign-in"_s) {
            mAnswer = mService.signIn(rest.section(QLatin1Char(' '), 0, 0).toUtf8(),
                                      rest.section(QLatin1Char(' '), 1).toUtf8());
            return {};
        }
        if (word == "admin"_s)
            return expect(mService.emulator()
                              .admin(rest.section(QLatin1Char(' '), 0, 0).toLatin1().constData(),
                                     rest.section(QLatin1Char(' '), 1, 1),
                                     rest.section(QLatin1Char(' '), 2).toUtf8())
                              .status == 200);
        if (word == "captcha"_s) {
            const auto [id, solution] = mService.captcha();
            mValues["captcha.id"_s] = QString::fromLatin1(id);
            mValues["captcha.text"_s] = QString::fromLatin1(solution);
            mValues["captcha.lower"_s] = QString::fromLatin1(solution.toLower());
            return expect(!solution.isEmpty());
        }
        if (word == "message"_s)
            return readMessage(rest);
        if (word == "language"_s) {
            mLanguage = rest.toLatin1();
            return {};
        }
        if (word == "query"_s) {
            for (const QByteArray& item : rest.toUtf8().split(' '))
                mQuery.append({item.left(item.indexOf('=')),
                               QByteArray::fromPercentEncoding(item.mid(item.indexOf('=') + 1))});
            return {};
        }
        if (word == "let"_s || word == "keep"_s) {
            mValues[left] = word == "let"_s ? right : mAnswer.at(right.toLatin1().constData());
            return expect(!mValues.value(left).isEmpty());
        }
        if (word == "watch"_s || word == "remember"_s) {
            mWatched = rest;
            mRemembered = watched();
            return expect(!mRemembered.isEmpty());
        }
        // What has to hold.
        if (word == "<"_s)
            return expect(mAnswer.status == left.section(QLatin1Char(' '), 0, 0).toInt() &&
                          isRoot(left.section(QLatin1Char(' '), 1)));
        if (word == "refused"_s)
            return expect(mAnswer.status >= 400);
        if (word == "at"_s && isEquation)
            return same(mAnswer.at(path.constData()), right);
        if (word == "at"_s)
            return expect(!mAnswer.at(path.constData()).isEmpty());
        if (word == "there"_s)
            return expect(!mAnswer.at(path.constData()).isNull());
        if (word == "no"_s)
            return expect(mAnswer.at(path.constData()).isEmpty());
        if (word == "leaves"_s)
            return same(mAnswer.leaves(path.constData()), right);
        if (word == "children"_s)
            return same(QString::number(mAnswer.root.childNodes().size()), rest);
        if (word == "has"_s || word == "lacks"_s)
            return expect(mAnswer.body.contains(rest.toUtf8()) == (word == "has"_s));
        if (word == "operation"_s)
            return same(QString::number(mService.latestOperation()), rest);
        if (word == "same"_s)
            return same(left, QString(right).replace("\\n"_s, "\n"_s));
        if (word == "differ"_s)
            return expect(rest.section(QLatin1Char(' '), 0, 0) !=
                          rest.section(QLatin1Char(' '), 1));
        if (word == "unchanged"_s)
            return expect(watched() == mRemembered);
        return "what does it mean?"_s;
    }

    bool isRoot(const QString& name) const
    {
        return name.isEmpty() || (name == "-"_s ? mAnswer.body.isEmpty() : mAnswer.tag() == name);
    }

    QByteArray watched() const
    {
        return mWatched.isEmpty() ? mAnswer.body : mService.emulator().admin("GET", mWatched).body;
    }

    /// A fresh account without a name, signed in.
    QString makeOwner()
    {
        const QByteArray email = "owner" + QByteArray::number(++mCount) + "@mail.example";
        if (!mService.addAccount(R"({"email": ")" + email + R"(", "mobile": "+358401234567",
            "firstName": "Kim", "lastName": "Larsson", "language": "sv", "country": "SE",
            "dateOfBirth": "1980-02-29", "gender": "female"})"))
            return "there is no account"_s;
        const SignedIn owner = mService.tokenOf(email);
        mValues["n"_s] = QString::number(mCount);
        mValues["email"_s] = QString::fromLatin1(email);
        mValues["id"_s] = QString::fromLatin1(owner.accountId);
        mValues["token"_s] = QString::fromLatin1(owner.token);
        return expect(!owner.token.isEmpty());
    }

    /// The latest in somebody's inbox.
    QString readMessage(const QString& receiver)
    {
        const AdminReply reply = mService.emulator().admin(
            "GET", "/inbox?name="_s + QString::fromLatin1(QUrl::toPercentEncoding(receiver)));
        const QJsonObject message = QJsonDocument::fromJson(reply.body).array().last().toObject();
        for (const char* name : {"token", "text", "recipient"})
            mValues["message."_s + text(name)] = message.value(text(name)).toString();
        return expect(mValues.value("message.token"_s).size() >= 16);
    }

    ServiceClient mService;
    Answer mAnswer;
    QByteArray mLanguage;
    SignedRequest::Pairs mQuery; ///< of the next request
    QString mWatched;            ///< at the administrative endpoint; the latest answer otherwise
    QByteArray mRemembered;
    int mCount = 0;
};

QTEST_GUILESS_MAIN(TestOperationsScenarios)
#include "tst_operations_scenarios.moc"
