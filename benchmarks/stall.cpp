// SPDX-License-Identifier: LGPL-2.1-or-later
// For how long the application's thread stands still: the longest gap between two ticks of a timer
// of 1 ms while an operation is under way, by the facade and by a client, in a device on which all
// sorts of things hang. Then what a call costs, and how long a client takes to be deleted.
// Run it as: kelaccount-emulator run --sim 244-05-1234567890 -- stall
#include "account/facaderecorder.h"
#include "client/clientcalls.h"
#include "device/testtagserver.h"
#include "support/daemoncontrol.h"

#include <kelaccount/client.h>
#include <kelaccount/kelaccounts.h>
#include <kelaccount/registrationinfo.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QMap>
#include <QSet>
#include <QTcpSocket>
#include <QTest>
#include <QTimer>
#include <QUrl>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

using namespace KelAccount;
using namespace KelTest;

namespace {

constexpr int repetitions = 3;
constexpr int longestCallMs = 30000;

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

template <class Value>
Value median(std::vector<Value> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

// ---- The device
// ----------------------------------------------------------------------------------

void administer(const char* path, const QByteArray& body)
{
    const QUrl admin(qEnvironmentVariable("KELACCOUNT_EMULATOR_ADMIN"));
    QTcpSocket socket;
    socket.connectToHost(admin.host(), static_cast<quint16>(admin.port()), QIODevice::ReadWrite);
    socket.waitForConnected();
    socket.write("POST " + QByteArray(path) + " HTTP/1.1\r\nHost: localhost\r\nContent-Length: " +
                 QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n" + body);
    while (socket.waitForReadyRead()) {
    }
}

pid_t modemProcess()
{
    const QDBusConnectionInterface* const bus = QDBusConnection::systemBus().interface();
    const QDBusReply<uint> owner = bus->servicePid(QStringLiteral("org.ofono"));
    return owner.isValid() ? static_cast<pid_t>(owner.value()) : -1;
}

/// What is the matter with the device while an operation is under way.
struct Trouble
{
    const char* name;
    std::function<void()> begin;
    std::function<void()> end;
};

std::vector<Trouble> troubles()
{
    static std::unique_ptr<RunningTagServer> running;
    static std::unique_ptr<ThreadTagServer> hanging;
    const auto serveTags = [] { running = std::make_unique<RunningTagServer>(); };
    const auto endTags = [] { running.reset(); };
    return {
        {"none", serveTags, endTags},
        {"tag server to be started", [] { setStartedServerOptions({}); }, [] {}},
        {"tag server hangs",
         [] {
             hanging = std::make_unique<ThreadTagServer>([](int connection) {
                 char byte = 0;
                 while (recv(connection, &byte, 1, 0) > 0) {
                 }
             });
         },
         [] { hanging.reset(); }},
        {"daemon to be started",
         [serveTags] {
             serveTags();
             DaemonControl::kill();
         },
         endTags},
        {"modem service hangs",
         [serveTags] {
             serveTags();
             ::kill(modemProcess(), SIGSTOP);
         },
         [endTags] {
             ::kill(modemProcess(), SIGCONT);
             endTags();
         }},
        {"reply of 8 MiB",
         [serveTags] {
             serveTags();
             administer("/faults", "huge-body=8300000");
         },
         endTags},
    };
}

// ---- Gaps
// ----------------------------------------------------------------------------------------

/// For how long this thread was ready to run and others had the processors, so far.
qint64 nanosecondsInTheQueue()
{
    static const int file = ::open("/proc/thread-self/schedstat", O_RDONLY | O_CLOEXEC);
    char line[128] = {};
    long long run = 0;
    long long waited = 0;
    if (file < 0 || ::pread(file, line, sizeof line - 1, 0) <= 0 ||
        std::sscanf(line, "%lld %lld", &run, &waited) != 2)
        return 0;
    return waited;
}

/// The longest gap between ticks, in milliseconds, without the time in which other work of the
/// machine had the processors: from `begin` until `isOver` and a little longer.
double longestGap(const std::function<void()>& begin, const std::function<bool()>& isOver)
{
    QElapsedTimer clock;
    qint64 last = 0;
    qint64 lastInQueue = nanosecondsInTheQueue();
    qint64 longest = 0;
    QTimer ticks;
    ticks.setTimerType(Qt::PreciseTimer);
    QObject::connect(&ticks, &QTimer::timeout, [&] {
        const qint64 now = clock.nsecsElapsed();
        const qint64 inQueue = nanosecondsInTheQueue();
        longest = std::max(longest, now - last - (inQueue - lastInQueue));
        last = now;
        lastInQueue = inQueue;
    });
    clock.start();
    ticks.start(1);
    begin();
    QEventLoop loop;
    const auto wait = [&](int milliseconds, const std::function<bool()>& over) {
        const qint64 end = clock.elapsed() + milliseconds;
        while (!over() && clock.elapsed() < end)
            loop.processEvents(QEventLoop::WaitForMoreEvents);
    };
    wait(longestCallMs, isOver);
    wait(20, [] { return false; });
    return double(longest) / 1e6;
}

using FacadeCall = std::function<void(KelAccounts&)>;

FacadeCall facadeCall(const QString& name)
{
    static const QMap<QString, FacadeCall> calls = {
        {text("isUserIdAvailable"), [](auto& a) { a.isUserIdAvailable(text("bob")); }},
        {text("isEmailIdAvailable"),
         [](auto& a) { a.isEmailIdAvailable(text("bob@mail.example")); }},
        {text("retrieveCaptchaImage"), [](auto& a) { a.retrieveCaptchaImage(120, 40); }},
        {text("retrieveSecurityQuestionList"),
         [](auto& a) { a.retrieveSecurityQuestionList(text("de")); }},
        {text("detectPreAccount"), [](auto& a) { a.detectPreAccount(); }},
        {text("retrieveTermsOfService"),
         [](auto& a) { a.retrieveTermsOfService(text("shop"), text("fi"), text("FI"), 0); }},
        {text("queryMarketingVariant"), [](auto& a) { a.queryMarketingVariant(); }},
        {text("requestPasswordReset"),
         [](auto& a) {
             a.requestPasswordReset(text("bob"), text("read-by-bob"), false, QString());
         }},
        {text("retrievePasswordResetSecQuestion"),
         [](auto& a) { a.retrievePasswordResetSecQuestion(text("bob"), text("de")); }},
        {text("resetPasswordUsingSecurityQuestion"),
         [](auto& a) {
             a.resetPasswordUsingSecurityQuestion(text("bob"), text("token"), text("password"),
                                                  text("answer"));
         }},
        {text("close"), [](auto& a) { a.close(); }},
        {text("retrieveCountryCode"), [](auto& a) { a.retrieveCountryCode(); }},
        {text("registerAccount"),
         [](auto& a) {
             RegistrationInfo info;
             info.setEmailAddress(text("bob@mail.example"));
             info.setPassword(text("password"));
             a.registerAccount(info, true);
         }},
        {text("signInAndConfigure"),
         [](auto& a) { a.signInAndConfigure(text("alice"), text("secret"), true); }},
        {text("downloadProfile"), [](auto& a) { a.downloadProfile(); }},
        {text("updateSecurityQuestion"),
         [](auto& a) { a.updateSecurityQuestion(text("3"), text("answer")); }},
        {text("ensureTokenAvailable"), [](auto& a) { a.ensureTokenAvailable(0); }},
        {text("changePassword"), [](auto& a) { a.changePassword(text("secret"), text("secret")); }},
        {text("userIdUpdate"), [](auto& a) { a.userIdUpdate(text("alice")); }},
    };
    return calls.value(name);
}

template <class Party>
void introduce(Party& party);

template <>
void introduce(KelAccounts& accounts)
{
    accounts.initialize(text("demo-key"), text("demo-secret"), 2, text("shop"), QVariantMap());
}

template <>
void introduce(Client& client)
{
    client.initialize(text("demo-key"), text("demo-secret"), Server::Production, text("shop"));
}

double facadeGap(const QString& name)
{
    KelAccounts accounts;
    introduce(accounts);
    FacadeRecorder recorder(&accounts);
    bool atOnce = false;
    const auto begin = [&] {
        if (name == text("isCaptchaRequired"))
            accounts.isCaptchaRequired();
        else if (name == text("isKeLAccountConfigured"))
            accounts.isKeLAccountConfigured();
        else
            facadeCall(name)(accounts);
        atOnce = !facadeCall(name);
    };
    return longestGap(begin, [&] { return atOnce || !recorder.lines().isEmpty(); });
}

// A wrong password is answered later each time, so this one has to be right.
MadeCall changePassword(Client& client, Answers& answers, QObject* context)
{
    const auto call = client.changePassword(text("secret"), text("secret"));
    answers.expect(call, context);
    return {call, nullptr};
}

QVector<ClientCall> callsToMeasure()
{
    QVector<ClientCall> calls = clientCalls();
    for (ClientCall& call : calls) {
        if (text(call.name) == text("changePassword"))
            call.make = changePassword;
    }
    return calls;
}

double clientGap(const ClientCall& call)
{
    Client client;
    introduce(client);
    Answers answers;
    CallBase made;
    return longestGap([&] { made = call.make(client, answers, &client).call; },
                      [&] { return made.isFinished(); });
}

// The state that the operations of a signed-in user need, and the one that set-ups need.
void signedIn(bool wanted)
{
    Client client;
    introduce(client);
    DaemonControl::start();
    const bool is = client.isKeLAccountConfigured().future().result().result().isConfigured;
    if (is && !wanted)
        client.signOut().future().waitForFinished();
    else if (!is && wanted)
        client.signInAndConfigure(text("alice"), text("secret")).future().waitForFinished();
}

struct Cell
{
    double facade;
    double client;
};

Cell measure(const ClientCall& call, const Trouble& trouble)
{
    const QString name = text(call.name);
    const QSet<QString> setUps = {text("registerAccount"), text("signInAndConfigure")};
    std::vector<double> gaps[2];
    for (int i = 0; i < repetitions; ++i) {
        for (const bool byClient : {false, true}) {
            if (!byClient && name == text("signOut"))
                continue;
            signedIn(!setUps.contains(name));
            PretendedPeer::reset();
            trouble.begin();
            gaps[byClient].push_back(byClient ? clientGap(call) : facadeGap(name));
            trouble.end();
        }
    }
    administer("/faults", QByteArray());
    return {gaps[0].empty() ? -1 : median(gaps[0]), median(gaps[1])};
}

void printGaps()
{
    const double quiet = longestGap([] {},
                                    [timer = QElapsedTimer()]() mutable {
                                        if (!timer.isValid())
                                            timer.start();
                                        return timer.elapsed() > 500;
                                    });
    std::printf("Longest gap of the timer alone in half a second: %.1f ms\n\n", quiet);
    const std::vector<Trouble> all = troubles();
    std::printf("| facade / client, ms |");
    for (const Trouble& trouble : all)
        std::printf(" %s |", trouble.name);
    std::printf("\n|---|");
    for (std::size_t i = 0; i < all.size(); ++i)
        std::printf("---:|");
    std::printf("\n");
    double worst = 0;
    for (const ClientCall& call : callsToMeasure()) {
        if (text(call.name) == text("initialize"))
            continue;
        std::printf("| `%s` |", call.name);
        for (const Trouble& trouble : all) {
            const Cell cell = measure(call, trouble);
            worst = std::max(worst, cell.client);
            if (cell.facade < 0)
                std::printf(" - / %.1f |", cell.client);
            else
                std::printf(" %.1f / %.1f |", cell.facade, cell.client);
            std::fflush(stdout);
        }
        std::printf("\n");
    }
    std::printf("\nThe client's worst: %.1f ms\n", worst);
}

// ---- One call
// ------------------------------------------------------------------------------------

// A refused one: nothing of it but the way there and back.
void printCosts()
{
    constexpr int calls = 2000;
    KelAccounts accounts;
    Client client;
    QEventLoop loop;
    std::vector<double> facade;
    std::vector<double> through;
    QObject::connect(&accounts, &KelAccounts::isUserIdAvailableResponse, &loop, &QEventLoop::quit);
    for (int i = 0; i < calls; ++i) {
        QElapsedTimer clock;
        clock.start();
        accounts.isUserIdAvailable(text("bob"));
        loop.exec();
        facade.push_back(double(clock.nsecsElapsed()) / 1000);
        clock.restart();
        client.isUserIdAvailable(text("bob"))
            .then(
                &loop, [] {}, [&loop] { loop.quit(); });
        loop.exec();
        through.push_back(double(clock.nsecsElapsed()) / 1000);
    }
    std::printf("\n| a call that is refused, from call to answer | median |\n|---|---:|\n"
                "| facade | %.1f us |\n| client | %.1f us |\n| more | %.1f us |\n",
                median(facade), median(through), median(through) - median(facade));
}

double deletionMs(const std::function<void(Client&)>& occupy)
{
    std::vector<double> times;
    for (int i = 0; i < repetitions * 3; ++i) {
        auto client = std::make_unique<Client>();
        introduce(*client);
        occupy(*client);
        QElapsedTimer clock;
        clock.start();
        client.reset();
        times.push_back(double(clock.nsecsElapsed()) / 1e6);
    }
    return *std::max_element(times.begin(), times.end());
}

void printDeletions()
{
    const auto none = [](Client& client) { client.close().future().waitForFinished(); };
    std::atomic<int> asked{0};
    const auto reading = [&asked](Client& client) {
        PretendedPeer::reset();
        const int before = asked;
        client.isCaptchaRequired();
        while (asked == before)
            QTest::qSleep(1);
    };
    std::printf("\n| deleting a client that | longest of 9 |\n|---|---:|\n");
    std::printf("| has nothing to do | %.1f ms |\n", deletionMs(none));
    {
        const ThreadTagServer tags([&asked](int connection) {
            ++asked;
            char byte = 0;
            while (recv(connection, &byte, 1, 0) > 0) {
            }
        });
        std::printf("| reads a service tag | %.1f ms |\n", deletionMs(reading));
    }
    signedIn(true);
    const pid_t daemon = DaemonControl::processId();
    ::kill(daemon, SIGSTOP);
    std::printf("| opens a session | %.1f ms |\n", deletionMs([](Client& client) {
                    client.downloadProfile();
                    QTest::qSleep(20);
                }));
    ::kill(daemon, SIGCONT);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (qEnvironmentVariableIsEmpty("KELACCOUNT_EMULATOR_ADMIN") || modemProcess() <= 0) {
        std::fprintf(stderr, "run it inside kelaccount-emulator run --sim ...\n");
        return 1;
    }
    printGaps();
    printCosts();
    printDeletions();
    signedIn(false);
    return 0;
}
