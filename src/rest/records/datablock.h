// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QDataStream>
#include <QDate>
#include <QIODevice>

namespace KelRestHandler {

/// Reading and writing the parts of serialised records. The bytes to read come from another
/// process, so nothing in them is believed: no length reserves memory before as many bytes are
/// there, and what is out of range becomes a default.

/// Writes a nested block: its length as 32-bit integer, then its bytes without a prefix of their
/// own.
inline void writeBlock(QDataStream& stream, const QByteArray& block)
{
    stream << static_cast<qint32>(block.size());
    stream.writeRawData(block.constData(), block.size());
}

/// Reads a nested block; a length that the stream cannot satisfy marks the stream as cut.
inline QByteArray readBlock(QDataStream& stream)
{
    qint32 length = 0;
    stream >> length;
    if (stream.status() != QDataStream::Ok)
        return {};
    if (length < 0 || length > stream.device()->bytesAvailable()) {
        stream.setStatus(QDataStream::ReadPastEnd);
        return {};
    }
    QByteArray block(length, Qt::Uninitialized);
    stream.readRawData(block.data(), length);
    return block;
}

/// Reads one value into `target`, unless the stream is already cut or becomes so now.
template <class Value>
void readValue(QDataStream& stream, Value& target)
{
    if (stream.status() != QDataStream::Ok)
        return;
    Value value{};
    stream >> value;
    if (stream.status() == QDataStream::Ok)
        target = value;
}

/// Reads an enumeration value that was written as an integer; one beyond `last` leaves `target`.
template <class Integer, class Enumeration>
void readEnumeration(QDataStream& stream, Enumeration& target, Enumeration last)
{
    auto value = static_cast<Integer>(target);
    readValue(stream, value);
    if (value >= 0 && value <= static_cast<Integer>(last))
        target = static_cast<Enumeration>(value);
}

/// Reads a date; a day that no calendar has leaves `target`.
inline void readDate(QDataStream& stream, QDate& target)
{
    QDate date;
    readValue(stream, date);
    if (date.isValid())
        target = date;
}

} // namespace KelRestHandler
