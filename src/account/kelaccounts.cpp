// SPDX-License-Identifier: LGPL-2.1-or-later
#include <kelaccount/kelaccounts.h>

#include "account/kelaccountsprivate.h"
#include "common/typename.h"

#include <kelaccount/profileinfo.h>

#include <QMetaMethod>

#include <new>

namespace KelAccount {

namespace {

void registerSignalTypes()
{
    registerTypeName<int>("KelAccount::ErrorStatus");
    registerTypeName<PreAccountInfo>("KelAccount::PreAccountInfo");
    registerTypeName<int>("KelAccount::ConsentQueryVariant");
    registerTypeName<ProfileInfo*>("KelAccount::ProfileInfo*");
}

bool areTwins(const QMetaMethod& one, const QMetaMethod& other)
{
    const bool are = one.name() == other.name() && one.parameterCount() == other.parameterCount();
    Q_ASSERT(!are || one.methodSignature() == other.methodSignature());
    return are;
}

// Every signal of the facade has its twin in the private object, in the same order. They are
// connected by number: their arguments are the same, and checking that, or looking for the twin by
// its signature, takes as long as making the request of a first call.
void connectTwins(KelAccountsPrivate* from, KelAccounts* to)
{
    const QMetaObject& facade = KelAccounts::staticMetaObject;
    const QMetaObject& orchestrator = KelAccountsPrivate::staticMetaObject;
    int twin = orchestrator.methodOffset();
    for (int i = facade.methodOffset(); i < facade.methodCount(); ++i) {
        const QMetaMethod method = facade.method(i);
        if (method.methodType() != QMetaMethod::Signal)
            continue;
        while (twin < orchestrator.methodCount() && !areTwins(orchestrator.method(twin), method))
            ++twin;
        Q_ASSERT(twin < orchestrator.methodCount());
        QMetaObject::connect(from, twin, to, i, Qt::DirectConnection);
    }
}

} // namespace

KelAccounts::KelAccounts(QObject* parent)
    : QObject(parent), mPrivate(new (std::nothrow) KelAccountsPrivate(this))
{
    if (!mPrivate)
        qFatal("Failed to create KelAccountsPrivate object");
    registerSignalTypes();
    connectTwins(mPrivate, this);
}

KelAccounts::~KelAccounts() = default;

void KelAccounts::initialize(const QString& consumerKey, const QString& consumerSecret, int server,
                             const QString& zorService, const QVariantMap& connectionDetail)
{
    mPrivate->initialize(consumerKey, consumerSecret, server, zorService, connectionDetail);
}

void KelAccounts::initValues(const QString& first, const QString& second, int third)
{
    mPrivate->initValues(first, second, third);
}

void KelAccounts::registerAccount(const RegistrationInfo& info, bool configureOnDb)
{
    mPrivate->registerAccount(info, configureOnDb);
}

void KelAccounts::registerAccount(QObject* info, bool configureOnDb)
{
    mPrivate->registerAccount(info, configureOnDb);
}

void KelAccounts::signInAndConfigure(const QString& userName, const QString& password,
                                     bool configureOnDb)
{
    mPrivate->signInAndConfigure(userName, password, configureOnDb);
}

bool KelAccounts::isCaptchaRequired()
{
    return mPrivate->isCaptchaRequired();
}

bool KelAccounts::isKeLAccountConfigured()
{
    return mPrivate->isKeLAccountConfigured();
}

void KelAccounts::retrieveCountryCode()
{
    mPrivate->retrieveCountryCode();
}

void KelAccounts::downloadProfile()
{
    mPrivate->downloadProfile();
}

void KelAccounts::updateSecurityQuestion(const QString& question, const QString& answer)
{
    mPrivate->updateSecurityQuestion(question, answer);
}

void KelAccounts::ensureTokenAvailable(unsigned int credentialsId)
{
    mPrivate->ensureTokenAvailable(credentialsId);
}

void KelAccounts::changePassword(const QString& oldPassword, const QString& newPassword)
{
    mPrivate->changePassword(oldPassword, newPassword);
}

void KelAccounts::userIdUpdate(const QString& userId)
{
    mPrivate->userIdUpdate(userId);
}

void KelAccounts::close()
{
    mPrivate->close();
}

} // namespace KelAccount

// Here, so that all of the class is in one translation unit, as the check of its binary interface
// needs it.
#include "kelaccount/moc_kelaccounts.cpp"
