// SPDX-License-Identifier: LGPL-2.1-or-later
// Qt makes the list of the system's languages when it is first asked for it, and two threads that
// are the first spoil it for each other, and the heap with it. That happens once in a process, so
// each case starts this program again.
#include "support/literals.h"

#include <kelaccount/client.h>
#include <kelaccount/errorstatus.h>
#include <kelaccount/statustext.h>

#include <QCoreApplication>
#include <QLocale>
#include <QProcess>
#include <QStringList>
#include <QTest>

#include <atomic>
#include <cstdio>
#include <thread>
#include <vector>

using namespace KelTest;

namespace {

constexpr int languageCount = 100;
// What is no language is read, too, and takes longer than another thread needs to ask, on one
// processor as well.
constexpr int otherCount = 1000000;
constexpr int threadCount = 4;

void askOnThreads()
{
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([&ready] {
            ++ready;
            while (ready < threadCount)
                std::this_thread::yield();
            KelAccount::statusText(KelAccount::ErrorTimeout);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

// The client's thread wants the text of a failure while the application asks for languages.
void askBesideAClient()
{
    KelAccount::Client client;
    int answers = 0;
    const auto answered = [&answers] { ++answers; };
    const auto await = [&answers](int wanted) {
        while (answers < wanted)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    };
    client.close().then(&client, answered);
    await(1);
    client.isUserIdAvailable("bob"_s).then(
        &client, [](const KelAccount::Availability&) {},
        [answered](const KelAccount::Failure&) { answered(); });
    const QStringList languages = QLocale::system().uiLanguages();
    await(2);
}

int runInside(const QString& what)
{
    qputenv("LANGUAGE", QByteArray("x:").repeated(otherCount) +
                            QByteArray("de_DE:").repeated(languageCount).chopped(1));
    if (what == "threads"_s)
        askOnThreads();
    else if (what == "client"_s)
        askBesideAClient();
    std::printf("%d", QLocale::system().uiLanguages().size());
    return 0;
}

/// How many languages the process has that was started to do this; -1 when it crashed.
int languagesInside(const QString& what)
{
    QProcess inside;
    inside.start(QCoreApplication::applicationFilePath(), {"--inside"_s, what});
    constexpr int patienceMs = 120000;
    if (!inside.waitForFinished(patienceMs) || inside.exitStatus() != QProcess::NormalExit)
        return -1;
    return inside.readAllStandardOutput().toInt();
}

} // namespace

class TestFirstLanguage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyLanguageIsListedOnce_data()
    {
        QTest::addColumn<QString>("who");
        QTest::newRow("threads that want a text") << "threads"_s;
        QTest::newRow("an application and its client") << "client"_s;
    }
    void everyLanguageIsListedOnce()
    {
        QFETCH(const QString, who);
        const int alone = languagesInside("nothing"_s);
        QVERIFY(alone >= languageCount);
        QCOMPARE(languagesInside(who), alone);
    }
};

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (QCoreApplication::arguments().value(1) == "--inside"_s)
        return runInside(QCoreApplication::arguments().value(2));
    TestFirstLanguage test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_firstlanguage.moc"
