// SPDX-License-Identifier: LGPL-2.1-or-later
// Arguments that would make another address of their request, between an application and the wire.
#include "account/facaderecorder.h"
#include "device/testtagserver.h"
#include "integration/standinservice.h"
#include "platform/fakemodem.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/rows.h"

#include <QSet>
#include <QTest>

#include <memory>

using namespace KelTest;
using KelAccount::KelAccounts;

namespace {

enum class Kind { Path, Query };

struct Argument
{
    const char* operation;
    const char* name;
    Kind kind;
    std::function<void(KelAccounts&, const QString&)> call;
    int status;       ///< of an object that is initialised
    int earlyStatus;  ///< of one that is not
    const char* line; ///< the one signal
};

const QString user = "bob"_s;
const QString word = "x"_s;

QVector<Argument> users()
{
    return {
        {"isUserIdAvailable", "user", Kind::Path,
         [](KelAccounts& a, const QString& value) { a.isUserIdAvailable(value); }, 1001, 1001,
         "isUserIdAvailableResponse(%1, false, [])"},
        {"requestPasswordReset", "user", Kind::Path,
         [](KelAccounts& a, const QString& value) {
             a.requestPasswordReset(value, word, true, word);
         },
         1002, 802, "requestPasswordResetResponse(%1)"},
        {"retrievePasswordResetSecQuestion", "user", Kind::Path,
         [](KelAccounts& a, const QString& value) {
             a.retrievePasswordResetSecQuestion(value, "de"_s);
         },
         1001, 1001, "retrievePasswordResetSecQuestionResponse(%1, {})"},
        {"resetPasswordUsingSecurityQuestion", "user", Kind::Path,
         [](KelAccounts& a, const QString& value) {
             a.resetPasswordUsingSecurityQuestion(value, word, word, word);
         },
         1001, 1001, "resetPasswordUsingSecurityQuestionResponse(%1)"},
    };
}

QVector<Argument> languagesAndServices()
{
    const char* const terms = "termsOfServiceResponse(%1, {})";
    return {
        {"retrieveTermsOfService", "service", Kind::Path,
         [](KelAccounts& a, const QString& value) {
             a.retrieveTermsOfService(value, "fi"_s, "FI"_s, 0);
         },
         1001, 1001, terms},
        {"retrieveTermsOfService", "language", Kind::Query,
         [](KelAccounts& a, const QString& value) {
             a.retrieveTermsOfService("shop"_s, value, "FI"_s, 0);
         },
         1001, 1001, terms},
        {"retrieveTermsOfService", "country", Kind::Query,
         [](KelAccounts& a, const QString& value) {
             a.retrieveTermsOfService("shop"_s, "fi"_s, value, 0);
         },
         1001, 1001, terms},
        {"retrievePasswordResetSecQuestion", "language", Kind::Query,
         [](KelAccounts& a, const QString& value) {
             a.retrievePasswordResetSecQuestion(user, value);
         },
         1001, 1001, "retrievePasswordResetSecQuestionResponse(%1, {})"},
        {"retrieveSecurityQuestionList", "language", Kind::Query,
         [](KelAccounts& a, const QString& value) { a.retrieveSecurityQuestionList(value); }, 1002,
         802, "securityQuestionListResponse(%1, {})"},
    };
}

const QVector<Argument>& arguments()
{
    static const QVector<Argument> all = users() + languagesAndServices();
    return all;
}

QStringList breaking(Kind kind)
{
    QStringList values = {
        "alice#x"_s, "alice?x=1"_s, "al%69ce"_s,  "a/../b"_s,   "."_s,
        ".."_s,      "a\nb"_s,      "a\u007fb"_s, "a\u0085b"_s, QString(QChar(0)),
    };
    if (kind == Kind::Query)
        values += {"fi&lang=de"_s, "fi="_s};
    return values;
}

} // namespace

class TestFacadeAddress : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        FakeModem::reset();
        TagServerAddress::setProgram("/nonexistent/tag-server");
    }

    void everyOperationWithAUserOrAServiceInItsAddressHasARow()
    {
        QSet<QByteArray> rows;
        for (const Argument& argument : arguments()) {
            if (argument.kind == Kind::Path)
                rows.insert(argument.operation);
        }
        QSet<QByteArray> served;
        for (const ServedOperation& operation : servedOperations()) {
            if (operation.target.contains("bob") || operation.target.contains("shop"))
                served.insert(operation.name);
        }
        QCOMPARE(rows, served);
    }

    void nothingIsSentAndTheAnswerIsThatOfAMissingArgument_data()
    {
        rows<int, bool>("index", "initialized");
        for (int i = 0; i < arguments().size(); ++i) {
            const Argument& argument = arguments().at(i);
            QTest::addRow("%s, %s", argument.operation, argument.name) << i << true;
            QTest::addRow("%s, %s, before", argument.operation, argument.name) << i << false;
        }
    }
    void nothingIsSentAndTheAnswerIsThatOfAMissingArgument()
    {
        const auto [index, initialized] = fetch<int, bool>("index", "initialized");
        const Argument& argument = arguments().at(index);
        const StandInService service;
        KelAccounts accounts;
        if (initialized)
            accounts.initialize("key"_s, "secret"_s, 2, {}, {});
        FacadeRecorder recorder(&accounts);
        const QString line = QString::fromLatin1(argument.line)
                                 .arg(initialized ? argument.status : argument.earlyStatus);
        for (const QString& value : breaking(argument.kind)) {
            const MessageLog log;
            argument.call(accounts, value);
            QCOMPARE(recorder.lines(), QStringList());
            QVERIFY(recorder.waitFor(1));
            QCOMPARE(recorder.lines(), QStringList(line));
            QVERIFY(value.size() < 3 || log.all().filter(value).isEmpty());
            recorder.clear();
        }
        QTest::qWait(20);
        QCOMPARE(recorder.lines(), QStringList());
        QCOMPARE(service.requests().size(), 0);
    }
};

QTEST_MAIN(TestFacadeAddress)
#include "tst_facade_address.moc"
