// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15

// A text of any length. Aligned by the layout, not by its own script: said so, it is mirrored.
Label {
    Layout.fillWidth: true
    horizontalAlignment: Text.AlignLeft
    wrapMode: Text.Wrap
}
