// SPDX-License-Identifier: LGPL-2.1-or-later
#include "dispatchcases.h"
#include "recordedanswers.h"
#include "rest/restrequesthandler.h"
#include "rest/transport/networkhandler.h"
#include "support/messagelog.h"

#include <QTest>

using namespace KelRestHandler;

namespace {

// Every signal that answers passes on, as it is declared.
QStringList serviceSignatures()
{
    return {
        QStringLiteral("signInResponse(KelRestHandler::TokenCreationResponse)"),
        QStringLiteral("tokenRefreshResponse(KelRestHandler::TokenRefreshResponse)"),
        QStringLiteral(
            "userNameAvailabilityResponse(KelRestHandler::UserNameAvailabilityResponse)"),
        QStringLiteral("retrieveCaptchaImageResponse(int,QPixmap,QString)"),
        QStringLiteral("registerAccountResponse(int)"),
        QStringLiteral("retrieveSecQueListResponse(int,QVariantMap)"),
        QStringLiteral("detectPreAccountResponse(int,PreAccountInfo)"),
        QStringLiteral("retrieveTOSResponse(KelRestHandler::TermsUrlsResponse)"),
        QStringLiteral("tokenDeletionResponse(KelRestHandler::RESTResponseBase)"),
        QStringLiteral("emailIdAvailabilityResponse(int)"),
        QStringLiteral("queryMarketingVariantResponse(int,KelRestHandler::ConsentQueryVariant)"),
        QStringLiteral("downloadProfileResponse(KelRestHandler::DownloadProfileResponse)"),
        QStringLiteral("requestPasswordResetResponse(int)"),
        QStringLiteral(
            "retrieveSecurityQuestionResponse(KelRestHandler::SecurityQuestionResponse)"),
        QStringLiteral("updateSecurityQuestionResponse(KelRestHandler::RESTResponseBase)"),
        QStringLiteral("setUserIdResponse(KelRestHandler::DownloadProfileResponse)"),
        QStringLiteral("accountRegistrationResponse(KelRestHandler::RegistrationResponse)"),
        QStringLiteral("updateTermsAcceptanceResponse(KelRestHandler::RESTResponseBase)"),
        QStringLiteral(
            "retrieveTermsAcceptanceResponse(KelRestHandler::TermsAcceptanceStatusResponse)"),
        QStringLiteral("updateDeviceInfoResponse(KelRestHandler::RESTResponseBase)"),
        QStringLiteral("changePasswordResponse(KelRestHandler::RESTResponseBase)"),
        QStringLiteral("passwordResetResponse(KelRestHandler::RESTResponseBase)"),
    };
}

QStringList signaturesOf(const QMetaObject& meta)
{
    QStringList signatures;
    for (int i = QObject::staticMetaObject.methodCount(); i < meta.methodCount(); ++i) {
        if (meta.method(i).methodType() == QMetaMethod::Signal)
            signatures.append(QString::fromLatin1(meta.method(i).methodSignature()));
    }
    return signatures;
}

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

} // namespace

class TestServiceSignals : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyStageDeclaresTheSameTwentyTwoSignals()
    {
        QCOMPARE(serviceSignatures().size(), 22);
        const QStringList expected = sorted(serviceSignatures());
        QCOMPARE(sorted(signaturesOf(NetworkResponseProcessor::staticMetaObject)), expected);
        QCOMPARE(sorted(signaturesOf(NetworkHandler::staticMetaObject)), expected);
        QCOMPARE(sorted(signaturesOf(RESTRequestHandler::staticMetaObject)), expected);
    }

    void theRelayPassesEverySignalOnUnchanged()
    {
        NetworkResponseProcessor processor(nullptr);
        NetworkHandler transport(nullptr);
        ServiceSignals last(nullptr);
        ServiceSignals::relay(&processor, &transport);
        ServiceSignals::relay(&transport, &last);
        const RecordedAnswers sent(processor);
        const RecordedAnswers arrived(last);
        const MessageLog log;
        for (const dispatchcases::Case& testCase : dispatchcases::all()) {
            HttpResponse response(testCase.error, testCase.text, dispatchcases::consumerKey,
                                  dispatchcases::requestId);
            processor.processResponseFromServer(testCase.type, &response);
        }
        QCOMPARE(arrived.lines(), sent.lines());
        QStringList names;
        for (const QString& signature : serviceSignatures())
            names.append(signature.section(QLatin1Char('('), 0, 0));
        QStringList arrivedNames = arrived.names();
        arrivedNames.removeDuplicates();
        QCOMPARE(sorted(arrivedNames), sorted(names));
    }
};

QTEST_MAIN(TestServiceSignals)
#include "tst_servicesignals.moc"
