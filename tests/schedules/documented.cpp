// SPDX-License-Identifier: LGPL-2.1-or-later
#include "schedules/documented.h"

#include "support/literals.h"

#include <kelaccount/kelaccounts.h>

#include <QFile>
#include <QMetaMethod>
#include <QRegularExpression>
#include <QStringList>

using namespace KelTest;

namespace Schedules {

namespace {

/// Every number, and every range that is written "401 to 423".
QSet<int> numbersIn(const QString& text)
{
    // Not of a name, as SHA-1 is.
    static const QRegularExpression number("(?<![-\\w])(\\d{1,4})(?: to (\\d{1,4}))?\\b"_s);
    QSet<int> found;
    auto matches = number.globalMatch(text);
    while (matches.hasNext()) {
        const auto match = matches.next();
        const int first = match.captured(1).toInt();
        const int last = match.captured(2).isEmpty() ? first : match.captured(2).toInt();
        for (int status = first; status <= last; ++status)
            found.insert(status);
    }
    return found;
}

/// From these words to the end of the paragraph; empty when they are not there.
QString paragraphFrom(const QString& words, const QString& text)
{
    const int begin = text.indexOf(words);
    return begin < 0 ? QString()
                     : text.mid(begin, text.indexOf("\n\n"_s, begin) - begin).simplified();
}

} // namespace

Documented::Documented(const QString& header)
{
    static const QRegularExpression slot("^\\s*(?:void|bool) (\\w+)\\("_s);
    QFile file(header);
    if (!file.open(QIODevice::ReadOnly))
        return;
    QString comment;
    const QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    for (const QString& line : lines) {
        const QString text = line.trimmed();
        if (text.startsWith("///"_s)) {
            comment += text.mid(3).trimmed() + QLatin1Char('\n');
            continue;
        }
        if (text.startsWith("class "_s) && comment.contains("Statuses that any"_s)) {
            mOfTheService = numbersIn(paragraphFrom("Statuses that any"_s, comment));
            mReported = numbersIn(paragraphFrom("What the plugin or the sign-on"_s, comment));
        }
        const auto match = slot.match(line);
        if (match.hasMatch())
            readComment(match.captured(1), comment + QLatin1Char('\n'));
        comment.clear();
    }
}

void Documented::readComment(const QString& operation, const QString& comment)
{
    static const QRegularExpression sameAs("statuses of (\\w+)\\(\\)"_s);
    QString words = paragraphFrom("Answered by"_s, comment);
    // How long it may block is no status.
    words = words.section("May block"_s, 0, 0).section("may block"_s, 0, 0);
    if (words.isEmpty() && !comment.contains("The same for scripts"_s))
        words = comment.section("answered by"_s, 1);
    QSet<int> statuses = numbersIn(words);
    const auto same = sameAs.match(words);
    if (same.hasMatch())
        statuses += mStatuses.value(same.captured(1));
    if (words.contains("reported"_s))
        statuses += mReported;
    const bool isOfTheService = words.contains("of the network"_s) ||
                                words.contains("reported"_s) ||
                                words.contains("when a reply came"_s);
    if (isOfTheService || same.hasMatch())
        statuses += mOfTheService;
    mStatuses[operation] += statuses;
}

QString Documented::problem() const
{
    if (mOfTheService.size() < 10)
        return "the facade's header does not say what the service's operations can carry"_s;
    if (mReported.size() < 10)
        return "the facade's header does not say what plugin and daemon can report"_s;
    const QMetaObject& facade = KelAccount::KelAccounts::staticMetaObject;
    for (int i = facade.methodOffset(); i < facade.methodCount(); ++i) {
        const QMetaMethod method = facade.method(i);
        const QString name = QString::fromLatin1(method.name());
        const bool isAnswered =
            method.methodType() == QMetaMethod::Slot && method.returnType() == QMetaType::Void;
        if (isAnswered && mStatuses.value(name).isEmpty())
            return "the facade's header does not say what %1 can carry"_s.arg(name);
    }
    return {};
}

bool Documented::has(const QString& operation, int status) const
{
    return mStatuses.value(operation).contains(status);
}

} // namespace Schedules
