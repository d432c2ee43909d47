// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/devicenames.h"
#include "platform/testroot.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QTest>

#include <utility>

namespace TestRoot = KelTest::TestRoot;
using QtMobility::DeviceNames;

class TestDeviceNames : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TestRoot::clear(); }

    void namesComeFromTheDeviceTreeOrElseFromDmi_data()
    {
        const auto row = rows<QByteArray, QByteArray, QByteArray, QByteArray, QString, QString>(
            "model", "compatible", "vendor", "product", "manufacturer", "name");
        row("model repeats its maker", QByteArray("Acme Handset (1.2)\0", 19),
            QByteArray("acme,handset-1.2\0acme,handset\0soc,chip\0", 39), {}, {}, "Acme",
            "Handset (1.2)");
        row("model without its maker", QByteArray("Handset\0", 8), QByteArray("acme,handset\0", 13),
            {}, {}, "acme", "Handset");
        row("maker as part of a word", QByteArray("Acmeton\0", 8), QByteArray("acme,x\0", 7), {},
            {}, "acme", "Acmeton");
        row("no compatible", QByteArray("Acme Handset\0", 13), {}, {}, {}, "", "Acme Handset");
        row("compatible only", {}, QByteArray("acme,handset\0soc,chip\0", 22), {}, {}, "acme",
            "handset");
        row("no vendor", QByteArray("Handset\0", 8), QByteArray("handset\0", 8), {}, {}, "",
            "Handset");
        row("no null at the end", "Handset", "acme,handset", {}, {}, "acme", "Handset");
        row("DMI", {}, {}, "Maker Inc.\n", "Tablet 10 \n", "Maker Inc.", "Tablet 10");
        row("both", QByteArray("Handset\0", 8), {}, "Maker Inc.\n", "Tablet 10\n", "", "Handset");
        row("neither", {}, {}, {}, {}, "", "");
    }
    void namesComeFromTheDeviceTreeOrElseFromDmi()
    {
        const std::pair<const char*, const char*> files[] = {
            {"model", "proc/device-tree/model"},
            {"compatible", "proc/device-tree/compatible"},
            {"vendor", "sys/class/dmi/id/sys_vendor"},
            {"product", "sys/class/dmi/id/product_name"}};
        for (const auto& [column, path] : files) {
            const auto [contents] = fetch<QByteArray>(column);
            if (!contents.isNull())
                TestRoot::write(path, contents);
        }
        const DeviceNames names = QtMobility::deviceNames();
        QTEST(names.manufacturer, "manufacturer");
        QTEST(names.model, "name");
        QCOMPARE(QtMobility::firmwareVersion(), QString());
    }

    void theFirmwareVersionIsTheImages_data()
    {
        const auto row = rows<QByteArray, QString>("release", "version");
        row("image", "VERSION_ID=12\nBUILD_ID=b7\nIMAGE_VERSION=33\n", "33");
        row("build", "VERSION_ID=12\nBUILD_ID=b7\n", "b7");
        row("version", "NAME=\"Some OS\"\nVERSION_ID=\"12\"\nVERSION=\"12 (x)\"\n", "12");
        row("empty image", "IMAGE_VERSION=\nVERSION_ID=12\n", "12");
        row("double quotes", "VERSION_ID=\"1 \\\"a\\\" \\\\ \\$\"\n", "1 \"a\" \\ $");
        row("single quotes", "VERSION_ID='1\\2'\n", "1\\2");
        row("unfinished quotes", "VERSION_ID=\"1.5", "1.5");
        row("escape at the end", "VERSION_ID=\"1\\", "1\\");
        row("lone quote", "VERSION_ID=\"\n", "");
        row("comment", "#VERSION_ID=1\n VERSION_ID=2\n", "");
        row("Windows line ends", "VERSION_ID=12\r\n", "12");
        row("none", "NAME=x\n", "");
        row("far behind", '#' + QByteArray(20'000, 'x') + "\nVERSION_ID=12\n", "12");
        row("ends at 64 KiB", '#' + QByteArray(64 * 1024 - 17, 'x') + "\nVERSION_ID=12345", "1234");
    }
    void theFirmwareVersionIsTheImages()
    {
        QFETCH(QByteArray, release);
        TestRoot::write("etc/os-release", release);
        QTEST(QtMobility::firmwareVersion(), "version");
    }

    void theSecondReleaseFileStandsInForTheFirst()
    {
        TestRoot::write("usr/lib/os-release", "VERSION_ID=7\n");
        QCOMPARE(QtMobility::firmwareVersion(), "7"_s);
        TestRoot::write("etc/os-release", "VERSION_ID=8\n");
        QCOMPARE(QtMobility::firmwareVersion(), "8"_s);
    }

    void aFolderInTheFilesPlaceHoldsNothing()
    {
        TestRoot::write("etc/os-release/version", "VERSION_ID=8\n");
        TestRoot::write("usr/lib/os-release", "VERSION_ID=7\n");
        QCOMPARE(QtMobility::firmwareVersion(), "7"_s);
    }
};

QTEST_GUILESS_MAIN(TestDeviceNames)
#include "tst_devicenames.moc"
