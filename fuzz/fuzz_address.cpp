// SPDX-License-Identifier: LGPL-2.1-or-later
// A text that a user typed where an e-mail address or a user name is asked for.
#include "require.h"

#include "rest/msgcreator.h"

using namespace KelRestHandler;

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString address = QString::fromUtf8(bytesOf(data, size));
    const QString converted = MsgCreator::getAsPunycode(address);
    const int atSign = address.lastIndexOf(QLatin1Char('@'));
    require(converted.startsWith(address.left(atSign + 1)));
    if (converted != address) {
        require(atSign > 0);
        for (const QChar character : converted.mid(atSign + 1))
            require(character.unicode() < 0x80);
    }
    return 0;
}
