// SPDX-License-Identifier: LGPL-2.1-or-later
// The file that KELACCOUNT_TRACE names. A program that runs with more rights than whoever started
// it does not look at the variable.
#pragma once

namespace KelAccount::TraceFile {

/// Makes the file, when it is the first to be called and there is one to make. What is in the way
/// of it is said in the log.
void open();

/// Has all that is recorded in the file. When it is being written already, on another thread, that
/// one writes once more.
void write();

/// The same, unless that was done a moment ago: many calls may fail one after the other.
void writeAfterFailure();

} // namespace KelAccount::TraceFile
