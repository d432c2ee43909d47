// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

class QGuiApplication;

/// Gives the application the wizard's texts in the user's language, and the direction and size of
/// its script.
void setUpWizard(QGuiApplication& application, double fontScale = 1.0);
