// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/wire/tlsstream.h"

#include <algorithm>
#include <cerrno>
#include <openssl/err.h>
#include <poll.h>

namespace KelEmulator {

namespace {

constexpr size_t outputLimit = size_t{64} * 1024;
constexpr int stalledAfterMilliseconds = 30000;

void waitFor(int descriptor, short events, int milliseconds)
{
    pollfd entry{descriptor, events, 0};
    while (poll(&entry, 1, milliseconds) < 0 && errno == EINTR) {
    }
}

} // namespace

TlsStream::TlsStream(int descriptor, SSL_CTX* context, std::function<void()> answers)
    : mDescriptor(descriptor), mAnswers(std::move(answers)), mSsl(SSL_new(context))
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
    // What is said after the client's part of the handshake are tickets, which answer nothing.
    waitFor(mDescriptor, POLLIN, stalledAfterMilliseconds);
    mAnswers();
    ERR_clear_error();
    mAccepted = mSsl && SSL_set_fd(mSsl.get(), mDescriptor) == 1 && SSL_accept(mSsl.get()) == 1;
    mBroken = !mAccepted;
    return mAccepted;
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

std::string_view TlsStream::available()
{
    if (mInputAt == mInputEnd && (mBroken || !fill()))
        return {};
    return {mInput.data() + mInputAt, mInputEnd - mInputAt};
}

bool TlsStream::readThrough(std::string_view end, size_t longest, std::string& text)
{
    while (text.size() <= longest) {
        const std::string_view bytes = available();
        if (bytes.empty())
            return false;
        // The end may have begun in what came before.
        const size_t before = text.size();
        const size_t from = before < end.size() ? 0 : before - end.size() + 1;
        text.append(bytes);
        const size_t at = text.find(end, from);
        if (at != std::string::npos)
            text.resize(at + end.size());
        mInputAt += text.size() - before;
        if (at != std::string::npos)
            return true;
    }
    return true;
}

bool TlsStream::read(size_t size, std::string& bytes)
{
    while (size > 0) {
        const std::string_view some = available().substr(0, size);
        if (some.empty())
            return false;
        bytes.append(some);
        mInputAt += some.size();
        size -= some.size();
    }
    return true;
}

bool TlsStream::write(std::string_view bytes)
{
    if (mBroken)
        return false;
    mOutput.append(bytes);
    return mOutput.size() <= outputLimit || flush();
}

bool TlsStream::flush()
{
    ERR_clear_error();
    mAnswers();
    size_t at = 0;
    while (!mBroken && at < mOutput.size()) {
        const int sent =
            SSL_write(mSsl.get(), mOutput.data() + at,
                      static_cast<int>(std::min<size_t>(mOutput.size() - at, 1 << 20)));
        mBroken = sent <= 0;
        at += mBroken ? 0 : static_cast<size_t>(sent);
    }
    mOutput.clear();
    return !mBroken;
}

} // namespace KelEmulator
