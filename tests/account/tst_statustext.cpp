// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/literals.h"
#include "support/rows.h"

#include <kelaccount/commonutils.h>
#include <kelaccount/errorstatus.h>
#include <kelaccount/registrationinfo.h>
#include <kelaccount/statustext.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QLocale>
#include <QMap>
#include <QMetaProperty>
#include <QRegularExpression>
#include <QSet>
#include <QTest>
#include <QThread>
#include <QXmlStreamReader>

#include <limits>
#include <memory>
#include <vector>

using namespace KelAccount;

namespace {

// What the library reports without a member of the enumeration.
constexpr int memberless[] = {413, 512, 807};

using Statuses = QMap<int, QString>;
using Translations = QMap<QString, QString>;

QString readAll(const QString& path)
{
    QFile file(path);
    return file.open(QFile::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// The enumeration as its header has it.
Statuses readMembers()
{
    Statuses members;
    const QRegularExpression member("^    (Error\\w+) = (\\d+),"_s,
                                    QRegularExpression::MultilineOption);
    auto each = member.globalMatch(readAll(QStringLiteral(KELACCOUNT_ERRORSTATUS)));
    while (each.hasNext()) {
        const QRegularExpressionMatch match = each.next();
        members.insert(match.captured(2).toInt(), match.captured(1));
    }
    return members;
}

QList<int> everyStatus()
{
    QList<int> statuses = readMembers().keys();
    for (const int status : memberless)
        statuses.append(status);
    return statuses;
}

QStringList languages()
{
    const QStringList files = QDir(QStringLiteral(KELACCOUNT_CATALOGUES)).entryList({"*.ts"_s});
    QStringList names;
    for (const QString& file : files)
        names.append(QString(file).remove("statustext_"_s).remove(".ts"_s));
    return names;
}

// The catalogue as its translator left it; an unfinished one has no entry.
Translations readCatalogue(const QString& language)
{
    QFile file(QStringLiteral(KELACCOUNT_CATALOGUES "/statustext_%1.ts").arg(language));
    Translations translations;
    if (!file.open(QFile::ReadOnly))
        return translations;
    QXmlStreamReader reader(&file);
    QString source;
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (reader.name() == QLatin1String("source"))
            source = reader.readElementText();
        else if (reader.name() == QLatin1String("translation") &&
                 !reader.attributes().hasAttribute(QLatin1String("type")))
            translations.insert(source, reader.readElementText());
    }
    return translations;
}

// Empty when the text is one or two good sentences, else what is wrong with it.
QString fault(const QString& text)
{
    if (text.isEmpty() || !text.at(0).isUpper())
        return "begins with no capital"_s;
    if (!text.endsWith(QLatin1Char('.')) || text.contains(QLatin1String("..")))
        return "does not end as a sentence"_s;
    if (text.contains(QRegularExpression("[%&<>{}_\\d\\n\\t]|::|  |Zor|^\\s|\\s$"_s)))
        return "has a placeholder, markup, a number or a name in it"_s;
    // A name is one word of several capitals.
    if (text.contains(QRegularExpression("[a-z][A-Z]"_s)))
        return "has a program's name in it"_s;
    return {};
}

} // namespace

class TestStatusText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // First, so that the catalogues are read by all of them at once.
    void textsAreReadOnAnyThread()
    {
        constexpr int threadCount = 8;
        const QList<int> statuses = everyStatus();
        const QStringList names = languages();
        std::vector<Translations> read(threadCount);
        std::vector<std::unique_ptr<QThread>> threads;
        for (Translations& texts : read) {
            threads.emplace_back(QThread::create([&texts, statuses, names] {
                for (const int status : statuses) {
                    for (const QString& name : names)
                        texts.insert(name + QString::number(status),
                                     statusText(status, QLocale(name)));
                }
            }));
            threads.back()->start();
        }
        for (const auto& thread : threads)
            QVERIFY(thread->wait());
        QCOMPARE(read.front().size(), statuses.size() * names.size());
        for (const int status : statuses) {
            for (const QString& name : names) {
                const QString text = statusText(status, QLocale(name));
                for (const Translations& texts : read)
                    QCOMPARE(texts.value(name + QString::number(status)), text);
            }
        }
    }

    void theEnumerationIsReadWhole()
    {
        const Statuses members = readMembers();
        const QString header = readAll(QStringLiteral(KELACCOUNT_ERRORSTATUS));
        QCOMPARE(members.size(), header.count(QRegularExpression("\\bError\\w+ ="_s)));
        for (auto member = members.begin(); member != members.end(); ++member)
            QCOMPARE(statusName(member.key()), "ZorKeLDefs::"_s + member.value());
        QCOMPARE(members.value(ErrorMax), "ErrorMax"_s);
    }

    void everyLanguageHasAGoodSentenceForEveryStatus()
    {
        const QStringList names = languages();
        for (const char* const wanted : {"en", "de", "fr", "fi"})
            QVERIFY2(names.contains(QLatin1String(wanted)), wanted);
        for (const int status : everyStatus()) {
            QSet<QString> texts;
            for (const QString& name : names) {
                const QString text = statusText(status, QLocale(name));
                QVERIFY2(fault(text).isEmpty(), qPrintable("%1 in %2: \"%3\" %4"_s.arg(status).arg(
                                                    name, text, fault(text))));
                texts.insert(text);
            }
            QVERIFY2(texts.size() == names.size(),
                     qPrintable("%1 is the same in two languages: %2"_s.arg(status).arg(
                         QStringList(texts.values()).join(QLatin1String(" | ")))));
        }
    }

    void everyStatusHasATextOfItsOwnKind()
    {
        const QString fallback = statusText(9999);
        for (const int status : everyStatus()) {
            const bool saysNothing =
                status == ErrorUnknown || status == ErrorUndefined || status == ErrorMax;
            QVERIFY2((statusText(status) == fallback) == saysNothing,
                     qPrintable(QString::number(status)));
        }
    }

    void theCataloguesHaveTheTextsOfTheCodeAndNoOthers()
    {
        QSet<QString> used;
        for (const int status : everyStatus())
            used.insert(statusText(status, QLocale::c()));
        used.insert(statusText(1, QLocale::c())); // the daemon's
        for (const QString& name : languages()) {
            const Translations catalogue = readCatalogue(name);
            const QStringList sources = catalogue.keys();
            QCOMPARE(QSet<QString>(sources.begin(), sources.end()), used);
            for (const int status : everyStatus())
                QCOMPARE(statusText(status, QLocale(name)),
                         catalogue.value(statusText(status, QLocale::c())));
        }
        const Translations english = readCatalogue("en"_s);
        for (auto text = english.begin(); text != english.end(); ++text)
            QCOMPARE(text.value(), text.key());
    }

    void statusesWithoutARowHaveATextToo()
    {
        for (const int status :
             {1, 3, 310, 311, 399, 400, 706, 9999, -1, std::numeric_limits<int>::min(),
              std::numeric_limits<int>::max()}) {
            for (const QString& name : languages())
                QVERIFY2(fault(statusText(status, QLocale(name))).isEmpty(), qPrintable(name));
        }
        // The daemon's own end where those of the library begin.
        QVERIFY(statusText(3) != statusText(9999));
        for (const int status : {1, 2, 310, 399})
            QCOMPARE(statusText(status), statusText(3));
        for (const int status : {-1, 400, 706})
            QCOMPARE(statusText(status), statusText(9999));
    }

    void theLanguageIsTheLocales_data()
    {
        columns<QString, QString>("locale", "text");
        const QString german = "Dieses Konto ist gesperrt."_s;
        const QString french = "Ce compte est bloqué."_s;
        const QString finnish = "Tämä tili on lukittu."_s;
        const QString english = "This account is locked."_s;
        QTest::newRow("German") << "de_DE"_s << german;
        QTest::newRow("Swiss German") << "de_CH"_s << german;
        QTest::newRow("Canadian French") << "fr_CA"_s << french;
        QTest::newRow("Finnish") << "fi_FI"_s << finnish;
        QTest::newRow("English") << "en_GB"_s << english;
        QTest::newRow("Filipino") << "fil_PH"_s << english;
        QTest::newRow("Frisian") << "fy_NL"_s << english;
        QTest::newRow("Chinese") << "zh_Hant_TW"_s << english;
        QTest::newRow("C") << "C"_s << english;
    }
    void theLanguageIsTheLocales()
    {
        QFETCH(QString, locale);
        QTEST(statusText(ErrorAccountLocked, QLocale(locale)), "text");
    }

    // The run's environment says Dutch, which there is not, then German, then French.
    void theFirstOfTheUsersLanguagesThatThereIsIsTaken()
    {
        QCOMPARE(QLocale::system().language(), QLocale::Dutch);
        QCOMPARE(statusText(ErrorAccountLocked), "Dieses Konto ist gesperrt."_s);
    }

    void theApplicationsLocaleIsTheDefault()
    {
        const QLocale before;
        QLocale::setDefault(QLocale("fi_FI"_s));
        const QString text = statusText(ErrorAccountLocked);
        QLocale::setDefault(before);
        QCOMPARE(text, "Tämä tili on lukittu."_s);
    }

    void noTranslatorIsInstalledInTheApplication()
    {
        int count = 1;
        char name[] = "test";
        char* arguments[] = {name, nullptr};
        const QCoreApplication application(count, arguments);
        QCOMPARE(statusText(ErrorAccountLocked, QLocale("de"_s)), "Dieses Konto ist gesperrt."_s);
        const char text[] = "This account is locked.";
        QCOMPARE(QCoreApplication::translate("KelAccount::StatusText", text),
                 QString::fromLatin1(text));
    }

    void aFieldIsAPropertyOfTheRegistrationOrAnArgument()
    {
        const QStringList arguments = {"consumerKey"_s, "consumerSecret"_s, "oldPassword"_s};
        for (const int status : everyStatus()) {
            const QString field = statusField(status);
            QVERIFY2(field.isEmpty() || arguments.contains(field) ||
                         RegistrationInfo::staticMetaObject.indexOfProperty(qPrintable(field)) >= 0,
                     qPrintable(field));
            // What was refused once is refused again.
            QVERIFY2(field.isEmpty() || !isRetryable(status), qPrintable(field));
        }
    }

    void everyStatusHasItsValueAndName_data()
    {
        rowsOfFile(KELACCOUNT_TEST_STATUSES, {"member", "field", "retryable"});
    }
    void everyStatusHasItsValueAndName()
    {
        const auto [member, field, retryable] =
            fetch<QByteArray, QByteArray, QByteArray>("member", "field", "retryable");
        const QByteArray number = QTest::currentDataTag();
        const int status = number.toInt();
        QCOMPARE(statusName(status).toLatin1(),
                 member == "-" ? "ZorKelDefs::Error" + number : "ZorKeLDefs::" + member);
        QCOMPARE(readMembers().value(status, "-"_s).toLatin1(), member);
        if (field != "?")
            QCOMPARE(statusField(status).toLatin1(), field == "-" ? ""_ba : field);
        if (retryable != "?")
            QCOMPARE(isRetryable(status), retryable == "yes");
    }

    void theTableHasEveryMember()
    {
        const QString table = readAll(QStringLiteral(KELACCOUNT_TEST_STATUSES));
        for (const QString& member : readMembers())
            QVERIFY2(table.contains("\t%1\t"_s.arg(member)), qPrintable(member));
    }

    // Its el is a small one.
    void everyOtherNumberGetsTheFallback()
    {
        const Statuses members = readMembers();
        for (int status = -10; status < 1100; ++status) {
            const QString name = CommonUtils::ConvertErrorCodeToString(status);
            QCOMPARE(statusName(status), name);
            if (!members.contains(status))
                QCOMPARE(name, "ZorKelDefs::Error%1"_s.arg(status));
        }
    }
};

QTEST_APPLESS_MAIN(TestStatusText)
#include "tst_statustext.moc"
