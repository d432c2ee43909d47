// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace KelAccount {

/// How an application has to ask for consent to marketing in the user's country; what
/// KelAccounts::queryMarketingVariant delivers.
///
/// In signals the type is known to Qt as "KelAccount::ConsentQueryVariant", another name of `int`.
enum ConsentQueryVariant : int {
    ConsentVariantUnknown = 0,   ///< The operation failed, or the service named no known variant.
    ConsentVariantImplicit = 1,  ///< Consent is implied by registering; no tick box.
    ConsentVariantPreTicked = 2, ///< A tick box, ticked to begin with.
    ConsentVariantUnTicked = 3,  ///< A tick box, not ticked to begin with.
    ConsentVariantUnTickedWithCopyText = 4, ///< As un-ticked, with an explanation beside it.
};

} // namespace KelAccount
