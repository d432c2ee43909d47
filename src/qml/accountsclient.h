// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "common/wipe.h"
#include "qml/failurevalue.h"
#include "qml/pendingcall.h"
#include "qml/resultobjects.h"

#include <kelaccount/client.h>

#include <QJSEngine>
#include <QObject>
#include <QQmlParserStatus>
#include <QSet>
#include <QtQml/qqml.h>
#include <QVariantMap>

#include <functional>

/// KelAccount::Client as QML sees it. Its methods have the names of the client's operations and
/// give a PendingCall each. docs/qml.md has what applications need to know.
///
/// It is initialised when it is complete and has key and secret, and when the last of these two is
/// set later. What is set afterwards changes nothing.
class KelQmlClient : public QObject, public QQmlParserStatus
{
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_NAMED_ELEMENT(AccountsClient)
    Q_PROPERTY(QString consumerKey READ consumerKey WRITE setConsumerKey NOTIFY consumerKeyChanged)
    Q_PROPERTY(
        QString consumerSecret READ nothing WRITE setConsumerSecret NOTIFY consumerSecretChanged)
    Q_PROPERTY(Server server READ server WRITE setServer NOTIFY serverChanged)
    Q_PROPERTY(QString service READ service WRITE setService NOTIFY serviceChanged)
    Q_PROPERTY(bool initialized READ isInitialized NOTIFY initializedChanged)
    Q_PROPERTY(bool busy READ isBusy NOTIFY busyChanged)
    Q_PROPERTY(KelQmlFailure failure READ failure NOTIFY failureChanged)

public:
    enum class Server { TestA = 0, TestB = 1, Production = 2, Staging = 3, TestC = 4, TestD = 5 };
    Q_ENUM(Server)
    enum class TermsFormat { Text = 0, Html = 1 };
    Q_ENUM(TermsFormat)
    enum class DeviceAccount { Leave = 0, Create = 1 };
    Q_ENUM(DeviceAccount)
    enum class RecoveryBy { Token = 0, Message = 1 };
    Q_ENUM(RecoveryBy)
    enum class ConsentVariant {
        Unknown = 0,
        Implicit = 1,
        PreTicked = 2,
        UnTicked = 3,
        UnTickedWithCopyText = 4,
    };
    Q_ENUM(ConsentVariant)

    explicit KelQmlClient(QObject* parent = nullptr);
    ~KelQmlClient() override;

    QString consumerKey() const { return mConsumerKey; }
    void setConsumerKey(const QString& key);
    /// Secrets can be set, and not be read.
    QString nothing() const { return {}; }
    void setConsumerSecret(const QString& secret);
    Server server() const { return mServer; }
    void setServer(Server server);
    QString service() const { return mService; }
    void setService(const QString& service);
    bool isInitialized() const { return mInitialized; }
    /// Whether a call is open, whoever made it.
    bool isBusy() const { return !mOpen.isEmpty(); }
    /// Of the initialisation.
    KelQmlFailure failure() const { return mFailure; }

    Q_INVOKABLE KelQmlCall* initialize(const QString& consumerKey, const QString& consumerSecret,
                                       int server, const QString& service);
    /// A connection is made ready for the next operation; no answer.
    Q_INVOKABLE void prepare();
    Q_INVOKABLE KelQmlCall* isUserIdAvailable(const QString& userId);
    Q_INVOKABLE KelQmlCall* isEmailIdAvailable(const QString& email);
    Q_INVOKABLE KelQmlCall* retrieveCaptchaImage(int width, int height);
    Q_INVOKABLE KelQmlCall* registerAccount(const QVariantMap& registration, int deviceAccount = 1);
    Q_INVOKABLE KelQmlCall* signInAndConfigure(const QString& userName, const QString& password,
                                               int deviceAccount = 1);
    Q_INVOKABLE KelQmlCall* retrieveSecurityQuestionList(const QString& language);
    Q_INVOKABLE KelQmlCall* detectPreAccount();
    Q_INVOKABLE KelQmlCall* retrieveTermsOfService(const QString& serviceId,
                                                   const QString& language, const QString& country,
                                                   int format);
    Q_INVOKABLE KelQmlCall* queryMarketingVariant();
    Q_INVOKABLE KelQmlCall* isCaptchaRequired();
    Q_INVOKABLE KelQmlCall* isKeLAccountConfigured();
    Q_INVOKABLE KelQmlCall* requestPasswordReset(const QString& userId, const QString& captchaText,
                                                 int recoveryBy,
                                                 const QString& messageBody = QString());
    Q_INVOKABLE KelQmlCall* retrievePasswordResetSecQuestion(const QString& userId,
                                                             const QString& language);
    Q_INVOKABLE KelQmlCall* resetPasswordUsingSecurityQuestion(const QString& userId,
                                                               const QString& securityToken,
                                                               const QString& newPassword,
                                                               const QString& securityAnswer);
    Q_INVOKABLE KelQmlCall* downloadProfile();
    Q_INVOKABLE KelQmlCall* updateSecurityQuestion(const QString& questionId,
                                                   const QString& answer);
    Q_INVOKABLE KelQmlCall* ensureTokenAvailable(uint credentialsId = 0);
    Q_INVOKABLE KelQmlCall* changePassword(const QString& oldPassword, const QString& newPassword);
    Q_INVOKABLE KelQmlCall* userIdUpdate(const QString& userId);
    Q_INVOKABLE KelQmlCall* signOut();
    Q_INVOKABLE KelQmlCall* close();
    Q_INVOKABLE KelQmlCall* retrieveCountryCode();

    void classBegin() override { mComplete = false; }
    void componentComplete() override;

    /// What the module's own types make their calls of; each has to go through track().
    KelAccount::Client& operations() { return mClient; }
    /// Whether it is being deleted: what is asked now is never answered.
    bool isEnding() const { return mEnding; }

    /// Counts the call as open until it has ended. What is returned belongs to this client, and is
    /// gone some time after its end. `watch` gets it before anybody is told that it is open.
    template <class Result>
    KelQmlCall* track(const KelAccount::Call<Result>& call,
                      const std::function<void(KelQmlCall*)>& watch = {})
    {
        auto* const pending = new KelQmlCall(call, this);
        connect(pending, &KelQmlCall::finishedChanged, pending, &QObject::deleteLater);
        if (watch)
            watch(pending);
        follow(call, pending);
        return pending;
    }

Q_SIGNALS:
    void consumerKeyChanged();
    void consumerSecretChanged();
    void serverChanged();
    void serviceChanged();
    void initializedChanged();
    void busyChanged();
    void failureChanged();

private:
    /// The same, for a script.
    template <class Result>
    KelQmlCall* given(const KelAccount::Call<Result>& call,
                      const std::function<void(KelQmlCall*)>& watch = {})
    {
        QJSEngine* const engine = qjsEngine(this);
        if (!engine)
            return track(call, watch);
        auto* const pending = new KelQmlCall(call);
        if (watch)
            watch(pending);
        pending->giveTo(*engine);
        follow(call, pending);
        return pending;
    }

    template <class Result>
    void follow(const KelAccount::Call<Result>& call, KelQmlCall* pending)
    {
        call.then(
            pending,
            [pending](const Result& result) {
                pending->succeed(
                    [&result](QJSEngine& engine) { return KelQmlResults::value(engine, result); });
            },
            [pending](const KelAccount::Failure& failure) {
                pending->fail(KelQmlFailure(failure));
            });
        open(pending);
    }

    void open(KelQmlCall* pending);
    void closed(KelQmlCall* pending);
    /// A call that ends so, and that nobody is asked for.
    KelQmlCall* refused(const QString& operation, const KelQmlFailure& failure);
    void initializeWhenComplete();
    void watchInitialization(const KelAccount::Call<KelAccount::Done>& call);
    void initializationEnded(const KelQmlFailure& failure);
    bool isTooLate(const char* property);

    QString mConsumerKey;
    KelAccount::SecretText mConsumerSecret;
    QString mService;
    Server mServer = Server::Production;
    KelQmlFailure mFailure;
    bool mComplete = true;
    int mInitializing = 0; ///< how many initialisations are not answered yet
    bool mInitialized = false;
    bool mEnding = false;
    QSet<KelQmlCall*> mOpen;
    KelAccount::Client mClient;
};
