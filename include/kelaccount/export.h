// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QtGlobal>

/// Marks what the shared library exports; everything else is hidden.
#if defined(KELACCOUNT_BUILDING)
#define KELACCOUNT_EXPORT Q_DECL_EXPORT
#else
#define KELACCOUNT_EXPORT Q_DECL_IMPORT
#endif
