// SPDX-License-Identifier: Apache-2.0
// Finds items in the tree below another one, which tests see as a user does: by what is on them.
.pragma library

// Depth first; null when there is none.
function find(item, matches) {
    for (var i = 0; i < item.children.length; ++i) {
        const child = item.children[i];
        const found = matches(child) ? child : find(child, matches);
        if (found)
            return found;
    }
    return null;
}

// The first of a list, as that of an item's resources, which is no array; null when there is none.
function among(list, matches) {
    return Array.from(list).filter(matches)[0] || null;
}

function byText(item, text) {
    return find(item, function(child) { return child.text === text; });
}

function byType(item, type) {
    return find(item, function(child) { return child.toString().indexOf(type) === 0; });
}

function byBorder(item, colour) {
    return find(item, function(child) { return child.border && Qt.colorEqual(child.border.color, colour); });
}
