# What is installed: library, headers, pkg-config file, CMake package. The program and its pages install themselves.
include(CMakePackageConfigHelpers)

install(TARGETS sbrkit EXPORT sbrkitTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY include/sbrkit DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT sbrkitTargets NAMESPACE sbrkit:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/sbrkit)
configure_package_config_file(cmake/sbrkitConfig.cmake.in ${PROJECT_BINARY_DIR}/sbrkitConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/sbrkit)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/sbrkitConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/sbrkitConfig.cmake ${PROJECT_BINARY_DIR}/sbrkitConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/sbrkit)
configure_file(cmake/sbrkit.pc.in ${PROJECT_BINARY_DIR}/sbrkit.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/sbrkit.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(FILES LICENSE README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
