// SPDX-License-Identifier: Apache-2.0
// The same questions for three kinds of model: a JavaScript array, a ListModel, and a native item model that offers
// count, roles() and data(row, role).
.pragma library

function isMissing(model) {
    return model === null || model === undefined;
}

function isArray(model) {
    return Array.isArray(model) || model instanceof Array; // a string list of C++ is the latter only
}

function isListModel(model) {
    return model.toString().indexOf("QQmlListModel") !== -1;
}

// Rows of the model; undefined for an array, or when there is no model.
function rowCount(model) {
    if (isMissing(model))
        return undefined;
    if (model.count === undefined && typeof model.rowCount === "function")
        return model.rowCount();
    return model.count;
}

function roleNames(model) {
    if (isMissing(model) || isArray(model))
        return [];
    if (isListModel(model))
        return model.count > 0 ? Object.keys(model.get(0)) : [];
    return typeof model.roles === "function" ? model.roles() : [];
}

function valueAt(model, index, role) {
    return isListModel(model) ? model.get(index)[role] : model.data(index, role);
}

function warnOfMissingRole(model, role) {
    console.warn("Model '%1' doesn't have role '%2'. Roles: %3".arg(model).arg(role).arg(roleNames(model)));
}

function hasRole(model, role) {
    const count = rowCount(model);
    if (isArray(model) || !(count > 0)) {
        console.error("Model has no roles. Count: " + count + ", array: " + isArray(model));
        return false;
    }
    if (isListModel(model))
        return model.get(0)[role] !== undefined;
    return roleNames(model).indexOf(role) !== -1;
}

function indexOf(model, value) {
    const roles = ["value", "name"];
    for (var i = 0; i < roles.length; ++i) {
        if (hasRole(model, roles[i]))
            return indexOfWithRole(model, value, roles[i]);
    }
    return -1;
}

function indexOfWithRole(model, value, role) {
    // Strictly: 0 == "" is true, and 0 is the id of a standard.
    if (value === null || value === undefined || value === "") {
        console.warn("Provided empty value");
        return -1;
    }
    if (isArray(model))
        return model.indexOf(value);
    if (!hasRole(model, role)) {
        warnOfMissingRole(model, role);
        return -1;
    }
    const count = rowCount(model);
    const wanted = String(value);
    for (var i = 0; i < count; ++i) {
        if (String(valueAt(model, i, role)) === wanted)
            return i;
    }
    return -1;
}

function getValue(model, index, role) {
    if (isMissing(model))
        return null;
    const count = rowCount(model);
    if (index < 0 || index >= count) { // an array has no count, and so no upper bound
        console.warn("Index out of bounds: " + index + ", count: " + count);
        return null;
    }
    if (isArray(model))
        return model[index];
    if (role !== "" && !hasRole(model, role)) {
        warnOfMissingRole(model, role);
        return null;
    }
    return valueAt(model, index, role);
}
