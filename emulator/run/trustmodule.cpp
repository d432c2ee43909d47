// SPDX-License-Identifier: LGPL-2.1-or-later
// Preloaded into programs that the emulator runs: a Qt program then trusts the emulator's
// certificate authority, besides those it trusts anyway. Does nothing in other programs.
#include <QCoreApplication>
#include <QFile>
#include <QSslCertificate>
#include <QSslConfiguration>

namespace {

void trustEmulator()
{
    QFile file(QFile::decodeName(qgetenv("KELACCOUNT_EMULATOR_CA")));
    if (file.fileName().isEmpty() || !file.open(QIODevice::ReadOnly))
        return;
    const QList<QSslCertificate> authorities = QSslCertificate::fromDevice(&file, QSsl::Pem);
    if (authorities.isEmpty())
        return;
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.addCaCertificates(authorities);
    QSslConfiguration::setDefaultConfiguration(configuration);
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(trustEmulator)
