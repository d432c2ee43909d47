// SPDX-License-Identifier: LGPL-2.1-or-later
#include "qml/emulatorobject.h"
#include "wizardsetup.h"

#include <QDir>
#include <QFont>
#include <QGuiApplication>
#include <QLocale>
#include <QPainter>
#include <QQmlContext>
#include <QQmlEngine>
#include <QStyleHints>
#include <QtQuickTest>

#include <algorithm>
#include <utility>

/// The stored pictures of the wizard's pages.
class Pictures : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// Says what is wrong with a page's picture: empty when it is the stored one but for a few
    /// points, and for the places that differ each time. One that is not is kept in the build
    /// folder. With KELACCOUNT_TEST_WRITE_PICTURES set, the second of two that are the same becomes
    /// the stored one, for somebody to look at.
    Q_INVOKABLE QString complaintAbout(const QImage& picture, const QString& name,
                                       const QVariantList& hidden);

private:
    static QImage prepared(const QImage& picture, const QVariantList& hidden);
    static double difference(const QImage& one, const QImage& other);

    QImage mBefore;
};

QImage Pictures::prepared(const QImage& picture, const QVariantList& hidden)
{
    QImage copy = picture.convertToFormat(QImage::Format_RGB32);
    QPainter painter(&copy);
    for (const QVariant& place : hidden)
        painter.fillRect(place.toRectF(), Qt::lightGray);
    return copy;
}

// The part of the points that are clearly others.
double Pictures::difference(const QImage& one, const QImage& other)
{
    constexpr int visible = 48;
    if (one.size() != other.size())
        return 1.0;
    int count = 0;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x) {
            const QRgb a = one.pixel(x, y);
            const QRgb b = other.pixel(x, y);
            if (std::max({qAbs(qRed(a) - qRed(b)), qAbs(qGreen(a) - qGreen(b)),
                          qAbs(qBlue(a) - qBlue(b))}) > visible)
                ++count;
        }
    }
    return double(count) / (one.width() * one.height());
}

QString Pictures::complaintAbout(const QImage& picture, const QString& name,
                                 const QVariantList& hidden)
{
    if (qEnvironmentVariableIsEmpty("KELACCOUNT_TEST_COMPARED"))
        return {};
    constexpr double tolerance = 0.005;
    const QString file = QLocale().name() + QLatin1Char('/') + name + QLatin1String(".png");
    const QString stored = QStringLiteral(KELACCOUNT_TEST_PICTURES "/") + file;
    const QImage mine = prepared(picture, hidden);
    if (qEnvironmentVariableIsSet("KELACCOUNT_TEST_WRITE_PICTURES")) {
        const QImage before = std::exchange(mBefore, mine);
        QDir().mkpath(QFileInfo(stored).path());
        return before == mine && mine.save(stored) ? QString() : QStringLiteral("not written yet");
    }
    const double differs = difference(mine, QImage(stored).convertToFormat(QImage::Format_RGB32));
    if (differs <= tolerance)
        return {};
    const QString kept = QStringLiteral(KELACCOUNT_TEST_WORK "/") + file;
    QDir().mkpath(QFileInfo(kept).path());
    mine.save(kept);
    return QStringLiteral("%1 differs from the stored one in %2 %").arg(kept).arg(differs * 100);
}

/// Gives the wizard what its main function gives it, with a font that is everywhere the same.
class Setup : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void applicationAvailable()
    {
        QFont font(QStringLiteral("DejaVu Sans"));
        font.setPointSizeF(10);
        // However the machine would draw it.
        font.setHintingPreference(QFont::PreferNoHinting);
        font.setStyleStrategy(QFont::NoSubpixelAntialias);
        QGuiApplication::setFont(font);
        QGuiApplication::styleHints()->setCursorFlashTime(0);
        setUpWizard(*qGuiApp, qEnvironmentVariable("KELACCOUNT_TEST_FONT_SCALE").toDouble());
    }
    void qmlEngineAvailable(QQmlEngine* engine)
    {
        engine->rootContext()->setContextProperty(QStringLiteral("emulator"), &mEmulator);
        engine->rootContext()->setContextProperty(QStringLiteral("pictures"), &mPictures);
    }

private:
    EmulatorObject mEmulator;
    Pictures mPictures;
};

QUICK_TEST_MAIN_WITH_SETUP(wizard, Setup)

#include "wizardtest.moc"
