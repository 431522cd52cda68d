// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtTest 1.12
import VantorTest 1.0
import "qrc:/Vantor/Utils/QmlModelUtils.js" as ModelUtils

Item {
    width: 10
    height: 10

    ListModel {
        id: listModel

        ListElement { number: 0; name: "zero" }
        ListElement { number: 7; name: "seven" }
        ListElement { number: 3; name: "three" }
    }
    ListModel {
        id: valueModel

        ListElement { name: "b"; value: "a" }
        ListElement { name: "a"; value: "b" }
    }
    ListModel {
        id: emptyListModel
    }
    NativeModel {
        id: nativeModel
    }
    NativeModel {
        id: emptyNativeModel

        Component.onCompleted: clear()
    }

    TestCase {
        name: "QmlModelUtils"
        when: windowShown

        readonly property var array: ["x", "y", 0]

        function test_hasRole_data() {
            return [
                { tag: "list model, a role", model: listModel, role: "name", has: true },
                { tag: "list model, a role whose value is 0", model: listModel, role: "number", has: true },
                { tag: "list model, no role", model: listModel, role: "colour", has: false },
                { tag: "native model, a role", model: nativeModel, role: "id", has: true },
                { tag: "native model, a role whose value is empty", model: nativeModel, role: "note", has: true },
                { tag: "native model, no role", model: nativeModel, role: "colour", has: false },
            ];
        }
        function test_hasRole(row) {
            compare(ModelUtils.hasRole(row.model, row.role), row.has);
        }

        function test_emptyModelsAndArraysHaveNoRoles_data() {
            return [
                { tag: "list model", model: emptyListModel, log: "Model has no roles. Count: 0, array: false" },
                { tag: "native model", model: emptyNativeModel, log: "Model has no roles. Count: 0, array: false" },
                { tag: "array", model: array, log: "Model has no roles. Count: undefined, array: true" },
                { tag: "empty array", model: [], log: "Model has no roles. Count: undefined, array: true" },
                { tag: "string list of C++", model: nativeModel.roles(),
                  log: "Model has no roles. Count: undefined, array: true" },
                { tag: "no model", model: null, log: "Model has no roles. Count: undefined, array: false" },
            ];
        }
        function test_emptyModelsAndArraysHaveNoRoles(row) {
            Expect.error(row.log);

            compare(ModelUtils.hasRole(row.model, "name"), false);
        }

        function test_indexOfLooksForTheValueThenForTheName_data() {
            return [
                { tag: "by value", model: valueModel, value: "a", index: 0 },
                { tag: "by value, the name is not asked", model: valueModel, value: "c", index: -1 },
                { tag: "by name", model: listModel, value: "three", index: 2 },
                { tag: "by name, native", model: nativeModel, value: "amber", index: 1 },
                { tag: "by name, native, absent", model: nativeModel, value: "blue", index: -1 },
            ];
        }
        function test_indexOfLooksForTheValueThenForTheName(row) {
            compare(ModelUtils.indexOf(row.model, row.value), row.index);
        }

        function test_indexOfFindsNothingInAnArray() {
            Expect.error("Model has no roles. Count: undefined, array: true");
            Expect.error("Model has no roles. Count: undefined, array: true");

            compare(ModelUtils.indexOf(array, "x"), -1);
        }

        function test_indexOfWithRole_data() {
            return [
                { tag: "list model, number", model: listModel, value: 7, role: "number", index: 1 },
                { tag: "list model, zero", model: listModel, value: 0, role: "number", index: 0 },
                { tag: "list model, number as text", model: listModel, value: "3", role: "number", index: 2 },
                { tag: "list model, text", model: listModel, value: "three", role: "name", index: 2 },
                { tag: "list model, absent", model: listModel, value: 5, role: "number", index: -1 },
                { tag: "native model, zero", model: nativeModel, value: 0, role: "id", index: 0 },
                { tag: "native model, number", model: nativeModel, value: 3, role: "id", index: 2 },
                { tag: "native model, number as text", model: nativeModel, value: "7", role: "id", index: 1 },
                { tag: "native model, text", model: nativeModel, value: "wait", role: "note", index: 1 },
                { tag: "native model, false is not zero", model: nativeModel, value: false, role: "id", index: -1 },
                { tag: "array", model: array, value: "y", role: "", index: 1 },
                { tag: "array, zero", model: array, value: 0, role: "", index: 2 },
                { tag: "array, absent", model: array, value: "z", role: "", index: -1 },
                { tag: "string list of C++", model: nativeModel.roles(), value: "name", role: "", index: 1 },
            ];
        }
        function test_indexOfWithRole(row) {
            compare(ModelUtils.indexOfWithRole(row.model, row.value, row.role), row.index);
        }

        function test_anEmptyValueIsNotLookedFor_data() {
            return [
                { tag: "null", value: null },
                { tag: "undefined", value: undefined },
                { tag: "empty text", value: "" },
            ];
        }
        function test_anEmptyValueIsNotLookedFor(row) {
            [listModel, nativeModel, array].forEach(function(model) {
                ignoreWarning("Provided empty value");
                compare(ModelUtils.indexOfWithRole(model, row.value, "name"), -1);
            });
        }

        function test_aMissingRoleIsReported_data() {
            return [
                { tag: "list model", model: listModel, roles: "(number,name|name,number)" },
                { tag: "native model", model: nativeModel, roles: "id,name,note" },
            ];
        }
        function test_aMissingRoleIsReported(row) {
            const warning = new RegExp("^Model '.*' doesn't have role 'colour'\\. Roles: " + row.roles + "$");
            ignoreWarning(warning);
            compare(ModelUtils.indexOfWithRole(row.model, 1, "colour"), -1);
            ignoreWarning(warning);
            compare(ModelUtils.getValue(row.model, 1, "colour"), null);
        }

        function test_nothingIsFoundWithoutAModel() {
            Expect.error("Model has no roles. Count: undefined, array: false");
            ignoreWarning("Model 'null' doesn't have role 'id'. Roles: ");

            compare(ModelUtils.indexOfWithRole(null, 7, "id"), -1);
        }

        function test_getValue_data() {
            return [
                { tag: "list model", model: listModel, index: 1, role: "name", value: "seven" },
                { tag: "list model, zero", model: listModel, index: 0, role: "number", value: 0 },
                { tag: "list model, without a role", model: listModel, index: 1, role: "", value: undefined },
                { tag: "native model", model: nativeModel, index: 2, role: "name", value: "green" },
                { tag: "native model, without a role", model: nativeModel, index: 1, role: "", value: undefined },
                { tag: "native model, zero", model: nativeModel, index: 0, role: "id", value: 0 },
                { tag: "native model, empty text", model: nativeModel, index: 0, role: "note", value: "" },
                { tag: "array", model: array, index: 1, role: "", value: "y" },
                { tag: "array, role is not looked at", model: array, index: 1, role: "name", value: "y" },
                { tag: "array, beyond its end", model: array, index: 3, role: "", value: undefined },
                { tag: "empty array", model: [], index: 0, role: "", value: undefined },
                { tag: "string list of C++", model: nativeModel.roles(), index: 1, role: "", value: "name" },
                { tag: "no model", model: null, index: 0, role: "name", value: null },
                { tag: "undefined model", model: undefined, index: 0, role: "name", value: null },
            ];
        }
        function test_getValue(row) {
            compare(ModelUtils.getValue(row.model, row.index, row.role), row.value);
        }

        function test_anIndexOutsideIsReported_data() {
            return [
                { tag: "list model, -1", model: listModel, index: -1 },
                { tag: "list model, behind the end", model: listModel, index: 3 },
                { tag: "native model, -1", model: nativeModel, index: -1 },
                { tag: "native model, behind the end", model: nativeModel, index: 3 },
                { tag: "empty list model", model: emptyListModel, index: 0 },
                { tag: "empty native model", model: emptyNativeModel, index: 0 },
                { tag: "array, -1", model: array, index: -1 },
            ];
        }
        function test_anIndexOutsideIsReported(row) {
            ignoreWarning(new RegExp("^Index out of bounds: " + row.index));

            compare(ModelUtils.getValue(row.model, row.index, "name"), null);
        }
    }
}
