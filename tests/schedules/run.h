// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "schedules/plan.h"

#include <QString>

namespace Schedules {

class Documented;

/// Before the first schedule of the process; empty when all is well.
QString prepareToRun();

/// Carries a plan out for what it makes that stays, once in a process.
void warmUp(const Plan& plan, const Documented& documented);

/// Carries a plan out, in an application of its own; what was wrong, empty when nothing was.
QString run(const Plan& plan, const Documented& documented);

/// Fewer steps of a plan that goes wrong, with which it still does.
Plan shrunk(const Plan& plan, const Documented& documented);

} // namespace Schedules
