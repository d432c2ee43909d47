// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "signon/zorauthsessiondata.h"

#include <QMetaType>
#include <QObject>
#include <QString>

namespace KelAccount {

/// What the plugin is asked for. The values are fixed; which answer belongs to which is a switch.
enum KelAccountRequestType : int {
    InitialiseRequest = 0,
    SignInRequest = 1,
    TokenRequest = 2,
    DownloadProfileRequest = 3,
    SetSecurityQuestionRequest = 4,
    RegisterRequest = 5,
    ChangePasswordRequest = 6,
    UserIdUpdateRequest = 7,
    UpdateDeviceInfoRequest = 8,
    EnsureTokenRequest = 9,
    CloseRequest = 10,
    NoRequest = 11, ///< nothing is in flight
    SignOutRequest = 12,
};

/// One request to the plugin. Known to Qt as "RequestData", so that the event loop can carry it.
class RequestData : public QObject
{
    Q_OBJECT

public:
    RequestData() = default;
    RequestData(const ZorKeLSignOn::ZorAuthSessionData& record, const QString& mechanismName,
                KelAccountRequestType type);
    RequestData(const RequestData& other);
    RequestData& operator=(const RequestData& other);
    ~RequestData() override;

    KelAccountRequestType requestType = NoRequest;
    QString mechanism;
    ZorKeLSignOn::ZorAuthSessionData sessionData;
    /// The session it was made for; one that is still on its way when that ends is not sent.
    unsigned sessionNumber = 0;
    quint64 caller = 0; ///< see KelAuthSessionInterface::setCaller()
};

} // namespace KelAccount

Q_DECLARE_METATYPE(KelAccount::RequestData)
