# Install rules: headers, library, a CMake package and a pkg-config file.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS vesk vesk_debug EXPORT vesk-targets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY debuggers DESTINATION ${CMAKE_INSTALL_DATADIR}/vesk COMPONENT development)
install(DIRECTORY include/vesk DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

set(vesk_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/vesk)
install(EXPORT vesk-targets NAMESPACE vesk:: DESTINATION ${vesk_package_dir}
    COMPONENT development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/vesk-config.cmake.in
    ${PROJECT_BINARY_DIR}/vesk-config.cmake
    INSTALL_DESTINATION ${vesk_package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/vesk-config-version.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/vesk-config.cmake
    ${PROJECT_BINARY_DIR}/vesk-config-version.cmake
    DESTINATION ${vesk_package_dir} COMPONENT development)

# The prefix is told from where the file lies, so that an installed tree can be moved.
set(vesk_pc_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH vesk_pc_to_prefix /${vesk_pc_dir} /)
set(VESK_PC_PREFIX "\${pcfiledir}/${vesk_pc_to_prefix}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/vesk.pc.in ${PROJECT_BINARY_DIR}/vesk.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vesk.pc DESTINATION ${vesk_pc_dir}
    COMPONENT development)
