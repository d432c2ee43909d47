// SPDX-License-Identifier: LGPL-2.1-or-later
#include "wizardsetup.h"

#include <QFont>
#include <QGuiApplication>
#include <QLocale>
#include <QTranslator>

void setUpWizard(QGuiApplication& application, double fontScale)
{
    auto* const texts = new QTranslator(&application);
    // English stands in the sources.
    if (texts->load(QLocale(), QStringLiteral("wizard"), QStringLiteral("_"),
                    QStringLiteral(":/setup-wizard/i18n")))
        QCoreApplication::installTranslator(texts);
    QGuiApplication::setLayoutDirection(QLocale().textDirection());
    QFont font = QGuiApplication::font();
    font.setPointSizeF(font.pointSizeF() * fontScale);
    QGuiApplication::setFont(font);
}
