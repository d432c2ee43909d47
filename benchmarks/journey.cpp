// SPDX-License-Identifier: LGPL-2.1-or-later
// Round trips of a client's operations, and of what a person goes through, over a network with
// latency: beside a bare QNetworkAccessManager and libcurl, which only carry as many bytes.
// Run it as: kelaccount-emulator run --latency 0ms --sim 244-05-1234567890
//     --tag-server --pre-account 1234567890,carol -- journey [--check | MILLISECONDS...]
// With --check it names the round trips that are more than there should be, and fails.
#include "journey_surroundings.h"

#include <kelaccount/client.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <cstdio>
#include <functional>
#include <optional>
#include <vector>

using namespace KelAccount;

namespace {

/// Whether the call succeeded, when it has ended.
template <class Result>
bool succeeds(const Call<Result>& call, Result* into = nullptr)
{
    QEventLoop loop;
    bool good = false;
    call.then(
        &loop,
        [&](const Result& result) {
            good = true;
            if (into)
                *into = result;
            loop.quit();
        },
        [&](const Failure& failure) {
            std::fprintf(stderr, "journey: %s: %d %s\n", qPrintable(call.operation()),
                         failure.status, qPrintable(failure.name));
            loop.quit();
        });
    loop.exec();
    return good;
}

void pass(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

std::unique_ptr<Client> newClient()
{
    auto client = std::make_unique<Client>();
    // Asks nobody.
    succeeds(client->initialize(QStringLiteral("demo-key"), QStringLiteral("demo-secret"),
                                Server::Production, QString()));
    return client;
}

/// A row of the tables; what is not there was not measured.
struct Row
{
    QString name;
    std::optional<Taken> first;     ///< of a client that has asked nobody yet
    std::optional<Taken> prepared;  ///< of such a client behind prepare()
    std::optional<Taken> next;      ///< with the connections of what was before
    std::optional<Taken> bare[2];   ///< the same two by a bare manager
    std::optional<Taken> curled[2]; ///< and by libcurl

    /// Each exchange needs the answer of the one before.
    int bound() const { return (first ? first : next)->exchanges.size(); }
};

// Whose accounts have been made.
int users = 0;
int setUps = 0;
// Of a round trip, in milliseconds.
int latency = 0;

using Operation = std::function<bool(Client&)>;
struct Step
{
    const char* name;
    Operation run;
};

class Journey
{
public:
    std::vector<Row> rows;

    void serviceOperations();
    void typing();
    void registration();
    void signInAndSession();
    void compare();
    /// Names what misses its goal; true when nothing does.
    bool reachesGoals() const;

private:
    Taken typed(const QString& row, bool isPrepared);
    std::unique_ptr<Client> registered(const QString& row, bool isPrepared, Taken& taken);
    std::unique_ptr<Client> signedIn(const QString& row, bool isPrepared, Taken& taken);
    void prepare(Client& client);
    void deviceIsTold();
    void next(Client& client, const char* name, const Operation& run);

    Administration mAdministration;
};

void Journey::serviceOperations()
{
    const QString asker = QStringLiteral("asker%1").arg(++users);
    mAdministration.post(QStringLiteral("/accounts"),
                         "{\"userName\": \"" + asker.toUtf8() +
                             "\", \"securityQuestion\": \"1\", \"securityAnswer\": \"Rex\"}");
    const QString english = QStringLiteral("en");
    const Step steps[] = {
        {"isUserIdAvailable",
         [](Client& c) { return succeeds(c.isUserIdAvailable(QStringLiteral("bob"))); }},
        {"isEmailIdAvailable",
         [](Client& c) {
             return succeeds(c.isEmailIdAvailable(QStringLiteral("bob@example.org")));
         }},
        {"retrieveCaptchaImage",
         [](Client& c) { return succeeds(c.retrieveCaptchaImage(200, 80)); }},
        {"retrieveSecurityQuestionList",
         [=](Client& c) { return succeeds(c.retrieveSecurityQuestionList(english)); }},
        {"detectPreAccount", [](Client& c) { return succeeds(c.detectPreAccount()); }},
        {"retrieveTermsOfService",
         [=](Client& c) {
             return succeeds(c.retrieveTermsOfService(QStringLiteral("sync"), english,
                                                      QStringLiteral("FI"), TermsFormat::Html));
         }},
        {"queryMarketingVariant", [](Client& c) { return succeeds(c.queryMarketingVariant()); }},
        {"retrievePasswordResetSecQuestion",
         [=](Client& c) { return succeeds(c.retrievePasswordResetSecQuestion(asker, english)); }},
    };
    for (const Step& step : steps) {
        const auto client = newClient();
        Row row;
        row.name = QLatin1String(step.name);
        const auto work = [&] { return step.run(*client); };
        row.first = mAdministration.measured(row.name, work);
        row.next = mAdministration.measured(row.name, work);
        const auto another = newClient();
        prepare(*another);
        row.prepared = mAdministration.measured(row.name, [&] { return step.run(*another); });
        rows.push_back(row);
    }
}

// What is waited for is the answer behind the last letter.
void Journey::typing()
{
    Row row;
    row.name = QStringLiteral("availability, typing ten letters");
    row.first = typed(row.name, false);
    row.prepared = typed(row.name, true);
    rows.push_back(row);
}

Taken Journey::typed(const QString& row, bool isPrepared)
{
    const auto client = newClient();
    if (isPrepared)
        client->prepare();
    constexpr int betweenLetters = 120;
    constexpr std::chrono::milliseconds pause(300);
    const QString name = QStringLiteral("tenletters");
    for (int length = 1; length < name.size(); ++length) {
        client->isUserIdAvailable(name.left(length), Debounce{pause});
        pass(betweenLetters);
    }
    Taken taken = mAdministration.measured(
        row, [&] { return succeeds(client->isUserIdAvailable(name, Debounce{pause})); });
    taken.milliseconds -= static_cast<double>(pause.count());
    return taken;
}

// As when a screen opens: there is time until somebody has typed something.
void Journey::prepare(Client& client)
{
    // One for what is asked in this process, and one for a set-up in the plugin's.
    constexpr int connections = 2;
    const int before = mAdministration.handshakes();
    client.prepare();
    while (mAdministration.handshakes() < before + connections) {
    }
    // The service has it standing before the client knows.
    pass(latency);
}

// Behind a set-up, the service is told of the device. Nobody waits for that, but what comes next.
void Journey::deviceIsTold()
{
    constexpr int updateDeviceInfo = 26;
    mAdministration.waitForOperation(updateDeviceInfo, ++setUps);
    // Its answer is under way.
    pass(latency);
    constexpr int enoughOnThisMachine = 50;
    pass(enoughOnThisMachine);
    mAdministration.newExchanges();
}

void Journey::next(Client& client, const char* name, const Operation& run)
{
    Row row;
    row.name = QLatin1String(name);
    row.next = mAdministration.measured(row.name, [&] { return run(client); });
    rows.push_back(row);
}

std::unique_ptr<Client> Journey::registered(const QString& row, bool isPrepared, Taken& taken)
{
    auto client = newClient();
    if (isPrepared)
        prepare(*client);
    Registration form;
    form.emailAddress = QStringLiteral("walker%1@example.org").arg(++users);
    form.password = QStringLiteral("s3cret-walk");
    form.dateOfBirth = QDate(1990, 2, 28);
    form.country = QStringLiteral("FI");
    form.language = QStringLiteral("en");
    Captcha captcha;
    taken = mAdministration.measured(
        row, [&] { return succeeds(client->retrieveCaptchaImage(200, 80), &captcha); });
    form.captchaId = captcha.id;
    form.captchaText = mAdministration.captchaText(captcha.id);
    const Taken second =
        mAdministration.measured(row, [&] { return succeeds(client->registerAccount(form)); });
    taken.rounds += second.rounds;
    taken.milliseconds += second.milliseconds;
    taken.exchanges += second.exchanges;
    deviceIsTold();
    return client;
}

void Journey::registration()
{
    Row row;
    row.name = QStringLiteral("captcha, registration");
    Taken taken;
    succeeds(registered(row.name, true, taken)->signOut());
    row.prepared = taken;
    // Not prepared: what is renewed behind the next operations would be counted with them.
    const auto client = registered(row.name, false, taken);
    row.first = taken;
    rows.push_back(row);

    const QString user = QStringLiteral("walker%1").arg(users);
    next(*client, "userIdUpdate", [&](Client& c) { return succeeds(c.userIdUpdate(user)); });
    next(*client, "signOut", [](Client& c) { return succeeds(c.signOut()); });
}

std::unique_ptr<Client> Journey::signedIn(const QString& row, bool isPrepared, Taken& taken)
{
    const QString user = QStringLiteral("resident%1").arg(++users);
    mAdministration.post(QStringLiteral("/accounts"), user.toUtf8());
    auto client = newClient();
    if (isPrepared)
        prepare(*client);
    taken = mAdministration.measured(
        row, [&] { return succeeds(client->signInAndConfigure(user, QStringLiteral("secret"))); });
    deviceIsTold();
    return client;
}

void Journey::signInAndSession()
{
    const QString password = QStringLiteral("secret");
    const QString other = QStringLiteral("another-secret");
    Row row;
    row.name = QStringLiteral("sign-in");
    Taken taken;
    succeeds(signedIn(row.name, true, taken)->signOut());
    row.prepared = taken;
    const auto client = signedIn(row.name, false, taken);
    row.first = taken;
    rows.push_back(row);
    next(*client, "downloadProfile", [](Client& c) { return succeeds(c.downloadProfile()); });
    next(*client, "updateSecurityQuestion", [](Client& c) {
        return succeeds(c.updateSecurityQuestion(QStringLiteral("1"), QStringLiteral("an answer")));
    });
    next(*client, "changePassword",
         [&](Client& c) { return succeeds(c.changePassword(password, other)); });
    next(*client, "ensureTokenAvailable",
         [](Client& c) { return succeeds(c.ensureTokenAvailable()); });
    // The plugin's connection is too old by then.
    constexpr int pause = 4500;
    pass(pause);
    Row profile;
    profile.name = QStringLiteral("profile after a pause");
    profile.first =
        mAdministration.measured(profile.name, [&] { return succeeds(client->downloadProfile()); });
    rows.push_back(profile);
    succeeds(client->signOut());
}

/// The bytes of each row, by who does nothing but carry them.
void Journey::compare()
{
    for (Row& row : rows) {
        const Exchanges exchanges = (row.first ? row.first : row.next)->exchanges;
        const auto carrying = [&](std::optional<Taken>(&taken)[2],
                                  std::unique_ptr<Carrier> carrier) {
            for (auto& one : taken)
                one = mAdministration.measured(row.name, [&] { return carrier->carry(exchanges); });
        };
        carrying(row.bare, Carrier::bareManager());
        carrying(row.curled, Carrier::curl());
    }
}

bool Journey::reachesGoals() const
{
    bool good = true;
    const auto check = [&good](const Row& row, const char* when, const std::optional<Taken>& taken,
                               int most) {
        if (!taken || taken->rounds <= most)
            return;
        std::printf("too many round trips: %s, %s: %d instead of %d\n", qPrintable(row.name), when,
                    taken->rounds, most);
        good = false;
    };
    for (const Row& row : rows) {
        // Its connection, the tunnel, TLS, and what is asked.
        constexpr int ofConnecting = 3;
        const bool isSetUp = row.bound() > 1 || row.name == QLatin1String("sign-in");
        check(row, "next", row.next, row.bound());
        check(row, "first", row.first, row.bound() + (row.bound() > 1 ? 2 : 1) * ofConnecting);
        // A set-up is done by the sign-on plugin, in another process.
        check(row, "behind prepare()", row.prepared, row.bound() + (isSetUp ? 1 : 0));
    }
    return good;
}

template <class Text>
void print(const std::vector<Row>& rows, const char* title, Text text)
{
    std::printf("\n%s\n\n| | bound | first | prepared | next | bare manager, first | next | "
                "libcurl, first | next |\n|---|---:|---:|---:|---:|---:|---:|---:|---:|\n",
                title);
    const auto cell = [&](const std::optional<Taken>& taken) {
        return taken ? text(*taken) : QStringLiteral("-");
    };
    for (const Row& row : rows) {
        std::printf("| %s | %d | %s | %s | %s |", qPrintable(row.name), row.bound(),
                    qPrintable(cell(row.first)), qPrintable(cell(row.prepared)),
                    qPrintable(cell(row.next)));
        std::printf(" %s | %s | %s | %s |\n",
                    qPrintable(row.first ? cell(row.bare[0]) : QStringLiteral("-")),
                    qPrintable(row.next ? cell(row.bare[1]) : QStringLiteral("-")),
                    qPrintable(row.first ? cell(row.curled[0]) : QStringLiteral("-")),
                    qPrintable(row.next ? cell(row.curled[1]) : QStringLiteral("-")));
    }
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    std::vector<int> latencies;
    const bool checks = application.arguments().contains(QStringLiteral("--check"));
    constexpr int enoughToTellRoundsApart = 100;
    if (checks)
        // On a machine that stands still for seconds, connections grow old between two steps, and
        // what is opened then is counted. It is never too few that are, so the best run counts.
        latencies.assign(3, enoughToTellRoundsApart);
    else
        for (const QString& argument : application.arguments().mid(1))
            latencies.push_back(argument.toInt());
    if (latencies.empty())
        latencies = {0, 100, 300};
    Administration administration;
    for (const int each : latencies) {
        latency = each;
        if (!administration.setLatency(latency)) {
            std::fprintf(stderr, "journey: run it inside kelaccount-emulator run\n");
            return 1;
        }
        Journey journey;
        journey.serviceOperations();
        journey.typing();
        journey.registration();
        journey.signInAndSession();
        if (checks) {
            if (journey.reachesGoals())
                return 0;
            continue;
        }
        journey.compare();
        if (latency == latencies.back())
            print(journey.rows, "Round trips",
                  [](const Taken& taken) { return QString::number(taken.rounds); });
        const QByteArray title = "Milliseconds, a round trip taking " + QByteArray::number(latency);
        print(journey.rows, title.constData(),
              [](const Taken& taken) { return QString::number(taken.milliseconds, 'f', 0); });
    }
    return checks ? 1 : 0;
}
