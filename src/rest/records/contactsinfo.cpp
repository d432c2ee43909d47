// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/records/contactsinfo.h"

#include "rest/records/datablock.h"

namespace KelRestHandler {

namespace {

void writeContacts(QDataStream& stream, const QList<Contact>& contacts)
{
    stream << static_cast<qint32>(contacts.size());
    for (const Contact& contact : contacts) {
        QByteArray block;
        QDataStream blockStream(&block, QIODevice::WriteOnly);
        blockStream << contact.value << contact.preferred << contact.verified;
        writeBlock(stream, block);
    }
}

void readContacts(QDataStream& stream, QList<Contact>& contacts)
{
    qint32 count = 0;
    readValue(stream, count);
    // Every contact takes bytes of the stream, so these bound the loop whatever the count says.
    for (qint32 i = 0; i < count; ++i) {
        const QByteArray block = readBlock(stream);
        QDataStream blockStream(block);
        Contact contact;
        readValue(blockStream, contact.value);
        readValue(blockStream, contact.preferred);
        readValue(blockStream, contact.verified);
        if (blockStream.status() != QDataStream::Ok) {
            stream.setStatus(QDataStream::ReadCorruptData);
            return;
        }
        contacts.append(contact);
    }
}

} // namespace

ContactsInfo::ContactsInfo(const QByteArray& bytes)
{
    QDataStream stream(bytes);
    readContacts(stream, mobileContacts);
    readContacts(stream, emailContacts);
}

QByteArray ContactsInfo::serialize() const
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    writeContacts(stream, mobileContacts);
    writeContacts(stream, emailContacts);
    return bytes;
}

} // namespace KelRestHandler
