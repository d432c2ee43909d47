// SPDX-License-Identifier: LGPL-2.1-or-later
// An application that signs a user in and goes on living. Its password comes on standard input, a
// line; the status goes to standard output; it ends with its standard input.
#include <kelaccount/kelaccounts.h>

#include <QCoreApplication>
#include <QSocketNotifier>

#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {

QString readLine()
{
    char bytes[256];
    const ssize_t count = read(STDIN_FILENO, bytes, sizeof bytes);
    const auto* const end =
        static_cast<const char*>(std::memchr(bytes, '\n', count > 0 ? size_t(count) : 0));
    const QString line = end ? QString::fromUtf8(bytes, int(end - bytes)) : QString();
    explicit_bzero(bytes, sizeof bytes);
    return line;
}

} // namespace

int main(int count, char** arguments)
{
    QCoreApplication application(count, arguments);
    KelAccount::KelAccounts accounts;
    QObject::connect(&accounts, &KelAccount::KelAccounts::signInAndConfigureResponse, &application,
                     [](KelAccount::ErrorStatus status) {
                         std::printf("%d\n", static_cast<int>(status));
                         std::fflush(stdout);
                     });
    constexpr int production = 2;
    // In memory of its own, where the search looks, not in the program's text.
    accounts.initialize(QStringLiteral("demo-key"), QString::fromLatin1("demo-secret"), production,
                        QStringLiteral("memory"), {});
    accounts.signInAndConfigure(QString::fromLatin1(arguments[count - 1]), readLine(), true);
    QSocketNotifier end(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&end, &QSocketNotifier::activated, &application, &QCoreApplication::quit);
    return QCoreApplication::exec();
}
