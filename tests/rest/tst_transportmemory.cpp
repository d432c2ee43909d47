// SPDX-License-Identifier: LGPL-2.1-or-later
// What this process's memory grows by when a service or a proxy sends without end.
#include "rest/operations/retrieveemailidavailabilityrequest.h"
#include "rest/transport/networkhandler.h"
#include "support/fixedsigner.h"
#include "support/literals.h"
#include "support/processfacts.h"
#include "support/rows.h"
#include "support/testauthority.h"

#include <QElapsedTimer>
#include <QFile>
#include <QNetworkProxy>
#include <QSignalSpy>
#include <QSslSocket>
#include <QTcpServer>
#include <QTest>

#include <atomic>
#include <thread>

#include <malloc.h>

using namespace KelRestHandler;
using namespace KelTest;

namespace {

constexpr int patience = 60000;
constexpr qint64 kibi = 1024;
constexpr qint64 mebi = kibi * kibi;
constexpr qint64 mostSent = 2048 * mebi;

// Answers one request with a beginning and then the same bytes again and again, from a thread of
// its own and without keeping any of it.
class Flood
{
public:
    Flood(const QByteArray& beginning, const QByteArray& unit,
          const QSslConfiguration& tls = QSslConfiguration())
    {
        while (mBlock.size() < 64 * kibi)
            mBlock += unit;
        std::atomic<quint16> port{0};
        mThread = std::thread([this, beginning, tls, &port] { serve(beginning, tls, port); });
        while (port == 0)
            std::this_thread::yield();
        mPort = port;
    }
    ~Flood()
    {
        mEnded = true;
        mThread.join();
    }
    Flood(const Flood&) = delete;
    Flood& operator=(const Flood&) = delete;

    quint16 port() const { return mPort; }
    qint64 sent() const { return mSent; }

private:
    class Listener : public QTcpServer
    {
    public:
        qintptr accepted = -1;

    protected:
        void incomingConnection(qintptr descriptor) override { accepted = descriptor; }
    };

    void serve(const QByteArray& beginning, const QSslConfiguration& tls,
               std::atomic<quint16>& port)
    {
        Listener listener;
        listener.setProxy(QNetworkProxy(QNetworkProxy::NoProxy));
        listener.listen(QHostAddress::LocalHost);
        port = listener.serverPort();
        while (!mEnded && listener.accepted < 0)
            listener.waitForNewConnection(50);
        if (listener.accepted < 0)
            return;
        QSslSocket socket;
        socket.setSocketDescriptor(listener.accepted);
        if (!tls.localCertificate().isNull()) {
            socket.setSslConfiguration(tls);
            socket.startServerEncryption();
            if (!socket.waitForEncrypted(patience))
                return;
        }
        QByteArray request;
        while (!mEnded && !request.contains("\r\n\r\n")) {
            socket.waitForReadyRead(50);
            request += socket.readAll();
        }
        socket.write(beginning);
        while (!mEnded && mSent < mostSent && socket.state() == QAbstractSocket::ConnectedState) {
            if (socket.bytesToWrite() == 0)
                mSent += socket.write(mBlock);
            socket.waitForBytesWritten(50);
        }
        socket.abort();
    }

    QByteArray mBlock;
    std::atomic<bool> mEnded{false};
    std::atomic<qint64> mSent{0};
    quint16 mPort = 0;
    std::thread mThread;
};

// The peak counts from here on.
bool forgetPeak()
{
    QFile file("/proc/self/clear_refs"_s);
    return file.open(QIODevice::WriteOnly) && file.write("5") == 1;
}

// Zeros that take a thousandth of their length.
QByteArray bomb(int length)
{
    constexpr int lengthField = 4;
    return qCompress(QByteArray(length, '\0'), 9).mid(lengthField);
}

const QByteArray endlessLength = "Content-Length: 2147483647\r\n\r\n";

} // namespace

class TestTransportMemory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy)); }

    void whateverIsSentMemoryIsBounded_data()
    {
        columns<QByteArray, QByteArray, QString>("beginning", "unit", "way");
        const auto plain = "plain"_s;
        const auto row = [](const char* name, const QByteArray& beginning, const QByteArray& unit,
                            const QString& way) {
            QTest::addRow("%s, %s", name, qPrintable(way)) << beginning << unit << way;
        };
        const QByteArray chunk = "1000\r\n" + QByteArray(0x1000, 'x') + "\r\n";
        const auto tls = "TLS"_s;
        const QByteArray chunked = "Transfer-Encoding: chunked\r\n\r\n";
        row("200", "HTTP/1.1 200 OK\r\n" + endlessLength, "x", plain);
        row("200 in chunks", "HTTP/1.1 200 OK\r\n" + chunked, chunk, plain);
        row("500 to the end", "HTTP/1.1 500 No\r\n\r\n", "x", plain);
        row("401", "HTTP/1.1 401 No\r\n" + endlessLength, "x", tls);
        row("401 in chunks", "HTTP/1.1 401 No\r\n" + chunked, chunk, plain);
        row("407", "HTTP/1.1 407 No\r\n" + endlessLength, "x", plain);
        row("407 to the end", "HTTP/1.1 407 No\r\n\r\n", "x", tls);
        row("a header without end", "HTTP/1.1 200 OK\r\nX: ", "x", tls);
        row("headers without end", "HTTP/1.1 200 OK\r\n", "X: y\r\n", plain);
        row("going on without end", "", "HTTP/1.1 100 Continue\r\n\r\n", plain);
        row("a header without end", "HTTP/1.1 200 OK\r\nX: ", "x", "proxy"_s);
        row("a refusal without end", "HTTP/1.1 407 Who\r\n" + endlessLength, "x", "proxy"_s);
    }
    void whateverIsSentMemoryIsBounded()
    {
        const auto [beginning, unit, way] =
            fetch<QByteArray, QByteArray, QString>("beginning", "unit", "way");
        const bool tls = way == "TLS"_s;
        const bool proxy = way == "proxy"_s;
        const Flood flood(beginning, unit,
                          tls ? mAuthority.serverFor("x", "IP:127.0.0.1") : QSslConfiguration());
        QString base =
            "%1://127.0.0.1:%2/rest/1.0/"_s.arg(tls ? "https"_s : "http"_s).arg(flood.port());
        if (proxy) {
            base = "https://service.example/rest/1.0/"_s;
            QNetworkProxy::setApplicationProxy(
                QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1"_s, flood.port()));
        }
        QVERIFY(isBounded(base));
        QVERIFY2(flood.sent() < 256 * mebi, qPrintable(QString::number(flood.sent())));
    }

    void whatIsCompressedIsNotUnpacked()
    {
        const QByteArray body = bomb(static_cast<int>(256 * mebi));
        QVERIFY(body.size() < mebi);
        const Flood flood("HTTP/1.1 200 OK\r\nContent-Encoding: deflate\r\nContent-Length: " +
                              QByteArray::number(body.size()) + "\r\n\r\n" + body,
                          "x");
        QVERIFY(isBounded("http://127.0.0.1:%1/rest/1.0/"_s.arg(flood.port())));
    }

private:
    bool isBounded(const QString& base)
    {
        NetworkHandler handler(nullptr);
        QSignalSpy spy(&handler, &NetworkHandler::emailIdAvailabilityResponse);
        auto request = std::make_unique<RetrieveEmailIdAvailabilityRequest>(
            mSigner, "bob@mail.example"_s, "tag"_ba, "key"_s, base, RetrieveEmailIdAvailability);
        ::malloc_trim(0); // what the rows before have left
        const qint64 before = memoryOfStatus("VmRSS") * kibi;
        if (!forgetPeak() ||
            handler.sendOwnedRequest(std::move(request), RetrieveEmailIdAvailability) != 0)
            return false;
        QElapsedTimer clock;
        clock.start();
        const bool answered = QTest::qWaitFor([&spy] { return !spy.isEmpty(); }, patience);
        const qint64 growth = memoryOfStatus("VmHWM") * kibi - before;
        qInfo("memory grew by %lld KiB, %lld ms", growth / kibi, clock.elapsed());
        if (!answered || spy.count() != 1 || before <= 0)
            return false;
        const int status = spy.first().at(0).toInt();
        if (status != 423)
            qWarning("answered %d", status);
        return status == 423 && growth < 64 * mebi;
    }

    TestAuthority mAuthority;
    FixedSigner mSigner;
};

QTEST_GUILESS_MAIN(TestTransportMemory)
#include "tst_transportmemory.moc"
