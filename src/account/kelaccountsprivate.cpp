// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/kelaccountsprivate.h"

#include "common/typename.h"
#include "configure/kelconfigure.h"
#include "device/interruption.h"
#include "rest/request/consumersignature.h"
#include "rest/request/serviceaddress.h"
#include "signon/kelauthsessioninterface.h"

#include <QPointer>

#include <new>

using namespace KelRestHandler;

namespace KelAccount {

KelAccountsPrivate::KelAccountsPrivate(QObject* parent) : QObject(parent), mRestHandler(this)
{
    registerTypeName<ResponseType>("ResponseType");
    mKelConfigure = new (std::nothrow) KelConfigure(this);
    mAuthSessionInterface = new (std::nothrow) KelAuthSessionInterface(this);
    if (!mKelConfigure || !mAuthSessionInterface)
        qFatal("Failed to create mKelConfigure or mAuthSessionInterface object");
    createSetUp();
    createSignOut();
    connectRestHandler();
    connectSession();
}

void KelAccountsPrivate::connectSession()
{
    using Session = KelAuthSessionInterface;
    using Self = KelAccountsPrivate;
    connect(mAuthSessionInterface, &Session::signInResponse, this, &Self::processSignInCompleted);
    connect(mAuthSessionInterface, &Session::downloadProfileResponse, this,
            &Self::processdownloadProfileCompleted);
    connect(mAuthSessionInterface, &Session::setSecurityQuestionResponse, this,
            &Self::processSetSecurityQuestionCompleted);
    connect(mAuthSessionInterface, &Session::registerationCompleted, this,
            &Self::processregisterAccountResponse);
    connect(mAuthSessionInterface, &Session::changePasswordResponse, this,
            &Self::processChangePasswordCompleted);
    connect(mAuthSessionInterface, &Session::userIdUpdateResponse, this,
            &Self::processUserIdUpdateCompleted);
    connect(mAuthSessionInterface, &Session::updateDeviceInfoResponse, this,
            &Self::processUpdateDeviceInfoResponse);
    connect(mAuthSessionInterface, &Session::ensureTokenResponse, this,
            &Self::processensureTokenResponse);
    connect(mAuthSessionInterface, &Session::closeResponse, this, &Self::processCloseResponse);
    connect(mKelConfigure, &KelConfigure::storeUserCredentialsStatus, this,
            &Self::processCredentialStoringStatusUpdate);
    connect(mKelConfigure, &KelConfigure::configureAccountStatus, this,
            &Self::processAccountStoringStatusUpdate);
}

void KelAccountsPrivate::initialize(const QString& consumerKey, const QString& consumerSecret,
                                    int server, const QString& zorService,
                                    const QVariantMap& /*connectionDetail*/)
{
    const Call call = newCall(ResponseInitialize);
    if (mInitialized) {
        deferError(call, ErrorInvalidRequest);
        return;
    }
    if (consumerKey.isEmpty() || consumerSecret.isEmpty()) {
        deferError(call, ErrorInvalidParameter);
        return;
    }
    mConsumerKey = consumerKey;
    mConsumerSecret = consumerSecret;
    mServerIndex = server;
    mZorService = zorService;
    mServerUrl = serverBaseAddress(server);
    mInitialized = 1;
    const QPointer<KelAccountsPrivate> alive(this);
    answer(call.id, {}, [this] { Q_EMIT initializeResponse(ErrorNone); });
    if (alive)
        mLastCall = call.id;
}

void KelAccountsPrivate::initValues(const QString& /*first*/, const QString& /*second*/,
                                    int /*third*/)
{
    deferError(newCall(ResponseInitialize), ErrorInvalidRequest);
}

bool KelAccountsPrivate::isCaptchaRequired()
{
    return !serviceTags().isServiceTagAvailable();
}

bool KelAccountsPrivate::isKeLAccountConfigured()
{
    return mKelConfigure->isKelAccountPresent();
}

QString KelAccountsPrivate::getToken(const QString& /*consumerKey*/)
{
    return {};
}

QString KelAccountsPrivate::createSignature(const QString& /*consumerKey*/,
                                            const QString& baseString, bool /*useToken*/)
{
    return consumerSignature(baseString, mConsumerSecret);
}

QString KelAccountsPrivate::getTimeStamp()
{
    return clockOfServer().timeStamp();
}

TimeStampManager& KelAccountsPrivate::clockOfServer() const
{
    return TimeStampManager::clockOf(mServerUrl);
}

// A tag is bound to a time, which is the server's.
ObcMgrWrapper& KelAccountsPrivate::serviceTags()
{
    clockOfServer();
    return mObcMgrWrapper;
}

// What is taken back while its tag is read has not gone out, and does not go out.
bool KelAccountsPrivate::loadServiceTag(Call call, const QString& operation)
{
    serviceTags().loadServiceTag(mServiceTag, operation);
    if (!Interruption::isRequested())
        return true;
    deferError(call, ErrorOperationCanceled);
    return false;
}

} // namespace KelAccount
