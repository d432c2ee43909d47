// SPDX-License-Identifier: LGPL-2.1-or-later
#include "operations/recordedanswers.h"

#include "operations/operations.h"
#include "operations/readers.h"
#include "support/literals.h"

#include <QHash>

#include <functional>

using namespace KelRestHandler;
using namespace readers;

namespace {

using Writer = std::function<QStringList(const void*)>;

template <class Value>
Writer plain(QStringList (*lines)(const Value&))
{
    return [lines](const void* value) { return lines(*static_cast<const Value*>(value)); };
}

// Of a signal that carries a status and a value, or a value alone.
const QHash<QByteArray, Writer>& writers()
{
    static const QHash<QByteArray, Writer> all = {
        {"int", plain<int>([](const int& status) {
             return QStringList(line("status", QString::number(status)));
         })},
        {"QVariantMap", plain(&questionsLines)},
        {"PreAccountInfo", plain(&preAccountLines)},
        {"KelRestHandler::ConsentQueryVariant", plain(&variantLines)},
    };
    return all;
}

// A structure says what all answers say, and then its own.
QStringList structureLines(const QByteArray& type, const void* value)
{
    const auto& answer = *static_cast<const RESTResponseBase*>(value);
    const QStringList common = {line("status", QString::number(answer.status)),
                                line("key", answer.consumerKey),
                                line("request", QString::number(answer.requestId)),
                                line("server time", timeText(answer.serverTime))};
    if (type == "KelRestHandler::RESTResponseBase")
        return common;
    const QString argument = "(%1)"_s.arg(QString::fromLatin1(type));
    for (const operations::Operation& row : operations::all()) {
        if (row.write && QString::fromLatin1(row.answers).endsWith(argument))
            return common + row.write(value);
    }
    return {"a type that nobody writes down"_s};
}

} // namespace

void RecordedAnswers::record(const QMetaMethod& signal, void** arguments)
{
    mNames.append(QString::fromLatin1(signal.name()));
    mLines.append(line("signal", mNames.last()));
    const QList<QByteArray> types = signal.parameterTypes();
    for (int i = 0; i < types.size(); ++i) {
        if (types.at(i) == "QPixmap") { // a captcha, with its identifier behind the picture
            lastPicture = *static_cast<const QPixmap*>(arguments[i]);
            const auto& captchaId = *static_cast<const QString*>(arguments[i + 1]);
            mLines += captchaLines(captchaId, lastPicture.size());
            return;
        }
        const Writer write = writers().value(types.at(i));
        mLines += write ? write(arguments[i]) : structureLines(types.at(i), arguments[i]);
    }
}
