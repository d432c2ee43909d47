// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/sessionscenarios.h"

#include <QDir>
#include <QFile>
#include <QTimer>

#include <csignal>
#include <memory>
#include <utility>

namespace KelTest {

namespace {

const QString hidden = "privateMechanism_"_s;

/// "text", or ":17", ":true", ":list" or ":null" of another type.
QVariant valueOf(QString text)
{
    if (!text.startsWith(QLatin1Char(':')))
        return text.replace("\\n"_s, "\n"_s);
    if (text == ":true"_s || text == ":false"_s)
        return text == ":true"_s;
    if (text == ":list"_s)
        return QVariantList{1, 0};
    return text == ":null"_s ? QVariant() : text.mid(1).toInt();
}

} // namespace

SessionScenarios::SessionScenarios(SessionSandbox& sandbox) : mSession(sandbox)
{
    addWordsForProcesses();
    addWordsForStores();
}

void SessionScenarios::addWordsForProcesses()
{
    word("plugin", [this](const QString& step) { return addPluginStep(step); });
    word("asked", [this](const QString& names) { return compareAsked(names); });
    word("sent", [this](const QString& text) { return compareSent(text); });
    word("cancelled", [this](const QString& count) {
        return waitUntil([&] { return mSession.cancellations() >= count.toInt(); }) &&
               mSession.cancellations() == count.toInt();
    });
    word("pause", [this](const QString& ms) {
        passTime(ms.toInt());
        return true;
    });
    word("later", [this](const QString& rest) {
        const int ms = rest.section(QLatin1Char(' '), 0, 0).toInt();
        auto* const timer = new QTimer(&mContext);
        timer->setSingleShot(true);
        QObject::connect(timer, &QTimer::timeout, &mContext,
                         prepared(rest.section(QLatin1Char(' '), 1)));
        timer->start(ms);
        return ms >= 0;
    });
    word("comes-to-pass",
         [this](const QString&) { return waitUntil([this] { return mPrepared == 0; }, 8000); });
    word("at", [this](const QString& rest) { return prepareForRequest(rest); });
    word("kill", [this](const QString& name) {
        if (name != "daemon"_s)
            return signalProcess(name, SIGKILL);
        mStopped = 0;
        return SessionSandbox::killDaemon();
    });
    word("end", [this](const QString& name) { return signalProcess(name, SIGTERM); });
    word("stop", [this](const QString& name) { return signalProcess(name, SIGSTOP); });
    word("continue", [this](const QString& name) { return signalProcess(name, SIGCONT); });
    word("daemon", [this](const QString& what) { return change(what); });
    word("logged", [this](const QString& line) {
        const QStringList all = mLog->all();
        return all.contains(line) || (line.endsWith(QLatin1Char('*')) &&
                                      all.join(QLatin1Char('\n')).contains(line.chopped(1)));
    });
    word("unlogged", [this](const QString& text) {
        return !mLog->all().join(QLatin1Char('\n')).contains(text);
    });
    word("logged-once", [this](const QString& text) {
        return mLog->all().join(QLatin1Char('\n')).count(text) == 1;
    });
    word("log", [this](const QString& all) {
        const QString logged = mLog->all().join(QLatin1Char('\n'));
        mLog.emplace();
        return all == "anew"_s ? QString() : same(logged, all == "empty"_s ? QString() : all);
    });
}

void SessionScenarios::addWordsForStores()
{
    word("credentials",
         [this](const QString& what) { return setCredentialsReadable(what == "readable"_s); });
    word("secrets", [this](const QString& statement) {
        return sqliteChange(mSession.session().path("credentials/signon-secrets.db"_s), statement);
    });
    word("accounts", [this](const QString& what) { return changeAccounts(what); });
    word("in", [this](const QString& text) {
        const QString store = text.section(QLatin1Char(' '), 0, 0);
        const QString query = text.section(QLatin1Char(' '), 1).section(" => "_s, 0, 0);
        return same(textOf(store == "accounts"_s      ? mSession.accounts(query)
                           : store == "credentials"_s ? mSession.credentials(query)
                                                      : mSession.secrets(query)),
                    text.section(" => "_s, 1));
    });
}

/// Kills the daemon and puts a folder in the place of its database, or takes it away again.
bool SessionScenarios::setCredentialsReadable(bool readable) const
{
    const QString database = mSession.session().path("credentials/signon.db"_s);
    const QString away = database + ".away"_s;
    if (!SessionSandbox::killDaemon())
        return false;
    return readable ? QDir().rmdir(database) && QFile::rename(away, database)
                    : QFile::rename(database, away) && QDir().mkdir(database);
}

bool SessionScenarios::changeAccounts(const QString& what)
{
    const QString file = mSession.session().path("accounts/accounts.db"_s);
    if (what == "missing"_s)
        return qputenv("ACCOUNTS", "/proc/nonexistent");
    if (what == "back"_s)
        return qputenv("ACCOUNTS", mAccountsFolder);
    if (what == "locked"_s)
        mLock = std::make_unique<SqliteLock>(file);
    else if (what == "free"_s)
        mLock.reset();
    else
        return sqliteChange(file, what);
    return !mLock || mLock->isHeld();
}

QVariantMap SessionScenarios::dataOf(const QString& text)
{
    QVariantMap data;
    const QStringList items = text.split(QLatin1Char('|'), Qt::SkipEmptyParts);
    for (const QString& item : items)
        data.insert(item.section(QLatin1Char('='), 0, 0).trimmed(),
                    valueOf(item.section(QLatin1Char('='), 1).trimmed()));
    return data;
}

QString SessionScenarios::textOf(const QList<QVariantList>& rows)
{
    QStringList lines;
    for (const QVariantList& row : rows)
        lines.append(QVariant(row).toStringList().join(QLatin1Char('|')));
    return lines.join(", "_s);
}

QString SessionScenarios::problemOf(const QStringList& lines)
{
    mSteps.clear();
    mProblemLater.clear();
    mPrepared = 0;
    mStopped = 0;
    mAccountsFolder = qgetenv("ACCOUNTS");
    mLog.emplace();
    QString problem = run(lines);
    mLock.reset();
    qputenv("ACCOUNTS", mAccountsFolder);
    if (mStopped > 1)
        ::kill(mStopped, SIGCONT);
    if (mIsDaemonMissing)
        change("installed"_s);
    const QStringList logged = mLog->all();
    mLog.reset();
    qDeleteAll(mContext.children());
    if (problem.isEmpty())
        problem = mProblemLater;
    if (problem.isEmpty() && mPrepared != 0)
        problem = "what was prepared did not come to pass"_s;
    return problem.isEmpty() ? problem : problem + "\nlogged: "_s + logged.join(QLatin1Char('\n'));
}

QString SessionScenarios::whichHolds(const QString& scenarios)
{
    const QStringList all = scenarios.split(QLatin1Char('\n'));
    for (const QString& scenario : all) {
        if (problemOf(scenario.trimmed().split("; "_s)).isEmpty())
            return scenario;
    }
    return {};
}

std::function<void()> SessionScenarios::prepared(const QString& steps)
{
    ++mPrepared;
    return [this, steps, isDone = std::make_shared<bool>(false)] {
        --mPrepared;
        const QString problem = std::exchange(*isDone, true) ? steps + " came to pass twice"_s
                                                             : run(steps.split("; "_s));
        if (mProblemLater.isEmpty())
            mProblemLater = problem;
    };
}

QString SessionScenarios::mechanismOf(const QString& name)
{
    static const QStringList ownWords{"initialise"_s, "signIn"_s, "token"_s, "setUserId"_s,
                                      "close"_s};
    return ownWords.contains(name) ? name : hidden + name;
}

QString SessionScenarios::step(const QString& word, const QString& rest, const QString& /*more*/)
{
    const auto known = mWords.constFind(word);
    return known == mWords.cend() ? "what does it mean?"_s : (*known)(rest);
}

/// "token fails 604 after 100: A=b | C=d", and "as ever".
bool SessionScenarios::addPluginStep(const QString& text)
{
    static const QHash<QString, int> actions = {{"answers"_s, PluginStep::Answer},
                                                {"fails"_s, PluginStep::Err},
                                                {"hangs"_s, PluginStep::Hang},
                                                {"dies"_s, PluginStep::Die},
                                                {"ignores"_s, PluginStep::IgnoreCancel}};
    const QStringList words = text.section(": "_s, 0, 0).split(QLatin1Char(' '));
    if (text == "as ever"_s)
        mSteps.clear();
    else if (!actions.contains(words.value(1)))
        return false;
    else
        mSteps.append({words.first() == "anything"_s ? QString() : mechanismOf(words.first()),
                       actions.value(words.at(1)), dataOf(text.section(": "_s, 1)),
                       words.at(1) == "fails"_s ? words.value(2).toInt() : 0,
                       words.value(words.indexOf("after"_s) + 1).toInt()});
    mSession.script(mSteps);
    return true;
}

/// "signIn kill daemon; ..."
bool SessionScenarios::prepareForRequest(const QString& text)
{
    const QString mechanism = mechanismOf(text.section(QLatin1Char(' '), 0, 0));
    const auto action = prepared(text.section(QLatin1Char(' '), 1));
    auto* const timer = new QTimer(&mContext);
    QObject::connect(timer, &QTimer::timeout, &mContext, [this, timer, mechanism, action] {
        if (!mSession.mechanisms().contains(mechanism))
            return;
        timer->stop();
        action();
    });
    timer->start(5);
    return true;
}

QString SessionScenarios::compareAsked(const QString& names)
{
    const QStringList expected =
        names == "nothing"_s ? QStringList() : names.split(QLatin1Char(' '));
    mSession.waitForRequests(expected.size());
    QStringList asked = mSession.mechanisms();
    return same(asked.replaceInStrings(hidden, QString()).join(QLatin1Char(' ')),
                expected.join(QLatin1Char(' ')));
}

/// "2 KEY=value" of the second request.
QString SessionScenarios::compareSent(const QString& text)
{
    const QString item = text.section(QLatin1Char(' '), 1);
    const QVariant expected = valueOf(item.section(QLatin1Char('='), 1));
    const QVariant sent = mSession.requests()
                              .value(text.section(QLatin1Char(' '), 0, 0).toInt() - 1)
                              .data.value(item.section(QLatin1Char('='), 0, 0));
    return sent == expected && sent.userType() == expected.userType()
               ? QString()
               : "it is "_s + sent.toString();
}

bool SessionScenarios::signalProcess(const QString& name, int signal)
{
    const QHash<QString, pid_t> processes = {
        {"plugin"_s, mSession.pluginProcessId()},
        {"bus"_s, pid_t(mSession.session().busProcessId())},
        {"daemon"_s, mStopped ? mStopped : SessionSandbox::daemonProcessId()}};
    const pid_t process = processes.value(name);
    if (signal != SIGTERM) // which a stopped process gets when it goes on
        mStopped = signal == SIGSTOP ? process : 0;
    return process > 1 && ::kill(process, signal) == 0;
}

bool SessionScenarios::change(const QString& what)
{
    if (what == "starts"_s)
        return SessionSandbox::startDaemon();
    mIsDaemonMissing = what == "missing"_s;
    mSession.setDaemonInstalled(!mIsDaemonMissing);
    return mIsDaemonMissing || what == "installed"_s;
}

} // namespace KelTest
