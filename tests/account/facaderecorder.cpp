// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/facaderecorder.h"
#include "support/literals.h"
#include "support/slowed.h"

#include <kelaccount/kelaccounts.h>
#include <kelaccount/profileinfo.h>

#include <QEventLoop>
#include <QMetaMethod>
#include <QPixmap>
#include <QTimer>

using KelAccount::KelAccounts;
using KelAccount::PreAccountInfo;
using KelAccount::ProfileInfo;

namespace {

QString listText(const QStringList& list)
{
    return QLatin1Char('[') + list.join(QLatin1String(", ")) + QLatin1Char(']');
}

QString pictureText(const QPixmap& picture)
{
    return picture.isNull() ? "no picture"_s
                            : "picture %1x%2"_s.arg(picture.width()).arg(picture.height());
}

QString preAccountText(const PreAccountInfo& info)
{
    return "pre-account '%1' '%2' '%3' %4"_s.arg(info.preAccountId, info.username, info.mobile)
        .arg(int(info.country));
}

QString valueText(int type, const void* value)
{
    if (type == QMetaType::Bool)
        return *static_cast<const bool*>(value) ? "true"_s : "false"_s;
    if (type == QMetaType::Int)
        return QString::number(*static_cast<const int*>(value));
    if (type == QMetaType::QString)
        return QLatin1Char('\'') + *static_cast<const QString*>(value) + QLatin1Char('\'');
    if (type == QMetaType::QStringList)
        return listText(*static_cast<const QStringList*>(value));
    if (type == QMetaType::QVariantMap)
        return KelTest::mapText(*static_cast<const QVariantMap*>(value));
    if (type == QMetaType::QPixmap)
        return pictureText(*static_cast<const QPixmap*>(value));
    if (type == QMetaType::type("KelAccount::PreAccountInfo"))
        return preAccountText(*static_cast<const PreAccountInfo*>(value));
    if (type == QMetaType::type("KelAccount::ProfileInfo*"))
        return *static_cast<ProfileInfo* const*>(value) ? "profile"_s : "no profile"_s;
    return "value of unknown type"_s;
}

} // namespace

namespace KelTest {

QString mapText(const QVariantMap& map)
{
    QStringList pairs;
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        pairs.append(it.key() + QLatin1String(": ") + it.value().toString());
    return QLatin1Char('{') + pairs.join(QLatin1String(", ")) + QLatin1Char('}');
}

FacadeRecorder::FacadeRecorder(KelAccounts* accounts)
    : SignalRecorder(accounts, KelAccounts::staticMetaObject)
{
}

bool FacadeRecorder::waitFor(int count, int timeoutMs) const
{
    QEventLoop loop;
    QTimer::singleShot(slowed(timeoutMs), &loop, &QEventLoop::quit);
    mOnLine = [this, count, &loop] {
        if (mLines.size() >= count)
            loop.quit();
    };
    if (mLines.size() < count)
        loop.exec();
    mOnLine = nullptr;
    return mLines.size() >= count;
}

void FacadeRecorder::record(const QMetaMethod& method, void** arguments)
{
    QStringList values;
    for (int i = 0; i < method.parameterCount(); ++i)
        values.append(valueText(method.parameterType(i), arguments[i]));
    const QString name = QString::fromLatin1(method.name());
    mLines.append(name + QLatin1Char('(') + values.join(QLatin1String(", ")) + QLatin1Char(')'));
    if (mOnLine)
        mOnLine();
    if (afterwards)
        afterwards(name);
    if (mModalMs <= 0)
        return;
    QEventLoop box;
    QTimer::singleShot(mModalMs, &box, &QEventLoop::quit);
    box.exec();
}

} // namespace KelTest
