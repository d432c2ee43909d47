// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

namespace KelRestHandler {

/// One mobile number or e-mail address of a user.
struct Contact
{
    QString value;
    bool preferred = false;
    bool verified = false;
};

/// Every way to reach a user.
struct ContactsInfo
{
    ContactsInfo() = default;
    /// Reads what serialize() wrote. Of cut or damaged bytes it keeps the whole contacts before the
    /// damage.
    explicit ContactsInfo(const QByteArray& bytes);

    QByteArray serialize() const;

    QList<Contact> mobileContacts;
    QList<Contact> emailContacts;
};

} // namespace KelRestHandler
