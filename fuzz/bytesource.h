// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "fuzztarget.h"

#include <algorithm>

namespace KelFuzz {

/// Takes decisions and texts off the front of an input. What is not there any more reads as zeros
/// and as empty, so that every input means something.
class ByteSource
{
public:
    ByteSource(const uint8_t* data, size_t size) : mNext(data), mEnd(data + size) {}

    bool isEmpty() const { return mNext == mEnd; }
    uint8_t byte() { return isEmpty() ? uint8_t{0} : *mNext++; }
    /// Below `limit`, which is at least 1.
    int below(int limit) { return byte() % limit; }
    qint64 number()
    {
        qint64 value = 0;
        for (int i = 0; i < 8; ++i)
            value = qint64((quint64(value) << 8) | byte());
        return value;
    }

    /// What stands before the next line feed, which is taken, too.
    QByteArray line()
    {
        const uint8_t* const end = std::find(mNext, mEnd, uint8_t{'\n'});
        const QByteArray text = bytesOf(mNext, static_cast<size_t>(end - mNext));
        mNext = end == mEnd ? end : end + 1;
        return text;
    }
    /// As many bytes as the first one says.
    QByteArray block()
    {
        const size_t wanted = byte(); // before what is left is looked at
        const auto size = std::min(wanted, static_cast<size_t>(mEnd - mNext));
        const QByteArray text = bytesOf(mNext, size);
        mNext += size;
        return text;
    }
    QByteArray rest()
    {
        const QByteArray text = bytesOf(mNext, static_cast<size_t>(mEnd - mNext));
        mNext = mEnd;
        return text;
    }

private:
    const uint8_t* mNext;
    const uint8_t* mEnd;
};

} // namespace KelFuzz
