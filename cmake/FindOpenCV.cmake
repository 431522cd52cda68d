# SPDX-License-Identifier: Apache-2.0
# Finds OpenCV through its own package where that is installed, else module by module: the small packages of the
# distribution carry headers and libraries only. Defines OpenCV_FOUND, OpenCV_VERSION and the target VantorBase_OpenCV.

set(_opencv_modules ${OpenCV_FIND_COMPONENTS})
find_package(OpenCV ${OpenCV_FIND_VERSION} QUIET CONFIG COMPONENTS ${_opencv_modules})

if(OpenCV_FOUND)
    set(_opencv_includes ${OpenCV_INCLUDE_DIRS})
    set(_opencv_libraries ${OpenCV_LIBS})
else()
    find_path(OpenCV_INCLUDE_DIR opencv2/core.hpp PATH_SUFFIXES opencv4)
    set(_opencv_includes ${OpenCV_INCLUDE_DIR})
    set(_opencv_libraries)
    set(_opencv_required OpenCV_INCLUDE_DIR)
    foreach(module IN LISTS _opencv_modules)
        find_library(OpenCV_${module}_LIBRARY opencv_${module})
        list(APPEND _opencv_libraries ${OpenCV_${module}_LIBRARY})
        list(APPEND _opencv_required OpenCV_${module}_LIBRARY)
    endforeach()
    mark_as_advanced(${_opencv_required})

    set(_opencv_version_header ${OpenCV_INCLUDE_DIR}/opencv2/core/version.hpp)
    if(EXISTS ${_opencv_version_header})
        set(_opencv_numbers)
        foreach(part MAJOR MINOR REVISION)
            file(STRINGS ${_opencv_version_header} _opencv_line REGEX "#define CV_VERSION_${part} ")
            string(REGEX MATCH "[0-9]+" _opencv_number "${_opencv_line}")
            list(APPEND _opencv_numbers ${_opencv_number})
        endforeach()
        list(JOIN _opencv_numbers . OpenCV_VERSION)
    endif()

    include(FindPackageHandleStandardArgs)
    find_package_handle_standard_args(OpenCV REQUIRED_VARS ${_opencv_required} VERSION_VAR OpenCV_VERSION)
endif()

if(OpenCV_FOUND AND NOT TARGET VantorBase_OpenCV)
    add_library(VantorBase_OpenCV INTERFACE)
    target_include_directories(VantorBase_OpenCV SYSTEM INTERFACE ${_opencv_includes})
    target_link_libraries(VantorBase_OpenCV INTERFACE ${_opencv_libraries})
endif()
