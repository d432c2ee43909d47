// SPDX-License-Identifier: LGPL-2.1-or-later
// A broken installation: the module with captcha pictures is not beside the program. Once with Qt
// Gui in the process (KELACCOUNT_TEST_PICTURES), once without.
#include "rest/picture/captchapicture.h"
#include "rest/reply/networkresponseprocessor.h"
#include "rest/request/netrequesttype.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/patience.h"

#include <kelaccount/kelaccounts.h>

#include <QTest>

#ifdef KELACCOUNT_TEST_PICTURES
#include <QPixmap>
#include <QSignalSpy>
#endif

#include <dlfcn.h>

using KelAccount::ErrorStatus;
using KelAccount::KelAccounts;
using namespace KelRestHandler;

namespace {

#ifdef KELACCOUNT_TEST_PICTURES
constexpr bool pictures = true;
#else
constexpr bool pictures = false;
#endif

} // namespace

class TestCaptchaModule : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theMissingModuleIsLogged()
    {
        QCOMPARE(::dlopen("libQt5Gui.so.5", RTLD_NOW | RTLD_NOLOAD) != nullptr, pictures);
        const MessageLog log;
        QVERIFY(!canHoldCaptchaPictures());
        QCOMPARE(log.all().size(), 1);
        QVERIFY2(log.all().first().startsWith(QLatin1String("C The ")),
                 qPrintable(log.all().first()));
    }

    void aCaptchaCannotBeAskedFor()
    {
        KelAccounts accounts;
        const QList<int> statuses = {KelAccount::ErrorUnabletoSendRequest};
        const Answers answers(accounts);
        accounts.initialize("key"_s, "secret"_s, 2, {}, {});
        const MessageLog log;
        accounts.retrieveCaptchaImage(120, 40);
        QCOMPARE(answers.statuses, QList<int>());
        QTRY_COMPARE(answers.statuses, statuses);
        QVERIFY(log.hasCritical("Failed to send retrieveCaptchaImage request"));
        QTest::qWait(20);
        QCOMPARE(answers.statuses, statuses);
    }

    void anEarlyCallIsRefusedAsEver()
    {
        KelAccounts accounts;
        const Answers answers(accounts);
        accounts.retrieveCaptchaImage(120, 40);
        QTRY_COMPARE(answers.statuses, QList<int>{KelAccount::ErrorInitializationPending});
    }

    void aReplyHasNoPicture()
    {
        NetworkResponseProcessor processor(nullptr);
        HttpResponse response(
            QNetworkReply::NoError,
            "<?xml version=\"1.0\"?><captchaCreationResponse><captchaId>c9</captchaId>"
            "<imageData>AAAA</imageData></captchaCreationResponse>"_s,
            QString(), 1);
#ifdef KELACCOUNT_TEST_PICTURES
        // A spy copies the picture, as a queued connection does.
        QSignalSpy spy(&processor, &NetworkResponseProcessor::retrieveCaptchaImageResponse);
        QCOMPARE(processor.processResponseFromServer(RetrieveCaptchaImage, &response), 0);
        QCOMPARE(spy.size(), 1);
        QCOMPARE(spy.first().at(0).toInt(), 0);
        QVERIFY(spy.first().at(1).value<QPixmap>().isNull());
        QCOMPARE(spy.first().at(2).toString(), "c9"_s);
#else
        QList<int> statuses;
        connect(&processor, &NetworkResponseProcessor::retrieveCaptchaImageResponse, this,
                [&](int status) { statuses.append(status); });
        QCOMPARE(processor.processResponseFromServer(RetrieveCaptchaImage, &response), 0);
        QCOMPARE(statuses, QList<int>{0});
#endif
    }

private:
    struct Answers
    {
        explicit Answers(KelAccounts& accounts)
        {
#ifdef KELACCOUNT_TEST_PICTURES
            connect(&accounts, &KelAccounts::captchaImageResponse, &context,
                    [this](ErrorStatus status, const QPixmap& picture) {
                        const QPixmap copy = picture;
                        QVERIFY(copy.isNull());
                        QVERIFY(picture.toImage().isNull());
                        QCOMPARE(picture.size(), QSize(0, 0));
                        statuses.append(status);
                    });
#else
            connect(&accounts, &KelAccounts::captchaImageResponse, &context,
                    [this](ErrorStatus status) { statuses.append(status); });
#endif
        }

        QList<int> statuses;
        QObject context; // ends before the list that its connection fills
    };
};

#ifdef KELACCOUNT_TEST_PICTURES
QTEST_MAIN(TestCaptchaModule)
#else
QTEST_GUILESS_MAIN(TestCaptchaModule)
#endif
#include "tst_captchamodule.moc"
