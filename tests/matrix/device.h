// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// The device that the operations share: accounts database and stored credentials.
namespace Matrix::Device {

/// Takes account and credentials off it.
bool clean();

} // namespace Matrix::Device
