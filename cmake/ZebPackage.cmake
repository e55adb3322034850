# The CMake package zeb_text: find_package(zeb_text CONFIG) gives zeb::text and the libraries below it.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zeb_text)
configure_package_config_file(
    ${PROJECT_SOURCE_DIR}/packaging/zeb_text-config.cmake.in ${PROJECT_BINARY_DIR}/zeb_text-config.cmake
    INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zeb_text-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zeb_text-config.cmake ${PROJECT_BINARY_DIR}/zeb_text-config-version.cmake
        DESTINATION ${package_dir})
install(EXPORT zeb_text-targets NAMESPACE zeb:: DESTINATION ${package_dir})
