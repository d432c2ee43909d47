// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs inside the emulator, against the shared library: a captcha for a program that can hold
// pictures (KELACCOUNT_TEST_PICTURES) and for one that cannot.
#include "account/facaderecorder.h"
#include "integration/emulatedservice.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/patience.h"

#include <kelaccount/kelaccounts.h>

#include <QPixmap>
#include <QRegularExpression>
#include <QTest>

#include <memory>

using namespace KelTest;
using KelAccount::KelAccounts;

namespace {

#ifdef KELACCOUNT_TEST_PICTURES
constexpr bool pictures = true;
#else
constexpr bool pictures = false;
#endif
const auto warning = "W A captcha picture needs a QGuiApplication; a null picture is delivered"_s;

} // namespace

class TestFacadePicture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        mAccounts = std::make_unique<KelAccounts>();
        mAccounts->initialize("demo-key"_s, "demo-secret"_s, 2, "service"_s, {});
    }

    void cleanupTestCase()
    {
        mAccounts.reset();
        QVERIFY(EmulatedService::waitForNetworkThreads());
    }

    void aCaptchaComesWithItsIdAndWithAPictureWhereOneCanBeHeld()
    {
        FacadeRecorder recorder(mAccounts.get());
        const MessageLog log;
        mAccounts->retrieveCaptchaImage(200, 80);
        QVERIFY(recorder.waitFor(2));

        const QString picture = pictures ? "picture 200x80"_s : "no picture"_s;
        QCOMPARE(recorder.lines().first(), "captchaImageResponse(0, %1)"_s.arg(picture));
        const QRegularExpression both(
            "^retrieveCaptchaImageResponse\\(0, %1, '[0-9a-f]+'\\)$"_s.arg(picture));
        QVERIFY2(both.match(recorder.lines().last()).hasMatch(),
                 qPrintable(recorder.lines().last()));
        QCOMPARE(log.all(), pictures ? QStringList() : QStringList(warning));
    }

    void thePictureIsNotOfOneColour()
    {
        QPixmap picture;
        bool came = false;
        connect(mAccounts.get(), &KelAccounts::captchaImageResponse, this,
                [&](KelAccount::ErrorStatus, const QPixmap& image) {
                    picture = image;
                    came = true;
                });
        const MessageLog log;
        mAccounts->retrieveCaptchaImage(120, 48);
        QTRY_VERIFY(came);
        QCOMPARE(picture.isNull(), !pictures);
        if (!pictures)
            return;
        const QImage image = picture.toImage();
        QSet<QRgb> colours;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                colours.insert(image.pixel(x, y));
        }
        QVERIFY(colours.size() > 1);
    }

    void aRefusalNeedsNoPicture()
    {
        KelAccounts uninitialized;
        const FacadeRecorder recorder(&uninitialized);
        const MessageLog log;
        uninitialized.retrieveCaptchaImage(200, 80);
        QVERIFY(recorder.waitFor(1));
        QCOMPARE(recorder.lines(), QStringList("captchaImageResponse(802, no picture)"_s));
        QCOMPARE(log.all(), QStringList());
    }

private:
    std::unique_ptr<KelAccounts> mAccounts;
};

#ifdef KELACCOUNT_TEST_PICTURES
QTEST_MAIN(TestFacadePicture)
#else
QTEST_GUILESS_MAIN(TestFacadePicture)
#endif
#include "tst_facade_picture.moc"
