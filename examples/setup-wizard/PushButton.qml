// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15

// A button whose text may take several lines, for keys as for fingers.
Button {
    id: button

    // As wide as its text, and no wider than there is room.
    property real room: parent ? parent.width : implicitWidth

    Layout.maximumWidth: room
    width: Math.min(implicitWidth, room)
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
    contentItem: Label {
        text: button.text
        wrapMode: Text.Wrap
        textFormat: Text.PlainText
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        color: button.highlighted ? button.palette.brightText : button.palette.buttonText
        opacity: button.enabled || !button.highlighted ? 1 : 0.6
    }
}
