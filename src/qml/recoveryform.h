// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "qml/request.h"

/// The way of a user who forgot the password: a message with a token, the security question, and a
/// new password for the two together.
class KelQmlRecovery : public KelQmlRequest
{
    Q_OBJECT
    QML_NAMED_ELEMENT(Recovery)
    Q_PROPERTY(QString userName MEMBER mUserName NOTIFY filledIn)
    Q_PROPERTY(QString captchaText MEMBER mCaptchaText NOTIFY filledIn)
    Q_PROPERTY(QString language MEMBER mLanguage NOTIFY filledIn)
    Q_PROPERTY(QString question READ question NOTIFY questionChanged)
    Q_PROPERTY(QString questionId READ questionId NOTIFY questionChanged)

public:
    using KelQmlRequest::KelQmlRequest;

    QString question() const { return mQuestion; }
    QString questionId() const { return mQuestionId; }

    // Each returns whether it was asked for: nothing is while another is open.
    /// Has a message with the token sent; `body` comes before it, or, empty, the service's own
    /// text.
    Q_INVOKABLE bool sendMessage(const QString& body = QString());
    /// Has the plain token sent.
    Q_INVOKABLE bool sendToken();
    /// Fetches the user's question, in `language`.
    Q_INVOKABLE bool fetchQuestion();
    /// @param securityToken  from the message
    Q_INVOKABLE bool setPassword(const QString& securityToken, const QString& securityAnswer,
                                 const QString& newPassword);

Q_SIGNALS:
    void filledIn();
    void messageSent();
    void questionChanged();
    void passwordSet();

private:
    bool send(KelAccount::RecoveryBy way, const QString& body);

    QString mUserName;
    QString mCaptchaText;
    QString mLanguage = QStringLiteral("en");
    QString mQuestion;
    QString mQuestionId;
};
