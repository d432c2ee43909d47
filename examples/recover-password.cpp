// SPDX-License-Identifier: LGPL-2.1-or-later
// Helps a user who forgot the password, in a coroutine, with QCoro, as C++20: a captcha, a code
// that the service sends, the security question, a new password. Key and secret come from the
// environment, the user's name is the argument, and what the user knows is read from the terminal.
#include <kelaccount/client.h>

#include <QCoreApplication>
#include <QCoroFuture>
#include <QCoroTask>
#include <QFile>
#include <QLocale>
#include <QTextStream>

#include <termios.h>
#include <unistd.h>

using namespace KelAccount;

namespace {

QTextStream out(stdout);
QTextStream in(stdin);

QString ask(const QString& question)
{
    out << question << '\n' << Qt::flush;
    return in.readLine();
}

// The same, with nothing shown of what is typed.
QString askForSecret(const QString& question)
{
    termios shown{};
    const bool isTerminal = tcgetattr(STDIN_FILENO, &shown) == 0;
    termios hidden = shown;
    hidden.c_lflag &= ~tcflag_t(ECHO);
    if (isTerminal)
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
    const QString answer = ask(question);
    if (isTerminal)
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &shown);
    return answer;
}

bool complain(const Failure& failure)
{
    out << failure.text << " (" << failure.name << ")\n";
    return false;
}

QString read(const Captcha& captcha)
{
    QFile file(QStringLiteral("captcha.") + QString::fromLatin1(captcha.format));
    if (file.open(QIODevice::WriteOnly))
        file.write(captcha.bytes);
    file.close();
    return ask(QStringLiteral("What does %1 say?").arg(file.fileName()));
}

QCoro::Task<bool> recover(Client& client, const QString user)
{
    // A handset with a service tag need not prove that somebody sits in front of it.
    QString characters;
    const auto proof = co_await client.isCaptchaRequired().future();
    if (!proof)
        co_return complain(proof.failure());
    if (proof.result().isRequired) {
        const auto captcha = co_await client.retrieveCaptchaImage(240, 80).future();
        if (!captcha)
            co_return complain(captcha.failure());
        characters = read(captcha.result());
    }

    const auto sent =
        co_await client.requestPasswordReset(user, characters, RecoveryBy::Message).future();
    if (!sent)
        co_return complain(sent.failure());
    const QString code = ask(QStringLiteral("A message is on its way. Which code is in it?"));

    const QString language = QLocale().name().left(2);
    const auto question = co_await client.retrievePasswordResetSecQuestion(user, language).future();
    if (!question)
        co_return complain(question.failure());
    const QString answer = askForSecret(question.result().text);
    const QString password = askForSecret(QStringLiteral("What is the new password to be?"));

    const auto changed =
        co_await client.resetPasswordUsingSecurityQuestion(user, code, password, answer).future();
    if (!changed)
        co_return complain(changed.failure());
    out << "The password is changed.\n";
    co_return true;
}

QCoro::Task<> run(Client& client, const QString user)
{
    const bool isDone = co_await recover(client, user);
    QCoreApplication::exit(isDone ? 0 : 1);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc != 2) {
        out << "usage: recover-password USER\n";
        return 2;
    }
    Client client;
    client.initialize(qEnvironmentVariable("KELACCOUNT_CONSUMER_KEY"),
                      qEnvironmentVariable("KELACCOUNT_CONSUMER_SECRET"), Server::Production,
                      QStringLiteral("example"));
    run(client, QString::fromLocal8Bit(argv[1]));
    return QCoreApplication::exec();
}
