// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQuick 2.15
import QtQuick.Controls 2.15

// For what the service was asked for and did not give. It goes when that comes, so who uses it gives the keys away.
PushButton {
    objectName: "again"
    text: qsTr("Try again")
}
