// SPDX-License-Identifier: LGPL-2.1-or-later
// A server's certificate: a line with the host that was asked for, then the certificate as DER.
#include "bytesource.h"
#include "fuzztarget.h"

#include "rest/transport/servernames.h"

#include <QHostAddress>
#include <QSslCertificate>

namespace KelFuzz::Certificate {

namespace {

void run(const uint8_t* data, size_t size)
{
    ByteSource source(data, size);
    const QString host = QString::fromUtf8(source.line());
    const QSslCertificate certificate(source.rest(), QSsl::Der);
    const bool isIssued = KelRestHandler::isIssuedFor(certificate, host);
    // Nobody is shown a certificate that names nobody.
    require(!isIssued || !certificate.subjectAlternativeNames().isEmpty());
    require(!isIssued || !host.isEmpty());
    // An address is never a name, nor part of one.
    if (isIssued && !QHostAddress(host).isNull())
        require(certificate.subjectAlternativeNames().contains(QSsl::IpAddressEntry));
    // A letter's case does not matter.
    require(KelRestHandler::isIssuedFor(certificate, host.toUpper().toLower()) == isIssued ||
            host.toUpper().toLower() != host.toLower());
}

} // namespace

} // namespace KelFuzz::Certificate

KEL_FUZZ_TARGET(certificate, KelFuzz::Certificate::run)
