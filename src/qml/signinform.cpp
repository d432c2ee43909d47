// SPDX-License-Identifier: LGPL-2.1-or-later
#include "qml/signinform.h"

#include "qml/resultobjects.h"

void KelQmlSignIn::setPassword(const QString& password)
{
    mPassword = password;
    Q_EMIT filledIn();
}

bool KelQmlSignIn::submit()
{
    return ask(
        [this](KelAccount::Client& operations) {
            return operations.signInAndConfigure(mUserName, mPassword,
                                                 mCreatesDeviceAccount
                                                     ? KelAccount::DeviceAccount::Create
                                                     : KelAccount::DeviceAccount::Leave);
        },
        [this](const KelAccount::SetUp& setUp) {
            mAccount = KelQmlResults::object(setUp);
            Q_EMIT accountChanged();
            Q_EMIT succeeded();
        });
}
