// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "qml/accountsclient.h"
#include "qml/failurevalue.h"

#include <kelaccount/errorstatus.h>

#include <QObject>
#include <QPointer>
#include <QtQml/qqml.h>

#include <utility>

/// What the types have in common that ask the service for a screen: through which client, whether
/// they wait for an answer, and how the last question failed. One question is open at a time.
class KelQmlRequest : public QObject
{
    Q_OBJECT
    QML_ANONYMOUS
    Q_PROPERTY(KelQmlClient* client READ client WRITE setClient NOTIFY clientChanged)
    Q_PROPERTY(bool busy READ isBusy NOTIFY busyChanged)
    Q_PROPERTY(KelQmlFailure failure READ failure NOTIFY failureChanged)

public:
    using QObject::QObject;
    ~KelQmlRequest() override;

    KelQmlClient* client() const { return mClient; }
    void setClient(KelQmlClient* client);
    bool isBusy() const { return !mCall.isNull(); }
    KelQmlFailure failure() const { return mFailure; }

    /// Takes back the question that is open.
    Q_INVOKABLE void cancel();
    /// Forgets how the last question failed.
    Q_INVOKABLE void clearFailure();

    /// Makes the call that `make` makes of the client, unless one is open, and has `done` called
    /// with its result. Whether it was made.
    template <class Make, class Done>
    bool ask(Make make, Done done)
    {
        if (isBusy())
            return false;
        clearFailure();
        // Who was told may have asked, or have taken the client away.
        if (isBusy())
            return false;
        if (!mClient || mClient->isEnding()) {
            fail(KelQmlFailure::withStatus(KelAccount::ErrorInitializationPending));
            return false;
        }
        const auto call = make(mClient->operations());
        mAsked = call;
        mClient->track(call, [this](KelQmlCall* pending) { watch(pending); });
        // Who is told that the client is busy may have taken it back.
        if (isBusy())
            Q_EMIT busyChanged();
        // After the above, so that this is no more busy when it is told.
        using Result = std::decay_t<decltype(resultOf(call))>;
        call.then(
            this, [done = std::move(done)](const Result& result) { done(result); },
            [this](const KelAccount::Failure& failure) { fail(KelQmlFailure(failure)); });
        return isBusy();
    }

Q_SIGNALS:
    void clientChanged();
    void busyChanged();
    void failureChanged();
    void failed();

protected:
    /// Fails without having asked, unless a question is open: false, as ask() gives then.
    bool refuse(const KelQmlFailure& failure);
    /// Secrets can be set, and not be read.
    QString nothing() const { return {}; }
    /// Something that a client makes possible may have come to be.
    virtual void clientWasSet() {}

private:
    template <class Result>
    static Result resultOf(const KelAccount::Call<Result>&);

    void watch(KelQmlCall* call);
    void fail(const KelQmlFailure& failure);

    QPointer<KelQmlClient> mClient;
    QPointer<KelQmlCall> mCall;
    KelAccount::CallBase mAsked; ///< also when it has ended and its answer was not told yet
    KelQmlFailure mFailure;
};
