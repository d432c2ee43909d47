// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/wire/tlsstream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <openssl/err.h>
#include <poll.h>

namespace KelEmulator {

namespace {

constexpr size_t outputLimit = 64 * 1024;

void waitFor(int descriptor, short events, int milliseconds)
{
    pollfd entry{descriptor, events, 0};
    while (poll(&entry, 1, milliseconds) < 0 && errno == EINTR) {
    }
}

} // namespace

TlsStream::TlsStream(int descriptor, SSL_CTX* context)
    : mDescriptor(descriptor), mSsl(SSL_new(context))
{
}

TlsStream::~TlsStream()
{
    // One-sided: says goodbye, does not wait for the client's.
    if (mSsl && mAccepted && !mBroken)
        SSL_shutdown(mSsl.get());
    ERR_clear_error();
}

bool TlsStream::accept()
{
    ERR_clear_error();
    mAccepted = mSsl && SSL_set_fd(mSsl.get(), mDescriptor) == 1 && SSL_accept(mSsl.get()) == 1;
    mBroken = !mAccepted;
    return mAccepted;
}

void TlsStream::begin(std::string date)
{
    mHead.begin();
    mShaper.begin(std::move(date));
}

bool TlsStream::waitForRequest()
{
    if (mBroken)
        return false;
    if (mInputAt < mInputEnd || SSL_pending(mSsl.get()) > 0)
        return true;
    waitFor(mDescriptor, POLLIN, -1);
    return fill();
}

void TlsStream::waitWhileConnected(int milliseconds) const
{
    waitFor(mDescriptor, POLLRDHUP, milliseconds);
}

bool TlsStream::fill()
{
    ERR_clear_error();
    const int got = SSL_read(mSsl.get(), mInput.data(), static_cast<int>(mInput.size()));
    if (got <= 0) {
        // The client's end of the stream is no reason not to say goodbye; anything else is.
        mBroken = SSL_get_error(mSsl.get(), got) != SSL_ERROR_ZERO_RETURN;
        return false;
    }
    mInputAt = 0;
    mInputEnd = static_cast<size_t>(got);
    return true;
}

ssize_t TlsStream::read(char* bytes, size_t size)
{
    // "100 Continue" must reach the client before its body can come.
    if (!mOutput.empty() && !send())
        return -1;
    if (mInputAt == mInputEnd && (mBroken || !fill()))
        return mBroken ? -1 : 0;
    const size_t count = std::min(size, mInputEnd - mInputAt);
    std::memcpy(bytes, mInput.data() + mInputAt, count);
    mInputAt += count;
    // The library reads byte by byte up to the end of the headers, so nothing of the body comes
    // along.
    mHead.append(std::string_view(bytes, count));
    return static_cast<ssize_t>(count);
}

ssize_t TlsStream::write(const char* bytes, size_t size)
{
    if (mBroken)
        return -1;
    // The library does not look at every result, so that a cut is remembered.
    mCut = !mShaper.feed(std::string_view(bytes, size), mOutput) || mCut;
    if ((mOutput.size() > outputLimit || mCut) && !send())
        return -1;
    return mCut ? -1 : static_cast<ssize_t>(size);
}

bool TlsStream::send()
{
    ERR_clear_error();
    size_t at = 0;
    while (at < mOutput.size()) {
        const int sent =
            SSL_write(mSsl.get(), mOutput.data() + at,
                      static_cast<int>(std::min<size_t>(mOutput.size() - at, 1 << 20)));
        if (sent <= 0) {
            mBroken = true;
            return false;
        }
        at += static_cast<size_t>(sent);
    }
    mOutput.clear();
    return true;
}

bool TlsStream::flush()
{
    return !mBroken && send() && !mCut && !mShaper.closesAfterReply();
}

void TlsStream::get_remote_ip_and_port(std::string& ip, int& port) const
{
    // Everybody comes from here; asking the kernel for each request would cost more than it tells.
    ip = "127.0.0.1";
    port = 0;
}

void TlsStream::get_local_ip_and_port(std::string& ip, int& port) const
{
    get_remote_ip_and_port(ip, port);
}

} // namespace KelEmulator
