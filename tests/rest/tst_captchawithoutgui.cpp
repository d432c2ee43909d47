// SPDX-License-Identifier: LGPL-2.1-or-later
// What a program without a QGuiApplication gets of a captcha; so it is a program of its own.
#include "operations/answers.h"
#include "operations/recordedanswers.h"
#include "rest/picture/captchapicture.h"
#include "rest/reply/networkresponseprocessor.h"
#include "support/literals.h"
#include "support/messagelog.h"

#include <QPixmap>
#include <QTest>

#include <thread>

using namespace KelRestHandler;

class TestCaptchaWithoutGui : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aPictureIsNullAndTheReasonIsLogged()
    {
        const MessageLog log;
        QCOMPARE(answerTo(operations::captchaReply()),
                 QStringList({"signal: retrieveCaptchaImageResponse"_s, "status: 0"_s,
                              "captcha id: captcha-9"_s, "picture: 0 by 0"_s}));
        QCOMPARE(log.all(), QStringList("W A captcha picture needs a QGuiApplication; a null "
                                        "picture is delivered"_s));
    }

    void withoutAPictureThereIsNothingToLog_data()
    {
        QTest::addColumn<QString>("body");
        QTest::newRow("no picture") << wiredata::body("captcha/no-picture");
        QTest::newRow("server error") << wiredata::body("error/code-and-text");
        QTest::newRow("no document") << QString();
    }
    void withoutAPictureThereIsNothingToLog()
    {
        QFETCH(QString, body);
        const MessageLog log;
        QCOMPARE(answerTo(body),
                 QStringList({"signal: retrieveCaptchaImageResponse"_s, "status: 0"_s,
                              "captcha id:"_s, "picture: 0 by 0"_s}));
        QCOMPARE(log.all(), QStringList());
    }

    // Where a facade may be, that was sent to a thread of its own.
    void onAnotherThreadPicturesAreNullToo_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("a picture") << QByteArray("some bytes");
        QTest::newRow("none") << QByteArray();
    }
    void onAnotherThreadPicturesAreNullToo()
    {
        QFETCH(QByteArray, bytes);
        int nullPictures = 0;
        std::thread other([&] {
            withCaptchaPicture(bytes, [&nullPictures](const QPixmap& picture) {
                if (picture.isNull())
                    ++nullPictures;
            });
        });
        other.join();
        QCOMPARE(nullPictures, 1);
    }

private:
    static QStringList answerTo(const QString& body)
    {
        NetworkResponseProcessor processor(nullptr);
        const RecordedAnswers answers(processor);
        HttpResponse response(QNetworkReply::NoError, body, "the key"_s, 1);
        processor.processResponseFromServer(RetrieveCaptchaImage, &response);
        return answers.lines();
    }
};

QTEST_GUILESS_MAIN(TestCaptchaWithoutGui)
#include "tst_captchawithoutgui.moc"
