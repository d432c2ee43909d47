// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/messagelog.h"
#include "support/patience.h"

#include <QCoreApplication>
#include <QFile>
#include <QMetaEnum>
#include <QMetaMethod>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQmlExpression>
#include <QRegularExpression>
#include <QTest>

#include <memory>

/// The module as the engine loads it.
class TestQmlModule : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyOperationOfTheClientIsAMethod();
    void everyStatusHasItsName();
    void nothingIsToldWithoutItsEngine();
    void aClientMayBeDeletedByWhoIsTold_data();
    void aClientMayBeDeletedByWhoIsTold();
    void secretsAreInNoOutput();

public Q_SLOTS:
    void deleteTheClient() { mClient.reset(); }

private:
    std::unique_ptr<QObject> mClient;
    static QString text(const char* utf8) { return QString::fromUtf8(utf8); }
    static QString contents(const char* path);
    static std::unique_ptr<QQmlEngine> engine();
    static std::unique_ptr<QObject> made(QQmlEngine& engine, const QString& document);
};

QString TestQmlModule::contents(const char* path)
{
    QFile file(text(path));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

std::unique_ptr<QQmlEngine> TestQmlModule::engine()
{
    auto engine = std::make_unique<QQmlEngine>();
    engine->addImportPath(text(KELACCOUNT_QML_IMPORTS));
    return engine;
}

std::unique_ptr<QObject> TestQmlModule::made(QQmlEngine& engine, const QString& document)
{
    QQmlComponent component(&engine);
    component.setData("import QtQml 2.15\nimport Kel.Accounts 1.0\n" + document.toUtf8(),
                      QUrl(text("file:///made.qml")));
    std::unique_ptr<QObject> object(component.create());
    if (!object)
        qWarning().noquote() << component.errorString();
    return object;
}

void TestQmlModule::everyOperationOfTheClientIsAMethod()
{
    const QString header = contents(KELACCOUNT_CLIENT_HEADER);
    QStringList theirs;
    const QRegularExpression operation(text("\\n    Call<\\w+> (\\w+)\\("));
    for (auto found = operation.globalMatch(header); found.hasNext();)
        theirs.append(found.next().captured(1));
    QVERIFY(theirs.contains(text("initialize")));

    const auto qml = engine();
    const auto client = made(*qml, text("AccountsClient {}"));
    QVERIFY(client);
    QStringList ours;
    const QMetaObject* const type = client->metaObject();
    for (int i = type->methodOffset(); i < type->methodCount(); ++i) {
        const QMetaMethod method = type->method(i);
        if (method.methodType() != QMetaMethod::Method)
            continue;
        const QString name = text(method.name().constData());
        // What has no answer is no operation, but the client has it, too.
        if (method.returnType() == QMetaType::Void) {
            QVERIFY(header.contains(text("\n    void %1(").arg(name)));
            continue;
        }
        if (!ours.contains(name))
            ours.append(name);
        // It makes the call that it is named for.
        QStringList arguments;
        for (const QByteArray& argument : method.parameterTypes())
            arguments.append(argument == "QVariantMap"                 ? text("({})")
                             : argument == "int" || argument == "uint" ? text("0")
                                                                       : text("''"));
        QQmlExpression call(qmlContext(client.get()), client.get(),
                            name + text("(%1).operation").arg(arguments.join(QLatin1Char(','))));
        QCOMPARE(call.evaluate().toString(), name);
        QVERIFY2(!call.hasError(), qPrintable(call.error().toString()));
    }
    theirs.sort();
    ours.sort();
    QCOMPARE(ours, theirs);
}

void TestQmlModule::everyStatusHasItsName()
{
    const QString header = contents(KELACCOUNT_STATUS_HEADER);
    QMap<QString, int> theirs;
    const QRegularExpression status(text("\\n    (Error\\w+) = (\\d+),"));
    for (auto found = status.globalMatch(header); found.hasNext();) {
        const auto match = found.next();
        theirs.insert(match.captured(1), match.captured(2).toInt());
    }
    theirs.remove(text("ErrorMax"));
    QVERIFY(theirs.contains(text("ErrorCaptchaError")));
    const auto qml = engine();
    for (auto it = theirs.cbegin(); it != theirs.cend(); ++it) {
        const auto object =
            made(*qml, text("QtObject { property int value: Status.%1 }").arg(it.key()));
        QVERIFY2(object, qPrintable(it.key()));
        QCOMPARE(object->property("value").toInt(), it.value());
    }
}

void TestQmlModule::nothingIsToldWithoutItsEngine()
{
    for (int round = 0; round < 20; ++round) {
        auto qml = engine();
        auto object =
            made(*qml, text("AccountsClient {\n"
                            "    consumerKey: 'demo-key'\n"
                            "    consumerSecret: 'demo-secret'\n"
                            "    property int told: 0\n"
                            "    Component.onCompleted: {\n"
                            "        retrieveCountryCode().then(() => ++told, () => ++told)\n"
                            "        isUserIdAvailable('x').then(() => ++told)\n"
                            "    }\n"
                            "}"));
        QVERIFY(object);
        QVERIFY(object->property("busy").toBool());
        if (round % 2) {
            // The object outlives the engine.
            qml.reset();
            QTRY_VERIFY(!object->property("busy").toBool());
        } else {
            object.reset();
            qml.reset();
        }
    }
}

void TestQmlModule::aClientMayBeDeletedByWhoIsTold_data()
{
    QTest::addColumn<QByteArray>("signal");
    QTest::newRow("of a failure") << QByteArray(SIGNAL(failed()));
    QTest::newRow("of the end of the question") << QByteArray(SIGNAL(busyChanged()));
    QTest::newRow("that it is not checking") << QByteArray(SIGNAL(checkingChanged()));
}

void TestQmlModule::aClientMayBeDeletedByWhoIsTold()
{
    QFETCH(QByteArray, signal);
    const auto qml = engine();
    // Not initialised, so that the question fails.
    mClient = made(*qml, text("AccountsClient {}"));
    const auto check = made(*qml, text("NameCheck { pause: 0; name: 'x' }"));
    QVERIFY(mClient && check);
    QVERIFY(check->setProperty("client", QVariant::fromValue(mClient.get())));
    QVERIFY(check->property("checking").toBool());
    QTRY_VERIFY(check->property("busy").toBool());
    QVERIFY(connect(check.get(), signal.constData(), this, SLOT(deleteTheClient())));
    QTRY_VERIFY(!mClient);
    QCoreApplication::processEvents();
    QVERIFY(!check->property("busy").toBool());
    QVERIFY(!check->property("checking").toBool());
    QVERIFY(!check->property("client").value<QObject*>());
}

void TestQmlModule::secretsAreInNoOutput()
{
    const auto qml = engine();
    const MessageLog log;
    const auto object = made(*qml, text(R"(QtObject {
        property AccountsClient client: AccountsClient {
            consumerKey: "demo-key"
            consumerSecret: "planted-1"
        }
        property Registration registration: Registration {
            password: "planted-2"
            securityAnswer: "planted-3"
        }
        property SignIn signIn: SignIn { password: "planted-4" }
        property PendingCall call: null
        Component.onCompleted: {
            client.registerAccount({ emailAddress: "a@mail.example", password: "planted-5",
                                     nosuch: "planted-6" })
            call = client.changePassword("planted-7", "planted-8")
            for (const shown of [client, registration, signIn, call]) {
                console.log("shown", shown)
                for (const name in shown) {
                    if (typeof shown[name] !== "function")
                        console.log(name, shown[name], JSON.stringify(shown[name]))
                }
            }
        }
    })"));
    QVERIFY(object);
    QTRY_VERIFY(object->property("call").value<QObject*>()->property("finished").toBool());
    const QString said = log.all().join(QLatin1Char('\n'));
    QVERIFY(said.contains(text("shown")));
    QVERIFY(said.contains(text("consumerSecret")));
    QVERIFY(said.contains(text("nosuch")));
    QVERIFY2(!said.contains(text("planted")), qPrintable(said));
}

QTEST_MAIN(TestQmlModule)

#include "tst_qmlmodule.moc"
