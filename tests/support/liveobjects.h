// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QObject>

#include <functional>

/// The objects of the process, on all its threads.
namespace KelTest::LiveObjects {

/// Has Qt tell of every object that is made from now on, and of its end.
void watch();

/// How many have been made since.
quint64 made();

/// With the how manieth of them each is. No object ends meanwhile: whoever wants to waits.
void forEach(const std::function<void(QObject& object, quint64 number)>& look);

} // namespace KelTest::LiveObjects
