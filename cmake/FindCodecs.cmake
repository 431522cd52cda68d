# SPDX-License-Identifier: Apache-2.0
# Finds the libraries that decode photographs. Defines Codecs_FOUND and the target VantorBase_Codecs.

find_package(JPEG QUIET)
find_package(PNG QUIET)
find_package(ZLIB QUIET)
find_package(TIFF 4.5 QUIET) # handlers of messages for each file
find_path(WebP_INCLUDE_DIR webp/decode.h)
find_library(WebP_LIBRARY webp)
mark_as_advanced(WebP_INCLUDE_DIR WebP_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Codecs
    REQUIRED_VARS JPEG_LIBRARIES PNG_LIBRARIES TIFF_LIBRARIES ZLIB_LIBRARIES WebP_LIBRARY WebP_INCLUDE_DIR)

if(Codecs_FOUND AND NOT TARGET VantorBase_Codecs)
    add_library(VantorBase_Codecs INTERFACE)
    target_include_directories(VantorBase_Codecs SYSTEM INTERFACE ${WebP_INCLUDE_DIR})
    target_link_libraries(VantorBase_Codecs INTERFACE JPEG::JPEG PNG::PNG TIFF::TIFF ZLIB::ZLIB ${WebP_LIBRARY})
endif()
