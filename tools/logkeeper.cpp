// SPDX-License-Identifier: LGPL-2.1-or-later
#include "logkeeper.h"

#include <QLoggingCategory>
#include <QMutex>

#include <utility>

namespace {

QBasicMutex mutex; // Qt's network code may log on a thread of its own
QtMessageHandler showMessage = nullptr;
bool shows = false;

QStringList& complaints()
{
    static QStringList kept;
    return kept;
}

void keep(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    const bool ofLibrary = context.category && qstrncmp(context.category, "kelaccount.", 11) == 0;
    const bool complains = type == QtWarningMsg || type == QtCriticalMsg;
    if (ofLibrary && complains) {
        const QMutexLocker locker(&mutex);
        if (!complaints().contains(text))
            complaints().append(text);
    }
    if ((!ofLibrary || shows) && showMessage)
        showMessage(type, context, text);
}

} // namespace

void keepLog(bool show)
{
    shows = show || qEnvironmentVariableIsSet("QT_LOGGING_RULES") ||
            qEnvironmentVariableIsSet("QT_LOGGING_CONF");
    if (!shows) {
        QLoggingCategory::setFilterRules(
            QStringLiteral("kelaccount.*.debug=false\nkelaccount.*.info=false"));
    }
    showMessage = qInstallMessageHandler(keep);
}

QStringList takeComplaints()
{
    const QMutexLocker locker(&mutex);
    return std::exchange(complaints(), {});
}
