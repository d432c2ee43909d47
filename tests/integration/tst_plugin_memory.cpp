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

class TestPluginMemory : public EmulatedDevice
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        mKept.clear();
        mChild = std::make_unique<BoundProcess>();
        mChild->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        mChild->start(QCoreApplication::applicationFilePath(), {"work"_s});
        QVERIFY(mChild->waitForStarted());
    }

    void cleanup()
    {
        mChild->closeWriteChannel();
        QVERIFY(mChild->waitForFinished());
        mChild.reset();
    }

    void signingInLeavesNoPassword()
    {
        const QString password = planted("password");
        QVERIFY(!addAccount({{"userName"_s, "bob"_s}, {"password"_s, password}}).isEmpty());
        const QVariantMap identity = {{"UserName"_s, "bob"_s}, {"Secret"_s, password}};
        QCOMPARE(order("signIn", identity), 0);
        QTest::qWait(threeSeconds);
        QVERIFY(formsFound(control).contains("UTF-16"_s)); // the search finds what is there
        QCOMPARE(formsFound(password), QStringList());
        QCOMPARE(formsFound(consumerSecret()), QStringList());
    }

    void changingThePasswordLeavesOnlyWhatWasSent()
    {
        const QString first = planted("first");
        const QString wrong = planted("wrong");
        const QString second = planted("second");
        QVERIFY(!addAccount({{"userName"_s, "carol"_s}, {"password"_s, first}}).isEmpty());
        QVariantMap data = {
            {"UserName"_s, "carol"_s}, {"Secret"_s, first}, {"NewPassword"_s, second}};
        QCOMPARE(order("signIn", data), 0);
        data.insert("OldPassword"_s, wrong);
        QCOMPARE(order("privateMechanism_changepassword", data), 614);
        data.insert("OldPassword"_s, first);
        QCOMPARE(order("privateMechanism_changepassword", data), 0);
        QCOMPARE(order("signIn", data), 0);
        QTest::qWait(threeSeconds);
        QCOMPARE(formsFound(first), QStringList());
        QCOMPARE(formsFound(wrong), QStringList());
        QCOMPARE(formsFound(consumerSecret()), QStringList());
        // As base64 it went through buffers of the network library, which it frees as they are.
        for (const char* form : {"UTF-8", "Latin-1", "UTF-16", "hex"})
            QVERIFY2(!formsFound(second).contains(QLatin1String(form)), form);
    }

    void registeringLeavesOnlyWhatWasSent()
    {
        KelRestHandler::RegistrationInfoData newcomer;
        newcomer.emailAddress = "dave@example.org"_s;
        newcomer.password = planted("password");
        newcomer.serviceTag = "dGFn"; // base64, as the emulated service wants it
        QCOMPARE(order("privateMechanism_registerAccount",
                       {{"UserName"_s, newcomer.emailAddress},
                        {"Secret"_s, newcomer.password},
                        {"RegistrationData"_s, KelRestHandler::serializeRegistration(newcomer)}}),
                 0);
        QTest::qWait(threeSeconds);
        for (const char* form : {"UTF-8", "Latin-1", "UTF-16", "hex"})
            QVERIFY2(!formsFound(newcomer.password).contains(QLatin1String(form)), form);
    }

private:
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
        mChild->write(packed(all));
        if (!KelTest::waitUntil([this] { return mChild->canReadLine(); }))
            return -1;
        const QVariantMap answer = unpacked(mChild->readLine());
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
        const QList<int> counts = KelTest::countInMemory(pid_t(mChild->processId()), forms);
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

    std::unique_ptr<BoundProcess> mChild;
    QVariantMap mKept;
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
