// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "account/kelaccountsprivate.h"
#include "integration/setupfixture.h"

#include <QList>
#include <QString>

/// A user who is signed in, and is to be signed out of the device.
class SignOutFixture : public SetUpFixture
{
    Q_OBJECT

protected:
    static constexpr int patienceMs = 30000;

    /// For each row: a facade, and a user who is signed in through it.
    void prepareUser();
    /// After each row: nothing stands in the way of anything any more.
    void restore();

    static QString sessionFolder();
    QString accountsFile() const;
    QString accountsFolder() const { return mAccountsFolder; }

    KelAccount::KelAccountsPrivate* orchestrator();
    /// Something that the orchestrator is made of.
    template <class Part>
    Part* part()
    {
        return facade().findChild<Part*>();
    }

    /// The status of the one answer; -1 when there was another number of them, or one from inside
    /// the call.
    int signOut();
    /// What the service answered to each deletion of a token since this was last called.
    static QList<int> deletions();

    void expectSignedOut();
    void expectEverything();

    bool removeCredentials();
    /// The database keeps what is in the table.
    void refuse(const QString& file, const char* table);
    void allow();

private:
    QString mAccountsFolder;
    QString mRefusing;
};
