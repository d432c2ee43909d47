// SPDX-License-Identifier: LGPL-2.1-or-later
// Sets an account up on a handset: kelaccount-emulator run -- setup-wizard
#include "wizardsetup.h"

#include <QCommandLineParser>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickView>

int main(int argc, char** argv)
{
    QGuiApplication application(argc, argv);
    QCommandLineParser commandLine;
    const QCommandLineOption scale(QStringLiteral("font-scale"),
                                   QStringLiteral("How much larger texts are."),
                                   QStringLiteral("factor"), QStringLiteral("1"));
    const QCommandLineOption picture(QStringLiteral("picture"),
                                     QStringLiteral("Save the first page as a picture, and end."),
                                     QStringLiteral("file"));
    commandLine.addOption(scale);
    commandLine.addOption(picture);
    commandLine.addHelpOption();
    commandLine.process(application);
    setUpWizard(application, qBound(0.5, commandLine.value(scale).toDouble(), 4.0));

    const QString key = qEnvironmentVariable("KELACCOUNT_CONSUMER_KEY");
    const QString secret = qEnvironmentVariable("KELACCOUNT_CONSUMER_SECRET");
    if (key.isEmpty() || secret.isEmpty()) {
        qCritical("KELACCOUNT_CONSUMER_KEY and KELACCOUNT_CONSUMER_SECRET have to be set");
        return 2;
    }

    QQuickView view;
    view.setResizeMode(QQuickView::SizeRootObjectToView);
    view.setInitialProperties({
        {QStringLiteral("consumerKey"), key},
        {QStringLiteral("consumerSecret"), secret},
        {QStringLiteral("pictureFile"), commandLine.value(picture)},
    });
    QObject::connect(view.engine(), &QQmlEngine::exit, &application, &QCoreApplication::exit,
                     Qt::QueuedConnection);
    view.setSource(QUrl(QStringLiteral("qrc:/setup-wizard/Wizard.qml")));
    if (view.status() != QQuickView::Ready)
        return 1;
    view.resize(360, 640);
    view.show();
    return application.exec();
}
