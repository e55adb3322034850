# EXPAT::EXPAT, for the word size of the build.
#
# A 32-bit build on x86-64 takes Debian's 32-bit package as tools/fetch-i386 unpacks it: no foreign architecture need be
# added to the machine.
if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_HOST_SYSTEM_PROCESSOR STREQUAL x86_64)
    set(ZEB_I386_ROOT ${PROJECT_SOURCE_DIR}/build/i386 CACHE PATH "What tools/fetch-i386 has unpacked")
    find_library(
        ZEB_I386_EXPAT libexpat.so.1
        PATHS ${ZEB_I386_ROOT}/lib/i386-linux-gnu ${ZEB_I386_ROOT}/usr/lib/i386-linux-gnu
        NO_DEFAULT_PATH)
    if(NOT ZEB_I386_EXPAT)
        message(FATAL_ERROR "No 32-bit libexpat in ${ZEB_I386_ROOT}: run tools/fetch-i386")
    endif()
    add_library(EXPAT::EXPAT UNKNOWN IMPORTED)
    set_target_properties(
        EXPAT::EXPAT
        PROPERTIES IMPORTED_LOCATION ${ZEB_I386_EXPAT}
                   INTERFACE_INCLUDE_DIRECTORIES
                   "${ZEB_I386_ROOT}/usr/include;${ZEB_I386_ROOT}/usr/include/i386-linux-gnu")
else()
    find_package(EXPAT REQUIRED)
endif()
