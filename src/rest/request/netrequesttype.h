// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace KelRestHandler {

/// Which operation of the service a request is. 0 is never a valid operation.
enum NetRequestType : int {
    SignIn = 1,
    RefreshToken = 2,
    RetrieveUserNameAvailability = 3,
    RetrieveCaptchaImage = 4,
    RegisterAccount = 5,
    RetrieveSecurityQuestionList = 6,
    RetrievePreAccountInfo = 7,
    RetrieveTermsOfService = 8,
    DeleteToken = 9,
    SendResetMessage = 10,
    RetrieveEmailIdAvailability = 11,
    QueryConsentVariant = 12,
    ResetPassword = 13,
    RetrieveSecurityQuestion = 14,
    ChangePassword = 15,
    RetrieveMarketingConsentInfo = 16,
    UpdateMarketingConsentInfo = 17,
    RetrieveContactsInfo = 18,
    UpdateContactsInfo = 19,
    RetrieveTermsAcceptance = 20,
    UpdateTermsAcceptance = 21,
    DownloadProfile = 22,
    UpdateProfile = 23,
    UpdateSecurityQuestionType = 24,
    SetUserName = 25,
    UpdateDeviceInfo = 26,
    EndOfNetRequestTypes ///< one past the last
};

constexpr int firstNetRequestType = SignIn;
constexpr int lastNetRequestType = EndOfNetRequestTypes - 1;

} // namespace KelRestHandler
