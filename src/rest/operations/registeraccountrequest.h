// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "device/deviceinfoutil.h"
#include "rest/operations/description.h"
#include "rest/records/registrationinfodata.h"
#include "rest/reply/msgparser.h"
#include "rest/reply/networkresponseprocessor.h"
#include "rest/request/msgcreator.h"

namespace KelRestHandler {

template <>
struct Description<RegisterAccount> : DescriptionDefaults
{
    using Request = class RegisterAccountRequest;
    static constexpr char verb[] = "POST";
    static constexpr std::array roots{"registrationResponse",
                                      "phoneActivationRegistrationResponse"};
    static constexpr char creationFailure[] = "Register account request object creation failed";
    static constexpr auto signal = &ServiceSignals::accountRegistrationResponse;
    static constexpr auto process = &NetworkResponseProcessor::processRegisterAccountResponse;

    static constexpr auto signalBefore = &ServiceSignals::registerAccountResponse;
    static constexpr bool takesTokensTime = true;

    static void read(RegistrationResponse& into, const QDomNode& element)
    {
        MsgParser::parseRegistrationResponseInfoNode(into.userName, into.accountInfo,
                                                     into.tokenInfo, element);
    }
};

/// Registers an account. With a SIM in the device, the registration activates the phone with it:
/// the address and the document are others then, always both together.
class RegisterAccountRequest : public DescribedRequest<RegisterAccount>
{
public:
    RegisterAccountRequest(ISignatureProvider& provider, RegistrationInfoData const& registration,
                           QString const& captchaId, QByteArray const& serviceTag,
                           QString const& consumerKey, QString const& baseAddress,
                           NetRequestType type)
        : DescribedRequest(provider, consumerKey, baseAddress, type, defaultLanguage()),
          mRegistration(registration), mCaptchaId(captchaId), mServiceTag(serviceTag),
          mSimPresent(DeviceInfoUtil().simStatus()),
          mFacts(mSimPresent ? DeviceFacts::read() : DeviceFacts())
    {
        createOAuthRequest();
    }

    QString createXMLMessage() final
    {
        if (!isSimPresent())
            return MsgCreator::xmlRegistration(mRegistration, mCaptchaId, mServiceTag);
        return MsgCreator::xmlPreRegistration(mFacts.imei, mFacts.mcc, mFacts.mnc,
                                              mFacts.hashedMsin, mCaptchaId, mRegistration,
                                              mServiceTag);
    }

    QString getRestURL() final
    {
        return isSimPresent() ? RestUrlHelper::newPreAccountRegistrationUrl(baseAddress())
                              : RestUrlHelper::newRegistrationUrl(baseAddress());
    }

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
