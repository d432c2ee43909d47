// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/humanproof.h"

#include "emulator/service/store.h"
#include "emulator/service/values.h"

namespace KelEmulator {

HumanProof humanProof(const Call& call)
{
    const XmlElement& document = call.document;
    if (document.child("imageText")) {
        return call.tables.captchas.solve(document.textOf("captchaId"),
                                          document.textOf("imageText"), call.now)
                   ? HumanProof::Good
                   : HumanProof::WrongCaptcha;
    }
    if (!document.child("serviceTag"))
        return HumanProof::None;
    return isServiceTag(document.textOf("serviceTag")) ? HumanProof::Good
                                                       : HumanProof::WrongServiceTag;
}

bool isServiceTag(const std::string& text)
{
    const std::optional<std::string> bytes = base64Decoded(text);
    return bytes && !bytes->empty() && bytes->rfind("revoked", 0) != 0;
}

} // namespace KelEmulator
