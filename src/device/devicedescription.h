// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/request/clientidentification.h"

namespace KelRestHandler {

/// Maker, model and firmware version of this device, ready for ClientIdentification. The texts come
/// from outside and go into a header, so each is made headerText().
DeviceDescription readDeviceDescription();

/// The text with everything removed that is not printable Latin-1, white space collapsed, and cut
/// to 64 characters.
QString headerText(const QString& text);

} // namespace KelRestHandler
