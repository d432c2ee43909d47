// SPDX-License-Identifier: LGPL-2.1-or-later
// How the fuzzer changes a document: as what it is. What stands in front of it is two letters, or
// nothing. Of targets that have a document for an input; the program that replays has no use for
// it.
#include "fuzztarget.h"
#include "grammar.h"

#include <algorithm>
#include <cstring>
#include <vector>

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maximum);
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maximum,
                                          unsigned seed);
extern "C" size_t LLVMFuzzerCustomCrossOver(const uint8_t* one, size_t oneSize,
                                            const uint8_t* other, size_t otherSize, uint8_t* out,
                                            size_t maximum, unsigned seed);

namespace {

QByteArray changedByFuzzer(const QByteArray& text)
{
    constexpr int room = 64;
    std::vector<uint8_t> bytes(static_cast<size_t>(text.size()) + room);
    std::copy(text.begin(), text.end(), bytes.begin());
    const size_t size =
        LLVMFuzzerMutate(bytes.data(), static_cast<size_t>(text.size()), bytes.size());
    return bytesOf(bytes.data(), size);
}

size_t written(const QByteArray& bytes, uint8_t* to, size_t maximum)
{
    const size_t size = std::min(maximum, static_cast<size_t>(bytes.size()));
    std::memcpy(to, bytes.constData(), size);
    return size;
}

int documentAt(const QByteArray& input)
{
    return std::max(0, input.indexOf("<?xml"));
}

} // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maximum, unsigned seed)
{
    // Sometimes bytes: a cut document is to be met, too.
    if (seed % 16 == 0)
        return LLVMFuzzerMutate(data, size, maximum);
    KelFuzz::Grammar grammar(seed, changedByFuzzer);
    const QByteArray input = bytesOf(data, size);
    QByteArray head = input.left(documentAt(input));
    if (seed % 16 == 1 && head.size() > 2)
        head[0] = static_cast<char>('A' + seed / 16 % 26);
    if (seed % 16 == 2 && head.size() > 2)
        head[1] = "oren"[seed / 16 % 4];
    return written(head + grammar.changed(input.mid(documentAt(input))), data, maximum);
}

extern "C" size_t LLVMFuzzerCustomCrossOver(const uint8_t* one, size_t oneSize,
                                            const uint8_t* other, size_t otherSize, uint8_t* out,
                                            size_t maximum, unsigned seed)
{
    KelFuzz::Grammar grammar(seed, changedByFuzzer);
    const QByteArray first = bytesOf(one, oneSize);
    const QByteArray second = bytesOf(other, otherSize);
    return written(first.left(documentAt(first)) + grammar.crossed(first.mid(documentAt(first)),
                                                                   second.mid(documentAt(second))),
                   out, maximum);
}
