// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/layouts.h"

namespace KelEmulator::Layouts {

namespace {

// With a captcha or a service tag; one with neither is turned down for that, not for its form.
// The captcha's identifier may be empty.
constexpr Layout captchaId = value("captchaId", Form::Text, Presence::Optional);
constexpr Layout imageText = value("imageText", Form::NonEmpty, Presence::WithBefore);
constexpr Layout serviceTag = value("serviceTag", Form::NonEmpty, Presence::InsteadOptional);

// What a device does not know is empty but there.
constexpr Layout serialNumber = value("mobilePhoneSerialNumber");
constexpr Layout mcc = value("mcc");
constexpr Layout mnc = value("mnc");
constexpr Layout hashedMsin = value("hashedMSIN", Form::Base64);

constexpr Layout digestAuthParts[] = {value("username"), value("nonce"), value("created"),
                                      value("digest", Form::Base64)};
constexpr Layout tokenCreationParts[] = {elements("digestAuth", digestAuthParts),
                                         words("checkTerms", "true")};

constexpr Layout captchaCreationParts[] = {value("width", Form::Integer),
                                           value("height", Form::Integer)};

constexpr Layout registrationUserParts[] = {optional("mobile"),
                                            optional("email"),
                                            value("password", Form::Base64),
                                            optional("passwordQuestion"),
                                            optional("passwordAnswer"),
                                            optional("language"),
                                            value("country"),
                                            optional("dateOfBirth", Form::Date),
                                            optional("firstName"),
                                            optional("lastName")};
constexpr Layout registrationConsentParts[] = {boolean("email"), boolean("mobile"),
                                               words("serviceId", "OneConsent")};
constexpr Layout registrationUser = elements("userData", registrationUserParts);
constexpr Layout registrationConsent = elements("marketingConsent", registrationConsentParts);

constexpr Layout registrationParts[] = {
    captchaId, imageText, serviceTag, optional("username"), registrationUser, registrationConsent};
constexpr Layout phoneActivationParts[] = {
    captchaId, imageText,  serviceTag,           serialNumber,     mcc,
    mnc,       hashedMsin, optional("username"), registrationUser, registrationConsent};

constexpr Layout deviceParts[] = {serialNumber, mcc, mnc, hashedMsin};
// Here the hash comes as whatever printable text the client has.
constexpr Layout consentVariantParts[] = {serialNumber, mcc, mnc, value("hashedMSIN")};
constexpr Layout devicesUpdateParts[] = {optional("preAccountId"),
                                         elements("deviceInformation", deviceParts)};

constexpr Layout recoveryMessageParts[] = {
    captchaId,
    imageText,
    serviceTag,
    optional("sendPlainToken", Form::Nothing),
    value("messageBody", Form::Text, Presence::InsteadRequired),
    value("returnUrl", Form::NonEmpty, Presence::AfterText)};

constexpr Layout emailAvailabilityParts[] = {value("email", Form::NonEmpty), value("serviceTag")};

constexpr Layout passwordResetParts[] = {optional("securityToken"),
                                         optional("newPassword", Form::Base64),
                                         optional("passwordQuestionAnswer")};

constexpr Layout consentParts[] = {boolean("email"), boolean("mobile")};
constexpr Layout marketingConsentParts[] = {elements("marketingConsent", consentParts)};

constexpr Layout mobileContactParts[] = {value("mobileNumber"), boolean("preferred")};
constexpr Layout emailContactParts[] = {value("emailAddress"), boolean("preferred")};
constexpr Layout mobileContacts[] = {
    elements("mobileContact", mobileContactParts, Presence::Repeated)};
constexpr Layout emailContacts[] = {
    elements("emailContact", emailContactParts, Presence::Repeated)};
constexpr Layout contactsUpdateParts[] = {elements("mobileContacts", mobileContacts),
                                          elements("emailContacts", emailContacts)};

constexpr Layout termsUpdateParts[] = {boolean("hasAcceptedTos"),
                                       boolean("hasAcceptedServiceSpecificTos"),
                                       boolean("hasAcceptedPrivacyPolicy")};

// Four documents share a root, an address and a verb.
constexpr const char* profileUpdateRoot = "profileUpdateRequest";
constexpr Layout profileParts[] = {value("mobile"),
                                   value("email"),
                                   optional("language"),
                                   optional("country"),
                                   optional("dateOfBirth", Form::Date),
                                   value("firstName"),
                                   value("lastName"),
                                   words("gender", "male|female|unknown", Presence::Optional)};
constexpr Layout profileUpdateParts[] = {elements("userData", profileParts)};
constexpr Layout questionParts[] = {optional("passwordQuestion"), optional("passwordAnswer")};
constexpr Layout questionUpdateParts[] = {elements("userData", questionParts)};
constexpr Layout passwordParts[] = {value("password", Form::Base64)};
constexpr Layout passwordChangeParts[] = {elements("userData", passwordParts)};
constexpr Layout userNameUpdateParts[] = {value("username"), value("userData", Form::Nothing)};

} // namespace

const Layout tokenCreation = elements("tokenCreationRequest", tokenCreationParts);
const Layout captchaCreation = elements("captchaCreationRequest", captchaCreationParts);
const Layout registration = elements("registrationRequest", registrationParts);
const Layout phoneActivation = elements("phoneActivationRegistrationRequest", phoneActivationParts);
const Layout autoDetection = elements("autoDetectionRequest", deviceParts);
const Layout recoveryMessage =
    elements("simplifiedSendRecoveryMessageRequest", recoveryMessageParts);
const Layout emailAvailability = elements("emailAvailabilityRequest", emailAvailabilityParts);
const Layout consentVariant = elements("consentQueryVariantRequest", consentVariantParts);
const Layout passwordReset = elements("simplifiedChangePasswordRequest", passwordResetParts);
const Layout passwordChange = elements(profileUpdateRoot, passwordChangeParts);
const Layout marketingConsent = elements("marketingConsentUpdateRequest", marketingConsentParts);
const Layout contactsUpdate = elements("contactsUpdateRequest", contactsUpdateParts);
const Layout termsUpdate = elements("termsUpdateRequest", termsUpdateParts);
const Layout profileUpdate = elements(profileUpdateRoot, profileUpdateParts);
const Layout securityQuestionUpdate = elements(profileUpdateRoot, questionUpdateParts);
const Layout userNameUpdate = elements(profileUpdateRoot, userNameUpdateParts);
const Layout devicesUpdate = elements("devicesUpdateRequest", devicesUpdateParts);

} // namespace KelEmulator::Layouts
