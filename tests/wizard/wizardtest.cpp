// SPDX-License-Identifier: LGPL-2.1-or-later
#include "qml/emulatorobject.h"
#include "wizardsetup.h"

#include <QDir>
#include <QFont>
#include <QGuiApplication>
#include <QLocale>
#include <QMap>
#include <QPainter>
#include <QQmlContext>
#include <QQmlEngine>
#include <QStyleHints>
#include <QtQuickTest>

#include <algorithm>
#include <array>
#include <cstddef>
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
    /// The same of the documentation's pictures, each of which has several pages side by side.
    Q_INVOKABLE QString complaintAboutSheets();

private:
    static QImage prepared(const QImage& picture, const QVariantList& hidden);
    static double difference(const QImage& one, const QImage& other);

    QImage mBefore;
    QMap<QString, QImage> mWhole; ///< without places that are hidden, when they are to be written
};

struct Sheet
{
    const char* file;
    std::array<const char*, 5> pages;
};

constexpr std::array<Sheet, 2> sheets{{
    {"setup-wizard.png",
     {"en_GB/welcome.png", "en_GB/name.png", "en_GB/captcha.png", "en_GB/terms.png",
      "en_GB/profile.png"}},
    {"setup-wizard-directions.png",
     {"fa_IR/welcome.png", "fa_IR/captcha.png", "de_DE/question.png", "de_DE/captcha.png",
      "de_DE/profile.png"}},
}};
constexpr QSize pageSize(360, 640);
constexpr int gap = 10;
constexpr double tolerance = 0.005;
constexpr Qt::GlobalColor hiddenColour = Qt::lightGray;

bool isStoring()
{
    return qEnvironmentVariableIsSet("KELACCOUNT_TEST_WRITE_PICTURES");
}

QImage storedPicture(const QString& file)
{
    return QImage(QStringLiteral(KELACCOUNT_TEST_PICTURES "/") + file)
        .convertToFormat(QImage::Format_RGB32);
}

QImage Pictures::prepared(const QImage& picture, const QVariantList& hidden)
{
    QImage copy = picture.convertToFormat(QImage::Format_RGB32);
    QPainter painter(&copy);
    for (const QVariant& place : hidden)
        painter.fillRect(place.toRectF(), hiddenColour);
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
    const QString file = QLocale().name() + QLatin1Char('/') + name + QLatin1String(".png");
    const QString stored = QStringLiteral(KELACCOUNT_TEST_PICTURES "/") + file;
    const QImage mine = prepared(picture, hidden);
    if (isStoring()) {
        mWhole.insert(file, prepared(picture, {}));
        const QImage before = std::exchange(mBefore, mine);
        QDir().mkpath(QFileInfo(stored).path());
        return before == mine && mine.save(stored) ? QString() : QStringLiteral("not written yet");
    }
    const double differs = difference(mine, storedPicture(file));
    if (differs <= tolerance)
        return {};
    const QString kept = QStringLiteral(KELACCOUNT_TEST_WORK "/") + file;
    QDir().mkpath(QFileInfo(kept).path());
    mine.save(kept);
    return QStringLiteral("%1 differs from the stored one in %2 %").arg(kept).arg(differs * 100);
}

QString Pictures::complaintAboutSheets()
{
    if (qEnvironmentVariableIsEmpty("KELACCOUNT_TEST_COMPARED"))
        return {};
    QStringList complaints;
    for (const Sheet& sheet : sheets) {
        const QString name = QString::fromLatin1(sheet.file);
        const QString file = QStringLiteral(KELACCOUNT_TEST_SHEETS "/") + name;
        QImage shown = QImage(file).convertToFormat(QImage::Format_RGB32);
        const QSize size((pageSize.width() + gap) * int(sheet.pages.size()) - gap,
                         pageSize.height());
        if (isStoring() && shown.size() != size) {
            shown = QImage(size, QImage::Format_RGB32);
            shown.fill(Qt::darkGray);
        }
        for (std::size_t at = 0; at < sheet.pages.size(); ++at) {
            const QString page = QString::fromLatin1(sheet.pages[at]);
            // The others are other runs'.
            if (!page.startsWith(QLocale().name() + QLatin1Char('/')))
                continue;
            const QPoint corner(int(at) * (pageSize.width() + gap), 0);
            if (isStoring())
                QPainter(&shown).drawImage(corner, mWhole.value(page));
            QImage part = shown.copy(QRect(corner, pageSize));
            const QImage stored = storedPicture(page);
            for (int y = 0; y < stored.height() && y < part.height(); ++y) {
                for (int x = 0; x < stored.width() && x < part.width(); ++x) {
                    if (stored.pixelColor(x, y) == QColor(hiddenColour))
                        part.setPixelColor(x, y, hiddenColour);
                }
            }
            // Both were written by one run.
            if (difference(part, stored) > 0)
                complaints.append(QStringLiteral("%1 does not have %2").arg(name, page));
        }
        if (isStoring() && !shown.save(file))
            complaints.append(file + QStringLiteral(" cannot be written"));
    }
    return complaints.join(QLatin1Char('\n'));
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
