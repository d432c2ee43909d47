// SPDX-License-Identifier: LGPL-2.1-or-later
// Secrets are planted, used, and three seconds later searched for in all memory of the process that
// had them: what a core dump of it would hold. That process is a child, which gets its work through
// a pipe and wipes what it read, so that only what the plugin or the library left is found.
#include "common/wipe.h"
#include "emulator/emulatorprocess.h"
#include "integration/emulateddevice.h"
#include "plugin/zorauthplugin.h"
#include "rest/records/registrationinfodata.h"
#include "support/literals.h"
#include "support/processmemory.h"
#include "support/secretsearch.h"
#include "support/sessionsandbox.h"

#include <QCoreApplication>
#include <QDataStream>
#include <QRegularExpression>
#include <QSocketNotifier>
#include <QTest>
#include <QTimer>
#include <QUuid>

#include <cstdio>
#include <memory>
#include <unistd.h>
#include <utility>

using KelAccount::wipe;

namespace {

constexpr int threeSeconds = 3000; // nothing is waited for but that what will be freed is

const QString control = "planted control, which is kept"_s;

QByteArray packed(const QVariantMap& map)
{
    QByteArray bytes;
    bytes.reserve(64 * 1024);
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setByteOrder(
        QDataStream::LittleEndian); // turning texts round takes another copy of them
    stream << map;
    const QByteArray line = bytes.toBase64().append('\n');
    wipe(bytes);
    return line;
}

QVariantMap unpacked(const QByteArray& line)
{
    QByteArray bytes = QByteArray::fromBase64(line.trimmed());
    QVariantMap map;
    {
        QDataStream stream(bytes);
        stream.setByteOrder(QDataStream::LittleEndian);
        stream >> map;
    }
    wipe(bytes);
    return map;
}

QString consumerSecret()
{
    return QString::fromUtf8(
               KelTest::SecretSearch::contentOf(QStringLiteral(KELACCOUNT_CONSUMER_SECRET_FILE)))
        .trimmed();
}

/// That is nowhere in the program: the child has the same one.
QString planted(const char* what)
{
    return "ä %1 %2"_s.arg(QLatin1String(what), QUuid::createUuid().toString(QUuid::Id128));
}

} // namespace

/// In the child: does what a line on standard input says, and answers with a line.
class Worker : public QObject
{
    Q_OBJECT

public:
    Worker()
    {
        mLine.reserve(64 * 1024); // in one place, where it can be wiped
        connect(&mInput, &QSocketNotifier::activated, this, &Worker::read);
        connect(&mPlugin, &AuthPluginInterface::store, this,
                [this](const SignOn::SessionData& data) { mKept = data.toMap(); });
        connect(&mPlugin, &AuthPluginInterface::result, this, [this] { answer(0, mKept); });
        connect(&mPlugin, &AuthPluginInterface::error, this,
                [this](const SignOn::Error& error) { answer(error.type(), mKept); });
    }

private:
    void read()
    {
        const int before = mLine.size();
        mLine.resize(64 * 1024);
        const ssize_t more =
            ::read(STDIN_FILENO, mLine.data() + before, size_t(64 * 1024 - before));
        mLine.resize(before + int(qMax<ssize_t>(0, more)));
        if (more <= 0)
            return QCoreApplication::quit();
        if (!mLine.endsWith('\n'))
            return;
        QVariantMap order = unpacked(mLine);
        wipe(mLine);
        mLine.reserve(64 * 1024);
        work(std::move(order));
    }

    void work(QVariantMap order)
    {
        const QString mechanism = order.take("mechanism"_s).toString();
        mPlugin.process(SignOn::SessionData(std::exchange(order, {})), mechanism);
    }

    void answer(int status, const QVariantMap& kept = {})
    {
        QByteArray line = packed({{"status"_s, status}, {"kept"_s, kept}});
        if (::write(STDOUT_FILENO, line.constData(), size_t(line.size())) != line.size())
            QCoreApplication::exit(1);
        wipe(line);
        // What the daemon would have; the last owner of it here is the plugin.
        QTimer::singleShot(0, this, [this] { wipe(mKept); });
    }

    QSocketNotifier mInput{STDIN_FILENO, QSocketNotifier::Read};
    QByteArray mLine;
    QString mControl = control + QString(); // found by whoever searches well
    ZorAuth::ZorAuthPlugin mPlugin;
    QVariantMap mKept;
};

/// The process of one Worker.
class Child
{
public:
    Child()
    {
        mProcess.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        mProcess.start(QCoreApplication::applicationFilePath(), {"work"_s});
    }
    ~Child()
    {
        mProcess.closeWriteChannel();
        mProcess.waitForFinished();
    }

    /// Status of what the plugin answers.
    int order(const char* mechanism, const QVariantMap& data)
    {
        QVariantMap all = mKept;
        for (auto entry = data.cbegin(); entry != data.cend(); ++entry)
            all.insert(entry.key(), entry.value());
        all.insert("mechanism"_s, QLatin1String(mechanism));
        all.insert("ConsumerKey"_s, "demo-key"_s);
        all.insert("ConsumerSecret"_s, consumerSecret());
        all.insert("ServerUrlValue"_s, 2);
        all.insert("ManualSignIn"_s, true);
        mProcess.write(packed(all));
        if (!KelTest::waitUntil([this] { return mProcess.canReadLine(); }))
            return -1;
        const QVariantMap answer = unpacked(mProcess.readLine());
        const QVariantMap kept = answer.value("kept"_s).toMap();
        if (!kept.isEmpty())
            mKept = kept;
        return answer.value("status"_s, -1).toInt();
    }

    /// The forms in which a text lies in the child's memory.
    QStringList formsFound(const QString& text)
    {
        static const char* const names[] = {"UTF-8",   "Latin-1", "UTF-16",         "UTF-16",
                                            "percent", "base64",  "percent base64", "hex"};
        const QList<QByteArray> forms = KelTest::SecretSearch::formsOf(text);
        const QList<int> counts = KelTest::countInMemory(pid_t(mProcess.processId()), forms);
        QStringList found;
        if (counts.isEmpty())
            found.append("the memory cannot be read"_s);
        for (int i = 0; i < counts.size(); ++i) {
            if (counts.at(i) > 0)
                found.append(QLatin1String(names[i]));
        }
        found.removeDuplicates();
        return found;
    }

private:
    BoundProcess mProcess;
    QVariantMap mKept;
};

class TestPluginMemory : public EmulatedDevice
{
    Q_OBJECT

private Q_SLOTS:
    // All do their work, and then there is time for all.
    void initTestCase()
    {
        EmulatedDevice::initTestCase();
        QVERIFY(!addAccount({{"userName"_s, "bob"_s}, {"password"_s, mPassword}}).isEmpty());
        const QVariantMap identity = {{"UserName"_s, "bob"_s}, {"Secret"_s, mPassword}};
        QCOMPARE(mSigningIn.order("signIn", identity), 0);

        QVERIFY(!addAccount({{"userName"_s, "carol"_s}, {"password"_s, mFirst}}).isEmpty());
        QVariantMap data = {
            {"UserName"_s, "carol"_s}, {"Secret"_s, mFirst}, {"NewPassword"_s, mSecond}};
        QCOMPARE(mChanging.order("signIn", data), 0);
        data.insert("OldPassword"_s, mWrong);
        QCOMPARE(mChanging.order("privateMechanism_changepassword", data), 614);
        data.insert("OldPassword"_s, mFirst);
        QCOMPARE(mChanging.order("privateMechanism_changepassword", data), 0);
        QCOMPARE(mChanging.order("signIn", data), 0);

        KelRestHandler::RegistrationInfoData newcomer;
        newcomer.emailAddress = "dave@example.org"_s;
        newcomer.password = mNewcomers;
        newcomer.serviceTag = "dGFn"; // base64, as the emulated service wants it
        QCOMPARE(mRegistering.order(
                     "privateMechanism_registerAccount",
                     {{"UserName"_s, newcomer.emailAddress},
                      {"Secret"_s, newcomer.password},
                      {"RegistrationData"_s, KelRestHandler::serializeRegistration(newcomer)}}),
                 0);
        QTest::qWait(threeSeconds);
    }

    void signingInLeavesNoPassword()
    {
        QVERIFY(mSigningIn.formsFound(control).contains("UTF-16"_s)); // what is there is found
        QCOMPARE(mSigningIn.formsFound(mPassword), QStringList());
        QCOMPARE(mSigningIn.formsFound(consumerSecret()), QStringList());
    }

    void changingThePasswordLeavesOnlyWhatWasSent()
    {
        for (const QString& secret : {mFirst, mWrong, consumerSecret()})
            QCOMPARE(mChanging.formsFound(secret), QStringList());
        QCOMPARE(unsentOf(mChanging.formsFound(mSecond)), QStringList());
    }

    void registeringLeavesOnlyWhatWasSent()
    {
        QCOMPARE(unsentOf(mRegistering.formsFound(mNewcomers)), QStringList());
    }

private:
    // As base64 it went through buffers of the network library, which it frees as they are.
    static QStringList unsentOf(const QStringList& forms)
    {
        return forms.filter(QRegularExpression("^(?!(percent )?base64$|percent$)"_s));
    }

    const QString mPassword = planted("password");
    const QString mFirst = planted("first");
    const QString mWrong = planted("wrong");
    const QString mSecond = planted("second");
    const QString mNewcomers = planted("password");
    Child mSigningIn;
    Child mChanging;
    Child mRegistering;
};

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (application.arguments().value(1) == "work"_s) {
        Worker worker;
        return QCoreApplication::exec();
    }
    TestPluginMemory test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_plugin_memory.moc"
