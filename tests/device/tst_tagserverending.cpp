// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/recordedcalls.h"
#include "device/tagserverending.h"
#include "support/rows.h"

#include <QTest>

#include <cerrno>

using KelTest::RecordedCalls::Answer;

Q_DECLARE_METATYPE(QVector<Answer>)

class TestTagServerEnding : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void onlyOwnLivingServersAreSignalled_data()
    {
        const auto row = rows<int, QVector<Answer>, QStringList>("started", "answers", "calls");
        const auto list = [](std::initializer_list<const char*> texts) {
            QStringList strings;
            for (const char* text : texts)
                strings.append(QLatin1String(text));
            return strings;
        };
        // WNOHANG is 1, SIGKILL is 9.
        row("none was started", -1, QVector<Answer>{{0}, {0}}, {});
        row("zero means one's own group", 0, QVector<Answer>{{0}, {0}}, {});
        row("another group", -4711, QVector<Answer>{{0}, {0}}, {});
        row("running", 4711, QVector<Answer>{{0}, {4711}},
            list({"waitpid 4711 1", "kill 4711 9", "waitpid 4711 0"}));
        row("interrupted while it ends", 4711,
            QVector<Answer>{{0}, {-1, EINTR}, {-1, EINTR}, {4711}},
            list({"waitpid 4711 1", "kill 4711 9", "waitpid 4711 0", "waitpid 4711 0",
                  "waitpid 4711 0"}));
        row("reaped by the application while it ends", 4711, QVector<Answer>{{0}, {-1, ECHILD}},
            list({"waitpid 4711 1", "kill 4711 9", "waitpid 4711 0"}));
        row("has ended", 4711, QVector<Answer>{{4711}}, list({"waitpid 4711 1"}));
        row("reaped by the application before", 4711, QVector<Answer>{{-1, ECHILD}},
            list({"waitpid 4711 1"}));
    }
    void onlyOwnLivingServersAreSignalled()
    {
        const auto [started, answers, calls] =
            fetch<int, QVector<Answer>, QStringList>("started", "answers", "calls");
        KelTest::RecordedCalls::start(answers);
        KelRestHandler::endTagServer(started);
        QCOMPARE(KelTest::RecordedCalls::made(), calls);
    }
};

QTEST_GUILESS_MAIN(TestTagServerEnding)
#include "tst_tagserverending.moc"
