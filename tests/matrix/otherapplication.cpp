// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/otherapplication.h"

#include "matrix/breakages.h"
#include "matrix/call.h"
#include "matrix/faults.h"
#include "matrix/seams.h"
#include "support/allaccounts.h"
#include "support/literals.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QProcess>

#include <csignal>
#include <cstdio>
#include <iostream>
#include <string>
#include <sys/prctl.h>

using namespace KelTest;

namespace Matrix {

namespace {

constexpr int patienceMs = 60000;
// Nobody's cell, so that it is answered while another's answers are held back.
constexpr int ownSlot = slotCount - 1;

/// Without what another call says meanwhile.
std::string statusOf(Caller& caller, void (Caller::*act)())
{
    QElapsedTimer since;
    since.start();
    (caller.*act)();
    while (caller.answers() == 0 && since.elapsed() < patienceMs)
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    return caller.answers() == 0 ? "none" : caller.status().toStdString();
}

std::unique_ptr<Caller> callerOf(const char* operation, int server)
{
    Row row;
    row.door = "client"_s;
    row.name = text(operation);
    return Caller::make(row, server);
}

int numberOf(const std::string& fault)
{
    for (size_t i = 0; i < faults().size(); ++i) {
        if (faults()[i].name == fault)
            return static_cast<int>(i);
    }
    return 0;
}

class Process : public QProcess
{
public:
    void begin(int server)
    {
        setProcessChannelMode(QProcess::ForwardedErrorChannel);
        start(QCoreApplication::applicationFilePath(), {text(besideMark), QString::number(server)});
    }
    void tell(const char* what) { write(QByteArray(what) + '\n'); }
    /// The next line; empty when none comes. Not by the event loop: nobody else's turn has come.
    QByteArray hear()
    {
        QElapsedTimer since;
        since.start();
        while (!canReadLine() && state() != QProcess::NotRunning && since.elapsed() < patienceMs)
            waitForReadyRead(100);
        return readLine().trimmed();
    }
    bool finish()
    {
        closeWriteChannel();
        return state() == QProcess::NotRunning || waitForFinished(patienceMs);
    }

protected:
    void setupChildProcess() override { ::prctl(PR_SET_PDEATHSIG, SIGKILL); }
};

/// It asks for the profile again and again, from before the operation until after it.
class Asks : public Breakage
{
public:
    bool begin() override
    {
        mOther.begin(0);
        mOther.tell("asks");
        if (mOther.hear().isEmpty())
            return false;
        ++mMet;
        QObject::connect(&mOther, &QProcess::readyRead, &mOther, [this] {
            mOther.readAll();
            mOther.tell("asks");
        });
        mOther.tell("asks");
        return true;
    }
    bool end() override
    {
        mOther.disconnect();
        return mOther.finish();
    }
    int met() const override { return mMet; }

private:
    Process mOther;
    int mMet = 0;
};

/// Does one thing while the service is asked.
class Acts : public Breakage
{
public:
    explicit Acts(const char* what) : mWhat(what) {}
    ~Acts() override
    {
        mOther.disconnect();
        mOther.finish();
    }
    bool begin() override
    {
        mOther.begin(serverOf(0, ownSlot));
        QObject::connect(&mOther, &QProcess::readyRead, &mOther,
                         [this] { mStatus += mOther.readAll(); });
        return mOther.waitForStarted(patienceMs);
    }
    void onAsked() override
    {
        if (!mIsTold)
            mOther.tell(mWhat);
        mIsTold = true;
    }
    bool hasHappened() override { return mStatus.contains('\n'); }
    bool end() override
    {
        mOther.disconnect();
        // What it has made is not to be met by the next call.
        if (mStatus == "0\n" && mWhat == std::string("signs-in")) {
            mOther.tell("signs-out");
            if (mOther.hear() != "0")
                return false;
        }
        return mOther.finish();
    }
    int met() const override { return mStatus.isEmpty() ? 0 : 1; }

private:
    const char* const mWhat;
    Process mOther;
    QByteArray mStatus;
    bool mIsTold = false;
};

/// Was killed while the service did not answer it.
class Killed : public Breakage
{
public:
    bool begin() override
    {
        Slot& slot = sharedState()->places[ownSlot];
        slot.hits = 0;
        slot.isReleased = 0;
        slot.fault = numberOf("process-killed");
        Process other;
        other.begin(serverOf(0, ownSlot));
        other.tell("signs-in");
        QElapsedTimer since;
        since.start();
        // With an account on the device it is refused before.
        while (slot.hits == 0 && !other.canReadLine() && since.elapsed() < patienceMs)
            other.waitForReadyRead(5);
        mMet = slot.hits;
        const bool isAsRefused = other.canReadLine();
        other.kill();
        other.waitForFinished(patienceMs);
        slot.fault = 0;
        return mMet > 0 || isAsRefused;
    }
    int met() const override { return mMet; }

private:
    int mMet = 0;
};

} // namespace

std::unique_ptr<Breakage> otherApplication(const std::string& name)
{
    if (name == "process-asks")
        return std::make_unique<Asks>();
    if (name == "process-signs-in")
        return std::make_unique<Acts>("signs-in");
    if (name == "process-removes")
        return std::make_unique<Acts>("removes");
    if (name == "process-killed")
        return std::make_unique<Killed>();
    return nullptr;
}

int runBeside(int argc, char** argv)
{
    const QGuiApplication application(argc, argv);
    const int server = argc > 2 ? std::atoi(argv[2]) : 0;
    const auto asking = callerOf("downloadProfile", server);
    const auto signingIn = callerOf("signInAndConfigure", server);
    std::string line;
    while (std::getline(std::cin, line)) {
        std::string status = "0";
        if (line == "asks")
            status = statusOf(*asking, &Caller::call);
        else if (line == "signs-in")
            status = statusOf(*signingIn, &Caller::call);
        else if (line == "signs-out")
            status = statusOf(*signingIn, &Caller::signOut);
        else if (line != "removes" || !removeAllAccounts())
            status = "?";
        std::cout << status << std::endl;
    }
    return 0;
}

} // namespace Matrix
