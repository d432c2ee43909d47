// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15

// A tick box whose text may take several lines.
CheckBox {
    id: choice

    Layout.fillWidth: true
    contentItem: Words {
        leftPadding: choice.mirrored ? 0 : choice.indicator.width + choice.spacing
        rightPadding: choice.mirrored ? choice.indicator.width + choice.spacing : 0
        text: choice.text
        verticalAlignment: Text.AlignVCenter
    }
}
