// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "configure/kelconfigure.h"
#include "signon/kelauthsessioninterface.h"
#include "support/literals.h"
#include "support/sessionsandbox.h"

#include <QSignalSpy>

#include <memory>

/// An interface in a sandbox, with the credentials of one user stored, and a note of each answer in
/// the order in which they came: the signal's name and its number.
class SignOnFixture : public QObject
{
    Q_OBJECT

public:
    explicit SignOnFixture(KelTest::SessionSandbox& sandbox) : mSandbox(sandbox) {}

    static const QString& key()
    {
        static const QString text = "the-consumer-key"_s;
        return text;
    }
    static const QString& secret()
    {
        static const QString text = "the-consumer-secret"_s;
        return text;
    }

protected Q_SLOTS:
    void initTestCase()
    {
        mCredentials = storeCredentials();
        QVERIFY(mCredentials > 0);
    }

    void init()
    {
        mSandbox.script({});
        makeInterface();
    }

protected:
    using Interface = KelAccount::KelAuthSessionInterface;

    static constexpr int server = 2;

    /// 0 on failure.
    static unsigned storeCredentials()
    {
        KelAccount::KelConfigure store;
        QSignalSpy stored(&store, &KelAccount::KelConfigure::storeUserCredentialsStatus);
        if (store.storeUserCredentials("user"_s, "the-password"_s) == 0)
            KelTest::waitUntil([&] { return !stored.isEmpty(); });
        return stored.value(0).value(1).toUInt();
    }

    void makeInterface()
    {
        mInterface = std::make_unique<Interface>();
        mAnswers.clear();
        note(&Interface::signInResponse, "signIn");
        note(&Interface::tokenResponse, "token");
        note(&Interface::downloadProfileResponse, "downloadProfile");
        note(&Interface::setSecurityQuestionResponse, "setSecurityQuestion");
        note(&Interface::registerationCompleted, "registerAccount");
        note(&Interface::changePasswordResponse, "changePassword");
        note(&Interface::userIdUpdateResponse, "userIdUpdate");
        note(&Interface::updateDeviceInfoResponse, "updateDeviceInfo");
        note(&Interface::ensureTokenResponse, "ensureToken");
        note(&Interface::signOutResponse, "signOut");
        note(&Interface::closeResponse, "close");
    }

    bool open(const QString& service = "service"_s)
    {
        return mInterface->createAuthSession(key(), secret(), service, server, mCredentials);
    }

    bool waitForAnswers(int count, int timeoutMs = 10000)
    {
        return KelTest::waitUntil([&] { return mAnswers.size() >= count; }, timeoutMs);
    }

    /// Long enough for an answer that should not come.
    static void letPass(int milliseconds)
    {
        KelTest::waitUntil([] { return false; }, milliseconds);
    }

    KelTest::SessionSandbox& mSandbox;
    std::unique_ptr<Interface> mInterface;
    unsigned mCredentials = 0;
    QStringList mAnswers;
    std::function<void(const QString& name)> mAfterwards; ///< called with each answer

private:
    template <class... Arguments>
    void note(void (Interface::*signal)(int, Arguments...), const char* name)
    {
        connect(mInterface.get(), signal, this, [this, name](int error) {
            mAnswers.append("%1 %2"_s.arg(QLatin1String(name)).arg(error));
            if (mAfterwards)
                mAfterwards(QString::fromLatin1(name));
        });
    }
};
