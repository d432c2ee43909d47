// SPDX-License-Identifier: LGPL-2.1-or-later
#include "common/wipe.h"

#include <openssl/crypto.h>

#include <algorithm>

namespace KelAccount {

namespace {

/// The value that a variant holds, without a copy of it being made.
template <class T>
T& inside(QVariant& value)
{
    return *const_cast<T*>(static_cast<const T*>(value.constData()));
}

} // namespace

// A text made of a literal is shared for ever, and lies where nothing can be written.
void wipe(QString& text)
{
    if (text.isDetached())
        OPENSSL_cleanse(text.data(), size_t(text.capacity()) * sizeof(QChar));
    text = QString();
}

SecretText& SecretText::operator=(const QString& text)
{
    // A copy, since it may be this one.
    const QString taken = text; // NOLINT(performance-unnecessary-copy-initialization)
    wipe(*this);
    QString::operator=(taken);
    return *this;
}

// NOLINTNEXTLINE(cert-oop54-cpp): the other one sees to that
SecretText& SecretText::operator=(const SecretText& other)
{
    return *this = static_cast<const QString&>(other);
}

void wipe(QByteArray& bytes)
{
    if (bytes.isDetached())
        OPENSSL_cleanse(bytes.data(), size_t(bytes.capacity()));
    bytes = QByteArray();
}

void wipe(QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::QString:
        wipe(inside<QString>(value));
        break;
    case QMetaType::QByteArray:
        wipe(inside<QByteArray>(value));
        break;
    case QMetaType::QVariantMap:
        wipe(inside<QVariantMap>(value));
        break;
    case QMetaType::QVariantList: {
        auto& list = inside<QVariantList>(value);
        if (list.isDetached())
            std::for_each(list.begin(), list.end(), [](QVariant& entry) { wipe(entry); });
        break;
    }
    case QMetaType::QStringList: {
        auto& list = inside<QStringList>(value);
        if (list.isDetached())
            std::for_each(list.begin(), list.end(), [](QString& entry) { wipe(entry); });
        break;
    }
    default:
        break;
    }
    value = QVariant();
}

void wipe(QVariantMap& map)
{
    if (map.isDetached())
        std::for_each(map.begin(), map.end(), [](QVariant& entry) { wipe(entry); });
    map = QVariantMap();
}

void wipe(QMap<QString, QString>& map)
{
    if (map.isDetached())
        std::for_each(map.begin(), map.end(), [](QString& entry) { wipe(entry); });
    map = QMap<QString, QString>();
}

} // namespace KelAccount
