// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/common/descriptor.h"
#include "emulator/wire/network.h"
#include "emulator/wire/openconnections.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace httplib {
class ThreadPool;
}

namespace KelEmulator {

/// A CONNECT proxy on loopback that leads every host and port to one server in this process.
///
/// There is no second connection behind a tunnel: once the client has its "200", the same socket is
/// handed to the server. So the proxy costs nothing on the way, in either direction; unless there
/// is a network with conditions, which a `Line` is then.
class Proxy
{
public:
    /// What is served once it stands. All of it stays the proxy's.
    struct Tunnel
    {
        int descriptor;
        OpenConnections::Entry& entry;
        std::function<void()> answers; ///< told before an answer is written
    };
    /// Serves a tunnel until it is to be closed. Runs on a thread of the proxy's.
    using Serve = std::function<void(const Tunnel& tunnel)>;

    explicit Proxy(Serve serve);
    ~Proxy();

    /// `port` 0 takes any free one. False, and why in `problem`.
    bool start(int port, std::string& problem);
    void stop();
    int port() const { return mPort; }

    /// Connections are refused as if nobody listened, open ones end. The port stays ours.
    bool refuse();
    bool accept();

    OpenConnections& connections() { return mConnections; }
    /// Its conditions are those of connections from then on.
    Network& network() { return mNetwork; }

private:
    struct Client;
    void acceptLoop();
    bool acceptOne(int listener);
    void handle(Client& client);
    void wake();

    Serve mServe;
    OpenConnections mConnections;
    Network mNetwork;
    std::unique_ptr<httplib::ThreadPool> mPool;
    std::thread mAcceptor;
    int mPort = 0;

    std::mutex mMutex; ///< of the members below
    Descriptor mSocket;
    Descriptor mWake;
    bool mListening = false;
    bool mStopping = false;
    int mGeneration = 0; ///< raised with every change, for whoever waits for the loop to see it
    int mSeen = 0;
    std::condition_variable mSeenChanged;
};

} // namespace KelEmulator
