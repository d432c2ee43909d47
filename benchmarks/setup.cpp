// SPDX-License-Identifier: LGPL-2.1-or-later
// Where the time of a set-up goes, step by step: a sign-in and a registration with the device
// account, as the library's log tells of them, and what processor time who takes.
// Run it as: kelaccount-emulator run --tag-server -- setup [--check] [--picture FILE]
#include "setup_picture.h"

#include <kelaccount/client.h>
#include <kelaccount/kelaccounts.h>
#include <kelaccount/registrationinfo.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QLoggingCategory>
#include <QMap>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>

using namespace KelAccount;

namespace {

constexpr int repetitions = 9;

// ---- What the log tells

QElapsedTimer sinceBegun;
QVector<QPair<QString, double>> told; // and when

double milliseconds()
{
    return static_cast<double>(sinceBegun.nsecsElapsed()) / 1e6;
}

void listen(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (type == QtDebugMsg && qstrncmp(context.category, "kelaccount.", 11) == 0)
        told.append({text, milliseconds()});
    else if (type != QtDebugMsg)
        std::fprintf(stderr, "%s\n", qPrintable(text));
}

/// A line of the log, and what has been done when it comes.
struct Mark
{
    const char* line;
    const char* done;
};
constexpr Mark marks[] = {
    {"The sign-on daemon runs", "begin, look for an account, find the daemon"},
    {"The credentials are being stored", "look for the user's other credentials"},
    {"The set-up is Opening", "the daemon stores the credentials"},
    {"The plugin is asked: initialise", "find the daemon"},
    {"The set-up is Asking", "start the plugin, which says that it is there"},
    {"The set-up is Reserving", "ask the service, the daemon stores what the plugin keeps"},
    {"The set-up is Creating", "reserve the accounts"},
    {"The set-up is Idle", "the accounts database stores the account"},
};

// ---- Processor time

double threadsTime(clockid_t clock)
{
    timespec time{};
    ::clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// Of all processes with that name in this session, in milliseconds: of threads that live.
double processorTimeOf(const QByteArray& name)
{
    double sum = 0;
    const auto processes = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    const auto contents = [](const QString& path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    const QByteArray session = "SSO_STORAGE_PATH=" + qgetenv("SSO_STORAGE_PATH");
    for (const QString& process : processes) {
        const QString folder = QStringLiteral("/proc/") + process;
        if (!contents(folder + QStringLiteral("/comm")).startsWith(name) ||
            !contents(folder + QStringLiteral("/environ")).split('\0').contains(session))
            continue;
        const QString tasks = folder + QStringLiteral("/task");
        for (const QString& task : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            const auto path = tasks + QLatin1Char('/') + task + QStringLiteral("/schedstat");
            sum += contents(path).split(' ').value(0).toDouble() / 1e6;
        }
    }
    return sum;
}

// ---- Set-ups

struct Measured
{
    QVector<double> steps; ///< of each mark
    double total = 0;
    double caller = 0; ///< processor time of the thread that asked
    double daemon = 0;
    double plugin = 0;
};

void passEvents(int time)
{
    QEventLoop loop;
    QTimer::singleShot(time, &loop, &QEventLoop::quit);
    loop.exec();
}

/// Everything on the caller's thread: the facade.
Measured measured(const std::function<void(KelAccounts&)>& begin,
                  void (KelAccounts::*answer)(ErrorStatus, QVariantMap))
{
    KelAccounts accounts;
    accounts.initialize(QStringLiteral("demo-key"), QStringLiteral("demo-secret"), 2,
                        QStringLiteral("service"), {});
    // Until the daemon runs, as when an application has been there for a moment.
    constexpr int moment = 500;
    passEvents(moment);
    Measured result;
    QEventLoop loop;
    int status = -1;
    QObject::connect(&accounts, answer, &loop, [&](ErrorStatus error) {
        status = error;
        loop.quit();
    });
    told.clear();
    const double daemonBefore = processorTimeOf("signond");
    const double pluginBefore = processorTimeOf("signonplugin");
    sinceBegun.start();
    const double before = threadsTime(CLOCK_THREAD_CPUTIME_ID);
    begin(accounts);
    loop.exec();
    result.caller = threadsTime(CLOCK_THREAD_CPUTIME_ID) - before;
    result.total = milliseconds();
    result.daemon = processorTimeOf("signond") - daemonBefore;
    result.plugin = processorTimeOf("signonplugin") - pluginBefore;
    if (status != ErrorNone) {
        std::fprintf(stderr, "setup: status %d; run it inside kelaccount-emulator run\n", status);
        std::exit(1);
    }
    double reached = 0;
    for (const Mark& mark : marks) {
        const auto found = std::find_if(told.cbegin(), told.cend(), [&](const auto& line) {
            return line.first == QLatin1String(mark.line);
        });
        if (found == told.cend()) {
            std::fprintf(stderr, "setup: the log does not say \"%s\"\n", mark.line);
            std::exit(1);
        }
        result.steps.append(found->second - reached);
        reached = found->second;
    }
    return result;
}

void signOut()
{
    Client client;
    client.initialize(QStringLiteral("demo-key"), QStringLiteral("demo-secret"), Server::Production,
                      QStringLiteral("service"));
    QEventLoop loop;
    client.signOut().then(
        &loop, [&loop](const Done&) { loop.quit(); },
        [](const Failure& failure) {
            std::fprintf(stderr, "setup: signing out: %d\n", failure.status);
            std::exit(1);
        });
    loop.exec();
}

Measured signIn()
{
    return measured(
        [](KelAccounts& accounts) {
            accounts.signInAndConfigure(QStringLiteral("alice"), QStringLiteral("secret"), true);
        },
        &KelAccounts::signInAndConfigureResponse);
}

Measured registration()
{
    static int number = 0;
    RegistrationInfo form;
    form.setEmailAddress(QStringLiteral("setup%1@example.org").arg(++number));
    form.setPassword(QStringLiteral("s3cret-setup"));
    form.setDateOfBirth(QDate(1990, 2, 28));
    form.setCountry(QStringLiteral("FI"));
    form.setLanguage(QStringLiteral("en"));
    return measured([&form](KelAccounts& accounts) { accounts.registerAccount(form, true); },
                    &KelAccounts::registerAccountResponse);
}

double median(QVector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

Measured medianOf(const QVector<Measured>& all)
{
    const auto of = [&all](const std::function<double(const Measured&)>& value) {
        QVector<double> values;
        for (const Measured& one : all)
            values.append(value(one));
        return median(values);
    };
    Measured result;
    for (int i = 0; i < all.first().steps.size(); ++i)
        result.steps.append(of([i](const Measured& one) { return one.steps.at(i); }));
    result.total = of([](const Measured& one) { return one.total; });
    result.caller = of([](const Measured& one) { return one.caller; });
    result.daemon = of([](const Measured& one) { return one.daemon; });
    result.plugin = of([](const Measured& one) { return one.plugin; });
    return result;
}

bool isReached(const char* what, double value, double most)
{
    if (value > most)
        std::printf("too slow: %s: %.1f ms instead of %.0f ms\n", what, value, most);
    return value <= most;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("kelaccount.*.debug=true"));
    qInstallMessageHandler(listen);
    const QStringList arguments = application.arguments();
    QVector<Measured> signIns;
    QVector<Measured> registrations;
    for (int i = 0; i < repetitions; ++i) {
        signIns.append(signIn());
        signOut();
        registrations.append(registration());
        signOut();
    }
    const Measured signedIn = medianOf(signIns);
    const Measured registered = medianOf(registrations);
    std::printf("\n| Step | sign-in | registration |\n|---|---:|---:|\n");
    SetUpPicture picture;
    for (int i = 0; i < signedIn.steps.size(); ++i) {
        std::printf("| %s | %.1f ms | %.1f ms |\n", marks[i].done, signedIn.steps.at(i),
                    registered.steps.at(i));
        picture.add(QString::fromLatin1(marks[i].done), signedIn.steps.at(i),
                    registered.steps.at(i));
    }
    const auto line = [&](const char* what, double Measured::*value) {
        std::printf("| %s | %.1f ms | %.1f ms |\n", what, signedIn.*value, registered.*value);
    };
    line("**from the call to its answer**", &Measured::total);
    line("processor time of the caller's thread", &Measured::caller);
    line("of the daemon", &Measured::daemon);
    line("of the plugin's process", &Measured::plugin);
    const int file = arguments.indexOf(QStringLiteral("--picture")) + 1;
    if (file > 0 && file < arguments.size() && !picture.write(arguments.at(file))) {
        std::fprintf(stderr, "setup: cannot write %s\n", qPrintable(arguments.at(file)));
        return 1;
    }
    constexpr double mostInAll = 60;
    constexpr double mostOfCaller = 10;
    bool good = isReached("sign-in", signedIn.total, mostInAll);
    good = isReached("registration", registered.total, mostInAll) && good;
    good = isReached("sign-in, the caller's thread", signedIn.caller, mostOfCaller) && good;
    good = isReached("registration, the caller's thread", registered.caller, mostOfCaller) && good;
    if (good)
        std::printf("\nat most %.0f ms, and %.0f ms of the caller's thread: reached\n", mostInAll,
                    mostOfCaller);
    return good || !arguments.contains(QStringLiteral("--check")) ? 0 : 1;
}
