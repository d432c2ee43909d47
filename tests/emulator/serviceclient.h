// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/emulatorprocess.h"
#include "emulator/signedrequest.h"
#include "emulator/wireclient.h"

#include <QDomElement>

/// An answer of the service, as its clients would look at it.
struct Answer
{
    int status = 0;
    QByteArray body;
    QDomElement root;

    QString tag() const { return root.tagName(); }
    /// Text of the element at "a/b/c" below the root; null when there is none.
    QString at(const char* path) const;
    QString errorCode() const { return at("errorCode"); }
    /// "name=text name=text": the root's children that have no elements in them, in order.
    QString leaves(const char* path) const;
};

/// An access token and whose it is.
struct SignedIn
{
    QByteArray token;
    QByteArray accountId;
};

/// Asks the emulator by requests that are signed with liboauth and written by hand.
class ServiceClient
{
public:
    bool start(const QStringList& options = {}) { return mEmulator.start(options); }
    /// With the emulator that this program runs in.
    bool joinSurrounding() { return mEmulator.joinSurrounding(); }
    EmulatorProcess& emulator() { return mEmulator; }
    const EmulatorProcess& emulator() const { return mEmulator; }

    /// `path` after "/rest/1.0/".
    Answer ask(const QByteArray& verb, const QByteArray& path, const QByteArray& document = {},
               const QByteArray& token = {});
    Answer ask(SignedRequest request);

    /// Signs in by name, e-mail address or number.
    Answer signIn(const QByteArray& user, const QByteArray& password);
    /// The token of a sign-in that must succeed; empty when it does not.
    SignedIn tokenOf(const QByteArray& user, const QByteArray& password = "secret");
    /// Makes an account from the fields of the administrative endpoint.
    bool addAccount(const QByteArray& json);
    /// A captcha's identifier and text, ready to be sent.
    QPair<QByteArray, QByteArray> captcha();
    /// The number of the operation that the latest request reached.
    int latestOperation() const;
    /// Why the latest request was refused.
    QString latestProblem() const;

    /// A document: the declaration and the root in the service's namespace.
    static QByteArray document(const QByteArray& root, const QByteArray& content);
    static QByteArray signInDocument(const QByteArray& user, const QByteArray& password);

private:
    EmulatorProcess mEmulator;
};
