// SPDX-License-Identifier: GPL-2.0-or-later
// Looks for items by their object name.
.pragma library

function find(item, name) {
    if (item.objectName === name)
        return item;
    for (let i = 0; i < item.children.length; ++i) {
        const found = find(item.children[i], name);
        if (found)
            return found;
    }
    return null;
}

// All of that name, an item before what is in it.
function findAll(item, name) {
    let found = item.objectName === name ? [item] : [];
    for (let i = 0; i < item.children.length; ++i)
        found = found.concat(findAll(item.children[i], name));
    return found;
}

// Looks among what a window holds beside its items.
function findResource(window, name) {
    for (let i = 0; i < window.contentData.length; ++i) {
        if (window.contentData[i].objectName === name)
            return window.contentData[i];
    }
    return null;
}
