// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import "../style"

// Text as it stands: what people have typed is never taken for markup.
Text {
    textFormat: Text.PlainText
    color: TesterStyle.text
    font.pixelSize: TesterStyle.textSize
    elide: Text.ElideRight
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
