// SPDX-License-Identifier: LGPL-2.1-or-later
#include "qml/pendingcall.h"

#include <QJSEngine>
#include <QQmlInfo>

#include <utility>

KelQmlCall::KelQmlCall(KelAccount::CallBase call, QObject* parent)
    : QObject(parent), mCall(std::move(call)), mOperation(mCall.operation())
{
}

KelQmlCall::KelQmlCall(QString operation) : mOperation(std::move(operation))
{
}

void KelQmlCall::giveTo(QJSEngine& engine)
{
    mSelf = engine.newQObject(this);
}

KelQmlCall* KelQmlCall::then(const QJSValue& done, const QJSValue& failed, QObject* context)
{
    if (mCancelled)
        return this;
    mWaiting.push_back({done, failed, context != nullptr, context});
    if (mFinished)
        tellLater();
    return this;
}

void KelQmlCall::cancel()
{
    // Also of a finished call: what was not delivered is kept back.
    if (!mCallGoesOn)
        mCall.cancel();
    mWaiting.clear();
    const QPointer<KelQmlCall> self(this);
    if (!mFinished) {
        mCancelled = true;
        finish();
    }
    if (self)
        mSelf = QJSValue();
}

void KelQmlCall::succeed(const Result& result)
{
    // Cancelled, and its call went on.
    if (mFinished)
        return;
    if (QJSEngine* const engine = qjsEngine(this))
        mResult = result(*engine);
    finishAndTell();
}

void KelQmlCall::fail(const KelQmlFailure& failure)
{
    if (mFinished)
        return;
    mFailure = failure;
    finishAndTell();
}

void KelQmlCall::abandon()
{
    cancel();
}

void KelQmlCall::finish()
{
    mFinished = true;
    Q_EMIT finishedChanged();
}

void KelQmlCall::finishAndTell()
{
    // Who is told of the end may delete the client, and with it this.
    const QPointer<KelQmlCall> self(this);
    finish();
    if (self)
        tell();
}

void KelQmlCall::tellLater()
{
    if (QJSEngine* const engine = qjsEngine(this))
        giveTo(*engine);
    QMetaObject::invokeMethod(this, &KelQmlCall::tell, Qt::QueuedConnection);
}

// A function may cancel the call, delete its client and, with the engine, this.
void KelQmlCall::tell()
{
    const QPointer<KelQmlCall> self(this);
    while (self && !mWaiting.empty()) {
        Waiting next = std::move(mWaiting.front());
        mWaiting.erase(mWaiting.begin());
        QJSEngine* const engine = qjsEngine(this);
        const bool failed = mFailure.status() != 0;
        QJSValue& function = failed ? next.failed : next.done;
        if (!engine || !function.isCallable() || (next.hasContext && !next.context))
            continue;
        const QJSValue value = failed ? engine->toScriptValue(mFailure) : mResult;
        const QJSValue returned = function.call({value});
        if (self && returned.isError()) {
            qmlWarning(this).nospace().noquote()
                << returned.property(QStringLiteral("fileName")).toString() << ":"
                << returned.property(QStringLiteral("lineNumber")).toInt() << ": "
                << returned.toString();
        }
    }
    if (self)
        mSelf = QJSValue();
}
