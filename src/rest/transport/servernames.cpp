// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/servernames.h"

#include <QHostAddress>
#include <QSsl>
#include <QUrl>

#include <algorithm>

namespace KelRestHandler {

namespace {

// As names are compared: in ASCII, in lower case, without the dot of a fully qualified name.
QByteArray comparable(const QString& name)
{
    QByteArray ascii = QUrl::toAce(name).toLower();
    if (ascii.endsWith('.'))
        ascii.chop(1);
    return ascii;
}

// `pattern` is as it stands in the certificate: ASCII already, and with an asterisk no valid name.
bool matches(const QString& pattern, const QByteArray& host)
{
    QByteArray name = pattern.toLatin1().toLower();
    if (name.endsWith('.'))
        name.chop(1);
    if (!name.startsWith("*."))
        return !name.contains('*') && name == host;
    const QByteArray parent = name.mid(1);
    const int label = host.indexOf('.');
    return parent.count('.') >= 2 && !parent.contains('*') && label > 0 &&
           host.mid(label) == parent;
}

} // namespace

bool isIssuedFor(const QSslCertificate& certificate, const QString& host)
{
    const auto names = certificate.subjectAlternativeNames();
    const QHostAddress address(host);
    if (!address.isNull()) {
        const auto addresses = names.values(QSsl::IpAddressEntry);
        return std::any_of(addresses.begin(), addresses.end(), [&address](const QString& text) {
            return QHostAddress(text) == address;
        });
    }
    const QByteArray wanted = comparable(host);
    const auto patterns = names.values(QSsl::DnsEntry);
    return !wanted.isEmpty() &&
           std::any_of(patterns.begin(), patterns.end(),
                       [&wanted](const QString& pattern) { return matches(pattern, wanted); });
}

} // namespace KelRestHandler
