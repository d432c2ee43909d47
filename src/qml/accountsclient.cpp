// SPDX-License-Identifier: LGPL-2.1-or-later
#include "qml/accountsclient.h"

#include <QPointer>
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
    const bool hasBegun = mInitialized || mInitializing > 0;
    if (hasBegun) {
        qmlWarning(this).nospace()
            << "The client is initialised; \"" << property << "\" is read before that";
    }
    return hasBegun;
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
    if (!mComplete || mInitialized || mInitializing > 0 || mConsumerKey.isEmpty() ||
        mConsumerSecret.isEmpty())
        return;
    const auto call = mClient.initialize(mConsumerKey, mConsumerSecret,
                                         static_cast<KelAccount::Server>(mServer), mService);
    mConsumerSecret = QString();
    watchInitialization(call);
    track(call);
}

void KelQmlClient::watchInitialization(const KelAccount::Call<KelAccount::Done>& call)
{
    ++mInitializing;
    call.then(
        this, [this] { initializationEnded(KelQmlFailure()); },
        [this](const KelAccount::Failure& failure) {
            initializationEnded(KelQmlFailure(failure));
        });
}

void KelQmlClient::initializationEnded(const KelQmlFailure& failure)
{
    --mInitializing;
    // A client is initialised once: that another attempt is refused is known to who made it.
    if (mInitialized)
        return;
    // Only the last of several says how it ended.
    const bool failed = failure.status() != 0;
    if (failed && mInitializing > 0)
        return;
    const bool hadFailed = mFailure.status() != 0;
    mFailure = failure;
    mInitialized = !failed;
    // Who is told may delete this.
    const QPointer<KelQmlClient> self(this);
    if (failed || hadFailed)
        Q_EMIT failureChanged();
    if (self && !failed)
        Q_EMIT initializedChanged();
}

KelQmlCall* KelQmlClient::refused(const QString& operation, const KelQmlFailure& failure)
{
    auto* const pending = new KelQmlCall(operation);
    if (QJSEngine* const engine = qjsEngine(this))
        pending->giveTo(*engine);
    else
        connect(pending, &KelQmlCall::finishedChanged, pending, &QObject::deleteLater);
    open(pending);
    QMetaObject::invokeMethod(
        pending, [pending, failure] { pending->fail(failure); }, Qt::QueuedConnection);
    return pending;
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
    const auto call = mClient.initialize(consumerKey, consumerSecret,
                                         static_cast<KelAccount::Server>(server), service);
    watchInitialization(call);
    // Nobody can say how far it has come, and what this client is then has to be known.
    return given(call, [](KelQmlCall* pending) { pending->letCallGoOn(); });
}

void KelQmlClient::prepare()
{
    mClient.prepare();
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
    const auto filled = KelQmlResults::registration(registration, this);
    if (!filled)
        return refused(QStringLiteral("registerAccount"), KelQmlFailure::ofDateOfBirth());
    return given(
        mClient.registerAccount(*filled, static_cast<KelAccount::DeviceAccount>(deviceAccount)));
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
