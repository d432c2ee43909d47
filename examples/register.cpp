// SPDX-License-Identifier: LGPL-2.1-or-later
// Registers an account: is the name free, what does the captcha say, register, show the profile.
// Key and secret come from the environment, the rest from arguments; the captcha is read from a
// file.
#include <kelaccount/client.h>

#include <QCoreApplication>
#include <QFile>
#include <QTextStream>

using namespace KelAccount;

namespace {

QTextStream out(stdout);
QTextStream in(stdin);

void suggest(const QStringList& names)
{
    out << "taken; free are " << names.join(QStringLiteral(", ")) << '\n';
    QCoreApplication::exit(1);
}

QString read(const Captcha& captcha)
{
    QFile file(QStringLiteral("captcha.") + QString::fromLatin1(captcha.format));
    if (file.open(QIODevice::WriteOnly))
        file.write(captcha.bytes);
    file.close();
    out << "what does " << file.fileName() << " say? " << Qt::flush;
    return in.readLine();
}

void show(const Profile& profile)
{
    out << profile.userName << " <" << profile.emailAddress << ">\n";
    QCoreApplication::exit(0);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 4) {
        out << "usage: register NAME E-MAIL PASSWORD\n";
        return 2;
    }
    const QString key = qEnvironmentVariable("KELACCOUNT_CONSUMER_KEY");
    const QString secret = qEnvironmentVariable("KELACCOUNT_CONSUMER_SECRET");
    const QString service = QStringLiteral("example");
    Registration me;
    me.userName = arguments.at(1);
    me.emailAddress = arguments.at(2);
    me.password = arguments.at(3);
    QObject* const window = &application;
    const auto complain = [](const Failure& failure) {
        out << failure.text << " (" << failure.name << ")\n";
        QCoreApplication::exit(1);
    };

    // README.md begins with these lines.
    Client client;
    client.initialize(key, secret, Server::Production, service);
    const auto registered = [&] { client.downloadProfile().then(window, show, complain); };
    const auto captcha = [&](const Captcha& picture) {
        me.captchaText = read(picture);
        me.captchaId = picture.id;
        client.registerAccount(me).then(window, registered, complain);
    };
    const auto checked = [&](const Availability& name) {
        if (name.available)
            client.retrieveCaptchaImage(240, 80).then(window, captcha, complain);
        else
            suggest(name.suggestions);
    };
    client.isUserIdAvailable(me.userName).then(window, checked, complain);
    // That is all.

    return QCoreApplication::exec();
}
