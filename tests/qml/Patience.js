// SPDX-License-Identifier: Apache-2.0
// How long tests wait for the camera, the scope, a thread, or the window: so long that it tells nothing about time.
.pragma library

var longest = 60000; // milliseconds
