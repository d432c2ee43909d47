// SPDX-License-Identifier: LGPL-2.1-or-later
// Awaits calls in a coroutine, with QCoro, as C++20. Asks whether the user name given as argument
// is free, and takes a second question back.
#include <kelaccount/client.h>

#include <QCoreApplication>
#include <QCoroFuture>
#include <QCoroTask>
#include <QTextStream>

using namespace KelAccount;

namespace {

QCoro::Task<> run(Client& client, QString name)
{
    QTextStream out(stdout);
    const Outcome<Availability> answer = co_await client.isUserIdAvailable(name).future();
    if (!answer)
        out << answer.failure().name << '\n';
    else if (answer.result().available)
        out << "free\n";
    else
        out << "taken; free are " << answer.result().suggestions.join(u", ") << '\n';

    // Of a call that was cancelled, co_await gives a failure, too.
    const Call<Availability> call = client.isUserIdAvailable(name);
    const auto future = call.future();
    call.cancel();
    const Outcome<Availability> cancelled = co_await future;
    out << cancelled.failure().name << '\n';
    QCoreApplication::exit(answer ? 0 : 1);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc != 2) {
        QTextStream(stdout) << "usage: coroutine NAME\n";
        return 2;
    }
    Client client;
    client.initialize(qEnvironmentVariable("KELACCOUNT_CONSUMER_KEY"),
                      qEnvironmentVariable("KELACCOUNT_CONSUMER_SECRET"), Server::Production,
                      QStringLiteral("example"));
    run(client, QString::fromLocal8Bit(argv[1]));
    return QCoreApplication::exec();
}
