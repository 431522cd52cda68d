// SPDX-License-Identifier: Apache-2.0
// For programs with a window: libraries stay loaded, so that a leak report can tell which of them it is about.
#ifdef __SANITIZE_ADDRESS__
extern "C" int dlclose(void *) noexcept
{
    return 0;
}
#endif
