// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/kelaccountsprivate.h"

#include "account/accountsignout.h"
#include "account/recording/tracefile.h"
#include "common/logging.h"
#include "common/typename.h"
#include "configure/deviceaccounts.h"
#include "configure/kelconfigure.h"
#include "device/devicecountrypicker.h"
#include "rest/request/consumersignature.h"
#include "rest/request/timestampmanager.h"
#include "signon/preparedplugin.h"

#include <new>

using namespace KelRestHandler;

namespace KelAccount {

KelAccountsPrivate::KelAccountsPrivate(QObject* parent)
    : QObject(parent), mRestHandler(this),
      mRefuse([this](OpenCall call, ErrorStatus why) { deferError(call, why); }),
      mService(mRestHandler, *this, mSettings, mRefuse),
      mKelConfigure(new (std::nothrow) KelConfigure(this)),
      mAuthSessionInterface(new (std::nothrow) KelAuthSessionInterface(this)),
      mPreparedPlugin(new PreparedPlugin(this)),
      mPlugin(mAuthSessionInterface, mCalls, mSettings, mRefuse)
{
    TraceFile::open();
    registerTypeName<ResponseType>("ResponseType");
    if (!mKelConfigure || !mAuthSessionInterface)
        qFatal("Failed to create mKelConfigure or mAuthSessionInterface object");
    mKelConfigure->setIdentitySource([this] { return mPreparedPlugin->take(); });
    createSetUpAndSignOut();
    connectRestHandler();
    connectSession();
}

KelAccountsPrivate::~KelAccountsPrivate()
{
    mSetUp->handle(SetUpStates::Event::Abandoned);
    TraceFile::write();
}

void KelAccountsPrivate::initialize(const QString& consumerKey, const QString& consumerSecret,
                                    int server, const QString& zorService,
                                    const QVariantMap& /*connectionDetail*/)
{
    const OpenCall call = newCall(ResponseInitialize);
    if (!isRefused(call, mSettings.initialize(consumerKey, consumerSecret, server, zorService)))
        give({call.id, ErrorNone}, &Self::initializeResponse);
}

void KelAccountsPrivate::prepare()
{
    if (!mSettings.areGiven())
        return;
    mRestHandler.prepare(mSettings.serverUrl());
    // Where there is an account there is nothing to set up.
    if (mSetUp->pending() == AccountSetUp::None && deviceAccounts().hasAccount() == false)
        mPreparedPlugin->begin(mSettings.serverIndex());
}

void KelAccountsPrivate::initValues(const QString& /*first*/, const QString& /*second*/,
                                    int /*third*/)
{
    deferError(newCall(ResponseInitialize), ErrorInvalidRequest);
}

bool KelAccountsPrivate::isKeLAccountConfigured()
{
    return mKelConfigure->isKelAccountPresent();
}

void KelAccountsPrivate::retrieveCountryCode()
{
    QMetaObject::invokeMethod(
        this, [this, call = mCalls.make()] { getCountryCode(call); }, Qt::QueuedConnection);
}

void KelAccountsPrivate::getCountryCode(CallId call)
{
    if (!mCalls.isAwaited(call))
        return;
    constexpr int countryUnknown = 807; // the number has no member
    const QString country = DeviceCountryPicker().deviceCountry();
    const bool isKnown = !country.isEmpty();
    give(Answer(call, isKnown ? ErrorNone : countryUnknown), &Self::retrieveCountryCodeResponse,
         isKnown ? country : QLatin1String(""));
}

QString KelAccountsPrivate::createSignature(const QString& /*consumerKey*/,
                                            const QString& baseString, bool /*useToken*/)
{
    return consumerSignature(baseString, mSettings.consumerSecret());
}

QString KelAccountsPrivate::getTimeStamp()
{
    return TimeStampManager::clockOf(mSettings.serverUrl()).timeStamp();
}

void KelAccountsPrivate::deferError(OpenCall call, ErrorStatus error)
{
    const auto send = [this, call, error] {
        mCalls.answer({call.id, error},
                      [this, call, error] { sendErrorResponse(ResponseType(call.type), error); });
    };
    QMetaObject::invokeMethod(this, send, Qt::QueuedConnection);
}

bool KelAccountsPrivate::isRefused(OpenCall call, ErrorStatus error)
{
    if (error != ErrorNone)
        deferError(call, error);
    return error != ErrorNone;
}

void KelAccountsPrivate::sendErrorResponse(ResponseType type, int error)
{
    if (!refuseBy(refusals, *this, type, toStatus(error)))
        qCWarning(logAccount, "Failed to send some response...!!!! Is client application still "
                              "waiting for this response??");
}

void KelAccountsPrivate::abandon(CallId call)
{
    if (!mCalls.abandon(call))
        return;
    mService.abandon(call);
    mAuthSessionInterface->abandon(call);
    mSetUp->withdraw(call);
    mSignOut->withdraw(call);
}

} // namespace KelAccount
