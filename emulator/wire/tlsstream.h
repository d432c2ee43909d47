// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <openssl/ssl.h>
#include <string>
#include <string_view>

namespace KelEmulator {

/// A TLS connection. Reads ahead, and gathers a reply so that it leaves in one record and one
/// segment.
class TlsStream
{
public:
    /// The descriptor stays the caller's. `answers` is called before something is sent for which
    /// the client waits.
    TlsStream(int descriptor, SSL_CTX* context, std::function<void()> answers);
    ~TlsStream();
    TlsStream(const TlsStream&) = delete;
    TlsStream& operator=(const TlsStream&) = delete;

    bool accept();
    /// Whether the handshake has resumed an earlier session.
    bool isResumed() const { return SSL_session_reused(mSsl.get()) == 1; }
    /// Waits for the first byte of a request. False when the client is gone.
    bool waitForRequest();
    /// Waits at most so many milliseconds, -1 for ever; earlier when the client goes.
    void waitWhileConnected(int milliseconds) const;

    /// Reads until `text` ends with `end` or has more than `longest` bytes. False when the client
    /// is gone before that.
    bool readThrough(std::string_view end, size_t longest, std::string& text);
    /// Appends so many bytes. False when the client is gone before they are there.
    bool read(size_t size, std::string& bytes);

    bool write(std::string_view bytes);
    /// Sends what is gathered. False when the connection is broken.
    bool flush();

private:
    struct SslDeleter
    {
        void operator()(SSL* ssl) const { SSL_free(ssl); }
    };
    bool fill();
    /// What is there already, after waiting for something; empty when the client is gone.
    std::string_view available();

    const int mDescriptor;
    const std::function<void()> mAnswers;
    std::unique_ptr<SSL, SslDeleter> mSsl;
    std::array<char, 16384> mInput;
    size_t mInputAt = 0;
    size_t mInputEnd = 0;
    std::string mOutput;
    bool mBroken = false;
    bool mAccepted = false;
};

} // namespace KelEmulator
