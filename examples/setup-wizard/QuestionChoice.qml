// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15

// The security questions of the service to choose from.
ColumnLayout {
    id: choice

    property var questions: []
    readonly property alias box: box
    readonly property alias currentIndex: box.currentIndex
    readonly property string currentId: box.currentIndex >= 0 ? questions[box.currentIndex].id : ""

    Layout.fillWidth: true
    spacing: 4

    Words {
        text: qsTr("Security question")
    }

    ComboBox {
        id: box

        Layout.fillWidth: true
        contentItem: Words {
            leftPadding: 8
            rightPadding: 8
            text: box.displayText
            verticalAlignment: Text.AlignVCenter
        }
        delegate: ItemDelegate {
            id: row

            required property int index
            required property string modelData

            width: box.width
            highlighted: box.highlightedIndex === row.index
            contentItem: Words {
                text: row.modelData
            }
        }
        model: choice.questions.map(question => question.text)
        Accessible.name: qsTr("Security question")
    }
}
