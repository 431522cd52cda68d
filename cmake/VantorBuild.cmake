# SPDX-License-Identifier: Apache-2.0
# What every target of the project shares: language level, warnings, sanitizers, and how a test is declared.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)

include(CheckPIESupported)
include(GNUInstallDirs)
set(CMAKE_INSTALL_RPATH $ORIGIN/../${CMAKE_INSTALL_LIBDIR}) # the programs find the library wherever both are installed

find_program(VANTORBASE_CCACHE ccache)
mark_as_advanced(VANTORBASE_CCACHE)
if(VANTORBASE_CCACHE)
    # What one build folder of this checkout has compiled, the others take over: their paths agree but for the folder's
    # name. Precompiled headers are left alone without the laxness.
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros
        CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${VANTORBASE_CCACHE})
endif()

# What makes it hard to take over a decoder or a parser. Fortified functions need optimisation; sanitizers check those
# calls themselves.
check_pie_supported(LANGUAGES CXX)
add_compile_options(-fstack-protector-strong -fstack-clash-protection)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL x86_64)
    add_compile_options(-fcf-protection)
endif()
if(NOT VANTORBASE_SANITIZE AND NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
    set(optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
    add_compile_options($<${optimised}:-U_FORTIFY_SOURCE> $<${optimised}:-D_FORTIFY_SOURCE=2>)
endif()
add_link_options(LINKER:-z,relro LINKER:-z,now)

# A crash in the field is read with the build that shipped: functions and lines suffice for that, and cost next to no
# time. What is installed with --strip is without them; the build ID, which not every compiler asks for, tells the two
# belong together. See docs/crashes.md.
add_compile_options($<$<CONFIG:Release,MinSizeRel>:-g1>)
add_link_options(LINKER:--build-id)

# Reports need lines, no variables; and what slows the compiler down most is to optimise instrumented code.
if(VANTORBASE_SANITIZE)
    add_compile_options(-O1 -g1 -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
endif()

# vantor_warnings(TARGET): the warnings of the house, all of them errors.
function(vantor_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror
        $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-zero-variadic-macro-arguments>) # what qCDebug() << expands to
    target_compile_definitions(${target} PRIVATE QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII QT_FORCE_ASSERTS)
endfunction()

# The Qt Test programs share one precompiled header, and need no more than -O1 of the compiler. The build of `lint` does
# without the header: it shows a source that does not include what it uses.
option(VANTORBASE_PRECOMPILE "Precompile the headers that most sources include" ON)
mark_as_advanced(VANTORBASE_PRECOMPILE)
set(VANTORBASE_STANDARD_HEADERS <algorithm> <array> <cmath> <functional> <limits> <memory> <optional> <utility> <vector>)

# What the tests do to memory is checked; their own arithmetic is not what the sanitizers are there for.
set(VANTORBASE_TEST_OPTIONS -O1)
if(VANTORBASE_SANITIZE)
    list(APPEND VANTORBASE_TEST_OPTIONS -fno-sanitize=undefined)
endif()

find_program(VANTORBASE_GOLD ld.gold)
mark_as_advanced(VANTORBASE_GOLD)

# vantor_moc_tests(TARGET): the classes of a test stand in its source, tst_NAME.cpp, which includes tst_NAME.moc. One run of
# moc makes that; AUTOMOC would look through each program and compile a file more.
function(vantor_moc_tests target)
    get_target_property(sources ${target} SOURCES)
    set(folder ${CMAKE_CURRENT_BINARY_DIR}/${target}_moc)
    foreach(source IN LISTS sources)
        get_filename_component(path ${source} ABSOLUTE)
        get_filename_component(name ${source} NAME_WE)
        if(name MATCHES "^tst_")
            qt5_generate_moc(${path} ${folder}/${name}.moc TARGET ${target})
            target_sources(${target} PRIVATE ${folder}/${name}.moc)
            target_include_directories(${target} PRIVATE ${folder})
        endif()
    endforeach()
endfunction()

# vantor_test_program(TARGET): what all test programs are compiled and linked with; the gold linker takes an eighth of
# the time.
function(vantor_test_program target)
    if(VANTORBASE_GOLD)
        target_link_options(${target} PRIVATE -fuse-ld=gold)
    endif()
    vantor_moc_tests(${target})
    vantor_warnings(${target})
    target_compile_options(${target} PRIVATE ${VANTORBASE_TEST_OPTIONS})
    target_link_libraries(${target} PRIVATE VantorBase::VantorBase Qt5::Test)
    if(VANTORBASE_PRECOMPILE)
        if(NOT TARGET vantor_test_headers)
            file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/vantor_test_headers.cpp CONTENT "int main() {}\n")
            add_executable(vantor_test_headers ${CMAKE_BINARY_DIR}/vantor_test_headers.cpp)
            vantor_warnings(vantor_test_headers)
            target_compile_options(vantor_test_headers PRIVATE ${VANTORBASE_TEST_OPTIONS})
            target_link_libraries(vantor_test_headers PRIVATE VantorBase::VantorBase Qt5::Test)
            target_precompile_headers(vantor_test_headers PRIVATE ${VANTORBASE_STANDARD_HEADERS} <QtTest>)
        endif()
        target_precompile_headers(${target} REUSE_FROM vantor_test_headers)
    endif()
endfunction()

# vantor_add_test(NAME SOURCES source... [LIBS target...] [DEFINITIONS definition...] [TIMEOUT seconds])
# A Qt Test program that ctest runs; the library comes with it. Those that may take long start first: none is left that
# everybody waits for at the end.
function(vantor_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "TIMEOUT" "SOURCES;LIBS;DEFINITIONS")
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 300)
    endif()
    if(VANTORBASE_SANITIZE)
        math(EXPR arg_TIMEOUT "2 * ${arg_TIMEOUT}")
    endif()
    math(EXPR function_timeout "1000 * ${arg_TIMEOUT}") # milliseconds; Qt Test would end a slow function sooner
    add_executable(${name} ${arg_SOURCES})
    vantor_test_program(${name})
    target_compile_definitions(${name} PRIVATE ${arg_DEFINITIONS})
    target_link_libraries(${name} PRIVATE ${arg_LIBS})
    add_test(NAME ${name} COMMAND ${name})
    set(leak_options LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/support/leaks.supp:print_suppressions=0)
    set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT} COST ${arg_TIMEOUT}
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;QTEST_FUNCTION_TIMEOUT=${function_timeout};${leak_options}")
endfunction()

# vantor_memcheck(NAME [ARGUMENTS argument...]): the Qt Test program NAME once more, as NAME_memcheck, under valgrind,
# which also sees what the libraries below us read after it was freed. Not beside another instrumentation.
function(vantor_memcheck name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "ARGUMENTS")
    if(VANTORBASE_SANITIZE OR CMAKE_CXX_FLAGS MATCHES "-fsanitize")
        return()
    endif()
    find_program(VANTORBASE_VALGRIND valgrind REQUIRED)
    mark_as_advanced(VANTORBASE_VALGRIND)
    get_test_property(${name} TIMEOUT timeout)
    get_test_property(${name} ENVIRONMENT environment)
    math(EXPR timeout "4 * ${timeout}")
    math(EXPR function_timeout "1000 * ${timeout}") # milliseconds
    add_test(NAME ${name}_memcheck
        COMMAND ${VANTORBASE_VALGRIND} --quiet --error-exitcode=99 --num-callers=30
            --suppressions=${PROJECT_SOURCE_DIR}/tests/support/memcheck.supp
            $<TARGET_FILE:${name}> ${arg_ARGUMENTS})
    list(APPEND environment QTEST_FUNCTION_TIMEOUT=${function_timeout} QV4_FORCE_INTERPRETER=1 VANTOR_VALGRIND=1)
    set_tests_properties(${name}_memcheck PROPERTIES TIMEOUT ${timeout} COST ${timeout} ENVIRONMENT "${environment}")
endfunction()
