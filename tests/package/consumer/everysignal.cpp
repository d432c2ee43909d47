// SPDX-License-Identifier: LGPL-2.1-or-later
// Connects a lambda to every signal of the facade, with no header of the library but the facade's.
#include <kelaccount/kelaccounts.h>

#include <QCoreApplication>
#include <QMetaMethod>

#include <cstdio>

using namespace KelAccount;

namespace {

class Facade : public KelAccounts
{
public:
    using KelAccounts::isSignalConnected;
};

void connectAll(Facade& facade, QObject* context)
{
    using A = KelAccounts;
    const auto on = [&](auto signal, auto receiver) {
        QObject::connect(&facade, signal, context, receiver);
    };
    const auto statusOnly = [](ErrorStatus) {};
    const auto withMap = [](ErrorStatus, const QVariantMap&) {};
    const auto withFlag = [](ErrorStatus, bool) {};
    on(&A::initializeResponse, statusOnly);
    on(&A::isUserIdAvailableResponse, [](ErrorStatus, bool, const QStringList&) {});
    on(&A::captchaImageResponse, [](ErrorStatus, const QPixmap&) {});
    on(&A::retrieveCaptchaImageResponse, [](ErrorStatus, const QPixmap&, const QString&) {});
    on(&A::registerAccountResponse, withMap);
    on(&A::securityQuestionListResponse, withMap);
    on(&A::detectPreAccountResponse,
       [](ErrorStatus, const PreAccountInfo& info) { return info.username; });
    on(&A::termsOfServiceResponse, withMap);
    on(&A::signInAndConfigureResponse, withMap);
    on(&A::isEmailIdAvailableResponse, withFlag);
    on(&A::marketingVariantResponse, [](ErrorStatus, ConsentQueryVariant) {});
    on(&A::requestPasswordResetResponse, statusOnly);
    on(&A::downloadProfileResponse,
       [](ErrorStatus, ProfileInfo* profile) { return profile->userName(); });
    on(&A::updateSecurityQuestionResponse, statusOnly);
    on(&A::ensureTokenAvailableResponse, statusOnly);
    on(&A::changePasswordResponse, statusOnly);
    on(&A::userIdUpdateResponse, statusOnly);
    on(&A::retrievePasswordResetSecQuestionResponse, withMap);
    on(&A::resetPasswordUsingSecurityQuestionResponse, statusOnly);
    on(&A::closeResponse, statusOnly);
    on(&A::retrieveCountryCodeResponse, [](ErrorStatus, const QString&) {});
}

} // namespace

int main(int count, char** arguments)
{
    const QCoreApplication application(count, arguments);
    Facade facade;
    QObject context;
    connectAll(facade, &context);
    int missed = 0;
    const QMetaObject& meta = KelAccounts::staticMetaObject;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        if (method.methodType() == QMetaMethod::Signal && !facade.isSignalConnected(method)) {
            std::printf("no lambda is connected to %s\n", method.methodSignature().constData());
            ++missed;
        }
    }
    return missed == 0 ? 0 : 1;
}
