// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// Starts the tag server and gives it half a second to listen. Returns its process id, which the
/// caller hands to endTagServer(), or -1 when no process could be made. A server that cannot be
/// executed ends at once with status 0.
///
/// The server inherits the environment, but no descriptor (its standard streams are /dev/null), no
/// blocked signal and no signal disposition of the application.
extern "C" int launch_server();
