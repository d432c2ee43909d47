// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace KelEmulator {

// For the child's side of a fork: neither allocates nor locks.

/// Closes every descriptor from this number on: what a library left open to be inherited, a
/// connection in which its peer then waits for the end.
void closeDescriptorsFrom(unsigned first);

/// The same by the kernel's list of them, for kernels that do not know close_range(2). A limit of
/// descriptors can be a thousand million, which nobody has tried one after the other.
void closeListedDescriptorsFrom(unsigned first);

} // namespace KelEmulator
