// SPDX-License-Identifier: LGPL-2.1-or-later
#include "schedules/messages.h"

#include "schedules/world.h"
#include "support/literals.h"
#include "support/secretsearch.h"

#include <QLoggingCategory>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <mutex>

using namespace KelTest;

namespace Schedules::Messages {

namespace {

// What the calls are given, as far as nobody else may read it.
const QStringList& secrets()
{
    static const QStringList all = {"planted-"_s,    "the-passwörd"_s, "the-new-password"_s,
                                    "the old öne"_s, "the new one"_s,  "Ünser Hund"_s,
                                    "read-by-bob"_s, "x7Kq"_s};
    return all;
}

bool isWritten = false;

struct First
{
    std::mutex mutex;
    QString problem;
};

First& first()
{
    static auto* const instance = new First;
    return *instance;
}

/// What the sign-on library and Qt's D-Bus say of a daemon that ends while it is asked, or is
/// started anew.
bool isOfAnEndedDaemon(const QString& text)
{
    static const QStringList beginnings = {
        "QDBusError"_s,
        "\"org.freedesktop.DBus.Error."_s,
        "\"Message recipient disconnected from message bus without replying"_s,
        "\"Not connected to D-Bus server"_s,
        "\"No such object path"_s,
        "QDBusConnection: name 'com.google.code.AccountsSSO.SingleSignOn' had owner"_s};
    // Of an error it writes type, name and words, each by itself, and some have no words.
    return text == "\"\""_s ||
           std::any_of(beginnings.cbegin(), beginnings.cend(),
                       [&text](const QString& one) { return text.startsWith(one); });
}

void read(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (isWritten)
        std::fprintf(stderr, "%s: %s\n", context.category ? context.category : "",
                     qPrintable(text));
    const bool isOurs = context.category && std::strncmp(context.category, "kelaccount.", 11) == 0;
    QString problem;
    const bool isExpected = World::hasSessions() && isOfAnEndedDaemon(text);
    if (!isOurs && type != QtDebugMsg && type != QtInfoMsg && !isExpected)
        problem = "Qt warns: "_s + text;
    else if (!SecretSearch::foundIn(text.toUtf8(), secrets()).isEmpty())
        problem = "a secret was logged: "_s + text;
    if (problem.isEmpty())
        return;
    const std::lock_guard<std::mutex> lock(first().mutex);
    if (first().problem.isEmpty())
        first().problem = problem;
}

} // namespace

void take()
{
    QLoggingCategory::setFilterRules("kelaccount.*=true"_s);
    qInstallMessageHandler(&read);
}

void write()
{
    isWritten = true;
}

QString problem()
{
    const std::lock_guard<std::mutex> lock(first().mutex);
    return std::exchange(first().problem, QString());
}

} // namespace Schedules::Messages
