// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <kelaccount/results.h>

#include <QMetaType>
#include <QString>
#include <QtQml/qqml.h>

/// Why something failed, as QML sees it: a value whose status is 0 when nothing failed.
class KelQmlFailure
{
    Q_GADGET
    QML_ANONYMOUS
    Q_PROPERTY(int status READ status CONSTANT)
    Q_PROPERTY(QString name READ name CONSTANT)
    Q_PROPERTY(QString text READ text CONSTANT)
    Q_PROPERTY(QString field READ field CONSTANT)
    Q_PROPERTY(bool retryable READ isRetryable CONSTANT)
    Q_PROPERTY(int retryAfter READ retryAfter CONSTANT)

public:
    KelQmlFailure() = default;
    explicit KelQmlFailure(const KelAccount::Failure& failure);
    /// One that the module itself found.
    static KelQmlFailure withStatus(int status);
    /// A date of birth that is none, or not written as ISO 8601 has it.
    static KelQmlFailure ofDateOfBirth();

    int status() const { return mFailure.status; }
    QString name() const { return mFailure.name; }
    QString text() const { return mFailure.text; }
    QString field() const { return mFailure.field; }
    bool isRetryable() const { return mFailure.isRetryable; }
    /// In seconds.
    int retryAfter() const { return static_cast<int>(mFailure.retryAfter.count()); }

private:
    KelAccount::Failure mFailure;
};

Q_DECLARE_METATYPE(KelQmlFailure)
