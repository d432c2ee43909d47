// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <kelaccount/consentqueryvariant.h>
#include <kelaccount/preaccountinfo.h>

namespace KelRestHandler {

// Records that applications see, by the names that signals of the REST layer carry them with.
using KelAccount::ConsentQueryVariant;
using KelAccount::PreAccountInfo;

} // namespace KelRestHandler
