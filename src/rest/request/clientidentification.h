// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QHostAddress>
#include <QList>
#include <QMap>
#include <QString>

#include <functional>

namespace KelRestHandler {

/// What the device is, as it introduces itself to the service.
struct DeviceDescription
{
    QString manufacturer;
    QString model;
    QString firmwareVersion;
};

/// The headers that tell the service which client is calling and from which addresses.
///
/// A device does not change its make while a process runs, so its description is read once, at the
/// first request. Its addresses do change, so they are those of the moment at every request.
class ClientIdentification
{
public:
    using DescriptionReader = DeviceDescription (*)();
    using AddressReader = std::function<QList<QHostAddress>()>;

    /// The five headers for a request made now.
    static QMap<QString, QString> headers();

    /// The five headers for the given facts. The single-address headers carry the first address
    /// that is neither 127.0.0.1 nor IPv6, "X-Forwarded-For" all of those; without any, they are
    /// empty.
    static QMap<QString, QString> headersFor(const DeviceDescription& description,
                                             const QList<QHostAddress>& addresses);

    /// Says, for the whole process, where the description comes from. Null: its fields are empty.
    static void setDescriptionReader(DescriptionReader reader);

    /// Replaces the network interfaces' addresses on this thread; null brings them back.
    static void setAddressReader(AddressReader reader);
};

} // namespace KelRestHandler
