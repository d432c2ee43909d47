// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/operation.h"
#include "emulator/service/replies.h"

namespace KelEmulator {

namespace {

struct CountryRow
{
    const char* mcc;
    const char* variant;
};

/// How consent to marketing is asked for, by the home network's country. The law differs; these
/// rows are there so that each variant occurs.
constexpr CountryRow countries[] = {
    {"310", "implicit"},   {"311", "implicit"},
    {"312", "implicit"},   {"313", "implicit"},
    {"314", "implicit"},   {"315", "implicit"},
    {"316", "implicit"},   {"234", "pre-ticked"},
    {"235", "pre-ticked"}, {"262", "un-tickedWithCopyText"},
};

} // namespace

Reply consentVariant(const Call& call)
{
    const char* variant = "un-ticked";
    for (const CountryRow& row : countries) {
        if (call.document.textOf("mcc") == row.mcc)
            variant = row.variant;
    }
    return success("consentQueryVariantResponse", xmlElement("consentQueryVariant", variant));
}

} // namespace KelEmulator
