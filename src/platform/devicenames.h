// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

namespace QtMobility {

/// Who made the device and what it is called, as the kernel knows it.
struct DeviceNames
{
    QString manufacturer;
    QString model;
};

/// From the device tree ("/proc/device-tree", boards and handsets) or, without one, from DMI
/// ("/sys/class/dmi/id", PCs and virtual machines); fields that neither knows are empty. A device
/// tree's model usually starts with its maker, which is then not repeated in `model`.
/// Files are looked for below platformRoot().
DeviceNames deviceNames();

/// The operating system image's version from "etc/os-release", else "usr/lib/os-release": the first
/// of IMAGE_VERSION, BUILD_ID and VERSION_ID that is there; empty when none is.
QString firmwareVersion();

} // namespace QtMobility
