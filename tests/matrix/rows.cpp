// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/rows.h"

#include "client/clientcalls.h"
#include "operations/facadecalls.h"

#include <kelaccount/kelaccounts.h>

#include <QMap>

#include <algorithm>

using namespace KelTest;

namespace Matrix {

namespace {

/// What the tables of the facade's calls say of each, and of those that are in none of them.
QMap<QString, Needs> needs()
{
    QMap<QString, Needs> all = {
        {"initialize"_s, Needs::Nothing},
        {"initValues"_s, Needs::Nothing},
        {"isCaptchaRequired"_s, Needs::Nothing},
        {"isKeLAccountConfigured"_s, Needs::Nothing},
        {"retrieveCountryCode"_s, Needs::Nothing},
        {"close"_s, Needs::Session},
        {"signOut"_s, Needs::SetUp},
    };
    for (const facadecalls::Operation& operation : facadecalls::ofTheService())
        all.insert(text(operation.name), Needs::Service);
    for (const facadecalls::Operation& operation : facadecalls::ofTheSession())
        all.insert(text(operation.name), Needs::Session);
    for (const facadecalls::SetUp& setUp : facadecalls::setUps())
        all.insert(text(setUp.answer).chopped(int(qstrlen("Response"))), Needs::SetUp);
    return all;
}

} // namespace

QVector<Row> rows(QStringList& problems)
{
    const QMap<QString, Needs> known = needs();
    QVector<Row> all;
    const auto add = [&](const char* door, const QString& name, const QString& title,
                         const QMetaMethod& method) {
        if (!known.contains(name))
            problems.append("nobody says what %1 needs: it has no row in the matrix"_s.arg(name));
        all.append({text(door), title, known.value(name), method});
    };
    const QMetaObject& facade = KelAccount::KelAccounts::staticMetaObject;
    QStringList ofTheFacade;
    for (int i = facade.methodOffset(); i < facade.methodCount(); ++i) {
        const QMetaMethod method = facade.method(i);
        if (method.methodType() != QMetaMethod::Slot)
            continue;
        const QString name = QString::fromLatin1(method.name());
        const bool isForScripts = method.parameterTypes().contains("QObject*");
        add("facade", name, isForScripts ? name + " (for scripts)"_s : name, method);
        ofTheFacade.append(name);
    }
    QStringList ofTheClient = {"initValues"_s}; // retired
    for (const ClientCall& call : clientCalls()) {
        add("client", text(call.name), text(call.name), {});
        ofTheClient.append(text(call.name));
    }
    for (const QString& name : ofTheFacade) {
        if (!ofTheClient.contains(name))
            problems.append("the client has no %1, which the facade has"_s.arg(name));
    }
    return all;
}

} // namespace Matrix
