// SPDX-License-Identifier: LGPL-2.1-or-later
// The console in a real browser, driven with the keyboard alone.
#include "emulator/emulatorprocess.h"
#include "emulator/signedrequest.h"
#include "emulator/wireclient.h"
#include "support/literals.h"
#include "support/patience.h"

#include <QEventLoop>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

namespace {

constexpr int patience = 60000;
const auto enterKey = QStringLiteral("\uE007");

/// A browser without a window, asked as the WebDriver protocol has it.
class Browser
{
public:
    /// False, with what is missing in problem().
    bool start()
    {
        for (const char* name : {"chromium", "chromedriver"}) {
            if (QStandardPaths::findExecutable(QLatin1String(name)).isEmpty()) {
                mProblem = QByteArray(name) + " is missing: packages chromium and chromium-driver";
                return false;
            }
        }
        mManager.setProxy(QNetworkProxy::NoProxy);
        mDriver.setProcessEnvironment(changedEnvironment(
            {{"HOME"_s, mFolder.path()}, {"TMPDIR"_s, mFolder.path()}, {"LD_PRELOAD"_s, {}}}));
        if (!startDriver())
            return false;
        const QJsonObject options{
            {"args"_s, QJsonArray{"--headless=new"_s, "--no-sandbox"_s, "--no-proxy-server"_s,
                                  "--disable-background-networking"_s, "--disable-gpu"_s,
                                  "--disable-dev-shm-usage"_s, "--window-size=1100,1400"_s}}};
        const QJsonObject wanted{{"goog:chromeOptions"_s, options},
                                 {"goog:loggingPrefs"_s, QJsonObject{{"browser"_s, "ALL"_s}}}};
        const QJsonValue session =
            ask("POST", "/session"_s, {{"capabilities"_s, QJsonObject{{"alwaysMatch"_s, wanted}}}});
        mSession = "/session/"_s + session["sessionId"_s].toString();
        return mSession.size() > 10;
    }
    ~Browser()
    {
        if (mSession.size() > 10)
            ask("DELETE", mSession);
        mDriver.terminate();
        mDriver.waitForFinished(patience);
    }
    QByteArray problem() const { return mProblem; }

    void open(const QString& address) { ask("POST", mSession + "/url"_s, {{"url"_s, address}}); }
    QJsonValue run(const QString& script)
    {
        return ask("POST", mSession + "/execute/sync"_s,
                   {{"script"_s, script}, {"args"_s, QJsonArray()}});
    }
    /// Types where the focus is, as a keyboard does.
    void type(const QString& text)
    {
        const QJsonObject active = ask("GET", mSession + "/element/active"_s).toObject();
        const QString id = active.isEmpty() ? QString() : active.begin().value().toString();
        ask("POST", mSession + "/element/"_s + id + "/value"_s, {{"text"_s, text}});
    }
    void focus(const QString& selector)
    {
        run("document.querySelector('%1').focus()"_s.arg(selector));
    }
    QString focused() { return run("return document.activeElement.id"_s).toString(); }
    QString text(const QString& id)
    {
        return run("return document.getElementById('%1').innerText"_s.arg(id)).toString();
    }
    QJsonArray log()
    {
        return ask("POST", mSession + "/se/log"_s, {{"type"_s, "browser"_s}}).toArray();
    }

private:
    // The port that it gets for one family of addresses may be taken in the other; then it ends.
    bool startDriver()
    {
        static const QRegularExpression started("started successfully on port (\\d+)\\D"_s);
        QByteArray said;
        for (int attempt = 0; attempt < 3; ++attempt) {
            mDriver.start("chromedriver"_s, {"--port=0"_s});
            said.clear();
            while (mDriver.waitForReadyRead(patience)) {
                said += mDriver.readAllStandardOutput();
                const auto port = started.match(QString::fromLatin1(said)).captured(1);
                if (!port.isEmpty()) {
                    mAddress = "http://127.0.0.1:"_s + port;
                    return true;
                }
            }
            mDriver.waitForFinished(patience);
        }
        mProblem = "chromedriver does not start: " + said + mDriver.readAllStandardError();
        return false;
    }

    QJsonValue ask(const QByteArray& method, const QString& path, const QJsonObject& body = {})
    {
        QNetworkRequest request(QUrl(mAddress + path));
        request.setHeader(QNetworkRequest::ContentTypeHeader, "application/json"_s);
        const QByteArray content = method == "POST" ? QJsonDocument(body).toJson() : QByteArray();
        const std::unique_ptr<QNetworkReply> reply(
            mManager.sendCustomRequest(request, method, content));
        QEventLoop loop;
        QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
        QTimer::singleShot(patience, &loop, &QEventLoop::quit);
        loop.exec();
        const QByteArray answer = reply->readAll();
        if (reply->error() != QNetworkReply::NoError)
            mProblem += method + ' ' + path.toLatin1() + ": " + answer.left(500);
        return QJsonDocument::fromJson(answer).object().value("value"_s);
    }

    const QTemporaryDir mFolder;
    BoundProcess mDriver;
    QNetworkAccessManager mManager;
    QString mAddress;
    QString mSession;
    QByteArray mProblem;
};

} // namespace

class TestEmulatorBrowser : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(mEmulator.start(), mEmulator.log());
        QVERIFY2(mBrowser.start(), mBrowser.problem());
        mBrowser.open(mEmulator.environment().value("KELACCOUNT_EMULATOR_ADMIN"_s) + "/"_s);
        QTRY_VERIFY_WITH_TIMEOUT(mBrowser.text("account-rows"_s).contains("alice"_s), patience);
    }

    void anAccountIsMadeAndDeleted()
    {
        mBrowser.focus("#account-userName"_s);
        mBrowser.type("kim\tsecret\tkim@mail.example"_s + enterKey);
        QTRY_VERIFY_WITH_TIMEOUT(mBrowser.text("account-rows"_s).contains("kim@mail.example"_s),
                                 patience);
        mBrowser.focus("#account-rows tr:last-child button:last-child"_s);
        mBrowser.type(enterKey);
        QTRY_VERIFY_WITH_TIMEOUT(!mBrowser.text("account-rows"_s).contains("kim"_s), patience);
        QVERIFY(!mEmulator.admin("GET", "/accounts"_s).body.contains("kim"));
    }

    void aFaultIsOrdered()
    {
        mBrowser.focus("#fault-kind"_s);
        mBrowser.type("status="_s);
        mBrowser.focus("#fault-value"_s);
        mBrowser.type("503"_s + enterKey);
        QTRY_COMPARE_WITH_TIMEOUT(mBrowser.text("fault-rows"_s).trimmed(), "status=503"_s,
                                  patience);
        QCOMPARE(mEmulator.admin("GET", "/faults"_s).body, "status=503\n"_ba);
        mBrowser.focus("#clear-faults"_s);
        mBrowser.type(enterKey);
        QTRY_COMPARE_WITH_TIMEOUT(mBrowser.text("fault-rows"_s).trimmed(), QString(), patience);
    }

    void aRequestIsOpenedAndClosed()
    {
        const QByteArray bad = "<img src=x onerror=\"document.title='run'\">";
        WireClient client;
        QVERIFY(client.open(mEmulator));
        QCOMPARE(client.ask(SignedRequest("/rest/1.0/availability/" + bad).bytes()).status, 400);
        QTRY_VERIFY_WITH_TIMEOUT(mBrowser.text("request-rows"_s).contains("400"_s), patience);
        mBrowser.focus("#request-rows button"_s);
        mBrowser.type(enterKey);
        QTRY_COMPARE_WITH_TIMEOUT(mBrowser.focused(), "request-detail"_s, patience);
        QVERIFY(mBrowser.text("detail-steps"_s).contains("The signature fits"_s));
        QVERIFY(mBrowser.text("detail-reply"_s).contains("errorResponse"_s));
        QVERIFY(mBrowser.run("return document.images.length"_s).toInt() == 0);
        QCOMPARE(mBrowser.run("return document.title"_s).toString(), "Account service emulator"_s);
        mBrowser.focus("#close-detail"_s);
        mBrowser.type(enterKey);
        QTRY_VERIFY_WITH_TIMEOUT(
            mBrowser.run("return document.getElementById('request-detail').hidden"_s).toBool(),
            patience);
        QCOMPARE(mBrowser.run("return document.activeElement.textContent"_s).toString(), "Open"_s);
    }

    void aSimIsPutInAndTakenOut()
    {
        QCOMPARE(mBrowser.text("sim"_s), "none"_s);
        mBrowser.focus("#sim-mcc"_s);
        mBrowser.type("244\t05\t1234567890\tcarol"_s + enterKey);
        QTRY_VERIFY_WITH_TIMEOUT(mBrowser.text("sim"_s).startsWith("244-05-1234567890, "_s),
                                 patience);
        QVERIFY(device().contains("\"msin\": \"1234567890\""));
        QVERIFY(mEmulator.admin("GET", "/scenario"_s).body.contains("\"userName\": \"carol\""));
        mBrowser.focus("#remove-sim"_s);
        mBrowser.type(enterKey);
        QTRY_COMPARE_WITH_TIMEOUT(mBrowser.text("sim"_s), "none"_s, patience);
        QVERIFY(!device().contains("msin"));
    }

    void tagsAreRefusedIssuedAndAbsent()
    {
        QCOMPARE(mBrowser.text("tags"_s), "absent"_s);
        const auto set = [this](const QString& kind) {
            mBrowser.focus("#tags-kind"_s);
            mBrowser.type(kind);
            mBrowser.focus("#tags-form button"_s);
            mBrowser.type(enterKey);
        };
        set("refuses"_s);
        QTRY_COMPARE_WITH_TIMEOUT(mBrowser.text("tags"_s), "refused with code 5"_s, patience);
        QVERIFY(device().contains("\"refuse\": 5"));
        set("issues"_s);
        QTRY_COMPARE_WITH_TIMEOUT(mBrowser.text("tags"_s), "issued"_s, patience);
        set("is absent"_s);
        QTRY_COMPARE_WITH_TIMEOUT(mBrowser.text("tags"_s), "absent"_s, patience);
        QVERIFY(!device().contains("tags"));
    }

    void aRefusalIsTold()
    {
        mBrowser.focus("#account-userName"_s);
        mBrowser.type("alice"_s + enterKey);
        QTRY_COMPARE_WITH_TIMEOUT(mBrowser.text("message"_s).trimmed(),
                                  "an account has this userName already"_s, patience);
        mBrowser.run("document.getElementById('account-form').reset()"_s);
        // The refusal is the only thing that the browser had to say.
        for (const QJsonValue entry : mBrowser.log())
            QVERIFY2(entry["message"_s].toString().contains("/accounts - Failed to load"_s),
                     qPrintable(entry["message"_s].toString()));
    }

    void cleanup() { QCOMPARE(mBrowser.problem(), QByteArray()); }

private:
    QByteArray device() const { return mEmulator.admin("GET", "/device"_s).body; }

    EmulatorProcess mEmulator;
    Browser mBrowser;
};

QTEST_GUILESS_MAIN(TestEmulatorBrowser)
#include "tst_emulator_browser.moc"
