// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QSslCertificate>
#include <QString>

namespace KelRestHandler {

/// Whether the certificate was issued for the host by its alternative names.
///
/// The network library accepts a common name, too, which certificate authorities do not vouch for
/// (RFC 6125, 6.4.4; RFC 9525 ended its use). A certificate without alternative names is for
/// nobody. A wildcard stands for the whole left-most label of a name with at least two more; an
/// address matches an address only.
bool isIssuedFor(const QSslCertificate& certificate, const QString& host);

} // namespace KelRestHandler
