// SPDX-License-Identifier: LGPL-2.1-or-later
#include "client/clients.h"

#include "client/clientprivate.h"
#include "client/clientthread.h"
#include "client/signonhome.h"

#include <QCoreApplication>

#include <algorithm>
#include <mutex>
#include <vector>

namespace KelAccount::Clients {

namespace {

struct All
{
    std::mutex mutex;
    std::vector<ClientPrivate*> clients;
    bool endsWithApplication = false;
};

All& all()
{
    static auto* const instance = new All; // also for a client that is a static object itself
    return *instance;
}

// Called by the application's destructor, while there still is an application.
void endAll()
{
    All& known = all();
    std::unique_lock<std::mutex> lock(known.mutex);
    known.endsWithApplication = false;
    while (!known.clients.empty()) {
        ClientPrivate* const client = known.clients.back();
        known.clients.pop_back();
        lock.unlock();
        client->end();
        lock.lock();
    }
    lock.unlock();
    awaitRetired();
    SignOnHome::end();
}

} // namespace

void add(ClientPrivate* client)
{
    All& known = all();
    const std::lock_guard<std::mutex> lock(known.mutex);
    known.clients.push_back(client);
    if (!std::exchange(known.endsWithApplication, true))
        qAddPostRoutine(endAll);
    SignOnHome::install();
}

void remove(ClientPrivate* client)
{
    All& known = all();
    const std::lock_guard<std::mutex> lock(known.mutex);
    known.clients.erase(std::remove(known.clients.begin(), known.clients.end(), client),
                        known.clients.end());
}

} // namespace KelAccount::Clients
