// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

/// What is logged while schedules run.
namespace Schedules::Messages {

/// From now on all is read and nothing written.
void take();
/// But from now on it is.
void write();

/// The first message since the last call that ought not to be: a warning of Qt's, or one with a
/// secret.
QString problem();

} // namespace Schedules::Messages
