// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

namespace KelRestHandler {

/// Percent-encoding of RFC 3986 section 2.1 as OAuth asks for it (RFC 5849 section 3.6): every byte
/// of the UTF-8 text but letters, digits, "-", ".", "_" and "~" becomes "%" and two upper-case
/// hexadecimal digits. The same as QUrl::toPercentEncoding with empty sets, at a fraction of its
/// cost: encoding is the larger part of signing a request.

/// Appends the encoded text.
void appendPercentEncoded(QString& out, const QString& text);

/// Appends the text encoded twice: the parameters of a signature base string are encoded one by one
/// and then once more as a whole.
void appendDoublyPercentEncoded(QString& out, const QString& text);

} // namespace KelRestHandler
