// SPDX-License-Identifier: LGPL-2.1-or-later
// The sign-up window of the examples, used with the keyboard alone, inside the emulator. Builds in
// the tree of the library, and against an installed one.
#define main exampleMain
#include "support/patience.h"
#include "widgets-signup.cpp"
#undef main

#include <kelaccount/errorstatus.h>
#include <kelaccount/statustext.h>

#include <QMap>
#include <QProcess>
#include <QSet>
#include <QTest>

#include <memory>

class TestWidgetsSignUp : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        mEarlier = solutions();
        mWindow = std::make_unique<SignUpWindow>();
        mWindow->show();
        QVERIFY(QTest::qWaitForWindowActive(mWindow.get()));
        QTRY_VERIFY(picture() != 0);
    }

    void cleanup() { mWindow.reset(); }

    void theFirstEntryHasTheFocus() { QCOMPARE(focused(), QStringLiteral("userName")); }

    void tabLeadsThroughTheFormInItsOrder()
    {
        QStringList way;
        for (int step = 0; step < 6; ++step) {
            way.append(focused());
            press(Qt::Key_Tab);
        }
        QCOMPARE(way, QStringList({QStringLiteral("userName"), QStringLiteral("emailAddress"),
                                   QStringLiteral("password"), QStringLiteral("&Another picture"),
                                   QStringLiteral("captchaText"), QStringLiteral("&Register")}));
    }

    void eachEntryHasALabelWithAKeyOfItsOwn()
    {
        QSet<QChar> keys;
        const QList<QLineEdit*> entries = mWindow->findChildren<QLineEdit*>();
        for (const QLineEdit* const each : entries) {
            const auto* const label =
                qobject_cast<QLabel*>(form()->labelForField(const_cast<QLineEdit*>(each)));
            QVERIFY(label);
            QCOMPARE(label->buddy(), each);
            const int mark = label->text().indexOf(QLatin1Char('&'));
            QVERIFY(mark >= 0);
            keys.insert(label->text().at(mark + 1).toLower());
        }
        QCOMPARE(keys.size(), entries.size());
    }

    void saysWhileItIsTypedWhetherANameIsFree()
    {
        type("userName", "alice");
        QTRY_VERIFY2(note("userName").startsWith(QLatin1String("Taken. Free are: alice")),
                     qPrintable(note("userName")));
        // Also to who cannot see it.
        QCOMPARE(entry("userName")->accessibleDescription(), note("userName"));
        type("userName", "bob");
        QTRY_COMPARE(note("userName"), QStringLiteral("This name is free."));
        type("userName", "");
        QCOMPARE(note("userName"), QString());
    }

    void whatIsMissingIsSaidBesideItsEntry()
    {
        type("userName", "kim");
        press(Qt::Key_Return);
        for (const char* const each : {"emailAddress", "password", "captchaText"})
            QCOMPARE(note(each), QStringLiteral("Please fill this in."));
        QCOMPARE(note("userName"), QString());
        QCOMPARE(focused(), QStringLiteral("emailAddress"));
    }

    void aMisreadPictureIsSaidBesideItsEntryAndReplaced()
    {
        fillIn("kim", "kim@mail.example");
        type("captchaText", "nonsense");
        const qint64 before = picture();
        press(Qt::Key_Return);
        QTRY_COMPARE(note("captchaText"), KelAccount::statusText(KelAccount::ErrorInvalidCaptcha));
        QCOMPARE(focused(), QStringLiteral("captchaText"));
        QTRY_VERIFY(picture() != 0 && picture() != before);
        QCOMPARE(entry("captchaText")->text(), QString());
        QCOMPARE(registered(QStringLiteral("kim")), false);
    }

    void aReservedNameIsSaidBesideItsEntry()
    {
        fillIn("admin", "admin@mail.example");
        type("captchaText", solution());
        press(Qt::Key_Return);
        QTRY_COMPARE(note("userName"), KelAccount::statusText(512));
        QTRY_VERIFY(isWholeToSee(noteLabel("userName")));
        QTRY_VERIFY(picture() != 0);
        QTRY_VERIFY(pictureLabel()->height() >= pictureLabel()->sizeHint().height());
        QCOMPARE(focused(), QStringLiteral("userName"));
    }

    void aFailureOfNoEntryIsSaidBelow()
    {
        fillIn("kim", "kim@mail.example");
        type("captchaText", solution());
        run({QStringLiteral("fault"), QStringLiteral("close-before-headers@5")});
        press(Qt::Key_Return);
        QTRY_COMPARE(outcome(), KelAccount::statusText(KelAccount::ErrorRemoteHostClosed));
    }

    // Last: it leaves an account.
    void whoFillsItInIsRegistered()
    {
        fillIn("kim", "kim@mail.example");
        type("captchaText", solution());
        if (qEnvironmentVariableIsSet("KELACCOUNT_TEST_PICTURE"))
            QVERIFY(mWindow->grab().save(qEnvironmentVariable("KELACCOUNT_TEST_PICTURE")));
        press(Qt::Key_Return);
        QTRY_COMPARE_WITH_TIMEOUT(outcome(), QStringLiteral("Welcome, kim!"), 30000);
        QCOMPARE(registered(QStringLiteral("kim")), true);
    }

private:
    // What a user does and sees.

    static QString focused()
    {
        const QWidget* const widget = QApplication::focusWidget();
        const auto* const button = qobject_cast<const QPushButton*>(widget);
        return button ? button->text() : widget ? widget->objectName() : QString();
    }

    static void press(Qt::Key key) { QTest::keyClick(QApplication::focusWidget(), key); }

    void type(const char* name, const QString& text)
    {
        QLineEdit* const field = entry(name);
        field->setFocus();
        field->selectAll();
        QTest::keyClick(field, Qt::Key_Delete);
        QTest::keyClicks(field, text);
    }
    void type(const char* name, const char* text) { type(name, QString::fromLatin1(text)); }

    void fillIn(const char* name, const char* address)
    {
        type("userName", name);
        type("emailAddress", address);
        type("password", "kims password");
    }

    // Parts of the window.

    QLineEdit* entry(const char* name) const
    {
        return mWindow->findChild<QLineEdit*>(QString::fromLatin1(name));
    }
    QFormLayout* form() const { return qobject_cast<QFormLayout*>(mWindow->layout()); }

    // The label below an entry.
    const QLabel* noteLabel(const char* name) const
    {
        int row = 0;
        QFormLayout::ItemRole role;
        form()->getWidgetPosition(entry(name), &row, &role);
        QLayoutItem* const below = form()->itemAt(row + 1, QFormLayout::FieldRole);
        return qobject_cast<const QLabel*>(below->widget());
    }
    QString note(const char* name) const { return noteLabel(name)->text(); }
    static bool isWholeToSee(const QLabel* label)
    {
        return label->height() >= label->heightForWidth(label->width());
    }
    QString outcome() const
    {
        QLayoutItem* const last = form()->itemAt(form()->rowCount() - 1, QFormLayout::SpanningRole);
        return qobject_cast<const QLabel*>(last->widget())->text();
    }
    const QLabel* pictureLabel() const
    {
        for (const QLabel* const label : mWindow->findChildren<QLabel*>()) {
            if (!label->pixmap(Qt::ReturnByValue).isNull())
                return label;
        }
        return nullptr;
    }
    qint64 picture() const // 0 without one
    {
        const QLabel* const label = pictureLabel();
        return label ? label->pixmap(Qt::ReturnByValue).cacheKey() : 0;
    }

    // The emulator's side.

    static QString run(const QStringList& arguments)
    {
        QProcess process;
        process.start(qEnvironmentVariable("KELACCOUNT_TEST_EMULATOR"), arguments);
        if (!process.waitForFinished() || process.exitCode() != 0)
            qFatal("the emulator: %s", process.readAllStandardError().constData());
        return QString::fromUtf8(process.readAllStandardOutput());
    }
    static QMap<QString, QString> solutions()
    {
        QMap<QString, QString> all;
        const QStringList lines =
            run({QStringLiteral("captcha")}).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        for (const QString& line : lines)
            all.insert(line.section(QLatin1Char(' '), 0, 0), line.section(QLatin1Char(' '), 1));
        return all;
    }
    // Of the window's first picture.
    QString solution() const
    {
        QMap<QString, QString> news = solutions();
        for (const QString& id : mEarlier.keys())
            news.remove(id);
        return news.value(news.firstKey());
    }
    static bool registered(const QString& name)
    {
        return run({QStringLiteral("accounts")})
            .contains(QLatin1Char(' ') + name + QLatin1Char(' '));
    }

    QMap<QString, QString> mEarlier; ///< pictures that are not the window's
    std::unique_ptr<SignUpWindow> mWindow;
};

QTEST_MAIN(TestWidgetsSignUp)
#include "tst_widgetssignup.moc"
