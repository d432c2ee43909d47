// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15

// A plain text of any length: what the service sends is not read as a page with pictures from elsewhere.
// Aligned by the layout, not by its own script: said so, it is mirrored.
Label {
    Layout.fillWidth: true
    horizontalAlignment: Text.AlignLeft
    wrapMode: Text.Wrap
    textFormat: Text.PlainText
}
