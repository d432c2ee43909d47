// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15

// A text to fill in, its name above and what is wrong with it below.
ColumnLayout {
    id: field

    property string label
    property string hint
    property string complaint
    property alias text: input.text
    property alias secret: input.isSecret
    property alias inputMethodHints: input.inputMethodHints
    readonly property alias input: input

    signal accepted()

    function enter() {
        input.forceActiveFocus()
    }

    Layout.fillWidth: true
    spacing: 4

    Words {
        text: field.label
    }

    TextField {
        id: input

        property bool isSecret: false

        Layout.fillWidth: true
        echoMode: isSecret ? TextInput.Password : TextInput.Normal
        selectByMouse: true
        horizontalAlignment: TextInput.AlignLeft
        Accessible.name: field.label
        Accessible.description: field.complaint || field.hint
        onAccepted: field.accepted()
    }

    Words {
        visible: field.hint !== "" && !field.complaint
        text: field.hint
    }

    FailureText {
        Layout.fillWidth: true
        message: field.complaint
    }
}
