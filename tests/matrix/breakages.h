// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "matrix/breakage.h"

#include <QByteArray>
#include <QString>

#include <functional>

/// The kinds of what breaks, each with null for a name that is another's.
namespace Matrix {

// Long enough to be noticed, and shorter than any guard.
constexpr int stillMs = 1000;

std::unique_ptr<Breakage> brokenProcess(const std::string& name);
std::unique_ptr<Breakage> brokenDatabase(const std::string& name);
std::unique_ptr<Breakage> brokenService(const std::string& name);
std::unique_ptr<Breakage> otherApplication(const std::string& name);

/// A file that is away, or has something else in it: nothing when that is null. The counter says
/// how often it was touched.
std::unique_ptr<Breakage> replacedFile(const QString& file, const QByteArray& contents,
                                       const std::function<int()>& counter);

/// What the application has said to the daemon so far.
int talks();

} // namespace Matrix
