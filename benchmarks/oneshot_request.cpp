// SPDX-License-Identifier: LGPL-2.1-or-later
// Prints the request that oneshot_kelaccount makes, signed at this moment, for oneshot_bare to
// post: its address, then its headers, a line each.
#include "rest/operations/retrieveusernameavailabilityrequest.h"
#include "rest/request/consumersignature.h"
#include "rest/request/serviceaddress.h"
#include "rest/request/timestampmanager.h"
#include "rest/restrequesthandler.h"

#include <QCoreApplication>

#include <cstdio>

using namespace KelRestHandler;

namespace {

class Signer : public ISignatureProvider
{
public:
    QString getToken(QString const& /*consumerKey*/) override { return {}; }
    QString createSignature(QString const& /*consumerKey*/, QString const& base,
                            bool /*useToken*/) override
    {
        return consumerSignature(base, QStringLiteral("demo-secret"));
    }
    QString getTimeStamp() override
    {
        return TimeStampManager::clockOf(serverBaseAddress(2)).timeStamp();
    }
};

void print(const QString& name, const QString& value)
{
    std::printf("%s: %s\n", name.toLatin1().constData(), value.toLatin1().constData());
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const RESTRequestHandler handler; // has the device described
    Signer signer;
    const RetrieveUserNameAvailabilityRequest request(
        signer, QStringLiteral("bob"), QStringLiteral("demo-key"), serverBaseAddress(2),
        RetrieveUserNameAvailability);
    std::printf("%s\n", request.getUrl().toEncoded().constData());
    const auto headers = request.getHeaders();
    for (auto it = headers.cbegin(); it != headers.cend(); ++it)
        print(it.key(), it.value());
    print(QStringLiteral("rest-verb"), request.getTypOfRequest());
    // As the library sends it, so that the same bytes come back.
    print(QStringLiteral("Accept-Encoding"), QStringLiteral("identity"));
    return 0;
}
