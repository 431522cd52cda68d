// SPDX-License-Identifier: Apache-2.0
.pragma library

// By the ids of the zones, from the middle outward.
const colors = ["#00d808", "#FF7E00", "#3479e3", "#00a0a0"];

function color(zone) {
    return colors[zone] || "gray";
}
