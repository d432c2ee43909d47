// SPDX-License-Identifier: LGPL-2.1-or-later
// In every module: of which version it is. The loader reads it before it calls anything.
#include <qglobal.h>

extern "C" {
Q_DECL_EXPORT extern const char kelaccountModuleVersion[];
const char kelaccountModuleVersion[] = KELACCOUNT_VERSION;
}
