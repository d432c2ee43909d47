// SPDX-License-Identifier: LGPL-2.1-or-later
// A text that a user typed where an e-mail address or a user name is asked for.
#include "fuzztarget.h"

#include "rest/request/addressvalue.h"
#include "rest/request/msgcreator.h"

#include <QUrl>
#include <QUrlQuery>

namespace KelFuzz::Address {

namespace {

using namespace KelRestHandler;

// A value that counts as whole is one segment of its address, wherever it comes from.
void standsAlone(const QString& value)
{
    if (!isWholeInPath(value))
        return;
    const QUrl address(QStringLiteral("https://account.example/rest/1.0/folder/") + value +
                       QStringLiteral("/end"));
    if (address.adjusted(QUrl::NormalizePathSegments) != address) // no request is sent there
        return;
    require(address.isValid() && !address.hasQuery() && !address.hasFragment());
    require(address.host() == QLatin1String("account.example"));
    const QString path = address.path(QUrl::FullyEncoded);
    require(path.startsWith(QLatin1String("/rest/1.0/folder/")));
    require(path.endsWith(QLatin1String("/end")));
    require(path.count(QLatin1Char('/')) == 5);
}

// And one that counts as whole in a query is one value of it.
void staysOneItem(const QString& value)
{
    require(isGivenInPath(value) == (!value.isEmpty() && isWholeInPath(value)));
    require(isGivenInQuery(value) == (!value.isEmpty() && isWholeInQuery(value)));
    if (!isWholeInQuery(value))
        return;
    const QUrl address(QStringLiteral("https://account.example/rest/1.0/folder?one=") + value +
                       QStringLiteral("&other=end"));
    require(address.isValid() && !address.hasFragment());
    const auto items = QUrlQuery(address).queryItems();
    require(items.size() == 2 && items.last().second == QLatin1String("end"));
}

void run(const uint8_t* data, size_t size)
{
    const QString address = QString::fromUtf8(bytesOf(data, size));
    const QString converted = MsgCreator::getAsPunycode(address);
    standsAlone(address);
    staysOneItem(address);
    standsAlone(converted);
    const int atSign = address.lastIndexOf(QLatin1Char('@'));
    require(converted.startsWith(address.left(atSign + 1)));
    if (converted != address) {
        require(atSign > 0);
        for (const QChar character : converted.mid(atSign + 1))
            require(character.unicode() < 0x80);
    }
}

} // namespace

} // namespace KelFuzz::Address

KEL_FUZZ_TARGET(address, KelFuzz::Address::run)
