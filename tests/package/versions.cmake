# Asks the installed version file as find_package does: who may use the package.
#
# Usage: cmake -DVERSION_FILE=<file> -DWORD_SIZE=<bytes of the package's pointers> -P versions.cmake

function(answer version word_size result)
    set(PACKAGE_FIND_VERSION ${version})
    string(REGEX MATCH "^[0-9]+" PACKAGE_FIND_VERSION_MAJOR ${version})
    set(CMAKE_SIZEOF_VOID_P ${word_size})
    include(${VERSION_FILE})
    if(PACKAGE_VERSION_COMPATIBLE AND NOT PACKAGE_VERSION_UNSUITABLE)
        set(${result} yes PARENT_SCOPE)
    else()
        set(${result} no PARENT_SCOPE)
    endif()
endfunction()

math(EXPR other_word_size "12 - ${WORD_SIZE}")
foreach(
    row
    "2 ${WORD_SIZE} yes"
    "2.0 ${WORD_SIZE} yes"
    "2.0.0 ${WORD_SIZE} yes"
    "1.9 ${WORD_SIZE} no"
    "2.99 ${WORD_SIZE} no"
    "3.0 ${WORD_SIZE} no"
    "2.0 ${other_word_size} no")
    separate_arguments(row)
    list(GET row 0 version)
    list(GET row 1 word_size)
    list(GET row 2 expected)
    answer(${version} ${word_size} got)
    if(NOT got STREQUAL expected)
        message(SEND_ERROR "Version ${version} with pointers of ${word_size} bytes: ${got} instead of ${expected}")
    endif()
endforeach()
