// SPDX-License-Identifier: LGPL-2.1-or-later
// The console: what its page is made of, whom it answers, and what it tells of a request.
#include "emulator/emulatorprocess.h"
#include "emulator/signedrequest.h"
#include "emulator/wireclient.h"
#include "rest/request/servicehosts.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QJsonDocument>
#include <QNetworkProxy>
#include <QRegularExpression>
#include <QTcpSocket>
#include <QtTest>
#include <QUrl>

class TestEmulatorConsole : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY2(mEmulator.start({"--no-session"_s}), mEmulator.log()); }

    void thePageLoadsNothingFromElsewhere()
    {
        const QString page = QString::fromUtf8(get("/"));
        QVERIFY(page.contains("<title>Account service emulator</title>"_s));
        static const QRegularExpression reference("(?:src|href)=\"([^#\"]+)\""_s);
        auto matches = reference.globalMatch(page);
        QStringList files;
        while (matches.hasNext())
            files.append(matches.next().captured(1));
        files.sort();
        QCOMPARE(files, QStringList({"console.css"_s, "console.js"_s}));
        for (const QString& file : files)
            QVERIFY2(!get("/" + file.toLatin1()).isEmpty(), qPrintable(file));
        for (const QByteArray& text : {page.toUtf8(), get("/console.css"), get("/console.js")}) {
            for (const char* word : {"http:", "https:", "//cdn", "@import", "url(", "innerHTML",
                                     "outerHTML", "insertAdjacentHTML", "document.write", "eval("})
                QVERIFY2(!text.contains(word), word);
        }
        // No script or style in the page itself, which its policy would not run.
        QVERIFY(!page.contains(QRegularExpression("\\son\\w+=|style=|<style|javascript:"_s)));
    }

    void thePageSaysWhatMayRunInIt()
    {
        const QByteArray head = headOf("/");
        QVERIFY2(head.contains("Content-Security-Policy: default-src 'none'; script-src 'self'; "),
                 head);
        QVERIFY2(head.contains("frame-ancestors 'none'"), head);
        QVERIFY2(head.contains("X-Content-Type-Options: nosniff"), head);
    }

    void everyFieldHasALabel()
    {
        const QString page = QString::fromUtf8(get("/"));
        static const QRegularExpression field("<(?:input|select|textarea) id=\"([^\"]+)\""_s);
        auto matches = field.globalMatch(page);
        int count = 0;
        for (; matches.hasNext(); ++count) {
            const QString id = matches.next().captured(1);
            QVERIFY2(page.contains("<label for=\"%1\">"_s.arg(id)), qPrintable(id));
        }
        QVERIFY(count > 0);
        QCOMPARE(count, page.count(QRegularExpression("<(?:input|select|textarea)\\b"_s)));
    }

    void theScriptFindsWhatItAsksFor()
    {
        const QString page = QString::fromUtf8(get("/"));
        static const QRegularExpression use("(?:byId|show)\\(\"([^\"]+)\""_s);
        auto matches = use.globalMatch(QString::fromUtf8(get("/console.js")));
        QVERIFY(matches.hasNext());
        while (matches.hasNext()) {
            const QString id = matches.next().captured(1);
            QVERIFY2(page.contains("id=\"%1\""_s.arg(id)), qPrintable(id));
        }
    }

    void itAnswersItsOwnPageAlone_data()
    {
        columns<QByteArray, int>("heading", "status");
        const QByteArray port = ":" + QByteArray::number(QUrl(address()).port());
        const QByteArray host = "Host: 127.0.0.1" + port + "\r\n";
        const QByteArray own = host + "Origin: http://127.0.0.1" + port + "\r\n";
        QTest::newRow("own") << own << 200;
        QTest::newRow("own by the other name")
            << "Host: localhost" + port + "\r\nOrigin: http://localhost" + port + "\r\n"
            << 200;
        QTest::newRow("a browser's own") << own + "Sec-Fetch-Site: same-origin\r\n" << 200;
        QTest::newRow("typed") << host + "Sec-Fetch-Site: none\r\n" << 200;
        QTest::newRow("another port") << host + "Origin: http://127.0.0.1:1\r\n" << 403;
        QTest::newRow("name of its own") << "Host: localhost.page.example\r\n"_ba << 403;
        QTest::newRow("name at another port") << "Host: 127.0.0.1:1\r\n"_ba << 403;
        QTest::newRow("no name") << QByteArray() << 403;
        QTest::newRow("two names") << "Host: localhost\r\nHost: page.example\r\n"_ba << 403;
        QTest::newRow("order from nowhere") << host + "Origin: null\r\n" << 403;
        QTest::newRow("no port") << host + "Origin: http://127.0.0.1\r\n" << 403;
        QTest::newRow("another name") << host + "Origin: http://localhost" + port + "\r\n" << 403;
        QTest::newRow("another scheme") << host + "Origin: https://127.0.0.1" + port + "\r\n"
                                        << 403;
        QTest::newRow("two") << own + "Origin: http://page.example\r\n" << 403;
        QTest::newRow("another site's image") << host + "Sec-Fetch-Site: cross-site\r\n" << 403;
        QTest::newRow("another port's page") << host + "Sec-Fetch-Site: same-site\r\n" << 403;
        QTest::newRow("a foreign host") << "Host: page.example" + port + "\r\n" << 403;
    }

    void itAnswersItsOwnPageAlone()
    {
        const auto [heading, status] = fetch<QByteArray, int>("heading", "status");
        QCOMPARE(askAdministration(address(), "GET", "/"_s, {}, heading).status, status);
        QCOMPARE(askAdministration(address(), "GET", "/scenario"_s, {}, heading).status, status);
        QCOMPARE(askAdministration(address(), "POST", "/faults"_s, "none", heading).status, status);
        QCOMPARE(mEmulator.admin("DELETE", "/faults"_s).status, 200);
    }

    void itTellsHowARequestWasJudged()
    {
        const QJsonObject good = detailOf(SignedRequest());
        const QJsonArray steps = good.value("steps"_s).toArray();
        QVERIFY(steps.size() > 5);
        for (const QJsonValue step : steps)
            QVERIFY2(step["good"_s].toBool(), qPrintable(step["name"_s].toString()));
        QVERIFY(text(steps).contains("base string: POST&https%3A%2F%2F"_s));
        QVERIFY(good.value("reply"_s).toString().contains("userNameAvailabilityResponse"_s));

        SignedRequest wrong;
        wrong.secret = "another";
        const QJsonArray refused = detailOf(wrong).value("steps"_s).toArray();
        QVERIFY(!refused.last()["good"_s].toBool());
        QVERIFY(refused.last()["detail"_s].toString().startsWith("oauth_signature does not fit"_s));
        QVERIFY(refused.size() < steps.size());
        QVERIFY(refused.first()["good"_s].toBool());
    }

    void itShowsNothingSecret()
    {
        SignedRequest request("/rest/1.0/accounts");
        request.restVerb = "POST";
        const QByteArray start =
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?><registrationRequest "
            "xmlns=\"https://" KELACCOUNT_HOST_PRODUCTION "/schemas/rest/v1_0\">";
        const QByteArray end = "</registrationRequest>";
        request.document = start +
                           "<user><username>zoe</username><password>pa55-w0rd</password>"
                           "<passwordQuestionAnswer>blu3</passwordQuestionAnswer></user>"
                           "<serviceTag>t4g</serviceTag>" +
                           end;
        const QString document = detailOf(request).value("document"_s).toString();
        QVERIFY2(document.contains("<username>zoe</username>"_s), qPrintable(document));
        QVERIFY2(document.contains("<password>[masked]</password>"_s), qPrintable(document));
        for (const char* secret : {"pa55-w0rd", "blu3", "t4g"})
            QVERIFY2(!document.contains(QLatin1String(secret)), secret);

        request.document =
            start + "<password><x>pa55-w0rd</x>pa55-w0rd</password><y>shown</y>" + end;
        request.nonce += 'x';
        const QString nested = detailOf(request).value("document"_s).toString();
        QVERIFY2(!nested.contains("pa55-w0rd"_s), qPrintable(nested));
        QVERIFY2(nested.contains("<y>shown</y>"_s), qPrintable(nested));

        // Where a document ends and a secret begins cannot be known here.
        for (const QByteArray& broken :
             {"<password/>pa55-w0rd"_ba, "<password><![CDATA[pa55-w0rd]]></password>"_ba,
              "<password><!-- > -->pa55-w0rd</password>"_ba, "<password>pa55-w0rd"_ba}) {
            request.document = start + broken + (broken.endsWith('d') ? QByteArray() : end);
            request.nonce += 'x';
            const QString shown = detailOf(request).value("document"_s).toString();
            QVERIFY2(!shown.contains("pa55-w0rd"_s), broken);
            QVERIFY2(shown.contains("not shown"_s), broken);
        }
    }

    void itKnowsTheServicesOperationsAndFaults()
    {
        const QJsonArray operations = QJsonDocument::fromJson(get("/operations")).array();
        for (const QJsonValue operation : operations)
            QVERIFY(
                mEmulator.orderFaults("none@" + QByteArray::number(operation["number"_s].toInt())));
        const QJsonArray faults = QJsonDocument::fromJson(get("/faults/known")).array();
        QVERIFY(!operations.isEmpty() && !faults.isEmpty());
        for (const QJsonValue fault : faults) {
            const QByteArray name = fault.toString().toLatin1();
            QVERIFY2(mEmulator.orderFaults(name + (name.endsWith('=') ? "200" : "")), name);
        }
        QCOMPARE(mEmulator.admin("DELETE", "/faults"_s).status, 200);
    }

    void itTellsSimAndTags()
    {
        QCOMPARE(get("/device").simplified(), "{ }"_ba);
        EmulatorProcess other;
        QVERIFY2(other.start({"--sim"_s, "244-05-1234567890"_s}), other.log());
        const QJsonObject device =
            QJsonDocument::fromJson(other.admin("GET", "/device"_s).body).object();
        QCOMPARE(device.value("sim"_s)["msin"_s].toString(), "1234567890"_s);
    }

private:
    QString address() const { return mEmulator.environment().value("KELACCOUNT_EMULATOR_ADMIN"_s); }
    QByteArray get(const QByteArray& path) const
    {
        const AdminReply reply = mEmulator.admin("GET", QString::fromLatin1(path));
        return reply.status == 200 ? reply.body : QByteArray();
    }
    QByteArray headOf(const QByteArray& path) const
    {
        QTcpSocket socket;
        socket.setProxy(QNetworkProxy::NoProxy);
        socket.connectToHost("127.0.0.1"_s, quint16(QUrl(address()).port()));
        socket.write("GET " + path + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
        QByteArray answer;
        while (!answer.contains("\r\n\r\n") && socket.waitForReadyRead(30000))
            answer += socket.readAll();
        return answer.left(answer.indexOf("\r\n\r\n"));
    }
    static QString text(const QJsonArray& array)
    {
        return QString::fromUtf8(QJsonDocument(array).toJson());
    }
    /// Sends it, and what is told of it then.
    QJsonObject detailOf(const SignedRequest& request)
    {
        WireClient client;
        if (!client.open(mEmulator))
            return {};
        client.ask(request.bytes());
        const int number = mEmulator.requests().last()["number"_s].toInt();
        return QJsonDocument::fromJson(get("/requests/" + QByteArray::number(number))).object();
    }

    EmulatorProcess mEmulator;
};

QTEST_GUILESS_MAIN(TestEmulatorConsole)
#include "tst_emulator_console.moc"
