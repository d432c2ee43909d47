// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>

#include <deque>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

namespace KelFuzz {

/// What a service on loopback does with a request.
struct Said
{
    enum class End { KeepOpen, Close, Reset, Hang };

    QByteArray bytes;
    int piece = 0; ///< so many bytes at a time; 0: all at once
    End end = End::Close;
};

/// A service in a thread of this process, which takes any request and says what it was told to, in
/// that order; from then on nothing but that it hangs.
class LoopbackService
{
public:
    LoopbackService();
    ~LoopbackService();
    LoopbackService(const LoopbackService&) = delete;
    LoopbackService& operator=(const LoopbackService&) = delete;

    quint16 port() const { return mPort; }
    QByteArray base() const; ///< "http://127.0.0.1:PORT/rest/1.0/"

    /// Forgets what was ordered before.
    void say(std::deque<Said> answers);
    /// How many requests have come since.
    int requests() const;

private:
    struct Client
    {
        QByteArray received;
        bool isDone = false; ///< nothing more is said to it
    };

    void serve();
    void take(int socket);
    void answer(int socket, Client& client);
    bool nextAnswer(Said& said);

    int mListener = -1;
    int mStop[2] = {-1, -1};
    quint16 mPort = 0;
    std::map<int, Client> mClients; // of the thread
    mutable std::mutex mMutex;
    std::deque<Said> mAnswers;
    int mRequests = 0;
    std::thread mThread;
};

} // namespace KelFuzz
