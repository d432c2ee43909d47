// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "qml/failurevalue.h"

#include <kelaccount/call.h>

#include <QJSValue>
#include <QObject>
#include <QPointer>
#include <QtQml/qqml.h>

#include <functional>
#include <vector>

class QJSEngine;

/// One call of an AccountsClient, as QML sees it: then(), cancel(), and how it ended.
///
/// It is open until it finished, was cancelled, or lost its client. Until then, and as long as
/// there are functions to be called, it keeps itself; afterwards it lives as long as a script
/// refers to it.
class KelQmlCall : public QObject
{
    Q_OBJECT
    QML_NAMED_ELEMENT(PendingCall)
    QML_UNCREATABLE("Calls are made by AccountsClient's methods.")
    Q_PROPERTY(QString operation READ operation CONSTANT)
    Q_PROPERTY(bool finished READ isFinished NOTIFY finishedChanged)
    Q_PROPERTY(bool cancelled READ isCancelled NOTIFY finishedChanged)
    Q_PROPERTY(QJSValue result READ result NOTIFY finishedChanged)
    Q_PROPERTY(KelQmlFailure failure READ failure NOTIFY finishedChanged)
    Q_PROPERTY(int elapsed READ elapsed NOTIFY finishedChanged)

public:
    /// Makes a script's value of the result, when there is an engine.
    using Result = std::function<QJSValue(QJSEngine&)>;

    explicit KelQmlCall(KelAccount::CallBase call, QObject* parent = nullptr);
    /// Of an operation that the service is not asked for.
    explicit KelQmlCall(QString operation);

    QString operation() const { return mOperation; }
    /// Also of a call that was cancelled, or whose client is gone.
    bool isFinished() const { return mFinished; }
    bool isCancelled() const { return mCancelled; }
    QJSValue result() const { return mResult; }
    KelQmlFailure failure() const { return mFailure; }
    /// In milliseconds, from the call until it finished, or until now.
    int elapsed() const { return static_cast<int>(mCall.elapsed().count()); }

    /// Has one of the functions called with how the call ended: once, later, from the event loop;
    /// none when it is cancelled, and none when `context` or the engine is gone by then.
    Q_INVOKABLE KelQmlCall* then(const QJSValue& done, const QJSValue& failed = QJSValue(),
                                 QObject* context = nullptr);
    Q_INVOKABLE void cancel();

    /// That nobody is told of the call any more does not end the call itself.
    void letCallGoOn() { mCallGoesOn = true; }
    /// From now on scripts may refer to it, and it is theirs.
    void giveTo(QJSEngine& engine);
    void succeed(const Result& result);
    void fail(const KelQmlFailure& failure);
    /// Its client is gone: nobody is told any more.
    void abandon();

Q_SIGNALS:
    void finishedChanged();

private:
    struct Waiting
    {
        QJSValue done;
        QJSValue failed;
        bool hasContext = false;
        QPointer<QObject> context;
    };

    void finish();
    void finishAndTell();
    void tellLater();
    void tell();

    const KelAccount::CallBase mCall;
    const QString mOperation;
    bool mCallGoesOn = false;
    bool mFinished = false;
    bool mCancelled = false;
    QJSValue mResult;
    KelQmlFailure mFailure;
    std::vector<Waiting> mWaiting;
    QJSValue mSelf; ///< keeps what a script may have forgotten from being collected
};
