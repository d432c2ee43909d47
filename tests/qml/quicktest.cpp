// SPDX-License-Identifier: LGPL-2.1-or-later
#include "qml/emulatorobject.h"

#include <QQmlContext>
#include <QQmlEngine>
#include <QtQuickTest>

/// Gives the tests what surrounds them.
class Setup : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void qmlEngineAvailable(QQmlEngine* engine)
    {
        engine->rootContext()->setContextProperty(QStringLiteral("emulator"), &mEmulator);
    }

private:
    EmulatorObject mEmulator;
};

QUICK_TEST_MAIN_WITH_SETUP(kelaccountsqml, Setup)

#include "quicktest.moc"
