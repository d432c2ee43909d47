// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/clientidentification.h"

#include "rest/request/interfaceaddresses.h"

#include <QMutex>
#include <QStringList>

#include <atomic>

namespace KelRestHandler {

namespace {

std::atomic<ClientIdentification::DescriptionReader> descriptionReader{nullptr};

struct Sources
{
    ClientIdentification::AddressReader readAddresses;
    InterfaceAddresses interfaces;

    // The headers of the request before, with what they were made from: most requests find the
    // same.
    ClientIdentification::DescriptionReader describedBy = nullptr;
    QList<QHostAddress> addresses;
    QMap<QString, QString> headers;
};

// The device's description, read at the first request of the process, whatever its thread.
DeviceDescription describe(ClientIdentification::DescriptionReader reader)
{
    struct Known
    {
        QMutex mutex;
        ClientIdentification::DescriptionReader by = nullptr;
        DeviceDescription description;
    };
    // Leaked on purpose: requests may still be made while static objects are being destroyed.
    static auto* const known = new Known;
    const QMutexLocker locker(&known->mutex);
    if (reader != known->by) {
        known->description = reader ? reader() : DeviceDescription();
        known->by = reader;
    }
    return known->description;
}

Sources& sources()
{
    // Per thread, like everything else of the REST layer: facades on two threads share nothing.
    thread_local Sources instance;
    return instance;
}

bool isForwarded(const QString& address)
{
    return address != QLatin1String("127.0.0.1") && !address.contains(QLatin1Char(':'));
}

} // namespace

QMap<QString, QString> ClientIdentification::headers()
{
    Sources& now = sources();
    const QList<QHostAddress> addresses =
        now.readAddresses ? now.readAddresses() : now.interfaces.current();
    const DescriptionReader reader = descriptionReader;
    if (!now.headers.isEmpty() && reader == now.describedBy && addresses == now.addresses)
        return now.headers;

    now.describedBy = reader;
    now.addresses = addresses;
    now.headers = headersFor(describe(reader), addresses);
    return now.headers;
}

QMap<QString, QString> ClientIdentification::headersFor(const DeviceDescription& description,
                                                        const QList<QHostAddress>& addresses)
{
    QStringList forwarded;
    for (const QHostAddress& address : addresses) {
        const QString text = address.toString();
        if (isForwarded(text))
            forwarded.append(text);
    }
    const QString first = forwarded.isEmpty() ? QLatin1String("") : forwarded.first();
    const QString all = forwarded.isEmpty() ? QLatin1String("") : forwarded.join(QLatin1Char(','));

    return {
        {QStringLiteral("X-Halda-Original-User-Agent"),
         QStringLiteral("QtDE/2.0 (%1%2/%3)")
             .arg(description.manufacturer, description.model, description.firmwareVersion)},
        {QStringLiteral("True-Client-IP"), first},
        {QStringLiteral("X-Halda-Original-IP"), first},
        {QStringLiteral("X-Halda-Original-User-IP"), first},
        {QStringLiteral("X-Forwarded-For"), all},
    };
}

void ClientIdentification::setDescriptionReader(DescriptionReader reader)
{
    descriptionReader = reader;
}

void ClientIdentification::setAddressReader(AddressReader reader)
{
    sources().readAddresses = std::move(reader);
}

} // namespace KelRestHandler
