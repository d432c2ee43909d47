// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "matrix/rows.h"

#include <QElapsedTimer>
#include <QStringList>

#include <memory>

/// One operation of the facade or of a client, called by somebody of its own.
namespace Matrix {

/// Facade or client, and what it says.
class Caller
{
public:
    Caller() = default;
    Caller(const Caller&) = delete;
    Caller& operator=(const Caller&) = delete;
    virtual ~Caller() = default;

    static std::unique_ptr<Caller> make(const Row& row, int server);

    /// Calls the operation, anew. What it is answered is counted from here.
    void call();
    /// Signs in, so that there is a session.
    void signIn();
    /// Signs out, and in with the password of the last change.
    void signOut();
    void signInAnew();

    /// Answers since the last call; the two signals of a captcha are one.
    int answers();
    /// What the first said; empty when there is none.
    QString status() const;
    /// Milliseconds from the call to the first; -1 without.
    qint64 took() const { return mTook; }

protected:
    explicit Caller(const Row& row) : mRow(row) {}
    virtual void begin() = 0;
    virtual void beginSignIn(const QString& password) = 0;
    virtual void beginSignOut() = 0;
    /// Hears what has come, where nobody tells.
    virtual void look() {}
    virtual int counted() const { return mStatuses.size(); }
    void answered(const QString& status);

    const Row mRow;
    QStringList mStatuses;
    int mChanges = 0; ///< of the password that succeeded

private:
    void restart(bool isSigningIn);

    bool mIsSigningIn = false;
    QElapsedTimer mSince;
    qint64 mTook = -1;
};

/// The stored password after so many changes, and the next.
inline QString passwordAfter(int changes)
{
    return QStringLiteral("planted-password-%1").arg(changes % 2);
}

} // namespace Matrix
