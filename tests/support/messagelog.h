// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QStringList>
#include <QtGlobal>

/// While one lives, everything that is logged goes into its list instead of to the terminal.
class MessageLog
{
public:
    MessageLog() : mPrevious(qInstallMessageHandler(&MessageLog::take)) { messages().clear(); }
    ~MessageLog() { qInstallMessageHandler(mPrevious); }
    MessageLog(const MessageLog&) = delete;
    MessageLog& operator=(const MessageLog&) = delete;

    /// The texts, each behind the letter of its kind: "D ", "I ", "W ", "C ".
    QStringList all() const { return messages(); }
    bool hasCritical(const char* text) const
    {
        return messages().contains(QLatin1String("C ") + QLatin1String(text));
    }
    bool hasWarning(const char* text) const
    {
        return messages().contains(QLatin1String("W ") + QLatin1String(text));
    }

private:
    static QStringList& messages()
    {
        static QStringList list;
        return list;
    }

    static void take(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text)
    {
        const char* const kind = type == QtDebugMsg     ? "D "
                                 : type == QtInfoMsg    ? "I "
                                 : type == QtWarningMsg ? "W "
                                                        : "C ";
        messages().append(QLatin1String(kind) + text);
    }

    QtMessageHandler mPrevious;
};
