# ZEB_HARDENING, the options that harden all targets as far as the compiler knows them.
include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)

set(ZEB_HARDENING -fstack-protector-strong)
check_cxx_compiler_flag(-fcf-protection ZEB_HAVE_CF_PROTECTION)
if(ZEB_HAVE_CF_PROTECTION)
    list(APPEND ZEB_HARDENING -fcf-protection)
endif()

# _FORTIFY_SOURCE of the builder's own flags stays when it is higher than this one, or 0 or undefined for having none.
# It warns without optimisation and hides errors from the sanitizers.
check_cxx_source_compiles(
    "#if !defined __has_builtin || !__has_builtin(__builtin_dynamic_object_size)
     #error
     #endif
     int main() {}"
    ZEB_HAVE_DYNAMIC_OBJECT_SIZE)
set(fortify 2)
if(ZEB_HAVE_DYNAMIC_OBJECT_SIZE)
    set(fortify 3)
endif()
string(TOUPPER "${CMAKE_BUILD_TYPE}" type)
string(REGEX MATCHALL "-[DU] *_FORTIFY_SOURCE(=[0-9]+)?" mentions "${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${type}}")
list(POP_BACK mentions last) # which counts
if(last MATCHES "=([0-9]+)")
    set(given ${CMAKE_MATCH_1})
elseif(last MATCHES "^-U")
    set(given 0)
else()
    set(given 1) # none, or one without a number
endif()
if(NOT ZEB_SANITIZE AND given GREATER 0 AND given LESS fortify)
    list(APPEND ZEB_HARDENING "$<$<NOT:$<CONFIG:Debug>>:SHELL:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${fortify}>")
endif()
