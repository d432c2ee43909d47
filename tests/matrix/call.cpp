// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/call.h"

#include "account/facaderecorder.h"
#include "client/clientcalls.h"
#include "operations/facadecalls.h"

#include <kelaccount/client.h>
#include <kelaccount/kelaccounts.h>
#include <kelaccount/registrationinfo.h>

using namespace KelTest;
using KelAccount::Client;
using KelAccount::KelAccounts;

namespace Matrix {

namespace {

const QString user = "bob"_s;

class FacadeCaller : public Caller
{
public:
    FacadeCaller(const Row& row, int server) : Caller(row), mServer(server)
    {
        if (mRow.method.name() != "initialize")
            initialize();
        mRecorder.clear();
        mRecorder.afterwards = [this](const QString&) {
            answered(statusOf(mRecorder.lines().last()));
        };
        mRegistration.setUsername("new.user"_s);
        mRegistration.setEmailAddress("new.user@mail.example"_s);
        mRegistration.setPassword("the-new-password"_s);
    }

protected:
    void begin() override
    {
        const QByteArray name = mRow.method.name();
        mRecorder.clear();
        if (name == "initialize")
            initialize();
        else if (name == "initValues")
            mAccounts.initValues({}, {}, 0);
        else if (name == "registerAccount")
            mRow.method.parameterType(0) == QMetaType::QObjectStar
                ? mAccounts.registerAccount(static_cast<QObject*>(&mRegistration), true)
                : mAccounts.registerAccount(mRegistration, true);
        else if (name == "signInAndConfigure")
            mAccounts.signInAndConfigure(user, passwordAfter(0), true);
        else if (name == "isCaptchaRequired")
            answered(mAccounts.isCaptchaRequired() ? "yes"_s : "no"_s);
        else if (name == "isKeLAccountConfigured")
            answered(mAccounts.isKeLAccountConfigured() ? "yes"_s : "no"_s);
        else if (name == "changePassword")
            mAccounts.changePassword(passwordAfter(mChanges), passwordAfter(mChanges + 1));
        else
            beginByTheTables(name);
    }
    void beginSignIn(const QString& password) override
    {
        mAccounts.signInAndConfigure(user, password, true);
    }
    // The facade cannot sign out; an application has the client for that.
    void beginSignOut() override
    {
        mClient = std::make_unique<Client>();
        mClient->initialize("key"_s, "planted-secret"_s, static_cast<KelAccount::Server>(mServer),
                            "shop"_s);
        mClient->signOut().then(
            mClient.get(), [this] { answered("0"_s); },
            [this](const KelAccount::Failure& failure) {
                answered(QString::number(failure.status));
            });
    }
    int counted() const override
    {
        // The picture's first signal is followed by the second, which has the id, too.
        const bool isPicture =
            mRecorder.lines().size() == 2 &&
            mRecorder.lines().at(0).startsWith("captchaImageResponse("_s) &&
            mRecorder.lines().at(1).startsWith("retrieveCaptchaImageResponse("_s);
        return isPicture ? 1 : Caller::counted();
    }

private:
    void initialize() { mAccounts.initialize("key"_s, "planted-secret"_s, mServer, "shop"_s, {}); }
    void beginByTheTables(const QByteArray& name)
    {
        for (const facadecalls::Operation& operation :
             facadecalls::ofTheService() + facadecalls::ofTheSession()) {
            if (operation.name == name)
                return operation.call(mAccounts);
        }
        if (name == "close")
            return mAccounts.close();
        if (name == "retrieveCountryCode")
            return mAccounts.retrieveCountryCode();
        qFatal("the matrix cannot call %s", name.constData());
    }
    /// "NAME(404, ...)" has 404.
    static QString statusOf(const QString& line)
    {
        const QString values = line.section(QLatin1Char('('), 1);
        const QString status =
            values.left(values.indexOf(QLatin1Char(values.contains(QLatin1Char(',')) ? ',' : ')')));
        return line.contains(", no picture"_s) && status == "0"_s ? "0, no picture"_s : status;
    }

    const int mServer;
    KelAccounts mAccounts;
    FacadeRecorder mRecorder{&mAccounts};
    KelAccount::RegistrationInfo mRegistration;
    std::unique_ptr<Client> mClient;
};

class ClientCaller : public Caller
{
public:
    ClientCaller(const Row& row, int server) : Caller(row)
    {
        if (mRow.name != "initialize"_s)
            mClient.initialize("key"_s, "planted-secret"_s, static_cast<KelAccount::Server>(server),
                               "shop"_s);
    }

protected:
    void begin() override
    {
        mContext = std::make_unique<QObject>();
        if (mRow.name == "changePassword"_s)
            return expect(
                mClient.changePassword(passwordAfter(mChanges), passwordAfter(mChanges + 1)));
        if (mRow.name == "signInAndConfigure"_s)
            return beginSignIn(passwordAfter(0));
        for (const ClientCall& call : clientCalls()) {
            if (text(call.name) != mRow.name)
                continue;
            call.make(mClient, mAnswers, mContext.get());
            return;
        }
    }
    void beginSignIn(const QString& password) override
    {
        mContext = std::make_unique<QObject>();
        expect(mClient.signInAndConfigure(user, password));
    }
    void beginSignOut() override
    {
        mContext = std::make_unique<QObject>();
        expect(mClient.signOut());
    }
    void look() override
    {
        while (mSeen < mAnswers.lines.size())
            answered(statusOf(mAnswers.lines.at(mSeen++)));
    }

private:
    template <class Result>
    void expect(const KelAccount::Call<Result>& call)
    {
        call.then(
            mContext.get(), [this](const Result&) { answered("0"_s); },
            [this](const KelAccount::Failure& failure) {
                answered(QString::number(failure.status));
            });
    }
    /// "NAME failed: 404" has 404, any other 0, and yes and no are themselves.
    QString statusOf(const QString& line) const
    {
        const QString failed = mRow.name + " failed: "_s;
        if (line.startsWith(failed))
            return line.mid(failed.size());
        const QString value = line.mid(mRow.name.size() + 2);
        return value == "yes"_s || value == "no"_s ? value : "0"_s;
    }

    Client mClient;
    Answers mAnswers;
    int mSeen = 0;
    std::unique_ptr<QObject> mContext = std::make_unique<QObject>();
};

} // namespace

std::unique_ptr<Caller> Caller::make(const Row& row, int server)
{
    if (row.door == "facade"_s)
        return std::make_unique<FacadeCaller>(row, server);
    return std::make_unique<ClientCaller>(row, server);
}

void Caller::call()
{
    restart(false);
    begin();
}

void Caller::signIn()
{
    restart(true);
    beginSignIn(passwordAfter(0));
}

void Caller::signInAnew()
{
    restart(true);
    beginSignIn(passwordAfter(mChanges));
}

void Caller::signOut()
{
    restart(true);
    beginSignOut();
}

void Caller::restart(bool isSigningIn)
{
    mIsSigningIn = isSigningIn;
    mStatuses.clear();
    mTook = -1;
    mSince.start();
}

int Caller::answers()
{
    look();
    return counted();
}

QString Caller::status() const
{
    return mStatuses.value(0);
}

void Caller::answered(const QString& status)
{
    mStatuses.append(status);
    if (mTook < 0)
        mTook = mSince.elapsed();
    if (mStatuses.size() == 1 && status == "0"_s && mRow.name == "changePassword"_s &&
        !mIsSigningIn)
        ++mChanges;
}

} // namespace Matrix
