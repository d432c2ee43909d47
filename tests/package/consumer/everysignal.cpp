// SPDX-License-Identifier: LGPL-2.1-or-later
// Connects a lambda to every signal of the facade, with no header of the library but the facade's.
#include <kelaccount/kelaccounts.h>

#include "../../operations/table.h"

#include <QCoreApplication>
#include <QMetaMethod>

#include <cstdio>

using namespace KelAccount;

namespace {

class Facade : public KelAccounts
{
public:
    using KelAccounts::isSignalConnected;
};

template <class... Types, class Signal>
void on(Facade& facade, Signal signal, QObject* context)
{
    QObject::connect(&facade, signal, context, [](const Types&...) {});
}

void connectAll(Facade& facade, QObject* context)
{
#define KEL_ON(name, ...) on<__VA_ARGS__>(facade, &KelAccounts::name, context);
    KEL_FACADE_SIGNALS(KEL_ON)
#undef KEL_ON
    // The header says what is in the structures, too.
    QObject::connect(&facade, &KelAccounts::detectPreAccountResponse, context,
                     [](ErrorStatus, const PreAccountInfo& info) { return info.username; });
    QObject::connect(&facade, &KelAccounts::downloadProfileResponse, context,
                     [](ErrorStatus, ProfileInfo* profile) { return profile->userName(); });
}

} // namespace

int main(int count, char** arguments)
{
    const QCoreApplication application(count, arguments);
    Facade facade;
    QObject context;
    connectAll(facade, &context);
    int missed = 0;
    const QMetaObject& meta = KelAccounts::staticMetaObject;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        if (method.methodType() == QMetaMethod::Signal && !facade.isSignalConnected(method)) {
            std::printf("no lambda is connected to %s\n", method.methodSignature().constData());
            ++missed;
        }
    }
    return missed == 0 ? 0 : 1;
}
