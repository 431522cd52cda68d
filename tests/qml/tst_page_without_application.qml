// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtTest 1.12
import VantorTest 1.0
import "qrc:/Vantor/Components" as VantorComponents

Item {
    id: scene

    width: 400
    height: 300

    Component {
        id: pageComponent

        VantorComponents.Page {}
    }

    TestCase {
        name: "PageWithoutApplication"
        when: windowShown

        function expectMissing(name) {
            Expect.error("The application offers no context object \"" + name + "\"");
        }

        function test_everyMissingObjectIsNamedOnce() {
            expectMissing("titleBar");
            const page = createTemporaryObject(pageComponent, scene);
            compare(page.actions.length, 0);

            expectMissing("stackView");
            page.back();
            page.backWithoutTransition();

            expectMissing("notificationArea");
            page.lockPage();
            verify(page.isLocked);
            page.unlockPage();
            page.lockPage();
        }

        function test_aLockedPageGoesQuietly() {
            expectMissing("titleBar");
            expectMissing("notificationArea");
            const page = pageComponent.createObject(scene);
            page.lockPage();

            page.destroy();
            wait(50);
        }
    }
}
