// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/devicefacts.h"
#include "rest/records/registrationinfodata.h"
#include "rest/request/oauthrequest.h"

#include <QByteArray>

namespace KelRestHandler {

/// Registers an account. With a SIM in the device, the registration activates the phone with it:
/// the address and the document are others then, always both together.
class RegisterAccountRequest : public OAuthRequest
{
public:
    RegisterAccountRequest(ISignatureProvider& provider, RegistrationInfoData const& registration,
                           QString const& captchaId, QByteArray const& serviceTag,
                           QString const& consumerKey, QString const& baseAddress,
                           NetRequestType type);

    QString createXMLMessage() override;
    QString getRestURL() override;
    QString getHttpRequestType() override;
    bool isTokenRequired() override;

    /// As it was when the request was made.
    bool isSimPresent() const { return mSimPresent; }

private:
    RegistrationInfoData mRegistration;
    QString mCaptchaId;
    QByteArray mServiceTag;
    bool mSimPresent;
    DeviceFacts mFacts; ///< empty without a SIM
};

} // namespace KelRestHandler
