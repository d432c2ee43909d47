// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/literals.h"
#include "support/rows.h"

#include <kelaccount/commonutils.h>
#include <kelaccount/errorstatus.h>

#include <QSet>
#include <QTest>

namespace {

struct Row
{
    int value;
    int member;
    const char* name;
};

// The published table, number by number.
constexpr Row published[] = {
    {0, KelAccount::ErrorNone, "ZorKeLDefs::ErrorNone"},
    {401, KelAccount::ErrorConnectionRefused, "ZorKeLDefs::ErrorConnectionRefused"},
    {402, KelAccount::ErrorRemoteHostClosed, "ZorKeLDefs::ErrorRemoteHostClosed"},
    {403, KelAccount::ErrorHostNotFound, "ZorKeLDefs::ErrorHostNotFound"},
    {404, KelAccount::ErrorTimeout, "ZorKeLDefs::ErrorTimeout"},
    {405, KelAccount::ErrorOperationCanceled, "ZorKeLDefs::ErrorOperationCanceled"},
    {406, KelAccount::ErrorSslHandshakeFailed, "ZorKeLDefs::ErrorSslHandshakeFailed"},
    {407, KelAccount::ErrorTemporaryNetworkFailure, "ZorKeLDefs::ErrorTemporaryNetworkFailure"},
    {408, KelAccount::ErrorProxyConnectionRefused, "ZorKeLDefs::ErrorProxyConnectionRefused"},
    {409, KelAccount::ErrorProxyConnectionClosed, "ZorKeLDefs::ErrorProxyConnectionClosed"},
    {410, KelAccount::ErrorProxyNotFound, "ZorKeLDefs::ErrorProxyNotFound"},
    {411, KelAccount::ErrorProxyTimeout, "ZorKeLDefs::ErrorProxyTimeout"},
    {412, KelAccount::ErrorProxyAuthenticationRequired,
     "ZorKeLDefs::ErrorProxyAuthenticationRequired"},
    {414, KelAccount::ErrorContentOperationNotPermitted,
     "ZorKeLDefs::ErrorContentOperationNotPermitted"},
    {415, KelAccount::ErrorContentNotFound, "ZorKeLDefs::ErrorContentNotFound"},
    {416, KelAccount::ErrorAuthenticationRequired, "ZorKeLDefs::ErrorAuthenticationRequired"},
    {417, KelAccount::ErrorContentReSend, "ZorKeLDefs::ErrorContentReSend"},
    {418, KelAccount::ErrorProtocolUnknown, "ZorKeLDefs::ErrorProtocolUnknown"},
    {419, KelAccount::ErrorProtocolInvalidOperation, "ZorKeLDefs::ErrorProtocolInvalidOperation"},
    {420, KelAccount::ErrorUnknownNetwork, "ZorKeLDefs::ErrorUnknownNetwork"},
    {421, KelAccount::ErrorUnknownProxy, "ZorKeLDefs::ErrorUnknownProxy"},
    {422, KelAccount::ErrorUnknownContent, "ZorKeLDefs::ErrorUnknownContent"},
    {423, KelAccount::ErrorProtocolFailure, "ZorKeLDefs::ErrorProtocolFailure"},
    {500, KelAccount::ErrorInvalidAccessToken, "ZorKeLDefs::ErrorInvalidAccessToken"},
    {501, KelAccount::ErrorIllegalRequestMethod, "ZorKeLDefs::ErrorIllegalRequestMethod"},
    {502, KelAccount::ErrorUnknownContentType, "ZorKeLDefs::ErrorUnknownContentType"},
    {503, KelAccount::ErrorInvalidUrl, "ZorKeLDefs::ErrorInvalidUrl"},
    {504, KelAccount::ErrorNotAuthorized, "ZorKeLDefs::ErrorNotAuthorized"},
    {505, KelAccount::ErrorGeneralError, "ZorKeLDefs::ErrorGeneralError"},
    {506, KelAccount::ErrorInvalidMessageFormat, "ZorKeLDefs::ErrorInvalidMessageFormat"},
    {507, KelAccount::ErrorResourceNotFound, "ZorKeLDefs::ErrorResourceNotFound"},
    {508, KelAccount::ErrorOperationFailed, "ZorKeLDefs::ErrorOperationFailed"},
    {509, KelAccount::ErrorUserPreregistered, "ZorKeLDefs::ErrorUserPreregistered"},
    {510, KelAccount::ErrorAccountLocked, "ZorKeLDefs::ErrorAccountLocked"},
    {511, KelAccount::ErrorContactUpdate, "ZorKeLDefs::ErrorContactUpdate"},
    {513, KelAccount::ErrorCaptchaError, "ZorKeLDefs::ErrorCaptchaError"},
    {514, KelAccount::ErrorServicetagError, "ZorKeLDefs::ErrorServicetagError"},
    {515, KelAccount::ErrorEmailAddressReserved, "ZorKeLDefs::ErrorEmailAddressReserved"},
    {516, KelAccount::ErrorInvalidServiceTag, "ZorKeLDefs::ErrorInvalidServiceTag"},
    {517, KelAccount::ErrorInvalidCaptcha, "ZorKeLDefs::ErrorInvalidCaptcha"},
    {518, KelAccount::ErrorInvalidContact, "ZorKeLDefs::ErrorInvalidContact"},
    {519, KelAccount::ErrorUserNotFound, "ZorKeLDefs::ErrorUserNotFound"},
    {520, KelAccount::ErrorEmailSendingFailed, "ZorKeLDefs::ErrorEmailSendingFailed"},
    {521, KelAccount::ErrorSMSendingFailed, "ZorKeLDefs::ErrorSMSendingFailed"},
    {522, KelAccount::ErrorAttributeSyntaxError, "ZorKeLDefs::ErrorAttributeSyntaxError"},
    {523, KelAccount::ErrorAgeVerificationSimpleConsent,
     "ZorKeLDefs::ErrorAgeVerificationSimpleConsent"},
    {524, KelAccount::ErrorAgeVerificationDisallowed, "ZorKeLDefs::ErrorAgeVerificationDisallowed"},
    {525, KelAccount::ErrorTooYoung, "ZorKeLDefs::ErrorTooYoung"},
    {526, KelAccount::ErrorIllegalUpdate, "ZorKeLDefs::ErrorIllegalUpdate"},
    {600, KelAccount::ErrorConsumerKeyMissing, "ZorKeLDefs::ErrorConsumerKeyMissing"},
    {601, KelAccount::ErrorConsumerSecretMissing, "ZorKeLDefs::ErrorConsumerSecretMissing"},
    {602, KelAccount::ErrorClientInfoNotFound, "ZorKeLDefs::ErrorClientInfoNotFound"},
    {603, KelAccount::ErrorUntrustedClient, "ZorKeLDefs::ErrorUntrustedClient"},
    {604, KelAccount::ErrorTokenDoesnotExist, "ZorKeLDefs::ErrorTokenDoesnotExist"},
    {605, KelAccount::ErrorZorAuthPluginInternalError,
     "ZorKeLDefs::ErrorZorAuthPluginInternalError"},
    {606, KelAccount::ErrorSignInCancelled, "ZorKeLDefs::ErrorSignInCancelled"},
    {607, KelAccount::ErrorRetrieveTermsDataFailed, "ZorKeLDefs::ErrorRetrieveTermsDataFailed"},
    {608, KelAccount::ErrorUserNameAlreadySet, "ZorKeLDefs::ErrorUserNameAlreadySet"},
    {609, KelAccount::ErrorTermsAcceptancePending, "ZorKeLDefs::ErrorTermsAcceptancePending"},
    {610, KelAccount::ErrorTermsAcceptanceUpdateFailed,
     "ZorKeLDefs::ErrorTermsAcceptanceUpdateFailed"},
    {611, KelAccount::ErrorServiceTagAndCaptchaMissing,
     "ZorKeLDefs::ErrorServiceTagAndCaptchaMissing"},
    {612, KelAccount::ErrorUserForgotPassword, "ZorKeLDefs::ErrorUserForgotPassword"},
    {613, KelAccount::ErrorSignOnUIFailure, "ZorKeLDefs::ErrorSignOnUIFailure"},
    {614, KelAccount::ErrorOldPasswordMismatch, "ZorKeLDefs::ErrorOldPasswordMismatch"},
    {615, KelAccount::ErrorSignInPasswordEmpty, "ZorKeLDefs::ErrorSignInPasswordEmpty"},
    {700, KelAccount::ErrorAccountNotConfigured, "ZorKeLDefs::ErrorAccountNotConfigured"},
    {701, KelAccount::ErrorAuthSessionBusy, "ZorKeLDefs::ErrorAuthSessionBusy"},
    {702, KelAccount::ErrorNotInitialized, "ZorKeLDefs::ErrorNotInitialized"},
    {703, KelAccount::ErrorAccountConfigurationIncomplete,
     "ZorKeLDefs::ErrorAccountConfigurationIncomplete"},
    {704, KelAccount::ErrorAuthSessionInitializationFailed,
     "ZorKeLDefs::ErrorAuthSessionInitializationFailed"},
    {705, KelAccount::ErrorSetUsernameIncomplete, "ZorKeLDefs::ErrorSetUsernameIncomplete"},
    {710, KelAccount::ErrorAccountDisabled, "ZorKeLDefs::ErrorAccountDisabled"},
    {800, KelAccount::ErrorStoreCredentialsFailed, "ZorKeLDefs::ErrorStoreCredentialsFailed"},
    {801, KelAccount::ErrorCredentialsNotAvailable, "ZorKeLDefs::ErrorCredentialsNotAvailable"},
    {802, KelAccount::ErrorInitializationPending, "ZorKeLDefs::ErrorInitializationPending"},
    {803, KelAccount::ErrorAccountAlreadyPresent, "ZorKeLDefs::ErrorAccountAlreadyPresent"},
    {804, KelAccount::ErrorAccountConfigurationInProgress,
     "ZorKeLDefs::ErrorAccountConfigurationInProgress"},
    {805, KelAccount::ErrorFailedToConfigureAccount, "ZorKeLDefs::ErrorFailedToConfigureAccount"},
    {806, KelAccount::ErrorFailedToEstablishZorAuthSession,
     "ZorKeLDefs::ErrorFailedToEstablishZorAuthSession"},
    {1000, KelAccount::ErrorInvalidRequest, "ZorKeLDefs::ErrorInvalidRequest"},
    {1001, KelAccount::ErrorInvalidParameter, "ZorKeLDefs::ErrorInvalidParameter"},
    {1002, KelAccount::ErrorUnabletoSendRequest, "ZorKeLDefs::ErrorUnabletoSendRequest"},
    {1003, KelAccount::ErrorUnknown, "ZorKeLDefs::ErrorUnknown"},
    {1004, KelAccount::ErrorUndefined, "ZorKeLDefs::ErrorUndefined"},
    {1005, KelAccount::ErrorMax, "ZorKeLDefs::ErrorMax"},
};

} // namespace

class TestCommonUtils : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyStatusHasItsValueAndName_data()
    {
        columns<int, int, QString>("value", "member", "name");
        for (const Row& row : published)
            QTest::addRow("%d", row.value)
                << row.value << row.member << QString::fromLatin1(row.name);
    }
    void everyStatusHasItsValueAndName()
    {
        QFETCH(int, value);
        QTEST(value, "member");
        QTEST(CommonUtils::ConvertErrorCodeToString(value), "name");
    }

    void everyOtherNumberGetsTheFallback()
    {
        QSet<int> known;
        for (const Row& row : published)
            known.insert(row.value);
        QCOMPARE(known.size(), 85);
        for (int value = -10; value < 1100; ++value) {
            if (!known.contains(value)) {
                QCOMPARE(CommonUtils::ConvertErrorCodeToString(value),
                         "ZorKelDefs::Error"_s + QString::number(value));
            }
        }
    }

    void theFallbackIsSpelledWithALowerCaseEl_data()
    {
        columns<int, QString>("value", "name");
        QTest::newRow("413") << 413 << "ZorKelDefs::Error413"_s;
        QTest::newRow("512") << 512 << "ZorKelDefs::Error512"_s;
        QTest::newRow("807") << 807 << "ZorKelDefs::Error807"_s;
        QTest::newRow("negative") << -1 << "ZorKelDefs::Error-1"_s;
    }
    void theFallbackIsSpelledWithALowerCaseEl()
    {
        QFETCH(int, value);
        QTEST(CommonUtils::ConvertErrorCodeToString(value), "name");
    }
};

QTEST_APPLESS_MAIN(TestCommonUtils)
#include "tst_commonutils.moc"
