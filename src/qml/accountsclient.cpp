// SPDX-License-Identifier: LGPL-2.1-or-later
#include "qml/accountsclient.h"

#include <QQmlInfo>

KelQmlClient::KelQmlClient(QObject* parent) : QObject(parent)
{
}

KelQmlClient::~KelQmlClient()
{
    mEnding = true;
    const QSet<KelQmlCall*> open = std::exchange(mOpen, {});
    for (KelQmlCall* const pending : open) {
        // One with a context that is gone may take others with it.
        disconnect(pending, nullptr, this, nullptr);
        pending->abandon();
    }
}

void KelQmlClient::componentComplete()
{
    mComplete = true;
    initializeWhenComplete();
}

bool KelQmlClient::isTooLate(const char* property)
{
    if (mBegun) {
        qmlWarning(this).nospace()
            << "The client is initialised; \"" << property << "\" is read before that";
    }
    return mBegun;
}

void KelQmlClient::setConsumerKey(const QString& key)
{
    if (key == mConsumerKey || isTooLate("consumerKey"))
        return;
    mConsumerKey = key;
    Q_EMIT consumerKeyChanged();
    initializeWhenComplete();
}

void KelQmlClient::setConsumerSecret(const QString& secret)
{
    // The secret is not kept, so nobody can say whether this is another one.
    if (secret.isEmpty() || isTooLate("consumerSecret"))
        return;
    mConsumerSecret = secret;
    Q_EMIT consumerSecretChanged();
    initializeWhenComplete();
}

void KelQmlClient::setServer(Server server)
{
    if (server == mServer || isTooLate("server"))
        return;
    mServer = server;
    Q_EMIT serverChanged();
}

void KelQmlClient::setService(const QString& service)
{
    if (service == mService || isTooLate("service"))
        return;
    mService = service;
    Q_EMIT serviceChanged();
}

void KelQmlClient::initializeWhenComplete()
{
    if (!mComplete || mBegun || mConsumerKey.isEmpty() || mConsumerSecret.isEmpty())
        return;
    mBegun = true;
    const auto call = mClient.initialize(mConsumerKey, mConsumerSecret,
                                         static_cast<KelAccount::Server>(mServer), mService);
    mConsumerSecret = QString();
    watchInitialization(call);
    track(call);
}

void KelQmlClient::watchInitialization(const KelAccount::Call<KelAccount::Done>& call)
{
    call.then(
        this,
        [this] {
            mFailure = KelQmlFailure();
            mInitialized = true;
            Q_EMIT failureChanged();
            Q_EMIT initializedChanged();
        },
        [this](const KelAccount::Failure& failure) {
            mFailure = KelQmlFailure(failure);
            // With other values it may go well.
            mBegun = mInitialized;
            Q_EMIT failureChanged();
        });
}

void KelQmlClient::open(KelQmlCall* pending)
{
    if (mEnding)
        return pending->abandon();
    connect(pending, &KelQmlCall::finishedChanged, this, [this, pending] { closed(pending); });
    connect(pending, &QObject::destroyed, this, [this, pending] { closed(pending); });
    mOpen.insert(pending);
    if (mOpen.size() == 1)
        Q_EMIT busyChanged();
}

void KelQmlClient::closed(KelQmlCall* pending)
{
    if (mOpen.remove(pending) && mOpen.isEmpty())
        Q_EMIT busyChanged();
}

KelQmlCall* KelQmlClient::initialize(const QString& consumerKey, const QString& consumerSecret,
                                     int server, const QString& service)
{
    mBegun = true;
    const auto call = mClient.initialize(consumerKey, consumerSecret,
                                         static_cast<KelAccount::Server>(server), service);
    watchInitialization(call);
    return given(call);
}

KelQmlCall* KelQmlClient::isUserIdAvailable(const QString& userId)
{
    return given(mClient.isUserIdAvailable(userId));
}

KelQmlCall* KelQmlClient::isEmailIdAvailable(const QString& email)
{
    return given(mClient.isEmailIdAvailable(email));
}

KelQmlCall* KelQmlClient::retrieveCaptchaImage(int width, int height)
{
    return given(mClient.retrieveCaptchaImage(width, height));
}

KelQmlCall* KelQmlClient::registerAccount(const QVariantMap& registration, int deviceAccount)
{
    return given(mClient.registerAccount(KelQmlResults::registration(registration, this),
                                         static_cast<KelAccount::DeviceAccount>(deviceAccount)));
}

KelQmlCall* KelQmlClient::signInAndConfigure(const QString& userName, const QString& password,
                                             int deviceAccount)
{
    return given(mClient.signInAndConfigure(userName, password,
                                            static_cast<KelAccount::DeviceAccount>(deviceAccount)));
}

KelQmlCall* KelQmlClient::retrieveSecurityQuestionList(const QString& language)
{
    return given(mClient.retrieveSecurityQuestionList(language));
}

KelQmlCall* KelQmlClient::detectPreAccount()
{
    return given(mClient.detectPreAccount());
}

KelQmlCall* KelQmlClient::retrieveTermsOfService(const QString& serviceId, const QString& language,
                                                 const QString& country, int format)
{
    return given(mClient.retrieveTermsOfService(serviceId, language, country,
                                                static_cast<KelAccount::TermsFormat>(format)));
}

KelQmlCall* KelQmlClient::queryMarketingVariant()
{
    return given(mClient.queryMarketingVariant());
}

KelQmlCall* KelQmlClient::isCaptchaRequired()
{
    return given(mClient.isCaptchaRequired());
}

KelQmlCall* KelQmlClient::isKeLAccountConfigured()
{
    return given(mClient.isKeLAccountConfigured());
}

KelQmlCall* KelQmlClient::requestPasswordReset(const QString& userId, const QString& captchaText,
                                               int recoveryBy, const QString& messageBody)
{
    return given(mClient.requestPasswordReset(
        userId, captchaText, static_cast<KelAccount::RecoveryBy>(recoveryBy), messageBody));
}

KelQmlCall* KelQmlClient::retrievePasswordResetSecQuestion(const QString& userId,
                                                           const QString& language)
{
    return given(mClient.retrievePasswordResetSecQuestion(userId, language));
}

KelQmlCall* KelQmlClient::resetPasswordUsingSecurityQuestion(const QString& userId,
                                                             const QString& securityToken,
                                                             const QString& newPassword,
                                                             const QString& securityAnswer)
{
    return given(mClient.resetPasswordUsingSecurityQuestion(userId, securityToken, newPassword,
                                                            securityAnswer));
}

KelQmlCall* KelQmlClient::downloadProfile()
{
    return given(mClient.downloadProfile());
}

KelQmlCall* KelQmlClient::updateSecurityQuestion(const QString& questionId, const QString& answer)
{
    return given(mClient.updateSecurityQuestion(questionId, answer));
}

KelQmlCall* KelQmlClient::ensureTokenAvailable(uint credentialsId)
{
    return given(mClient.ensureTokenAvailable(credentialsId));
}

KelQmlCall* KelQmlClient::changePassword(const QString& oldPassword, const QString& newPassword)
{
    return given(mClient.changePassword(oldPassword, newPassword));
}

KelQmlCall* KelQmlClient::userIdUpdate(const QString& userId)
{
    return given(mClient.userIdUpdate(userId));
}

KelQmlCall* KelQmlClient::signOut()
{
    return given(mClient.signOut());
}

KelQmlCall* KelQmlClient::close()
{
    return given(mClient.close());
}

KelQmlCall* KelQmlClient::retrieveCountryCode()
{
    return given(mClient.retrieveCountryCode());
}
