// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQuick 2.15
import QtQuick.Window 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15

// A heading, what the page is about, which scrolls when it has to, and its buttons below.
Page {
    id: page

    property var wizard: null
    property string explanation
    property bool busy: false
    // What went wrong, where it is no field's.
    property string complaint
    property bool canGoBack: page.wizard ? page.wizard.depth > 1 : false
    property Item firstField: null
    readonly property Item focused: Window.activeFocusItem
    default property alias content: fields.data
    property alias buttons: footerRow.data

    function begin() {
        const first = page.firstField || page.nextItemInFocusChain()
        if (!first)
            return
        // Away and back, so that who has the keys shows it.
        first.focus = false
        first.forceActiveFocus(Qt.TabFocusReason)
    }

    // What has the keys is in sight.
    function reveal(item) {
        if (!item)
            return
        for (let inside = item; inside !== fields; inside = inside.parent)
            if (!inside)
                return
        // With its name and with what is wrong with it.
        while (item.parent !== fields && item.parent.height < scroller.height)
            item = item.parent
        const top = item.mapToItem(fields, 0, 0).y
        const view = scroller
        if (top < view.contentY)
            view.contentY = Math.max(0, top - fields.spacing)
        else if (top + item.height > view.contentY + view.height)
            view.contentY = top + item.height - view.height + fields.spacing
    }

    onFocusedChanged: reveal(focused)
    padding: 16
    header: Words {
        padding: 16
        bottomPadding: 0
        text: page.title
        font.pointSize: Qt.application.font.pointSize * 1.5
        font.bold: true
        Accessible.role: Accessible.Heading
    }

    Flickable {
        id: scroller

        anchors.fill: parent
        contentHeight: fields.height
        clip: contentHeight > height
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar {}

        ColumnLayout {
            id: fields

            width: scroller.width
            spacing: 12
            onHeightChanged: Qt.callLater(() => page.reveal(page.focused))

            Words {
                visible: text
                text: page.explanation
            }
        }
    }

    footer: ColumnLayout {
        spacing: 0

        FailureText {
            Layout.fillWidth: true
            Layout.leftMargin: 16
            Layout.rightMargin: 16
            message: page.complaint
        }

        Flow {
            id: footerRow

            Layout.fillWidth: true
            Layout.margins: 16
            spacing: 8

            PushButton {
                text: qsTr("Back")
                visible: page.canGoBack
                enabled: !page.busy
                onClicked: page.wizard.back()
            }
        }
    }
}
