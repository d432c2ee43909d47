// SPDX-License-Identifier: LGPL-2.1-or-later
// A serialised registration, as another process may hand it over, and the body made of it.
#include "fuzztarget.h"

#include "rest/request/msgcreator.h"

#include <QXmlStreamReader>

namespace KelFuzz::Registration {

namespace {

using namespace KelRestHandler;

void run(const uint8_t* data, size_t size)
{
    const RegistrationInfoData registration = readRegistration(bytesOf(data, size));
    const QByteArray written = serializeRegistration(registration);
    require(serializeRegistration(readRegistration(written)) == written);

    // Without one of the two a line is logged for every input.
    const QByteArray tag =
        registration.serviceTag.isEmpty() ? QByteArrayLiteral("tag") : registration.serviceTag;
    QXmlStreamReader reader(MsgCreator::xmlRegistration(registration, registration.captchaId, tag));
    while (!reader.atEnd())
        reader.readNext();
    require(!reader.hasError());
}

} // namespace

} // namespace KelFuzz::Registration

KEL_FUZZ_TARGET(registration, KelFuzz::Registration::run)
