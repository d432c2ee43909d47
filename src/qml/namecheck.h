// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "qml/request.h"

#include <QStringList>
#include <QTimer>

/// Whether the name that a user is typing is free. It is asked when the typing has paused, and what
/// was asked before is taken back: what stands here is about `name` as it is now.
class KelQmlNameCheck : public KelQmlRequest
{
    Q_OBJECT
    QML_NAMED_ELEMENT(NameCheck)
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)
    Q_PROPERTY(Kind kind READ kind WRITE setKind NOTIFY kindChanged)
    Q_PROPERTY(int pause READ pause WRITE setPause NOTIFY pauseChanged)
    Q_PROPERTY(bool checking READ isChecking NOTIFY checkingChanged)
    Q_PROPERTY(bool checked READ isChecked NOTIFY checkedChanged)
    Q_PROPERTY(bool available READ isAvailable NOTIFY checkedChanged)
    Q_PROPERTY(QStringList suggestions READ suggestions NOTIFY checkedChanged)

public:
    /// What the name is. By default one with an "@" is an e-mail address.
    enum class Kind { Any, UserName, EmailAddress };
    Q_ENUM(Kind)

    explicit KelQmlNameCheck(QObject* parent = nullptr);

    QString name() const { return mName; }
    void setName(const QString& name);
    Kind kind() const { return mKind; }
    void setKind(Kind kind);
    /// In milliseconds.
    int pause() const { return mTimer.interval(); }
    void setPause(int pause);
    /// From the change of the name until it is known or has failed.
    bool isChecking() const { return mChecking; }
    /// Whether the next two say something.
    bool isChecked() const { return mChecked; }
    bool isAvailable() const { return mAvailable; }
    QStringList suggestions() const { return mSuggestions; }

    /// Asks now, and once more if it was asked before.
    Q_INVOKABLE void check();

Q_SIGNALS:
    void nameChanged();
    void kindChanged();
    void pauseChanged();
    void checkingChanged();
    void checkedChanged();

protected:
    void clientWasSet() override { startOver(); }

private:
    void startOver();
    void setChecking(bool checking);
    void setOutcome(bool checked, bool available, const QStringList& suggestions);

    QString mName;
    Kind mKind = Kind::Any;
    // Not the client's own pause: that has one question of a kind open for all of a client's users,
    // so two checks beside one another would take back each other's questions.
    QTimer mTimer;
    bool mChecking = false;
    bool mChecked = false;
    bool mAvailable = false;
    QStringList mSuggestions;
};
