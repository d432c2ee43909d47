// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQuick 2.15
import QtQuick.Controls 2.15

// What went wrong: in colour, with a sign for who does not see colours, and told to screen readers.
Words {
    id: failure

    property string message

    visible: failure.message !== ""
    text: "\u26a0 " + failure.message
    color: "#b00020"
    Accessible.role: Accessible.AlertMessage
    Accessible.name: failure.message
}
