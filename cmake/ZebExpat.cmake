# EXPAT::EXPAT, for the word size of the build.
#
# A 32-bit build on x86-64 uses Debian's 32-bit package as tools/fetch-i386 unpacks it: the machine needs no foreign
# architecture. It may also have no 32-bit libexpat for programs that use the library, so a copy, ZEB_EXPAT_COPY, is
# installed with it, in a folder that only libzeb_xmltoolkit.so searches. An installation without run paths, as by
# packages, depends on the system's libexpat instead.
if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_HOST_SYSTEM_PROCESSOR STREQUAL x86_64)
    set(ZEB_I386_ROOT ${PROJECT_SOURCE_DIR}/build/i386 CACHE PATH "What tools/fetch-i386 has unpacked")
    find_library(
        ZEB_I386_EXPAT libexpat.so.1
        PATHS ${ZEB_I386_ROOT}/lib/i386-linux-gnu ${ZEB_I386_ROOT}/usr/lib/i386-linux-gnu
        NO_DEFAULT_PATH)
    if(NOT ZEB_I386_EXPAT)
        message(FATAL_ERROR "No 32-bit libexpat in ${ZEB_I386_ROOT}: run tools/fetch-i386")
    endif()
    # The build has its copy in the same place as the installed tree, so that no run path leads out of the build.
    set(expat ${PROJECT_BINARY_DIR}/lib/zeb_text/libexpat.so.1)
    file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/lib/zeb_text)
    file(COPY_FILE ${ZEB_I386_EXPAT} ${expat} ONLY_IF_DIFFERENT)
    add_library(EXPAT::EXPAT UNKNOWN IMPORTED)
    set_target_properties(
        EXPAT::EXPAT
        PROPERTIES IMPORTED_LOCATION ${expat}
                   INTERFACE_INCLUDE_DIRECTORIES
                   "${ZEB_I386_ROOT}/usr/include;${ZEB_I386_ROOT}/usr/include/i386-linux-gnu")
    if(NOT CMAKE_SKIP_INSTALL_RPATH)
        set(ZEB_EXPAT_COPY ${expat})
    endif()
else()
    # 2.4 is the first that limits what entities may add to a text.
    find_package(EXPAT 2.4)
    if(NOT EXPAT_FOUND)
        message(FATAL_ERROR "libexpat is missing: install libexpat1-dev (its name in Debian)")
    endif()
endif()
