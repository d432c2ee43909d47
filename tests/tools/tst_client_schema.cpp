// SPDX-License-Identifier: LGPL-2.1-or-later
// What every command prints as JSON, held against what its help and docs/client.md say of it.
#include "support/literals.h"
#include "tools/clientrun.h"

#include <kelaccount/kelaccounts.h>

#include <QJsonDocument>
#include <QMetaMethod>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace KelTest;

namespace {

struct Field
{
    QString type;
    bool always = true;
};

bool hasType(const QJsonValue& value, const QString& type)
{
    if (type == "text"_s)
        return value.isString();
    if (type == "number"_s)
        return value.isDouble();
    if (type == "true or false"_s)
        return value.isBool();
    if (type == "texts"_s)
        return value.isArray();
    return type == "texts by name"_s && value.isObject();
}

} // namespace

class TestClientSchema : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(mEmulator.start({"--sim"_s, "244-05-1234567890"_s, "--pre-account"_s,
                                  "1234567890,carol,+358401234567,FI"_s}),
                 mEmulator.log().constData());
        mClient = Client(mEmulator.environment());
    }

    // In this order each call finds what it needs: a device, then a user who lives on it.
    void everyCommandAnswersAsItsHelpSays()
    {
        for (const char* call : {"country",
                                 "device-info",
                                 "captcha-required",
                                 "is-configured",
                                 "detect-pre-account",
                                 "check-user bob",
                                 "check-user alice",
                                 "captcha",
                                 "captcha --out FILE",
                                 "register --email bob@example.org|planted",
                                 "sign-in alice|wrong",
                                 "sign-in alice|secret",
                                 "is-configured",
                                 "profile",
                                 "ensure-token",
                                 "update-question 3|Kallio",
                                 "change-user-name robert",
                                 "change-password|secret|other secret",
                                 "reset-password alice",
                                 "security-question alice",
                                 "security-question nobody",
                                 "reset-with-question alice|token|password|answer",
                                 "close",
                                 "sign-out",
                                 "profile"})
            verify(call);
        QStringList commands = QString::fromUtf8(mClient.run({"--help"_s}).output)
                                   .section("\nCommands:\n"_s, 1)
                                   .section("\n\n"_s, 0, 0)
                                   .split(QLatin1Char('\n'))
                                   .filter(QRegularExpression("^  [a-z]"_s));
        for (QString& command : commands)
            command = command.trimmed().section(QLatin1Char(' '), 0, 0);
        commands.removeAll("help"_s);   // prints what a person reads
        commands.removeAll("doctor"_s); // has a schema and a test of its own
        // The others find all they need in the example of their help.
        for (const QString& command : qAsConst(commands)) {
            if (!mCalled.contains(command))
                verify(qPrintable(exampleOf(command)));
        }
        commands.sort();
        QStringList called = mCalled.values();
        called.sort();
        QCOMPARE(called, commands);
    }

    void everySignalOfTheFacadeAnswersACommand()
    {
        // Every command initializes, and a captcha that is not refused comes by the longer signal.
        QStringList unseen;
        const QMetaObject& facade = KelAccount::KelAccounts::staticMetaObject;
        for (int i = facade.methodOffset(); i < facade.methodCount(); ++i) {
            if (facade.method(i).methodType() == QMetaMethod::Signal)
                unseen.append(QString::fromLatin1(facade.method(i).name()));
        }
        for (const QString& signal : qAsConst(mSignals))
            unseen.removeAll(signal);
        QCOMPARE(unseen.join(QLatin1Char(' ')), "initializeResponse captchaImageResponse"_s);
    }

    void everyMemberIsInTheDocument()
    {
        QFile document(QStringLiteral(KELACCOUNT_CLIENT_DOCUMENT));
        QVERIFY(document.open(QIODevice::ReadOnly));
        const QByteArray text = document.readAll();
        for (const QString& member : qAsConst(mMembers))
            QVERIFY2(text.contains("\n| `" + member.toUtf8() + "` | "), qPrintable(member));
    }

private:
    QString exampleOf(const QString& command)
    {
        return QString::fromUtf8(mClient.run({"help"_s, command}).output)
            .section("\nExample:\n  kelaccount "_s, 1)
            .section(QLatin1Char('\n'), 0, 0);
    }

    /// "Answers with: captchaId (text, where there is one), size (text)."
    QMap<QString, Field> fieldsOf(const QString& command)
    {
        const QString help =
            QString::fromUtf8(mClient.run({"help"_s, command}).output).simplified();
        QMap<QString, Field> fields;
        QRegularExpression field(
            "([A-Za-z0-9 ]+) \\((text|number|true or false|texts|texts by name)"
            "(, where there is one)?\\)[,.]"_s);
        auto found = field.globalMatch(help.section("Answers with: "_s, 1));
        while (found.hasNext()) {
            const auto match = found.next();
            fields.insert(match.captured(1).trimmed(),
                          {match.captured(2), match.captured(3).isEmpty()});
        }
        if (fields.isEmpty() && !help.contains("Answers with the status alone."_s))
            qFatal("cannot read the help: %s", qPrintable(help));
        return fields;
    }

    void verify(const char* call)
    {
        QStringList parts = text(call).split(QLatin1Char('|'));
        QStringList words = parts.takeFirst().split(QLatin1Char(' '));
        words.replaceInStrings("FILE"_s, mFolder.filePath("captcha.png"_s));
        mCalled.insert(words.first());
        const QByteArray input = parts.join(QLatin1Char('\n')).toUtf8() + '\n';
        const ClientRun run =
            mClient.run(QStringList{"--json"_s, "--password-fd"_s, "0"_s} + words, input);
        const QJsonObject answer = run.json();
        QVERIFY2(!answer.isEmpty(), (run.output + run.errors).constData());
        QCOMPARE(answer["command"_s].toString(), words.first());
        QCOMPARE(answer["schema"_s], QJsonValue(1));
        mSignals.insert(answer["signal"_s].toString());
        verifyMembers(answer);
        QVERIFY2(run.status == (answer["status"_s].toInt() == 0 ? 0 : 1),
                 (call + (": exit status " + QByteArray::number(run.status)) + '\n' + run.output +
                  run.errors)
                     .constData());
        verifyValues(answer["values"_s].toObject(), fieldsOf(words.first()), run.output);
    }

    void verifyMembers(const QJsonObject& answer)
    {
        const QMap<QString, QString> needed = {
            {"schema"_s, "number"_s},       {"command"_s, "text"_s},
            {"signal"_s, "text"_s},         {"status"_s, "number"_s},
            {"text"_s, "text"_s},           {"statusName"_s, "text"_s},
            {"milliseconds"_s, "number"_s}, {"values"_s, "texts by name"_s}};
        for (auto it = needed.cbegin(); it != needed.cend(); ++it)
            QVERIFY2(hasType(answer[it.key()], it.value()), qPrintable(it.key()));
        for (const QString& member : answer.keys()) {
            mMembers.insert(member);
            QVERIFY2(needed.contains(member) || member == "cause"_s || member == "failed"_s,
                     qPrintable(member));
        }
    }

    static void verifyValues(const QJsonObject& values, const QMap<QString, Field>& fields,
                             const QByteArray& output)
    {
        const auto named = fields.constFind("values that the service names"_s);
        for (auto it = values.constBegin(); it != values.constEnd(); ++it) {
            const auto field = named != fields.cend() ? named : fields.constFind(it.key());
            QVERIFY2(field != fields.cend(), (it.key().toUtf8() + ' ' + output).constData());
            QVERIFY2(hasType(it.value(), field->type), output.constData());
        }
        for (auto it = fields.cbegin(); it != fields.cend(); ++it)
            QVERIFY2(!it->always || it == named || values.contains(it.key()), output.constData());
    }

    EmulatorProcess mEmulator;
    QTemporaryDir mFolder;
    Client mClient;
    QSet<QString> mCalled;
    QSet<QString> mSignals;
    QSet<QString> mMembers;
};

QTEST_GUILESS_MAIN(TestClientSchema)
#include "tst_client_schema.moc"
