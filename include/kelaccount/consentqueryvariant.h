// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QMetaType>

namespace KelAccount {

/// How an application has to ask for consent to marketing in the user's country; what
/// KelAccounts::queryMarketingVariant delivers.
///
/// To Qt the type, known as "KelAccount::ConsentQueryVariant" in signals, is another name of `int`,
/// as ErrorStatus is; this header declares it so, and a second Q_DECLARE_METATYPE does not compile.
enum ConsentQueryVariant : int {
    ConsentVariantUnknown = 0,   ///< The operation failed, or the service named no known variant.
    ConsentVariantImplicit = 1,  ///< Consent is implied by registering; no tick box.
    ConsentVariantPreTicked = 2, ///< A tick box, ticked to begin with.
    ConsentVariantUnTicked = 3,  ///< A tick box, not ticked to begin with.
    ConsentVariantUnTickedWithCopyText = 4, ///< As un-ticked, with an explanation beside it.
};

} // namespace KelAccount

template <>
struct QMetaTypeId<KelAccount::ConsentQueryVariant>
{
    enum { Defined = 1 };
    static int qt_metatype_id() { return QMetaType::Int; }
};
