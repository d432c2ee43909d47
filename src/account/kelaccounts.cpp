// SPDX-License-Identifier: LGPL-2.1-or-later
#include <kelaccount/kelaccounts.h>

#include "account/kelaccountsprivate.h"

#include <kelaccount/profileinfo.h>

#include <QMetaMethod>

#include <new>

namespace KelAccount {

namespace {

void registerSignalTypes()
{
    qRegisterMetaType<int>("KelAccount::ErrorStatus");
    qRegisterMetaType<PreAccountInfo>("KelAccount::PreAccountInfo");
    qRegisterMetaType<int>("KelAccount::ConsentQueryVariant");
    qRegisterMetaType<ProfileInfo*>("KelAccount::ProfileInfo*");
}

// Every signal of the facade has its twin in the private object.
void connectTwins(KelAccountsPrivate* from, KelAccounts* to)
{
    const QMetaObject& facade = KelAccounts::staticMetaObject;
    const QMetaObject& orchestrator = KelAccountsPrivate::staticMetaObject;
    for (int i = facade.methodOffset(); i < facade.methodCount(); ++i) {
        const QMetaMethod method = facade.method(i);
        if (method.methodType() != QMetaMethod::Signal)
            continue;
        const int twin = orchestrator.indexOfSignal(method.methodSignature().constData());
        Q_ASSERT(twin >= 0);
        QObject::connect(from, orchestrator.method(twin), to, method, Qt::DirectConnection);
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

void KelAccounts::isUserIdAvailable(const QString& userId)
{
    mPrivate->isUserIdAvailable(userId);
}

} // namespace KelAccount
