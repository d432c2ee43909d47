// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/doctor/checks.h"

#include "tools/doctor/waiting.h"

#include <kelaccount/kelaccounts.h>
#include <kelaccount/statustext.h>

#include <QDeadlineTimer>
#include <QHostInfo>
#include <QLocale>
#include <QNetworkProxy>
#include <QSslCertificate>
#include <QSslSocket>
#include <QTcpSocket>
#include <QUrl>

#include <algorithm>

namespace Doctor {

namespace {

constexpr const char* proxyCheck = "proxy";
constexpr const char* hostCheck = "host";
constexpr const char* tlsCheck = "tls";
constexpr const char* clockCheck = "clock";
constexpr const char* keyCheck = "key";

constexpr quint16 httpsPort = 443;

/// The proxy that the library goes through, as it reads it; false when it cannot be used.
bool checkProxy(Patience patience, QNetworkProxy& proxy, Findings& findings)
{
    const QString secure = qEnvironmentVariable("https_proxy");
    const char* const variable = secure.isEmpty() ? "http_proxy" : "https_proxy";
    const QString text = secure.isEmpty() ? qEnvironmentVariable("http_proxy") : secure;
    proxy = QNetworkProxy(QNetworkProxy::NoProxy);
    if (text.isEmpty()) {
        findings.good(proxyCheck, QStringLiteral("no proxy is set, and none is used"));
        return true;
    }
    const QUrl address(text);
    if (address.host().isEmpty()) {
        // Never its value: that may hold a password.
        findings.error(proxyCheck,
                       QStringLiteral("no host can be read from %1, so no proxy is used")
                           .arg(QLatin1String(variable)),
                       QStringLiteral("write it with its scheme: http://host:port"));
        return true;
    }
    constexpr int httpPort = 80;
    const auto port = static_cast<quint16>(address.port(httpPort));
    const QString place = QStringLiteral("%1:%2").arg(address.host()).arg(port);
    QTcpSocket socket;
    socket.setProxy(QNetworkProxy::NoProxy);
    socket.connectToHost(address.host(), port);
    if (!socket.waitForConnected(patience.ms)) {
        findings.error(
            proxyCheck,
            QStringLiteral("the proxy %1 is not reached: %2").arg(place, socket.errorString()),
            QStringLiteral("set %1 to a proxy that runs, or unset it")
                .arg(QLatin1String(variable)));
        return false;
    }
    proxy = QNetworkProxy(QNetworkProxy::HttpProxy, address.host(), port, address.userName(),
                          address.password());
    findings.good(proxyCheck, QStringLiteral("the proxy %1 is reached").arg(place));
    return true;
}

bool checkHost(const QString& host, const QNetworkProxy& proxy, Patience patience,
               Findings& findings)
{
    if (proxy.type() != QNetworkProxy::NoProxy) {
        findings.good(hostCheck, QStringLiteral("%1 is left to the proxy to find").arg(host));
        return true;
    }
    const auto problem = awaited<QString>(patience.ms, [&host](QObject* context, auto done) {
        QHostInfo::lookupHost(host, context, [done](const QHostInfo& info) {
            done(info.error() == QHostInfo::NoError ? QString() : info.errorString());
        });
    });
    if (problem && problem->isEmpty()) {
        findings.good(hostCheck, QStringLiteral("%1 has an address").arg(host));
        return true;
    }
    findings.error(
        hostCheck,
        QStringLiteral("no address of %1: %2")
            .arg(host, problem ? *problem : QStringLiteral("the name server does not answer")),
        QStringLiteral("mend the network or its name server, or set https_proxy"));
    return false;
}

/// As the library wants it: among the alternative names, a star for the first label.
bool isIssuedFor(const QSslCertificate& certificate, const QString& host)
{
    const QStringList names = certificate.subjectAlternativeNames().values(QSsl::DnsEntry);
    return std::any_of(names.begin(), names.end(), [&host](const QString& name) {
        if (name.startsWith(QLatin1String("*.")))
            return QStringView(name).mid(2).compare(host.section(QLatin1Char('.'), 1),
                                                    Qt::CaseInsensitive) == 0;
        return host.compare(name, Qt::CaseInsensitive) == 0;
    });
}

QString nameOf(const QSslCertificate& certificate)
{
    return certificate.issuerInfo(QSslCertificate::CommonName).join(QLatin1Char(' '));
}

void judgeChain(const QSslSocket& socket, const QString& host, Findings& findings)
{
    constexpr qint64 soon = 14;
    const QList<QSslCertificate> chain = socket.peerCertificateChain();
    if (chain.isEmpty() || !isIssuedFor(chain.first(), host)) {
        findings.error(tlsCheck,
                       QStringLiteral("the certificate has not %1 among its alternative names, "
                                      "so the library refuses it")
                           .arg(host),
                       QStringLiteral("have the service's certificate issued for that name"));
        return;
    }
    qint64 days = QDateTime::currentDateTimeUtc().daysTo(chain.first().expiryDate());
    QStringList issuers;
    for (const QSslCertificate& certificate : chain) {
        days = std::min(days, QDateTime::currentDateTimeUtc().daysTo(certificate.expiryDate()));
        issuers.append(nameOf(certificate));
    }
    const QString text =
        QStringLiteral("%1, issued by %2, %3 days left")
            .arg(socket.sessionProtocol() >= QSsl::TlsV1_3 ? QStringLiteral("TLS 1.3")
                                                           : QStringLiteral("TLS 1.2"),
                 issuers.join(QLatin1String(", by ")))
            .arg(days);
    if (days < soon)
        findings.warning(tlsCheck, text, QStringLiteral("have the service's certificates renewed"));
    else
        findings.good(tlsCheck, text);
}

bool checkTls(QSslSocket& socket, const QString& host, Patience patience, Findings& findings)
{
    socket.connectToHostEncrypted(host, httpsPort);
    if (socket.waitForEncrypted(patience.ms)) {
        judgeChain(socket, host, findings);
        return true;
    }
    QStringList reasons;
    const QList<QSslError> errors = socket.sslHandshakeErrors();
    for (const QSslError& error : errors)
        reasons.append(error.errorString());
    if (reasons.isEmpty())
        reasons.append(socket.errorString());
    reasons.removeDuplicates();
    const bool untrusted = !errors.isEmpty();
    findings.error(
        tlsCheck,
        QStringLiteral("no TLS connection to %1: %2").arg(host, reasons.join(QLatin1String(", "))),
        untrusted ? QStringLiteral("install the certificate authority (Debian: "
                                   "ca-certificates), check the clock, and find out who "
                                   "answers in the service's place")
                  : QStringLiteral("see whether a firewall or the proxy refuses port 443"));
    return false;
}

/// What stands in a "Date:" header; invalid when there is none.
QDateTime serviceTime(QSslSocket& socket, const QString& host, Patience patience)
{
    socket.write("HEAD / HTTP/1.1\r\nHost: " + host.toLatin1() + "\r\nConnection: close\r\n\r\n");
    constexpr int longestHead = 65536;
    // For all of it: a server may send its bytes one by one.
    const QDeadlineTimer deadline(patience.ms);
    QByteArray head;
    while (!head.contains("\r\n\r\n") && head.size() < longestHead && !deadline.hasExpired() &&
           (socket.bytesAvailable() > 0 ||
            socket.waitForReadyRead(static_cast<int>(deadline.remainingTime()))))
        head += socket.read(longestHead - head.size());
    const QList<QByteArray> lines = head.split('\n');
    for (const QByteArray& line : lines) {
        if (!line.toLower().startsWith("date:"))
            continue;
        // "Sat, 21 Nov 2026 18:00:00 GMT", date and time apart: an hour that the user's zone
        // leaves out is one there.
        const QString text = QString::fromLatin1(line.mid(5).trimmed());
        const QDate date = QLocale::c().toDate(text.mid(5, 11), QStringLiteral("dd MMM yyyy"));
        const QTime time = QLocale::c().toTime(text.mid(17, 8), QStringLiteral("HH:mm:ss"));
        return date.isValid() && time.isValid() ? QDateTime(date, time, Qt::UTC) : QDateTime();
    }
    return {};
}

void checkClock(QSslSocket& socket, const QString& host, Patience patience, Findings& findings)
{
    constexpr qint64 allowed = 300;
    const QDateTime theirs = serviceTime(socket, host, patience);
    if (!theirs.isValid()) {
        findings.note(clockCheck, QStringLiteral("the service does not say what time it is"),
                      QStringLiteral("compare the device's clock with another one"));
        return;
    }
    const qint64 ahead = theirs.secsTo(QDateTime::currentDateTimeUtc());
    const QString text = QStringLiteral("this clock is %1 s %2 the service's")
                             .arg(std::abs(ahead))
                             .arg(ahead < 0 ? QLatin1String("behind") : QLatin1String("ahead of"));
    if (std::abs(ahead) > allowed)
        findings.warning(clockCheck, text,
                         QStringLiteral("set the clock (timedatectl set-ntp true); the library "
                                        "corrects it after its first reply only"));
    else
        findings.good(clockCheck, text);
}

void checkKey(const Service& service, Patience patience, Findings& findings)
{
    if (service.consumerKey.isEmpty() || service.consumerSecret.isEmpty()) {
        findings.note(keyCheck, QStringLiteral("no consumer key and secret to try"),
                      QStringLiteral("give them as any command takes them"));
        return;
    }
    if (!patience.hangingBus.isEmpty()) {
        findings.note(
            keyCheck,
            QStringLiteral("not looked at: the %1 bus does not answer").arg(patience.hangingBus),
            QStringLiteral("mend the bus first"));
        return;
    }
    const QDeadlineTimer deadline(patience.serviceMs);
    KelAccount::KelAccounts accounts;
    accounts.initialize(service.consumerKey, service.consumerSecret, service.server, service.name,
                        QVariantMap());
    const auto ask = [&accounts, &deadline] {
        return awaited<int>(static_cast<int>(deadline.remainingTime()),
                            [&accounts](QObject* context, auto done) {
                                QObject::connect(
                                    &accounts, &KelAccount::KelAccounts::isUserIdAvailableResponse,
                                    context,
                                    [done](KelAccount::ErrorStatus answer, bool,
                                           const QStringList&) { done(answer); });
                                accounts.isUserIdAvailable(QStringLiteral("kelaccount-doctor"));
                            })
            .value_or(KelAccount::ErrorTimeout);
    };
    int found = ask();
    // The first answer has told the service's clock, if that was all that was wrong.
    if (found == KelAccount::ErrorNotAuthorized)
        found = ask();
    if (found == KelAccount::ErrorNone)
        findings.good(keyCheck, QStringLiteral("the service takes the consumer key"));
    else
        findings.error(keyCheck,
                       QStringLiteral("a signed request is answered by %1 %2")
                           .arg(found)
                           .arg(KelAccount::statusName(found)),
                       found == KelAccount::ErrorNotAuthorized
                           ? QStringLiteral("check the consumer key, its secret and --server")
                           : KelAccount::statusText(found));
}

void notChecked(std::initializer_list<const char*> checks, Findings& findings)
{
    for (const char* check : checks)
        findings.note(check, QStringLiteral("not looked at: the service is not reached"),
                      QStringLiteral("mend what stands above first"));
}

} // namespace

void checkService(const Service& service, Patience patience, Findings& findings)
{
    QNetworkProxy proxy;
    if (!checkProxy(patience, proxy, findings)) {
        notChecked({hostCheck, tlsCheck, clockCheck, keyCheck}, findings);
        return;
    }
    if (!checkHost(service.host, proxy, patience, findings)) {
        notChecked({tlsCheck, clockCheck, keyCheck}, findings);
        return;
    }
    QSslSocket socket;
    socket.setProxy(proxy);
    if (!checkTls(socket, service.host, patience, findings)) {
        notChecked({clockCheck, keyCheck}, findings);
        return;
    }
    checkClock(socket, service.host, patience, findings);
    checkKey(service, patience, findings);
}

} // namespace Doctor
