// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "common/wipe.h"
#include "kept.h"
#include "serviceondemand.h"

#include "rest/request/isignatureprovider.h"
#include "rest/request/oauthrequest.h"
#include "rest/request/timestampmanager.h"

#include <QObject>
#include <QVariantMap>

#include <functional>
#include <memory>

namespace ZorAuth {

/// One request to the plugin, from its arrival to its answer.
///
/// It asks the account service through the library's own request classes and is what they are
/// signed by. It ends with exactly one of its signals; deleted before that, it says nothing.
class Job : public QObject, private KelRestHandler::ISignatureProvider
{
    Q_OBJECT

public:
    /// `data` is what the daemon handed over: the client's keys, the identity's user name and
    /// secret, and what the plugin had stored. `service` must outlive this, and so must
    /// `wrongPasswords`, which counts them for this process: what is stored can be removed.
    Job(const QVariantMap& data, ServiceOnDemand& service, int& wrongPasswords, QObject* parent);
    ~Job() override;

    static QStringList mechanisms();

    /// False when there is no such mechanism; no signal follows then. The signal may come before
    /// this returns.
    bool start(const QString& mechanism);

    /// What the daemon is to keep from now on; empty when nothing changed since this was last
    /// called.
    QVariantMap takeChanges();

Q_SIGNALS:
    void succeeded(const QVariantMap& answer);
    void failed(int status); ///< a KelAccount::ErrorStatus
    void changed();          ///< what the daemon is to keep, before the end

private:
    using Send = std::function<int(KelRestHandler::OAuthRequest**)>;
    using Next = std::function<void()>;
    template <class Answer>
    using Signal = void (KelRestHandler::ServiceSignals::*)(Answer);
    template <class Answer>
    using Done = std::function<void(const Answer&)>;
    struct Mechanism;
    static const Mechanism table[];
    enum class Wants;

    int refusal(Wants wants) const;
    bool isPreparation(const Mechanism& mechanism) const;

    QString getToken(QString const& consumerKey) override;
    QString createSignature(QString const& consumerKey, QString const& baseString,
                            bool useToken) override;
    QString getTimeStamp() override;
    /// That of the session's server, whichever the job before was about.
    KelRestHandler::TimeStampManager& clock() const;

    // The mechanisms.
    void initialise();
    void signIn();
    void tellToken();
    void ensureTokenOnly();
    void registerAccount();
    void downloadProfile();
    void updateSecurityQuestion();
    void changePassword();
    void compareOldPassword();
    void setNewPassword();
    void setUserId();
    void updateDeviceInfo();
    void signOut();
    void close();
    void tellUserId();
    void tellLoginIdentifier();
    void tellAccountId();
    void tellEmailAddress();
    void tellServerTime();

    // Requests to the service. What cannot be sent fails the job.
    std::shared_ptr<KelRestHandler::OAuthRequest> made(const Send& send);
    template <class Answer>
    void exchange(Signal<Answer> signal, const Send& send, const Done<Answer>& done);
    template <class Answer>
    void await(Signal<Answer> signal, const std::shared_ptr<KelRestHandler::OAuthRequest>& request,
               const Done<Answer>& done);
    template <class Answer>
    void exchangeWithToken(Signal<Answer> signal, const Send& send, const Done<Answer>& done);
    template <class Answer>
    void sendWithToken(Signal<Answer> signal, const Send& send, const Done<Answer>& done);
    bool resend(KelRestHandler::OAuthRequest& request);

    // Tokens. Each fails the job itself, or goes on with `next`.
    void ensureToken(const Next& next);
    void renewToken(const Next& next);
    void createToken(const Next& next);
    void signInWith(const QString& password, const Next& next);
    bool keepToken(const KelRestHandler::TokenResponse& reply);
    void keep(const KelRestHandler::TokenInfoData& token,
              const KelRestHandler::AccountInfoData& account, const QString& userName);

    void fail(int status) { Q_EMIT failed(status); }
    void answer(const QVariantMap& map = {}) { Q_EMIT succeeded(map); }
    void answerStatus(int status);
    void answerIfKnown(const char* key, const QString& value);
    QVariantMap identifiers() const;
    QString text(const char* key) const;
    QByteArray consumer() const;

    QVariantMap mData;
    ServiceOnDemand& mService;
    QString mConsumerKey;
    KelAccount::SecretText mConsumerSecret;
    int mServer;
    QString mBaseAddress;
    bool mIsForged = false;
    Kept mKept;
    QVariantMap mStored; // as the daemon has it
    int& mWrongPasswords;
    bool mMayChooseServer = false;
    QMetaObject::Connection mAwaited;
};

} // namespace ZorAuth
