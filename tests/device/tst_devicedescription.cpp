// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/devicedescription.h"
#include "platform/fakemodem.h"
#include "platform/testroot.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QTest>

using KelRestHandler::DeviceDescription;
using KelRestHandler::headerText;
namespace TestRoot = KelTest::TestRoot;

class TestDeviceDescription : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        TestRoot::clear();
        KelTest::FakeModem::reset();
    }

    void theDeviceIsDescribed()
    {
        TestRoot::write("sys/class/dmi/id/sys_vendor", "Maker\n");
        TestRoot::write("sys/class/dmi/id/product_name", "Phone 5\n");
        TestRoot::write("etc/os-release", "VERSION_ID=\"12.5\"\n");
        const DeviceDescription description = KelRestHandler::readDeviceDescription();
        QCOMPARE(description.manufacturer, "Maker"_s);
        QCOMPARE(description.model, "Phone 5"_s);
        QCOMPARE(description.firmwareVersion, "12.5"_s);
    }

    void anUnknownDeviceHasNoDescription()
    {
        const DeviceDescription description = KelRestHandler::readDeviceDescription();
        QCOMPARE(description.manufacturer, QString());
        QCOMPARE(description.model, QString());
        QCOMPARE(description.firmwareVersion, QString());
    }

    void theModemsAreAskedOnceForBothNames()
    {
        KelTest::FakeModem::setModems({{"Maker"_s, "Phone 5"_s, {}}});
        const DeviceDescription description = KelRestHandler::readDeviceDescription();
        QCOMPARE(description.manufacturer, "Maker"_s);
        QCOMPARE(description.model, "Phone 5"_s);
        QCOMPARE(KelTest::FakeModem::readings(), 1);
    }

    void hostileTextsAreMadeHarmless()
    {
        TestRoot::write("sys/class/dmi/id/sys_vendor", "Ma\r\nrest-verb: DELETE");
        TestRoot::write("sys/class/dmi/id/product_name", QByteArray(100000, 'p'));
        TestRoot::write("etc/os-release", "VERSION_ID=\"1\x1b[2J\x7f\"\n");
        const DeviceDescription description = KelRestHandler::readDeviceDescription();
        QCOMPARE(description.manufacturer, "Ma rest-verb: DELETE"_s);
        QCOMPARE(description.model, QString(64, QLatin1Char('p')));
        QCOMPARE(description.firmwareVersion, "1[2J"_s);
    }

    void headerTextsArePrintableLatin1_data()
    {
        const auto row = rows<QString, QString>("text", "header");
        const auto utf8 = [](const char* text) { return QString::fromUtf8(text); };
        row("plain", utf8("Phone (1.2)"), utf8("Phone (1.2)"));
        row("blanks", utf8("  a \t b\n\nc "), utf8("a b c"));
        row("Latin-1", utf8("M\xC3\xBCller"), utf8("M\xC3\xBCller"));
        row("beyond Latin-1", utf8("a \xE2\x82\xAC b\xF0\x9F\x93\xB1"), utf8("a b"));
        row("controls",
            utf8("a\x01\x7F\xC2\x85"
                 "b"),
            utf8("a b"));
        row("the last of ASCII and of Latin-1", utf8("~ \xC2\xA1\xC3\xBF"),
            utf8("~ \xC2\xA1\xC3\xBF"));
        row("null", QString(QChar(0)) + QLatin1Char('a'), utf8("a"));
        row("64", QString(64, QLatin1Char('x')), QString(64, QLatin1Char('x')));
        row("65", QString(65, QLatin1Char('x')), QString(64, QLatin1Char('x')));
        row("empty", {}, {});
    }
    void headerTextsArePrintableLatin1()
    {
        QFETCH(QString, text);
        QTEST(headerText(text), "header");
    }
};

QTEST_GUILESS_MAIN(TestDeviceDescription)
#include "tst_devicedescription.moc"
