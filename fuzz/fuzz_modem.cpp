// SPDX-License-Identifier: LGPL-2.1-or-later
// What modem services answer, over a bus of our own in this process.
#include "bytesource.h"
#include "fuzztarget.h"
#include "surroundings.h"
#include "values.h"

#include "platform/systembusmodemreader.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusServer>
#include <QDBusVirtualObject>
#include <QMap>
#include <QSemaphore>
#include <QThread>

#include <memory>
#include <mutex>
#include <optional>

namespace KelFuzz::Modem {

struct Listed
{
    QDBusObjectPath path;
    QVariantMap properties;
};

inline QDBusArgument& operator<<(QDBusArgument& argument, const Listed& listed)
{
    argument.beginStructure();
    argument << listed.path << listed.properties;
    argument.endStructure();
    return argument;
}

inline const QDBusArgument& operator>>(const QDBusArgument& argument, Listed& listed)
{
    argument.beginStructure();
    argument >> listed.path >> listed.properties;
    argument.endStructure();
    return argument;
}

using Interfaces = QMap<QString, QVariantMap>;
using Objects = QMap<QDBusObjectPath, Interfaces>;

} // namespace KelFuzz::Modem

Q_DECLARE_METATYPE(KelFuzz::Modem::Listed)

namespace KelFuzz::Modem {

namespace {

constexpr Names names = {
    "Type",
    "Manufacturer",
    "Model",
    "Serial",
    "Interfaces",
    "Present",
    "PinRequired",
    "SubscriberIdentity",
    "MobileCountryCode",
    "MobileNetworkCode",
    "Sim",
    "UnlockRequired",
    "Imei",
    "OperatorIdentifier",
    "Imsi",
    "org.ofono.SimManager",
    "org.freedesktop.ModemManager1.Modem",
    "org.freedesktop.ModemManager1.Modem.Modem3gpp",
    "org.freedesktop.ModemManager1.Sim",
    "hfp",
    "none",
    "pin2",
};

// A wrong one could not be sent.
QDBusObjectPath pathFrom(ByteSource& source)
{
    constexpr const char* paths[] = {"/", "/modem", "/modem/1", "/sim"};
    return QDBusObjectPath(QLatin1String(paths[source.below(4)]));
}

QVariantMap propertiesFrom(ByteSource& source)
{
    QVariantMap map = mapFrom(source, names);
    if (source.below(2) == 1)
        map.insert(QStringLiteral("Sim"), QVariant::fromValue(pathFrom(source)));
    if (source.below(2) == 1)
        map.insert(QStringLiteral("Interfaces"),
                   QStringList{QStringLiteral("org.ofono.SimManager")});
    return map;
}

QVariant expectedFrom(ByteSource& source, const QString& member)
{
    if (member == QLatin1String("GetModems")) {
        QList<Listed> list;
        for (int i = source.below(4); i > 0; --i)
            list.append({pathFrom(source), propertiesFrom(source)});
        return QVariant::fromValue(list);
    }
    if (member == QLatin1String("GetManagedObjects")) {
        Objects objects;
        for (int i = source.below(4); i > 0; --i) {
            Interfaces& interfaces = objects[pathFrom(source)];
            for (int j = source.below(4); j > 0; --j)
                interfaces.insert(nameFrom(source, names), propertiesFrom(source));
        }
        return QVariant::fromValue(objects);
    }
    return propertiesFrom(source);
}

class Services : public QDBusVirtualObject
{
public:
    void follow(const QByteArray& bytes)
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mBytes = bytes;
        mSource.emplace(reinterpret_cast<const uint8_t*>(mBytes.constData()),
                        static_cast<size_t>(mBytes.size()));
    }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        const QDBusMessage reply = message.member() == QLatin1String("Hello")
                                       ? message.createReply(QStringLiteral(":1.1"))
                                       : answerTo(message);
        // What cannot be sent is an error, or the caller would wait for it.
        if (!connection.send(reply))
            connection.send(message.createErrorReply(QStringLiteral("a.b"), QString()));
        return true;
    }
    QString introspect(const QString& /*path*/) const override { return {}; }

private:
    QDBusMessage answerTo(const QDBusMessage& message)
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        ByteSource& source = *mSource;
        switch (source.below(8)) {
        case 1:
            return message.createErrorReply(QStringLiteral("org.ofono.Error"), QString());
        case 2:
            return message.createReply();
        case 3:
            return message.createReply(
                QVariantList{expectedFrom(source, message.member()), valueFrom(source, names)});
        case 4:
            return message.createReply(valueFrom(source, names));
        case 5:
            return message.createReply(expectedFrom(source, QStringLiteral("GetModems")));
        default:
            return message.createReply(expectedFrom(source, message.member()));
        }
    }

    std::mutex mMutex;
    QByteArray mBytes;
    std::optional<ByteSource> mSource;
};

/// The services in a thread of their own, since whoever asks them waits.
class Bus : public QThread
{
public:
    Bus()
    {
        start();
        mReady.acquire();
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", mAddress.toLatin1());
    }

    Services& services() { return *mServices; }

protected:
    void run() override
    {
        QDBusServer server(QStringLiteral("unix:tmpdir=/tmp"));
        mServices = new Services;
        connect(&server, &QDBusServer::newConnection, mServices, [this](QDBusConnection client) {
            client.registerVirtualObject(QStringLiteral("/"), mServices, QDBusConnection::SubPath);
        });
        mAddress = server.address();
        mReady.release();
        exec();
    }

private:
    QSemaphore mReady; // there is an address
    QString mAddress;
    Services* mServices = nullptr;
};

void run(const uint8_t* data, size_t size)
{
    beApplication();
    static Bus* const bus = [] {
        qDBusRegisterMetaType<Listed>();
        qDBusRegisterMetaType<QList<Listed>>();
        qDBusRegisterMetaType<Interfaces>();
        qDBusRegisterMetaType<Objects>();
        // It goes on to the end of the process.
        return new Bus;
    }();
    bus->services().follow(bytesOf(data, size));
    QtMobility::SystemBusModemReader reader;
    const auto modems = reader.modems();
    const auto sims = reader.sims();
    require(modems.size() <= 4 && sims.size() <= 4);
    const QtMobility::SimCard home = QtMobility::homeSim(sims);
    require(!sims.isEmpty() || (home.imsi.isEmpty() && !home.locked));
    for (const QtMobility::SimCard& sim : sims)
        require(home.locked == false || sim.locked);
}

} // namespace

} // namespace KelFuzz::Modem

KEL_FUZZ_TARGET(modem, KelFuzz::Modem::run)
