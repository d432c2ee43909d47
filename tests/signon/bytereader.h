// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QDate>
#include <QString>
#include <QtEndian>

/// Reads a serialised record the way another program would: byte by byte, big-endian, without Qt's
/// stream. A text is its length in bytes and UTF-16, a date its Julian day, a null is all ones.
class ByteReader
{
public:
    explicit ByteReader(const QByteArray& bytes) : mBytes(bytes) {}

    quint8 byte() { return number<quint8>(); }
    qint32 integer() { return number<qint32>(); }
    bool flag() { return byte() == 1; }

    QString text()
    {
        const QByteArray bytes = block();
        QString result;
        for (int i = 0; i + 1 < bytes.size(); i += 2)
            result.append(QChar(qFromBigEndian<quint16>(bytes.constData() + i)));
        return result;
    }

    QByteArray block()
    {
        const auto length = number<quint32>();
        mNull = length == 0xffffffffU;
        return mNull ? QByteArray() : take(length);
    }

    QDate date() { return QDate::fromJulianDay(number<qint64>()); }

    bool wasNull() const { return mNull; } ///< the last text or block
    bool atEnd() const { return mPosition == mBytes.size() && !mFailed; }

private:
    QByteArray take(qint64 length)
    {
        mFailed = mFailed || length > mBytes.size() - mPosition;
        if (mFailed)
            return QByteArray();
        const QByteArray part = mBytes.mid(mPosition, static_cast<int>(length));
        mPosition += part.size();
        return part;
    }

    template <class Number>
    Number number()
    {
        const QByteArray bytes = take(sizeof(Number));
        return bytes.size() == sizeof(Number) ? qFromBigEndian<Number>(bytes.constData())
                                              : Number();
    }

    QByteArray mBytes;
    int mPosition = 0;
    bool mNull = false;
    bool mFailed = false;
};
