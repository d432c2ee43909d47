// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/wire/replyshaper.h"
#include "emulator/wire/requesthead.h"

#include <array>
#include <httplib.h>
#include <memory>
#include <openssl/ssl.h>
#include <string>

namespace KelEmulator {

/// A TLS connection as the HTTP library reads and writes it. Reads ahead, and gathers a reply so
/// that it leaves in one record and one segment.
class TlsStream : public httplib::Stream
{
public:
    /// The descriptor stays the caller's.
    TlsStream(int descriptor, SSL_CTX* context);
    ~TlsStream() override;

    bool accept();
    /// Waits for the first byte of a request. False when the client is gone.
    bool waitForRequest();
    /// Waits at most so many milliseconds, -1 for ever; earlier when the client goes.
    void waitWhileConnected(int milliseconds) const;

    /// Begins the next request and its reply.
    void begin(std::string date);
    const RequestHead& head() const { return mHead; }
    ReplyShaper& shaper() { return mShaper; }
    /// Sends what is gathered. False when the connection has to be closed.
    bool flush();

    bool is_readable() const override { return true; }
    bool is_writable() const override { return !mBroken; }
    ssize_t read(char* bytes, size_t size) override;
    ssize_t write(const char* bytes, size_t size) override;
    void get_remote_ip_and_port(std::string& ip, int& port) const override;
    void get_local_ip_and_port(std::string& ip, int& port) const override;
    socket_t socket() const override { return mDescriptor; }

private:
    struct SslDeleter
    {
        void operator()(SSL* ssl) const { SSL_free(ssl); }
    };
    bool fill();
    bool send();

    const int mDescriptor;
    std::unique_ptr<SSL, SslDeleter> mSsl;
    RequestHead mHead;
    ReplyShaper mShaper;
    std::array<char, 16384> mInput;
    size_t mInputAt = 0;
    size_t mInputEnd = 0;
    std::string mOutput;
    bool mBroken = false;
    bool mCut = false; ///< an ordered fault has ended the connection
    bool mAccepted = false;
};

} // namespace KelEmulator
