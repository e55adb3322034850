# One function per kind of target: zeb_add_library, zeb_add_program, zeb_add_test.

# Sanitizers go into everything that is linked into one process, GoogleTest included.
if(ZEB_SANITIZE)
    add_compile_options(-fsanitize=${ZEB_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${ZEB_SANITIZE})
endif()

# Settings of all targets: warnings, hardening, 64-bit files and times.
function(zeb_configure_target target)
    target_compile_options(
        ${target} PRIVATE -Wall -Wextra -Wconversion -Wshadow -Wpedantic
                          $<$<CXX_COMPILER_ID:Clang>:-Wreserved-identifier> $<$<BOOL:${ZEB_WERROR}>:-Werror>
                          ${ZEB_HARDENING})
    # Objects do not reveal the path of the sources; a debug build is used where they are.
    target_compile_options(${target} PRIVATE $<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>)
    # The 32-bit build opens large files and handles dates after 2038; on x86-64 both change nothing.
    target_compile_definitions(${target} PRIVATE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
    target_link_options(${target} PRIVATE -Wl,-z,relro,-z,now)
endfunction()

# Settings of sources for a shared library, in any target that compiles them.
function(zeb_configure_library_code target)
    zeb_configure_target(${target})
    target_compile_features(${target} PUBLIC cxx_std_17)
    set_target_properties(
        ${target}
        PROPERTIES POSITION_INDEPENDENT_CODE ON
                   CXX_VISIBILITY_PRESET hidden
                   VISIBILITY_INLINES_HIDDEN ON)
    # A unique symbol would keep the library in memory after dlclose; clang++ makes none.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
    # No program replaces a function of these libraries, so they may inline what they export; clang++ does so anyway.
    target_compile_options(${target} PRIVATE -fno-semantic-interposition)
    # Coverage for libFuzzer, of the libraries only; instrumented tests would take longer to compile.
    target_compile_options(${target} PRIVATE $<$<BOOL:${ZEB_FUZZ}>:-fsanitize=fuzzer-no-link>)
    # Sources define the same names in unnamed namespaces, which a unity build of the caller's project would join.
    set_target_properties(${target} PROPERTIES UNITY_BUILD OFF)
endfunction()

# Stops when a dependency of a part of the build is missing, and explains how to get it or to build without it.
function(zeb_require found what package option)
    if(NOT ${found})
        message(FATAL_ERROR "${what} is missing: install ${package} (its name in Debian), or leave out what needs it "
                            "by -D${option}=OFF")
    endif()
endfunction()

# zeb_add_library(<target> ALIAS zeb::<x> SOVERSION <n> SOURCES <file>... INCLUDE_DIR <dir>
#                 [PUBLIC_LINKS <target>...] [PRIVATE_LINKS <target>...] VERSION_SCRIPT <file>)
#
# The shared library lib<target>.so.<n>, its public headers, its export as zeb::<x> by the CMake package zeb_text and
# its pkg-config module <target>. PUBLIC_LINKS are libraries of this project whose headers the public headers include.
function(zeb_add_library target)
    cmake_parse_arguments(
        PARSE_ARGV 1 arg "" "ALIAS;SOVERSION;INCLUDE_DIR;VERSION_SCRIPT" "SOURCES;PUBLIC_LINKS;PRIVATE_LINKS")
    zeb_require_arguments(${target} ALIAS SOVERSION SOURCES INCLUDE_DIR VERSION_SCRIPT)

    add_library(${target} SHARED ${arg_SOURCES})
    add_library(${arg_ALIAS} ALIAS ${target})
    zeb_configure_library_code(${target})
    target_link_libraries(${target} PUBLIC ${arg_PUBLIC_LINKS} PRIVATE ${arg_PRIVATE_LINKS})

    string(REPLACE zeb:: "" export_name ${arg_ALIAS})
    set_target_properties(
        ${target}
        PROPERTIES SOVERSION ${arg_SOVERSION}
                   EXPORT_NAME ${export_name}
                   LINKER_LANGUAGE CXX # it may have only the objects of another target
                   INSTALL_RPATH "$ORIGIN")

    # A sanitizer's run-time library is in the program, so its symbols stay undefined here.
    if(NOT ZEB_SANITIZE)
        target_link_options(${target} PRIVATE -Wl,-z,defs)
    endif()
    cmake_path(ABSOLUTE_PATH arg_VERSION_SCRIPT NORMALIZE)
    target_link_options(${target} PRIVATE -Wl,--version-script=${arg_VERSION_SCRIPT})
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${arg_VERSION_SCRIPT})

    # Headers below a folder zeb/ are included by that path; others get a folder named after the library.
    cmake_path(ABSOLUTE_PATH arg_INCLUDE_DIR NORMALIZE)
    if(IS_DIRECTORY ${arg_INCLUDE_DIR}/zeb)
        set(include_destination ${CMAKE_INSTALL_INCLUDEDIR})
    else()
        set(include_destination ${CMAKE_INSTALL_INCLUDEDIR}/${target})
    endif()
    target_include_directories(
        ${target} PUBLIC $<BUILD_INTERFACE:${arg_INCLUDE_DIR}> $<INSTALL_INTERFACE:${include_destination}>)
    set_property(GLOBAL APPEND PROPERTY ZEB_INCLUDE_DIRS ${arg_INCLUDE_DIR})

    install(DIRECTORY ${arg_INCLUDE_DIR}/ DESTINATION ${include_destination} FILES_MATCHING PATTERN *.hpp)
    install(TARGETS ${target} EXPORT zeb_text-targets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
    zeb_install_pkg_config(${target} ${include_destination} "${arg_PUBLIC_LINKS}")
endfunction()

# zeb_add_program(<target> SOURCES <file>... LINKS <target>...)
function(zeb_add_program target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS")
    zeb_require_arguments(${target} SOURCES LINKS)

    add_executable(${target} ${arg_SOURCES})
    zeb_configure_target(${target})
    target_link_libraries(${target} PRIVATE ${arg_LINKS})
    file(RELATIVE_PATH library_dir /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/${library_dir}")
endfunction()

# For test code, examples and GoogleTest, which take longer to compile than to run. _FORTIFY_SOURCE needs optimisation.
function(zeb_do_not_optimise target)
    target_compile_options(${target} PRIVATE -O0 -U_FORTIFY_SOURCE)
endfunction()

# Settings of test code, which replaces functions of the C library.
function(zeb_configure_test target)
    zeb_configure_target(${target})
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:Clang>:-Wno-reserved-identifier>)
    zeb_do_not_optimise(${target})
endfunction()

# zeb_add_test(<target> SOURCES <file>... LINKS <target>... [CONCURRENT] [DEFINITIONS <name=value>...])
#
# A GoogleTest program. Each of its tests is a test of ctest; under sanitizers, with which a process takes long to start,
# the whole program is one, and runs its tests shuffled. CONCURRENT marks tests that start threads: they get the label
# "concurrent" and make up what the thread sanitizer runs.
function(zeb_add_test target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "CONCURRENT" "" "SOURCES;LINKS;DEFINITIONS")
    zeb_require_arguments(${target} SOURCES LINKS)

    add_executable(${target} ${arg_SOURCES})
    zeb_configure_test(${target})
    target_precompile_headers(${target} REUSE_FROM zeb_test_headers)
    target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support)
    target_compile_definitions(${target} PRIVATE ${arg_DEFINITIONS})
    target_link_libraries(${target} PRIVATE ${arg_LINKS} GTest::gmock GTest::gtest_main)

    set(labels "")
    if(arg_CONCURRENT)
        set(labels LABELS concurrent)
        add_dependencies(zeb_concurrent_tests ${target})
    endif()
    if(ZEB_SANITIZE)
        add_test(NAME ${target} COMMAND ${target} --gtest_brief=1 --gtest_shuffle --gtest_random_seed=1)
        set_tests_properties(${target} PROPERTIES TIMEOUT 600 ${labels})
        return()
    endif()
    gtest_discover_tests(
        ${target} TEST_PREFIX ${target}. DISCOVERY_TIMEOUT 120 PROPERTIES TIMEOUT 600 ${labels})
endfunction()

# Stops with the name of the argument that a call of the functions above lacks.
macro(zeb_require_arguments target)
    foreach(name ${ARGN})
        if(NOT DEFINED arg_${name})
            message(FATAL_ERROR "${CMAKE_CURRENT_FUNCTION}(${target}): ${name} is missing")
        endif()
    endforeach()
    if(DEFINED arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "${CMAKE_CURRENT_FUNCTION}(${target}): unknown ${arg_UNPARSED_ARGUMENTS}")
    endif()
endmacro()

# The pkg-config module of a library. It derives its prefix from its own path, so that an installed tree can be moved.
function(zeb_install_pkg_config target include_destination public_links)
    file(RELATIVE_PATH prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
    string(REGEX REPLACE "/$" "" prefix ${prefix})
    string(REPLACE zeb:: zeb_ requires "${public_links}")
    list(JOIN requires ", " requires)
    configure_file(${PROJECT_SOURCE_DIR}/packaging/module.pc.in ${target}.pc @ONLY)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${target}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()
